#!/usr/bin/env bash
# The archive of a release: the sources of HEAD, their changelog's section, and the checksums of both.
#   release.sh FOLDER            writes them there
#   release.sh FOLDER --accept   and the archive's checksum into the recipes of Yocto and Buildroot
# The same sources make the same archive, bit for bit, wherever and by whom: order, times, owners and modes
# are given, and xz has one thread. (Another release of tar or xz may pack in another way.) The recipes
# are no part of it, as they name its checksum. They have zeros for one until CHANGELOG.md gives the version
# a date; from then on they must have that of the archive.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C
unset XZ_OPT XZ_DEFAULTS TAR_OPTIONS

fail() {
    printf 'release: %s\n' "$*" >&2
    exit 1
}

recipes=(packaging/yocto/*.bb packaging/buildroot/*/*.hash)

# make_archive FOLDER: what git has, and not what it was checked out as.
make_archive() {
    local folder=$1 sources seconds
    seconds=$(packaging/versions.sh --seconds)
    sources=$(mktemp -d "$folder/sources.XXXXXX")
    git -c core.autocrlf=false -c core.attributesFile=/dev/null archive --prefix="$name/" HEAD |
        tar -xf - -C "$sources"
    tar -cf - -C "$sources" --format=gnu --sort=name --mtime="@$seconds" --owner=0 --group=0 \
        --numeric-owner --mode='u=rwX,go=rX' "$name" | xz -T1 -6 >"$folder/$name.tar.xz"
    rm -rf "$sources"
}

# What the recipes have for a checksum; each line once.
checksums_of_recipes() {
    grep -hoE '\b[0-9a-f]{64}\b' "${recipes[@]}" | sort -u
}

accept() {
    sed -i -E "s/\b[0-9a-f]{64}\b/$1/" "${recipes[@]}"
}

main() {
    local folder=$1 sum expected
    packaging/versions.sh --check
    git diff --quiet HEAD || echo "release: what is not committed is not in the archive" >&2
    name=vesta_hbbtv_appman-$(packaging/versions.sh)
    mkdir -p "$folder"
    make_archive "$folder"
    packaging/versions.sh --changes >"$folder/$name.changes.md"
    (cd "$folder" && sha256sum "$name.tar.xz" "$name.changes.md" >"$name.sha256")
    cat "$folder/$name.sha256"
    sum=$(sed -n '1s/ .*//p' "$folder/$name.sha256")
    expected=$sum
    [[ $(packaging/versions.sh --date) != unreleased ]] || expected=$(printf '0%.0s' {1..64})
    [[ ${2:-} != --accept ]] || accept "$expected"
    [[ $(checksums_of_recipes) == "$expected" ]] ||
        fail "the recipes of Yocto and Buildroot should have the checksum $expected; --accept writes it"
}

main "$@"
