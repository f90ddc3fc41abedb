#!/usr/bin/env bash
# Compares what a shared library exports and what it leaves to the browser with its list: exports.txt,
# or the one that LIST names.
#   compare_exports.sh LIBRARY            fails and shows the difference
#   compare_exports.sh LIBRARY --update   writes the list anew
# Names are demangled, so that a review can read them. std::size_t is unsigned long on 64 bits and
# unsigned int on 32: the two count as equal, which lets one list serve every processor. NM names
# the nm to use.
set -euo pipefail
list="$(dirname "${BASH_SOURCE[0]}")/${LIST:-exports.txt}"
readonly library=$1 list
export LC_ALL=C

symbols() {
    "${NM:-nm}" -D "$@" "$library" | awk '{ print $NF }'
}

demangled() {
    sed 's/@.*//' | c++filt | sed 's/unsigned long/unsigned int/g' | sort -u
}

exported() {
    symbols --defined-only | demangled
}

# The functions that the browser brings.
undefined() {
    symbols --undefined-only | grep -E '^(ve_|tavo_)' | demangled | sed 's/^/undefined: /'
}

everything() {
    exported
    undefined
}

main() {
    if [[ ${2:-} == --update ]]; then
        everything >"$list"
    elif ! diff -u "$list" <(everything); then
        echo "The exports changed. If that is meant: $0 $library --update" >&2
        exit 1
    fi
    if symbols --defined-only | grep -vE '^_ZN?K?(TV|TI|TS)?N?K?(10VestaHbbTV|6SHA256)' |
        grep '^_Z'; then
        echo "These C++ names are neither ours nor meant to be exported." >&2
        exit 1
    fi
}

main "$@"
