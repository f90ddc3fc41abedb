#!/usr/bin/env bash
# Installs the library, moves the installation, and lets the outside project find it there.
#   try_outside_project.sh cmake|pkg-config
# The build that is tested comes in through the environment: BUILD, WORK, CMAKE, CXX, LIBDIR,
# INCLUDEDIR, and, where they matter, FLAGS (compiler and linker), TOOLCHAIN, EMULATOR, and KIT where
# there is one.
set -euo pipefail
outside="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/outside_project"
readonly outside skipped=77
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
    (cd "$WORK/installed/$INCLUDEDIR/vesta_hbbtv_appman" && find . -name '*.h' | LC_ALL=C sort) |
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
    record "$WORK/cmake/with_vesta_hbbtv_appman"
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

# The same with the recorder on the link line.
link_recorder_with_pkg_config() {
    local compile link
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_recorder)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_recorder)"
    "$CXX" -std=c++17 "${flags[@]}" -I"$WORK/generated" "${compile[@]}" "$outside"/*.cpp \
        -o "$WORK/outside_recorded" "${link[@]}" -Wl,-rpath,"$WORK/installed/$LIBDIR"
    VESTA_RECORD="$WORK/record" "${emulator[@]}" "$WORK/outside_recorded"
    expect_record
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
    link=("${link[@]/-lvesta_hbbtv_appman/-l:libvesta_hbbtv_appman.a}")
    link_with_kit "$WORK/outside_kit_static" \
        "${link[@]/-lvesta_hbbtv_kit/-l:libvesta_hbbtv_kit.a}"
}

find_with_pkg_config() {
    local library="$WORK/installed/$LIBDIR" compile link
    export PKG_CONFIG_LIBDIR="$library/pkgconfig"
    read -r -a compile <<<"$(pkg-config --cflags vesta_hbbtv_appman)"
    read -r -a link <<<"$(pkg-config --libs vesta_hbbtv_appman)"
    [[ $(pkg-config --modversion vesta_hbbtv_appman) == 1.* ]]
    "$CXX" -std=c++17 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" -I"$WORK/generated" \
        "${compile[@]}" "$outside"/*.cpp -o "$WORK/outside" "${link[@]}" -Wl,-rpath,"$library"
    "${emulator[@]}" "$WORK/outside"

    # Statically: the archive instead of the shared library, and what pkg-config says it needs.
    read -r -a link <<<"$(pkg-config --static --libs vesta_hbbtv_appman)"
    "$CXX" -std=c++17 "${flags[@]}" -I"$WORK/generated" "${compile[@]}" "$outside"/*.cpp \
        -o "$WORK/outside_static" "${link[@]/-lvesta_hbbtv_appman/-l:libvesta_hbbtv_appman.a}"
    "${emulator[@]}" "$WORK/outside_static"
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
