#!/usr/bin/env bash
# The archive of a release is the same bit for bit wherever it is made; versions and checksums that do not
# agree are noticed.
#   release_archive.sh PROJECT
# Ends with 77 where the sources are no checkout of git.
set -euo pipefail
readonly root=$1 skipped=77
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
clone="$place/else where/clone"

git -C "$root" rev-parse --verify -q HEAD >/dev/null 2>&1 || { echo "skipped: no checkout of git"; exit $skipped; }

commit_all() {
    git -C "$clone" -c user.name=test -c user.email=test@example.com \
        -c commit.gpgsign=false commit -qam "$1"
}

fail() {
    echo "$*" >&2
    exit 1
}

# same FOLDER FOLDER
same() {
    diff -r "$1" "$2" || fail "two runs made different archives"
}

make_here() {
    (cd "$root" && packaging/release.sh "$place/here" >/dev/null)
}

# In another folder, of another owner's habits, at another end of the world.
make_elsewhere() {
    (
        umask 077
        export TZ=Pacific/Auckland XZ_OPT=-0
        mkdir -p "$place/else where"
        git clone -q --shared "$root" "$clone"
        git -C "$clone" config core.autocrlf true
        git -C "$clone" config tar.umask 0000
        cd "$clone"
        packaging/release.sh "$place/elsewhere" >/dev/null
        git config --unset core.autocrlf
    )
}

archive_is_whole() {
    local version list
    version=$("$root/packaging/versions.sh")
    (cd "$place/here" && sha256sum -c --quiet "vesta_hbbtv_appman-$version.sha256")
    grep -q "^## $version" "$place/here/vesta_hbbtv_appman-$version.changes.md"
    list=$(tar -tf "$place/here/vesta_hbbtv_appman-$version.tar.xz")
    grep -qx "vesta_hbbtv_appman-$version/CMakeLists.txt" <<<"$list"
    ! grep -qE "^vesta_hbbtv_appman-$version/packaging/(yocto|buildroot)" <<<"$list" || fail "the archive has the recipes"
    [[ -z $(grep -v "^vesta_hbbtv_appman-$version/" <<<"$list") ]] || fail "not all is in one folder"
}

# From the day on which a version has a date, the recipes have its archive's checksum.
recipes_get_their_checksum() {
    cd "$clone"
    sed -i '0,/^## .*/s/^\(## [^,]*\), .*/\1, 2026-12-01/' CHANGELOG.md
    sed -i -E 's/\b[0-9a-f]{64}\b/'"$(printf '1%.0s' {1..64})"'/' packaging/yocto/*.bb
    commit_all "a release"
    ! packaging/release.sh "$place/dated" >/dev/null 2>&1 || fail "a wrong checksum was not noticed"
    packaging/release.sh "$place/dated" --accept >/dev/null 2>&1
    commit_all "the recipes"
    packaging/release.sh "$place/accepted" >/dev/null
    same "$place/dated" "$place/accepted"
}

# expect_notice SED-COMMAND FILE NAME
expect_notice() {
    local report
    cd "$clone"
    sed -i -E "$1" "$2"
    report=$(packaging/versions.sh --check 2>&1) && fail "not noticed: $1 in $2"
    [[ $report == *"$3"* ]] || fail "$report, and not: $3"
    git checkout -q -- "$2"
}

other_versions_are_noticed() {
    expect_notice '0,/^## /s/^## [0-9.]+/## 9.0.0/' CHANGELOG.md changelog
    expect_notice '1s/\([0-9.]+-/(9.0.0-/' packaging/debian/changelog debian
    expect_notice 's/^(VESTA_HBBTV_APPMAN_VERSION = ).*/\19.0.0/' \
        packaging/buildroot/vesta-hbbtv-appman/vesta-hbbtv-appman.mk buildroot
    mv packaging/yocto/*.bb packaging/yocto/vesta-hbbtv-appman_9.0.0.bb
    { packaging/versions.sh --check 2>&1 || true; } | grep -q yocto ||
        fail "not noticed: the recipe of another version"
}

make_here
make_elsewhere
same "$place/here" "$place/elsewhere"
archive_is_whole
recipes_get_their_checksum
other_versions_are_noticed
