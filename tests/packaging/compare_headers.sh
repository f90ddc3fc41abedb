#!/usr/bin/env bash
# Compares the headers that an installation has with headers.txt.
#   compare_headers.sh BUILD            fails and shows the difference
#   compare_headers.sh BUILD --update   writes headers.txt anew
# The build is installed into a folder of its own. CMAKE names the cmake to use, INCLUDEDIR the
# folder of headers below the prefix. Where there is no KIT its headers are not expected.
set -euo pipefail
list="$(dirname "${BASH_SOURCE[0]}")/headers.txt"
readonly build=$1 list
export LC_ALL=C

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

installed() {
    (cd "$place/${INCLUDEDIR:-include}" && find . -type f) | sed 's,^\./,,' | sort
}

listed() {
    if [[ -n ${KIT:-} ]]; then
        cat "$list"
    else
        grep -vE '^vesta_hbbtv_kit(_layout)?\.h$' "$list"
    fi
}

main() {
    "${CMAKE:-cmake}" --install "$build" --prefix "$place" >/dev/null
    if [[ ${2:-} == --update ]]; then
        installed >"$list"
    elif ! diff -u --label listed --label installed <(listed) <(installed); then
        echo "The installed headers changed. If that is meant: $0 $build --update" >&2
        exit 1
    fi
}

main "$@"
