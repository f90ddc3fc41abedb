#!/usr/bin/env bash
# The version of the project, and whether every place that names one says the same.
#   versions.sh            prints it
#   versions.sh --check    fails and names the places that say otherwise
#   versions.sh --date     prints the date of its release, "unreleased" before there is one
#   versions.sh --seconds  prints the time of the latest entry of the Debian changelog, in seconds since
#                          1970: every file of the release's archive has it
#   versions.sh --changes  prints the changelog's section of it
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C

from_header() {
    sed -nE 's/^#define VESTA_HBBTV_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+)$/\2/p' \
        include/vesta_hbbtv_version.h | paste -sd.
}

# "## 1.0.0, unreleased": the words after the first "## ".
changelog_head() {
    sed -n 's/^## //p' CHANGELOG.md | head -n 1
}

from_changelog() {
    changelog_head | sed 's/,.*//'
}

release_date() {
    changelog_head | sed 's/^[^,]*, *//'
}

# "vesta-hbbtv-appman (1.0.0-1) bookworm; urgency=medium"
from_debian() {
    sed -nE '1s/^[^(]*\(([0-9.]+)-[0-9]+\).*/\1/p' packaging/debian/changelog
}

from_yocto() {
    find packaging/yocto -name '*.bb' | sed -E 's/.*_([0-9.]+)\.bb/\1/'
}

from_buildroot() {
    sed -nE 's/^VESTA_HBBTV_APPMAN_VERSION = //p' packaging/buildroot/*/*.mk
}

# The archive of a release has no recipes: they name its checksum.
places() {
    printf '%s\n' changelog debian
    [[ ! -d packaging/yocto ]] || printf '%s\n' yocto
    [[ ! -d packaging/buildroot ]] || printf '%s\n' buildroot
}

check() {
    local version place found failed=0
    version=$(from_header)
    [[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || { echo "no version: $version" >&2; exit 1; }
    for place in $(places); do
        found=$("from_$place")
        [[ $found == "$version" ]] && continue
        echo "the header says version $version, $place says ${found:-none}" >&2
        failed=1
    done
    if ! [[ $(release_date) =~ ^(unreleased|[0-9]{4}-[0-9]{2}-[0-9]{2})$ ]]; then
        echo "CHANGELOG.md does not say when: unreleased, or a date" >&2
        failed=1
    fi
    return "$failed"
}

changes() {
    awk '/^## / { if (found) exit; found = 1 } found' CHANGELOG.md
}

case ${1:-} in
'') from_header ;;
--check) check ;;
--date) release_date ;;
--seconds) date -d "$(sed -nE 's/^ -- .*>  //p' packaging/debian/changelog | head -n 1)" +%s ;;
--changes) changes ;;
*)
    echo "versions.sh does not know $1" >&2
    exit 1
    ;;
esac
