#!/usr/bin/env bash
# Compares docs/functions.md with the public headers and the test sources.
#   functions_table.sh SOURCE_DIRECTORY               fails and says what does not agree
#   functions_table.sh SOURCE_DIRECTORY --self-check  shows that rows which do not agree are noticed
# Every declared function, and every class that an installed header offers, has one row, every row
# names one of these, and its test exists in the named source and uses it: in its own lines, or in what
# the tests of that source share.
set -euo pipefail
readonly root=$1
table="$root/docs/functions.md"
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
                sed -nE 's,^class (VESTA_EXPORTED )?([A-Za-z0-9_]+)[^;]*$,\2,p; s,^ +class VESTA_EXPORTED ([A-Za-z0-9_]+)[^;]*$,\1,p; s,^(VESTA_EXPORTED )?(bool|int|void|const char\*) ([A-Za-z_]+)\(.*,\3,p' \
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

# lines_of SUITE TEST SOURCE: the test without the others of its source; nothing where there is no such test.
lines_of() {
    awk -v wanted="($1,$2)" '
        /^TEST(_F|_P)?\(/ { head = ""; inside = 1 }
        inside == 1 {
            head = head $0
            if (!/\)/) next
            gsub(/^TEST(_F|_P)?| |{.*/, "", head)
            inside = 2
            if (head == wanted) found = 1
        }
        inside != 2 || head == wanted { kept = kept $0 "\n" }
        /^}/ { inside = 0 }
        END { if (found) printf "%s", kept }' "$root/$3"
}

check_tests() {
    local function suite test source lines failed=0
    while read -r function suite test source; do
        if [[ ! -f "$root/$source" ]]; then
            echo "$function: there is no $source"
            failed=1
            continue
        fi
        lines=$(lines_of "$suite" "$test" "$source")
        if [[ -z $lines ]]; then
            echo "$function: $source has no test $suite.$test"
            failed=1
        elif ! { echo "$lines"; cat /dev/null $(fixtures_of "$source"); } | without_comments |
            grep -v '^#include' | grep -wF "$function" >/dev/null; then
            echo "$function: $suite.$test of $source does not use it"
            failed=1
        fi
    done < <(rows)
    return "$failed"
}

check() {
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

# expect_notice TEXT SED-COMMAND: what is said of a table that was changed so.
expect_notice() {
    local said
    sed -E "$2" "$root/docs/functions.md" >"$table"
    said=$(check) && said=nothing
    [[ $said == *"$1"* ]] || { echo "expected \"$1\", but: $said" >&2; exit 1; }
}

self_check() {
    table=$(mktemp)
    trap 'rm -f "$table"' EXIT
    expect_notice "-vesta_hbbtv_tick" '/^\| `vesta_hbbtv_tick`/d'
    expect_notice "+vesta_hbbtv_tock" 's/^\| `vesta_hbbtv_tick`/| `vesta_hbbtv_tock`/'
    expect_notice "has no test" 's/^(\| `vesta_hbbtv_tick` \| `[A-Za-z]+\.)/\1no/'
    expect_notice "there is no tests/none.cpp" 's,^(\| `vesta_hbbtv_tick` .*\(\.\./tests/).*\),\1none.cpp),'
    expect_notice "TakesBrowserEventsAndKeys of tests/integration/c_interface_test.cpp does not use it" \
        's/^(\| `vesta_hbbtv_version` \| `)[A-Za-z.]+/\1CInterface.TakesBrowserEventsAndKeys/'
    expect_notice "is not of the form" 's/^\| `vesta_hbbtv_tick` \| `/| `vesta_hbbtv_tick` | /'
}

case ${2:-} in
--self-check) self_check ;;
*) check ;;
esac
