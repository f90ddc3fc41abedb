#!/usr/bin/env bash
# Compares docs/functions.md with the public headers and the test sources.
#   functions_table.sh SOURCE_DIRECTORY
# Every declared function, and every class that an installed header offers, has one row, every row
# names one of these, and its test exists in the named source, which uses it.
set -euo pipefail
readonly root=$1
readonly table="$root/docs/functions.md"
readonly headers=("$root/include/vesta_hbbtv_appman.h" "$root/include/vesta_hbbtv_c.h"
    "$root/include/vesta_hbbtv_diagnosis.h" "$root/include/vesta_hbbtv_version.h"
    "$root/kit/include/vesta_hbbtv_kit.h")
export LC_ALL=C

without_comments() {
    sed 's,//.*,,' "$@"
}

# What the public headers declare, and the other installed headers; but for what only their own
# classes are made of.
declared() {
    {
        without_comments "${headers[@]}" |
            grep -oE '\b((vesta_hbbtv|native|dsmcc|hbbtv)_[A-Za-z_]+ *\(|veif_[A-Za-z]+;)' |
            tr -d ' (;'
        sed -n 's,^vesta_hbbtv_appman/\(.*/.*\),\1,p' "$root/tests/packaging/headers.txt" |
            while read -r installed; do
                sed -nE 's,^class (VESTA_EXPORTED )?([A-Za-z0-9_]+)[^;]*$,\2,p; s,^(VESTA_EXPORTED )?(bool|int|void|const char\*) ([A-Za-z_]+)\(.*,\3,p' \
                    "$root/$installed"
            done |
            grep -vxE 'ApplicationTarget|ByteReader|SmallVector|VESTA_THREAD_SAFETY|forEachDescriptor'
    } | sort
}

# Function, suite, test and source of every row.
rows() {
    sed -nE 's,^\| `([a-z_A-Z0-9]+)` \| `([A-Za-z0-9]+)\.([A-Za-z0-9_]+)` \| \[[^]]*\]\(\.\./([a-z_0-9/]+\.cpp)\) \|$,\1 \2 \3 \4,p' "$table"
}

# The headers beside a source that it includes: the tests share what they do there.
fixtures_of() {
    sed -nE "s,^#include \"(${1%/*}/[a-z_]+\.h)\"$,$root/\1,p" "$root/$1"
}

check_tests() {
    local function suite test source failed=0
    while read -r function suite test source; do
        if [[ ! -f "$root/$source" ]]; then
            echo "$function: there is no $source"
            failed=1
        elif ! tr -d '\n' <"$root/$source" | grep -E "TEST(_F|_P)?\( *$suite, *$test\)" >/dev/null; then
            echo "$function: $source has no test $suite.$test"
            failed=1
        elif ! without_comments "$root/$source" $(fixtures_of "$source") | grep -wF "$function" >/dev/null; then
            echo "$function: $source does not use it"
            failed=1
        fi
    done < <(rows)
    return "$failed"
}

main() {
    local failed=0
    if ! diff -u --label declared --label listed <(declared) <(rows | cut -d' ' -f1 | sort); then
        failed=1
    fi
    check_tests || failed=1
    if [[ $(grep -c '^| `' "$table") != $(rows | wc -l) ]]; then
        echo "A row of $table is not of the form that this check reads."
        failed=1
    fi
    return "$failed"
}

main
