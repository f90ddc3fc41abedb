#!/usr/bin/env bash
# Every function of the interface says on which thread it is called and since which version it is there, or
# takes over the description of another one. Parameters and answers are Doxygen's to look at: ./dev docs.
#   described_functions.sh REPOSITORY               fails and names the functions that do not
#   described_functions.sh REPOSITORY --self-check  shows that such functions are noticed
set -euo pipefail
export LC_ALL=C
readonly families='(vesta_hbbtv|ve|native|dsmcc|hbbtv|tavo_keyboard)_[A-Za-z_]+'

# Lines "described NAME" and "lacking FILE NAME".
functions_of() {
    awk -v families="$families" '
        /^\/\/\// { comment = comment $0 "\n"; next }
        /^[A-Za-z_]/ && !/^typedef/ && match($0, "[ *]" families "\\(") {
            name = substr($0, RSTART + 1, RLENGTH - 2)
            good = comment ~ /@thread\{(browser|any|one at a time)\}/ && comment ~ /@since [0-9]+\.[0-9]+/
            if (good || comment ~ /@copydetails/) print "described " name
            else print "lacking " FILENAME ": " name
        }
        { comment = "" }' "$@"
}

# Whatever looks like a function of ours, wherever it stands; the typedefs of functions have other names.
declared() {
    sed 's,//.*,,' "$@" | grep -oE "\b$families *\(" | tr -d ' (' | sort -u
}

check() {
    local found failed=0
    found=$(functions_of "$@")
    ! grep '^lacking' <<<"$found" || failed=1
    diff -u --label declared --label "with a comment before them" <(declared "$@") \
        <(sed -E 's/^[a-z]+ (.*: )?//' <<<"$found" | sort -u) || failed=1
    [[ $(wc -l <<<"$found") -ge 10 ]] || failed=1
    return "$failed"
}

# expect_notice SED-COMMAND
expect_notice() {
    sed -E "$1" include/vesta_hbbtv_appman.h >"$changed"
    if cmp -s include/vesta_hbbtv_appman.h "$changed" || check "$changed" >/dev/null; then
        echo "not noticed: $1" >&2
        exit 1
    fi
}

self_check() {
    changed=$(mktemp)
    trap 'rm -f "$changed"' EXIT
    expect_notice '0,/@thread\{browser\}/s//@thread{nonsense}/'
    expect_notice '0,/@thread\{browser\}/s///'
    expect_notice '0,/@since 1.0/s//@since/'
    expect_notice 's/^void vesta_hbbtv_shutdown/    &/'
    expect_notice 's/^bool vesta_hbbtv_tick/\n&/'
}

cd "$1"
case ${2:-} in
--self-check) self_check ;;
*) check include/*.h kit/include/*.h ;;
esac
