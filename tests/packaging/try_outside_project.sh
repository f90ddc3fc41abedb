#!/usr/bin/env bash
# Installs the library, moves the installation, and lets the outside project find it there.
#   try_outside_project.sh cmake|pkg-config
# The build that is tested comes in through the environment: BUILD, WORK, CMAKE, CXX, LIBDIR,
# INCLUDEDIR, READELF, and, where they matter, FLAGS (compiler and linker), TOOLCHAIN, EMULATOR, and KIT where
# there is one.
set -euo pipefail
outside="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/outside_project"
readonly outside skipped=77
# shellcheck source=compilers.sh
source "$outside/../compilers.sh"
read -r -a flags <<<"${FLAGS:-}"
read -r -a emulator <<<"${EMULATOR:-}"

install_and_move() {
    rm -rf "$WORK"
    mkdir -p "$WORK/generated"
    "$CMAKE" --install "$BUILD" --prefix "$WORK/first place" >/dev/null
    mv "$WORK/first place" "$WORK/installed"
}

# Names every installed header, so that each has to be there with all that it includes.
list_headers() {
    local header
    (cd "$WORK/installed/$INCLUDEDIR" && find . -name '*.h' | LC_ALL=C sort) |
        while read -r header; do
            printf '#include <%s>\n' "${header#./}"
        done >"$WORK/generated/installed_headers.h"
    grep -q 'vesta_hbbtv_appman.h' "$WORK/generated/installed_headers.h"
}

find_with_cmake() {
    local compiler="-DCMAKE_CXX_COMPILER=$CXX"
    [[ -n "${TOOLCHAIN:-}" ]] && compiler="-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN"
    "$CMAKE" -S "$outside" -B "$WORK/cmake" -DCMAKE_PREFIX_PATH="$WORK/installed" \
        -DOUTSIDE_GENERATED="$WORK/generated" -DCMAKE_CXX_FLAGS="${FLAGS:-}" \
        "$compiler" -DCMAKE_FIND_ROOT_PATH="$WORK/installed" -DOUTSIDE_KIT="${KIT:-}"
    "$CMAKE" --build "$WORK/cmake" --verbose
    "${emulator[@]}" "$WORK/cmake/with_vesta_hbbtv_appman"
    "${emulator[@]}" "$WORK/cmake/with_vesta_hbbtv_appman_static"
    "${emulator[@]}" "$WORK/cmake/c_with_vesta_hbbtv_appman"
    "${emulator[@]}" "$WORK/cmake/c_with_vesta_hbbtv_appman_static"
    record "$WORK/cmake/with_vesta_hbbtv_appman"
    record "$WORK/cmake/c_with_vesta_hbbtv_appman"
    if [[ -n ${KIT:-} ]]; then
        "${emulator[@]}" "$WORK/cmake/with_kit"
        "${emulator[@]}" "$WORK/cmake/with_kit_static"
    fi
}

# The installed recorder writes down what the outside program does, and the replay finds the library. An emulator would take what is to
# be preloaded for itself, and a sanitizer may want to be the first.
record() {
    [[ -z ${EMULATOR:-} && ${FLAGS:-} != *-fsanitize* ]] || return 0
    VESTA_RECORD="$WORK/record" LD_PRELOAD="$WORK/installed/$LIBDIR/libvesta_hbbtv_recorder.so" "$1"
    expect_record
}

expect_record() {
    grep -q '"in":"vesta_hbbtv_init"' "$WORK/record"
    grep -q '"out":"dsmcc_start"' "$WORK/record"
    [[ ! -x $WORK/installed/bin/vesta_replay ]] ||
        "${emulator[@]}" "$WORK/installed/bin/vesta_replay" "$WORK/record"
}

# link_with_kit OUTPUT OPTION...: a C program and the browser in C++.
link_with_kit() {
    local output=$1
    shift
    "$CXX" -x c -std=c11 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "${compile[@]}" \
        -c "$outside/kit/consumer.c" -o "$WORK/consumer.o"
    "$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "${compile[@]}" \
        "$WORK/consumer.o" "$outside/kit/main.cpp" "$outside/browser.cpp" -o "$output" "$@"
    "${emulator[@]}" "$output"
}

find_kit_with_pkg_config() {
    local library="$WORK/installed/$LIBDIR" compile link
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_kit)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_kit)"
    link_with_kit "$WORK/outside_kit" "${link[@]}" -Wl,-rpath,"$library"
    read -r -a link <<<"$(pkg-config --static --libs vesta_hbbtv_kit)"
    link_with_kit "$WORK/outside_kit_static" "${link[@]}"
    needs_none_of_ours "$WORK/outside_kit_static"
}

