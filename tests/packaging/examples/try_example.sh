#!/usr/bin/env bash
# Builds an example against an installation, runs it and compares what it prints.
#   try_example.sh cmake|pkg-config EXAMPLE REPOSITORY
# What is tested comes in through the environment: INSTALLED, WORK, CMAKE, CXX, LIBDIR, and, where
# they matter, FLAGS (compiler and linker), TOOLCHAIN, EMULATOR.
set -euo pipefail
readonly way=$1 example=$2 repository=$3
readonly folder="$repository/examples/$example" skipped=77
readonly warnings=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror)
read -r -a flags <<<"${FLAGS:-}"
read -r -a emulator <<<"${EMULATOR:-}"

# shellcheck source=../compilers.sh
source "$(dirname "${BASH_SOURCE[0]}")/../compilers.sh"

program() {
    case $example in
    middleware_c) echo middleware ;;
    *) echo "$example" ;;
    esac
}

# The examples with arguments, and where they are found.
arguments() {
    [[ $example != middleware_c ]] || printf '%s\n' "$repository/samples/station.ts" 28112
}

build_with_cmake() {
    local all="${FLAGS:-} ${warnings[*]}" compilers
    compilers=("-DCMAKE_C_COMPILER=$(c_compiler)" "-DCMAKE_CXX_COMPILER=$CXX")
    [[ -z ${TOOLCHAIN:-} ]] || compilers=("-DCMAKE_C_COMPILER=$(c_compiler)" "-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN")
    "$CMAKE" -S "$folder" -B "$WORK" -DCMAKE_PREFIX_PATH="$INSTALLED" \
        -DCMAKE_FIND_ROOT_PATH="$INSTALLED" -DCMAKE_C_FLAGS="$all" -DCMAKE_CXX_FLAGS="$all" \
        "${compilers[@]}" --no-warn-unused-cli
    "$CMAKE" --build "$WORK" --verbose
}

# Objects by the language's compiler; linked by that of C, unless something is in C++.
build_with_pkg_config() {
    local compile link linker source objects=()
    export PKG_CONFIG_LIBDIR="$INSTALLED/$LIBDIR/pkgconfig"
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_appman)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_appman)"
    linker=$(c_compiler)
    for source in "$folder"/*.c "$folder"/*.cpp "$repository/examples/quiet_browser"/*.c; do
        [[ -e $source && ! ($example == host && $source == */quiet_browser.c) ]] || continue
        objects+=("$WORK/$(basename "$source").o")
        case $source in
        *.c) "$(c_compiler)" -std=c11 "${warnings[@]}" "${flags[@]}" "${compile[@]}" \
            -I"$repository/examples/quiet_browser" -c "$source" -o "${objects[-1]}" ;;
        *.cpp)
            linker=$CXX
            "$CXX" -std=c++17 "${warnings[@]}" "${flags[@]}" "${compile[@]}" \
                -I"$repository/examples/quiet_browser" -c "$source" -o "${objects[-1]}"
            ;;
        esac
    done
    "$linker" "${flags[@]}" "${objects[@]}" -o "$WORK/$(program)" "${link[@]}" -pthread \
        -Wl,-rpath,"$INSTALLED/$LIBDIR"
}

main() {
    local given=()
    if [[ $way == pkg-config ]] && ! command -v pkg-config >/dev/null; then
        echo "skipped: there is no pkg-config on this machine"
        exit $skipped
    fi
    if [[ $example == middleware_c && ${FLAGS:-} == *-fsanitize* ]]; then
        echo "skipped: a sanitizer's runtime for C++ is not linked by a compiler of C"
        exit $skipped
    fi
    rm -rf "$WORK"
    mkdir -p "$WORK"
    case $way in
    cmake) build_with_cmake ;;
    pkg-config) build_with_pkg_config ;;
    esac
    mapfile -t given < <(arguments)
    "${emulator[@]}" "$WORK/$(program)" "${given[@]}" >"$WORK/printed.txt"
    diff -u "$folder/expected.txt" "$WORK/printed.txt"
}

main
