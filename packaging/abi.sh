#!/usr/bin/env bash
# The application binary interface of the libraries, as it is described in packaging/abi/, and as it is in
# the builds abi, abi-m32 and abi-arm. docs/abi.md says what may change.
#   abi.sh                fails and tells what changed
#   abi.sh --accept       writes the descriptions anew
#   abi.sh --targets BUILD  what has to be built there before
#   abi.sh --self-check   shows that a removed export, a changed record and a changed vtable are noticed
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C

# Build, library and the processor's name in Debian. The kit is not built for the others.
readonly descriptions=(
    "abi appman amd64"
    "abi kit amd64"
    "abi-m32 appman i386"
    "abi-arm appman armhf"
)

# describe BUILD LIBRARY: what programs see of a library: its exports, and of types those that the installed
# headers define. Names of parameters, places and folders are no part of it.
describe() {
    local build=$1 library=$2 headers="$1/described"
    rm -rf "$headers"
    cmake --install "$build" --prefix "$headers" --component development >/dev/null
    cmake --install "$build" --prefix "$headers" --component kit-development >/dev/null
    abidw --headers-dir "$headers/include" --drop-private-types --exported-interfaces-only \
        --drop-undefined-syms --no-show-locs --no-corpus-path --no-comp-dir-path \
        --no-parameter-names --no-write-default-sizes "$build/libvesta_hbbtv_$library.so.1"
}

# each FUNCTION: for every description: FUNCTION BUILD LIBRARY FILE, where FILE is packed.
each() {
    local function=$1 build library processor failed=0
    for description in "${descriptions[@]}"; do
        read -r build library processor <<<"$description"
        "$function" "build/$build" "$library" \
            "packaging/abi/libvesta_hbbtv_$library-$processor.abi.xz" || failed=1
    done
    return "$failed"
}

# difference BUILD LIBRARY FILE: abidiff's report. It ends with 4 for a change, and with 8 more for one that
# breaks programs.
difference() {
    local described="$1/$2.described.abi" found="$1/$2.found.abi"
    xz -dc "$3" >"$described" || return 1
    describe "$1" "$2" >"$found" || return 1
    abidiff "$described" "$found"
}

compare() {
    local report code=0
    report=$(difference "$@") || code=$?
    if [[ $code -eq 0 ]]; then
        echo "$3: the same"
        return 0
    fi
    printf '%s\n' "$report"
    if ((code & 8)); then
        echo "$3: programs that were linked before would break" >&2
    else
        echo "$3: changed; if that is meant, and in accordance with docs/abi.md: ./dev abi --accept" >&2
    fi
    return 1
}

accept() {
    local found="$1/$2.found.abi"
    describe "$1" "$2" >"$found" || return 1
    xz -T1 -9 <"$found" >"$3"
    echo "$3: written"
}

# change COPY FILE SED-COMMAND
change() {
    sed -i "$3" "$1/sources/$2"
    ! cmp -s "$1/sources/$2" "$2" || { echo "$2 has nothing that $3 would change" >&2; exit 1; }
}

# A copy of the sources with three changes, each of a kind that the gate is there for.
make_changed_copy() {
    local copy=$1
    rm -rf "$copy/sources"
    mkdir -p "$copy/sources"
    git ls-files -z | tar --null -T - -cf - | tar -xf - -C "$copy/sources"
    change "$copy" cmake/exports.map 's/^    local:$/&\n        native_KeySetGetValue;/'
    change "$copy" include/vesta_hbbtv_diagnosis.h 's/^    uint32_t wanted;/    uint32_t selfCheck;\n&/'
    change "$copy" foundation/logging.h \
        's/^    virtual void output(LogEntry& entry) = 0;/    virtual void selfCheck() {}\n&/'
    # What the compiler itself notices is not asked for here.
    change "$copy" include/vesta_hbbtv_layout.h '/^#include/!d'
}

# expect_notice REPORT REGEX WHAT
expect_notice() {
    grep -qE "$2" <<<"$1" && return 0
    printf '%s\nnot noticed: %s\n' "$1" "$3" >&2
    exit 1
}

self_check() {
    local copy=build/abi-self-check report code=0
    make_changed_copy "$copy"
    cmake -S "$copy/sources" -B "$copy/build" -DCMAKE_BUILD_TYPE=Debug -DVESTA_BUILD_TESTS=OFF \
        -DVESTA_BUILD_KIT=OFF -DVESTA_BUILD_RECEIVER=OFF -DVESTA_BUILD_STATION=OFF \
        -DVESTA_BUILD_REPLAY=OFF -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" >"$copy/configure.log"
    cmake --build "$copy/build" --parallel "${JOBS:-$(nproc)}" \
        --target vesta_hbbtv_appman vesta_hbbtv_appman_static >"$copy/build.log"
    report=$(difference "$copy/build" appman packaging/abi/libvesta_hbbtv_appman-amd64.abi.xz) || code=$?
    ((code & 8)) || { printf '%s\nNothing of it breaks programs, says abidiff.\n' "$report" >&2; exit 1; }
    expect_notice "$report" "\[D\].*native_KeySetGetValue" "an export that was removed"
    expect_notice "$report" "selfCheck'?,? at offset|uint32_t selfCheck" "a field that was added to a record"
    expect_notice "$report" "virtual .*LoggingOutput::selfCheck" "a virtual function that was added before another"
    echo "A removed export, a changed record and a changed vtable are noticed."
}

targets() {
    local build library processor
    for description in "${descriptions[@]}"; do
        read -r build library processor <<<"$description"
        [[ $build != "$1" ]] || printf '%s\n' "vesta_hbbtv_$library" "vesta_hbbtv_${library}_static"
    done
}

case ${1:-} in
'') each compare ;;
--targets) targets "$2" ;;
--accept) each accept ;;
--self-check) self_check ;;
*)
    echo "abi.sh does not know $1" >&2
    exit 1
    ;;
esac
