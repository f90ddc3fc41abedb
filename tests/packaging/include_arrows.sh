#!/usr/bin/env bash
# Checks the includes between the library's rooms against include_arrows.txt.
#   include_arrows.sh PROJECT              fails and names every include that is not allowed there,
#                                          and every exception of the list that nobody needs
#   include_arrows.sh PROJECT --self-check adds such includes to a copy, and fails unless each of
#                                          them is noticed
set -euo pipefail
list="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/include_arrows.txt"
readonly list
export LC_ALL=C

# Lines "FILE HEADER" of all includes from one room into a later one. What stands in quotes is the
# project's own: a folder that is none of the rooms counts, too (include/ is named without a folder,
# and so are the kit's headers).
upward_includes() {
    local rooms
    rooms=$(sed -n 's/^rooms: //p' "$list")
    # shellcheck disable=SC2086 # each room is an argument
    (cd "$1" && grep -rE --include='*.h' --include='*.cpp' \
        '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]([^<">]*/[^<">]*|vesta_hbbtv_kit[a-z_]*\.h)[">]' $rooms) |
        sed -E 's/^([^:]*):[^<"]*([<"])([^">]*)[">].*/\1 \3 \2/' | sort -u |
        awk -v rooms="$rooms" '
            function place(path, folder) {
                folder = path ~ /^vesta_hbbtv_kit[a-z_]*[.]h$/ ? "kit/" : path
                sub("(/include)?/[^/]*$", "", folder)
                return (folder in places) ? places[folder] : 0
            }
            BEGIN {
                count = split(rooms, names, " ")
                for (i = 1; i <= count; ++i)
                    places[names[i]] = i
            }
            $3 == "<" && place($2) == 0 { next }  # of the system
            place($2) == 0 || place($2) > place($1) { print $1, $2 }'
}

exceptions() {
    grep -vE '^(#|rooms:|$)' "$list" | sort -u
}

check() {
    local difference
    difference=$(diff <(exceptions) <(upward_includes "$1")) && return 0
    echo "$difference" | sed -n 's/^> /forbidden: /p; s/^< /listed but not there: /p'
    return 1
}

# expect_notice ROOT FILE TEXT: adds a line to a file, checks, and takes it back.
expect_notice() {
    local root=$1 file=$1/$2 text=$3
    cp "$file" "$root/former"
    printf '%s\n' "$text" >>"$file"
    if check "$root" >/dev/null; then
        echo "not noticed: $text in $2" >&2
        exit 1
    fi
    cp "$root/former" "$file"
}

self_check() {
    local root
    root=$(mktemp -d)
    # shellcheck disable=SC2064 # the folder of now
    trap "rm -rf '$root'" EXIT
    (cd "$1" && tar -cf - foundation security signalling lifecycle integration oipf kit recorder) |
        tar -xf - -C "$root"
    check "$root" >/dev/null || { echo "the copy is not accepted" >&2; exit 1; }
    expect_notice "$root" foundation/text.h '#include "signalling/ait.h"'
    expect_notice "$root" security/sha256.cpp '#  include <signalling/hbbtv_url.h>'
    expect_notice "$root" signalling/ait.h '  #include "oipf/notifications/notifications.h"'
    expect_notice "$root" oipf/notifications/notifications.h '#include "lifecycle/window.h" // why'
    expect_notice "$root" lifecycle/window.h '#include "integration/external_event.h"'
    expect_notice "$root" integration/key_set.cpp '#include "oipf/natives/application_natives.h"'
    expect_notice "$root" oipf/natives/application_natives.cpp '#include "receiver/session.h"'
    expect_notice "$root" signalling/ait.cpp '#include "kit/xml_ait_document.h"'
    expect_notice "$root" oipf/natives/application_natives.cpp '#include "vesta_hbbtv_kit.h"'
    expect_notice "$root" integration/external_event.cpp '#include "vesta_hbbtv_kit_layout.h"'
    expect_notice "$root" kit/xml_parser.cpp '#include "receiver/session.h"'
    expect_notice "$root" kit/xml_parser.cpp '#include "recorder/names.h"'
    expect_notice "$root" recorder/boundary/records.h '#include "recorder/names.h"'
    sed -i '/integration\/key_set.h/d' "$root/lifecycle/application.cpp"
    if check "$root" >/dev/null; then
        echo "not noticed: an exception that nobody needs" >&2
        exit 1
    fi
}

case ${2:-} in
--self-check) self_check "$1" ;;
*) check "$1" ;;
esac
