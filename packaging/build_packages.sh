#!/usr/bin/env bash
# Builds the Debian packages of HEAD, source and binary, and has lintian look at them.
#   build_packages.sh FOLDER    everything happens in there; what was there is removed
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

readonly folder=$1
version=$(packaging/versions.sh)
readonly name=vesta-hbbtv-appman
tree="$folder/$name-$version"

unpack() {
    rm -rf "$folder"
    packaging/release.sh "$folder/release" >/dev/null
    cp "$folder/release/vesta_hbbtv_appman-$version.tar.xz" "$folder/${name}_$version.orig.tar.xz"
    mkdir "$tree"
    tar -xf "$folder/${name}_$version.orig.tar.xz" -C "$tree" --strip-components=1
    cp -r "$tree/packaging/debian" "$tree/debian"
}

# debhelper gives the build a home of its own; what was compiled before is found all the same.
build() {
    if command -v ccache >/dev/null; then
        CCACHE_DIR=$(ccache --get-config cache_dir)
        export CCACHE_DIR PATH="/usr/lib/ccache:$PATH"
    fi
    unset CMAKE_GENERATOR CMAKE_CXX_COMPILER_LAUNCHER
    (cd "$tree" && DEB_BUILD_OPTIONS="parallel=${JOBS:-$(nproc)} ${DEB_BUILD_OPTIONS:-}" \
        dpkg-buildpackage --unsigned-source --unsigned-changes >../build.log 2>&1) || {
        tail -n 60 "$folder/build.log" >&2
        echo "The packages could not be built: $folder/build.log" >&2
        exit 1
    }
}

unpack
build
lintian --allow-root --fail-on error,warning "$folder"/*.changes
(cd "$folder" && ls ./*.deb)
