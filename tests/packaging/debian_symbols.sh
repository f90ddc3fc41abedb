#!/usr/bin/env bash
# Compares what a shared library exports with the symbols file of its Debian package: with those lines of it
# that are of this size of a pointer.
#   debian_symbols.sh SYMBOLS LIBRARY                        fails and shows the difference
#   debian_symbols.sh SYMBOLS LIBRARY-64 --update LIBRARY-32 writes the file anew: what is listed stays with
#                                                            its version, what is new gets VERSION
# C++ names are demangled, so that a review can read them; constructors and destructors have several of
# one name. NM and READELF name the tools to use.
set -euo pipefail
readonly symbols=$1 library=$2
export LC_ALL=C
version=$("$(dirname "${BASH_SOURCE[0]}")/../../packaging/versions.sh")

bits() {
    "${READELF:-readelf}" -h "$1" | sed -nE 's/^ *Class: +ELF//p'
}

# Lines as in a symbols file, but without tags for the size and without versions.
exported() {
    "${NM:-nm}" -D --defined-only "$1" | awk '{ print $NF }' | sed 's/@.*//' |
        while read -r name; do
            if [[ $name == _Z* ]]; then
                printf '(c++)"%s@Base"\n' "$(c++filt "$name")"
            else
                printf '%s@Base\n' "$name"
            fi
        done | sort -u
}

# listed BITS
listed() {
    local other=$((96 - $1))
    sed -nE 's/^ (.*) [^ ]+$/\1/p' "$symbols" | grep -v "arch-bits=$other" |
        sed -E 's/^\(arch-bits=[0-9]+\|c\+\+\)/(c++)/' | sort -u
}

# with_versions: of the lines that come in, those that were listed keep theirs.
with_versions() {
    local line before
    while read -r line; do
        before=$(grep -F " $line " "$symbols" 2>/dev/null | head -n 1 | sed 's/.* //' || true)
        printf ' %s %s\n' "$line" "${before:-$version}"
    done
}

update() {
    local wide=$1 narrow=$2 head new
    head=$(sed -n '/^[^ ]/p' "$symbols")
    new=$(mktemp)
    {
        printf '%s\n' "$head"
        {
            comm -12 <(exported "$wide") <(exported "$narrow")
            comm -23 <(exported "$wide") <(exported "$narrow") | sed 's/^(c++)/(arch-bits=64|c++)/'
            comm -13 <(exported "$wide") <(exported "$narrow") | sed 's/^(c++)/(arch-bits=32|c++)/'
        } | with_versions
    } >"$new"
    cat "$new" >"$symbols"
    rm -f "$new"
}

if [[ ${3:-} == --update ]]; then
    update "$library" "$4"
elif ! diff -u --label listed --label exported <(listed "$(bits "$library")") <(exported "$library"); then
    echo "The exports are not those of $symbols (docs/building.md says how to write it anew)." >&2
    exit 1
fi
