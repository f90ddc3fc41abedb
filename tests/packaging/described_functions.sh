#!/usr/bin/env bash
# Every function of the interface and every installed class says on which thread it is for and since which
# version it is there, or takes over the description of another one. Parameters and answers are Doxygen's to look
# at: ./dev docs.
#   described_functions.sh REPOSITORY               fails and names those that do not
#   described_functions.sh REPOSITORY --self-check  shows that they are noticed
set -euo pipefail
export LC_ALL=C
# Whether a comment says both, for awk.
readonly says_both='function says_both(comment) {
    return comment ~ /@thread\{(browser|any|one at a time)\}/ && comment ~ /@since [0-9]+\.[0-9]+/
}'
readonly families='(vesta_hbbtv|ve|native|dsmcc|hbbtv|tavo_keyboard)_[A-Za-z_]+'

# Lines "described NAME" and "lacking FILE NAME".
functions_of() {
    awk -v families="$families" "$says_both"'
        /^\/\/\// { comment = comment $0 "\n"; next }
        /^[A-Za-z_]/ && !/^typedef/ && match($0, "[ *]" families "\\(") {
            name = substr($0, RSTART + 1, RLENGTH - 2)
            if (says_both(comment) || comment ~ /@copydetails/) print "described " name
            else print "lacking " FILENAME ": " name
        }
        { comment = "" }' "$@"
}

# The same for the classes of a namespace.
classes_of() {
    awk "$says_both"'
        /^\/\/\// { comment = comment $0 "\n"; next }
        /^template/ { next }
        /^(class|struct) .*[^;]$/ {
            name = $0
            sub(/ *(final)? *[:{].*/, "", name)
            sub(/.* /, "", name)
            print (says_both(comment) ? "described " : "lacking " FILENAME ": ") name
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

check_classes() {
    local found failed=0
    found=$(classes_of "$@")
    ! grep '^lacking' <<<"$found" || failed=1
    [[ -n $found ]] || failed=1
    return "$failed"
}

# The headers that are installed below a folder of the project's name.
class_headers() {
    sed -n 's,^vesta_hbbtv_appman/,,p' tests/packaging/headers.txt
}

# expect_notice SED-COMMAND [CHECK HEADER]
expect_notice() {
    local check=${2:-check} header=${3:-include/vesta_hbbtv_appman.h}
    sed -E "$1" "$header" >"$changed"
    if cmp -s "$header" "$changed" || "$check" "$changed" >/dev/null; then
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
    check_classes signalling/ait.h foundation/ref_ptr.h
    expect_notice 's/@thread\{browser\}//' check_classes signalling/ait.h
    expect_notice 's/^class/\n&/' check_classes signalling/ait.h
    expect_notice 's/@since 1.0//' check_classes foundation/ref_ptr.h
}

cd "$1"
case ${2:-} in
--self-check) self_check ;;
*)
    check include/*.h kit/include/*.h
    mapfile -t headers < <(class_headers)
    check_classes "${headers[@]}"
    ;;
esac
