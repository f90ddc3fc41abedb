#!/usr/bin/env bash
# Installs the packages of a folder into a clean Debian, and lets the tests of packaging/debian/tests/ use
# them there: an outside project is built, and the receiver plays.
#   try_packages.sh FOLDER CHROOT    the clean Debian is made below CHROOT, once; each try has a fresh copy
# DEBIAN_MIRROR names a mirror other than debootstrap's own.
# Ends with 77 where it cannot be tried: without root, debootstrap, device files or the mirror. A debootstrap
# that has all of these and fails is a failure.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly folder=$1 base="$2/base.tar" root="$2/root" skipped=77
readonly suite=bookworm

skip() {
    echo "skipped: $*"
    exit $skipped
}

# What debootstrap wants of its surroundings.
look_around() {
    local mirror=${DEBIAN_MIRROR:-}
    [[ -n $mirror ]] || mirror=$(sed -n 's/^DEF_MIRROR="\(.*\)"$/\1/p' "$(command -v debootstrap)")
    mknod "$root/null" c 1 3 2>"$1/look.log" && (: >"$root/null") 2>"$1/look.log" ||
        skip "no device files can be made here"
    rm "$root/null"
    wget -q -t 2 -T 30 -O /dev/null "$mirror/dists/$suite/InRelease" || skip "the mirror is not reached: $mirror"
}

make_clean_debian() {
    [[ -f $base ]] && return 0
    rm -rf "$root"
    mkdir -p "$root"
    look_around "$2"
    debootstrap --variant=minbase --include=build-essential,cmake,pkg-config "$suite" "$root" ${DEBIAN_MIRROR:-} \
        >"$2/debootstrap.log" 2>&1 || {
        tail -n 20 "$2/debootstrap.log" >&2
        rm -rf "$root"
        echo "debootstrap cannot make a Debian here: $2/debootstrap.log" >&2
        exit 1
    }
    tar -cf "$base.part" --one-file-system -C "$root" .
    mv "$base.part" "$base"
}

in_chroot() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

install_packages() {
    rm -rf "$root"
    mkdir -p "$root"
    tar -xpf "$base" -C "$root"
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    mkdir "$root/packages"
    cp "$folder"/*.deb "$root/packages/"
    rm -f "$root"/packages/*-dbgsym_*
    in_chroot apt-get update -qq
    in_chroot sh -c 'apt-get install -y -qq --no-install-recommends /packages/*.deb' >"$2/install.log" 2>&1 || {
        tail -n 20 "$2/install.log" >&2
        exit 1
    }
}

run_test() {
    echo "== in a clean Debian: $1"
    in_chroot mkdir -p "/tried/$1"
    in_chroot sh -c "cd /sources && AUTOPKGTEST_TMP=/tried/$1 ./debian/tests/$1" >"$2/$1.log" 2>&1 || {
        tail -n 30 "$2/$1.log" >&2
        exit 1
    }
}

main() {
    local test
    [[ $EUID -eq 0 ]] || skip "debootstrap needs root"
    command -v debootstrap >/dev/null || skip "there is no debootstrap"
    mkdir -p "$2"
    make_clean_debian "$@"
    install_packages "$@"
    mkdir "$root/sources"
    tar -xf "$folder"/*.orig.tar.xz -C "$root/sources" --strip-components=1
    cp -r packaging/debian "$root/sources/debian"
    for test in $(sed -n 's/^Tests: //p' packaging/debian/tests/control); do
        run_test "$test" "$2"
    done
    in_chroot sh -c 'apt-get purge -y -qq "*vesta-hbbtv*"' >"$2/purge.log" 2>&1
    [[ -z $(in_chroot find / -xdev -name '*vesta*hbbtv*' -not -path '/packages/*' -not -path '/sources/*' \
        -not -path '/tried/*' -not -path '/var/*') ]]
    rm -rf "$root"
}

main "$@"
