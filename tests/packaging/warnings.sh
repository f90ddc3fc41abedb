#!/usr/bin/env bash
# Warnings are errors for developers, and for nobody else: another's compiler may know warnings that ours do
# not, and must not fail for them.
#   warnings.sh PROJECT
# CMAKE names the cmake to use, CXX the compiler.
set -euo pipefail
readonly project=$1
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

# errors OPTION...: how many of the library's sources are compiled with warnings as errors, of how many. What
# the environment says to the compiler is not the project's.
errors() {
    local commands
    rm -rf "$place/build"
    env -u CXXFLAGS -u CMAKE_COMPILE_WARNING_AS_ERROR "$CMAKE" -S "$project" -B "$place/build" -G "Unix Makefiles" \
        -DCMAKE_CXX_COMPILER="$CXX" -DVESTA_BUILD_TESTS=OFF -DVESTA_WITH_WPE=OFF "$@" >"$place/log" 2>&1 || {
        cat "$place/log" >&2
        return 1
    }
    commands=$(grep '"command":' "$place/build/compile_commands.json")
    grep -q -- '-Wconversion' <<<"$commands" || { echo "this is not how our own code is compiled" >&2; return 1; }
    printf '%s of %s\n' "$(grep -cE -- '-Werror( |$)' <<<"$commands")" "$(wc -l <<<"$commands")"
}

others=$(errors)
[[ $others == "0 of "* ]] || { echo "anybody's build: warnings are errors in $others sources" >&2; exit 1; }
ours=$(errors --preset release)
[[ $ours == "${others#0 of } of ${others#0 of }" ]] ||
    { echo "the preset that ./dev uses: warnings are errors in $ours sources, and not in ${others#0 of }" >&2; exit 1; }