# needs_none_of_ours PROGRAM: the static libraries are in it, though the shared ones lie beside them.
needs_none_of_ours() {
    ! "$READELF" -d "$1" | grep 'NEEDED.*libvesta'
}

# Browser engines are compiled like that. A sanitizer asks each object for its type.
build_without_exceptions() {
    local without=(-fno-exceptions)
    [[ ${FLAGS:-} == *-fsanitize* ]] || without+=(-fno-rtti)
    "$CXX" -std=c++17 "${without[@]}" -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "${compile[@]}" \
        -I"$WORK/generated" -I"$outside/own" "$outside"/*.cpp -o "$WORK/outside_without_exceptions" "$@"
    "${emulator[@]}" "$WORK/outside_without_exceptions"
}

# Whatever an installed header does inline needs no name that the library keeps to itself.
link_every_inline_function() {
    "$CXX" --version | grep -qi clang && return  # which cannot be told to keep them all
    "$CXX" -std=c++17 -fkeep-inline-functions "${flags[@]}" "${compile[@]}" -x c++ \
        -c "$WORK/generated/installed_headers.h" -o "$WORK/inline.o"
    "$CXX" "${flags[@]}" "$WORK/inline.o" "$outside"/{main,browser}.cpp -std=c++17 "${compile[@]}" -I"$WORK/generated" \
        -I"$outside/own" -o "$WORK/outside_inline" "$@"
}

# A host in C is linked as one, and gets what the library needs from pkg-config alone. A sanitizer's runtime
# for C++ is not linked by a compiler of C.
linker_of_c() {
    case ${FLAGS:-} in
    *-fsanitize*) printf '%s\n' "$CXX" ;;
    *) c_compiler ;;
    esac
}

# build_hosts SUFFIX OPTION...: in C++, where the package's headers come before the project's own, and in C.
build_hosts() {
    local suffix=$1
    shift
    "$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "${compile[@]}" \
        -I"$WORK/generated" -I"$outside/own" "$outside"/*.cpp -o "$WORK/outside$suffix" "$@"
    "$(c_compiler)" -std=c11 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "${compile[@]}" \
        -c "$outside/c/host.c" -o "$WORK/outside_c$suffix.o"
    "$(linker_of_c)" "${flags[@]}" "$WORK/outside_c$suffix.o" -o "$WORK/outside_c$suffix" "$@"
    "${emulator[@]}" "$WORK/outside$suffix"
    "${emulator[@]}" "$WORK/outside_c$suffix"
}

# The recorder on the link line: after build_hosts() has run without it.
link_recorder_with_pkg_config() {
    local compile link
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_recorder)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_recorder)"
    VESTA_RECORD="$WORK/record" build_hosts _recorded "${link[@]}" -Wl,-rpath,"$WORK/installed/$LIBDIR"
    expect_record
}

find_with_pkg_config() {
    local library="$WORK/installed/$LIBDIR" compile link
    export PKG_CONFIG_LIBDIR="$library/pkgconfig"
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_appman)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_appman)"
    [[ $(pkg-config --modversion vesta_hbbtv_appman) == 1.* ]]
    build_hosts "" "${link[@]}" -Wl,-rpath,"$library"
    build_without_exceptions "${link[@]}" -Wl,-rpath,"$library"
    link_every_inline_function "${link[@]}" -Wl,-rpath,"$library"
    "$READELF" -d "$WORK/outside" | grep -q 'NEEDED.*libvesta_hbbtv_appman[.]so[.]1'
    read -r -a link <<<"$(pkg-config --static --libs vesta_hbbtv_appman)"
    # The linker misses it with older C libraries than glibc 2.34 alone.
    [[ " ${link[*]} " == *" -pthread "* ]] || { echo "pkg-config --static does not say -pthread" >&2; exit 1; }
    build_hosts _static "${link[@]}"
    needs_none_of_ours "$WORK/outside_static"
    needs_none_of_ours "$WORK/outside_c_static"
    link_recorder_with_pkg_config
    [[ -z ${KIT:-} ]] || find_kit_with_pkg_config
}

main() {
    if [[ $1 == pkg-config ]] && ! command -v pkg-config >/dev/null; then
        echo "skipped: there is no pkg-config on this machine"
        exit $skipped
    fi
    install_and_move
    list_headers
    case $1 in
    cmake) find_with_cmake ;;
    pkg-config) find_with_pkg_config ;;
    esac
}

main "$@"
