#!/usr/bin/env bash
# Compares the recipes of Debian, Yocto and Buildroot with the sources: options, files, packages, checksums.
# Their build systems are not needed; what only they know is not looked at.
#   recipes.sh PROJECT                fails and says what does not agree
#   recipes.sh PROJECT --self-check   shows that recipes which do not agree are noticed
set -euo pipefail
readonly root=$1
export LC_ALL=C
failed=0

complain() {
    echo "$*" >&2
    failed=1
}

# The options that the build knows.
options_of_build() {
    (cd "$1" && grep -hoE '^ *(option|set|vesta_decide_on)\(VESTA_[A-Z0-9_]+' CMakeLists.txt cmake/*.cmake) |
        sed 's/.*(//' | sort -u
}

# What a receiver needs of the project, each option with its value: the libraries, and the kit or not.
options_of_a_receiver() {
    printf '%s\n' "-DVESTA_BUILD_KIT=$1" -DVESTA_BUILD_RECEIVER=OFF -DVESTA_BUILD_REPLAY=OFF -DVESTA_BUILD_STATION=OFF \
        -DVESTA_BUILD_TESTS=OFF
}

# expect_options WHERE KIT GIVEN: these and no others.
expect_options() {
    diff --label "expected of $1" --label "options of $1" -u <(options_of_a_receiver "$2") \
        <(xargs -n 1 <<<"$3" | sort) >&2 || complain "$1: these are not the options of a receiver's build"
}

# The name of a release's archive, before its version.
archive_name() {
    sed -nE 's/^ +name=([a-z_]+)-\$\(.*/\1/p' "$1/packaging/release.sh"
}

options_are_known() {
    local option file=$2
    for option in $(grep -oE -- '-DVESTA_[A-Z0-9_]+' "$1/$file" | sed 's/^-D//'); do
        options_of_build "$1" | grep -qx "$option" || complain "$file: there is no option $option"
    done
}

# The value of `NAME = "VALUE"`, its continued lines too.
yocto_value() {
    sed -e ':again' -e '/\\$/N; s/\\\n//; tagain' "$1" | sed -nE "s/^$2 *[?+:]*= *\"(.*)\"/\1/p"
}

# installed: what `cmake --install` brings, without its components; headers as `include/...`.
installed() {
    sed 's/^[^ ]* //' "$1/tests/packaging/components.txt"
}

# matches GLOB...: the installed files that a glob of a package finds.
matches() {
    local project=$1 path glob
    shift
    installed "$project" | while read -r path; do
        for glob in "$@"; do
            # shellcheck disable=SC2053 # a glob
            if [[ $path == $glob || $path == $glob/* ]]; then
                printf '%s\n' "$path"
                break
            fi
        done
    done
}

check_debian() {
    local project=$1 file globs package packages found
    packages=$(sed -n 's/^Package: //p' "$project/packaging/debian/control")
    found=$(mktemp)
    for file in "$project"/packaging/debian/*.install; do
        package=${file##*/}
        grep -qx "${package%.install}" <<<"$packages" || complain "$package is of no package"
        # Debian's library folder has one more level.
        mapfile -t globs < <(sed -e 's,^usr/,,' -e 's,^lib/\*/,lib/,' \
            -e 's,^share/doc/.*,doc,' "$file")
        for glob in "${globs[@]}"; do
            [[ -n $(matches "$project" "$glob") ]] || complain "$package: nothing is installed as $glob"
        done
        matches "$project" "${globs[@]}" >>"$found"
    done
    # The packages have no real browser: its module is not built for them.
    diff <(installed "$project" | grep -v receiver_pages | sort -u) \
        <(grep -v receiver_pages "$found" | sort -u) >&2 || complain "debian: a file is in no package"
    [[ -z $(grep -v '^include' "$found" | sort | uniq -d) ]] || complain "debian: a file is in two packages"
    rm -f "$found"
    options_are_known "$project" packaging/debian/rules
}

check_yocto() {
    local project=$1 recipe files glob folder
    recipe=$(cd "$project" && ls packaging/yocto/*.bb)
    folder="$(archive_name "$project")-\${PV}"
    options_are_known "$project" "$recipe"
    expect_options "$recipe" ON "$(yocto_value "$project/$recipe" EXTRA_OECMAKE)"
    [[ $(yocto_value "$project/$recipe" SRC_URI) == "\${VESTA_MIRROR}/$folder.tar.xz" ]] ||
        complain "$recipe: this is not the archive of a release"
    [[ $(yocto_value "$project/$recipe" S) == "\${WORKDIR}/$folder" ]] ||
        complain "$recipe: this is not the folder in the archive"
    grep -qE '^SRC_URI\[sha256sum\] = "[0-9a-f]{64}"$' "$project/$recipe" || complain "$recipe: no checksum"
    [[ $(yocto_value "$project/$recipe" DEPENDS) == expat ]] || complain "$recipe: the kit needs expat alone"
    for glob in $(sed -nE 's/^FILES:.* = "\$\{libdir\}\/(.*)"/\1/p' "$project/$recipe"); do
        [[ -n $(matches "$project" "lib/$glob") ]] || complain "$recipe: nothing is installed as $glob"
    done
    for files in $(yocto_value "$project/$recipe" PACKAGES | grep -oE '\$\{PN\}-[a-z]+' | tr -d '${}'); do
        grep -q "^FILES:\${PN}-${files#PN-} " "$project/$recipe" || complain "$recipe: $files has no files"
    done
}

# buildroot_value RECIPE KIT NAME: a variable of the recipe where the kit was chosen, which is "y", or not.
buildroot_value() {
    env -u MAKEFLAGS -u MAKELEVEL make -s -f "$1" "BR2_PACKAGE_VESTA_HBBTV_APPMAN_KIT=$2" \
        --eval "print-it: ; @echo '\$(strip \$(VESTA_HBBTV_APPMAN_$3))'" print-it
}

check_buildroot_recipe() {
    local project=$1 recipe=$2 version
    version=$(buildroot_value "$project/$recipe" "" VERSION)
    expect_options "$recipe, with the kit" ON "$(buildroot_value "$project/$recipe" y CONF_OPTS)"
    expect_options "$recipe, without the kit" OFF "$(buildroot_value "$project/$recipe" "" CONF_OPTS)"
    [[ $(buildroot_value "$project/$recipe" y DEPENDENCIES) == expat ]] || complain "$recipe: the kit needs expat alone"
    [[ -z $(buildroot_value "$project/$recipe" "" DEPENDENCIES) ]] || complain "$recipe: the library alone needs nothing"
    [[ $(buildroot_value "$project/$recipe" "" SOURCE) == "$(archive_name "$project")-$version.tar.xz" ]] ||
        complain "$recipe: this is not the archive of a release"
    [[ $(tail -n 1 "$project/$recipe") == '$(eval $(cmake-package))' ]] || complain "$recipe: is no CMake package"
}

check_buildroot() {
    local project=$1 folder=packaging/buildroot/vesta-hbbtv-appman recipe symbol archive
    recipe="$folder/vesta-hbbtv-appman.mk"
    options_are_known "$project" "$recipe"
    check_buildroot_recipe "$project" "$recipe"
    for symbol in $(grep -oE 'BR2_PACKAGE_VESTA[A-Z_]*' "$project/$recipe" | sort -u); do
        grep -qx "config $symbol" "$project/$folder/Config.in" || complain "$recipe: there is no $symbol"
    done
    grep -qx 'config BR2_PACKAGE_VESTA_HBBTV_APPMAN' "$project/$folder/Config.in" ||
        complain "$folder/Config.in: the package itself is missing"
    sed -n '/^config BR2_PACKAGE_VESTA_HBBTV_APPMAN_KIT$/,/^endif$/p' "$project/$folder/Config.in" |
        grep -qx $'\tselect BR2_PACKAGE_EXPAT' || complain "$folder/Config.in: the kit does not select expat"
    ! grep -nE '^ +[^ ]' "$project/$recipe" "$project/$folder/Config.in" >&2 || complain "blanks instead of a tab"
    archive=$(sed -nE 's/^sha256  [0-9a-f]{64}  (.*)/\1/p' "$project/$folder/vesta-hbbtv-appman.hash")
    [[ $archive == "$(buildroot_value "$project/$recipe" "" SOURCE)" ]] ||
        complain "$folder: no checksum of this version's archive"
}

check_checksums() {
    [[ $(cd "$1/packaging" && grep -rhoE '\b[0-9a-f]{64}\b' yocto buildroot | sort -u | wc -l) == 1 ]] ||
        complain "Yocto and Buildroot have different checksums"
}

check() {
    failed=0
    check_debian "$1"
    # The archive of a release is without these.
    if [[ -d $1/packaging/yocto ]]; then
        check_yocto "$1"
        check_buildroot "$1"
        check_checksums "$1"
    fi
    return "$failed"
}

# expect_notice FILE SED-COMMAND
expect_notice() {
    cp "$copy/$1" "$copy/former"
    sed -i -E "$2" "$copy/$1"
    if cmp -s "$copy/$1" "$copy/former" || check "$copy" 2>/dev/null; then
        echo "not noticed: $2 in $1" >&2
        exit 1
    fi
    cp "$copy/former" "$copy/$1"
}

# As it will be: another version, and the checksum of an archive.
release_the_copy() {
    local recipe
    recipe=$(echo "$copy"/packaging/yocto/*.bb)
    mv "$recipe" "${recipe%_*}_7.8.9.bb"
    sed -i -E 's/\b[0-9]+\.[0-9]+\.[0-9]+\b/7.8.9/' "$copy"/packaging/buildroot/*/*.{mk,hash}
    sed -i -E "s/\b[0-9a-f]{64}\b/$(printf '7%.0s' {1..64})/" "$copy"/packaging/yocto/*.bb "$copy"/packaging/buildroot/*/*.hash
    check "$copy" || { echo "the recipes of a later release are not accepted" >&2; exit 1; }
}

debian_is_looked_at() {
    expect_notice packaging/debian/rules 's/-DVESTA_WITH_WPE/-DVESTA_WITH_WPEE/'
    expect_notice packaging/debian/vesta-hbbtv-tools.install '/usr\/share\/man/d'
    expect_notice packaging/debian/libvesta-hbbtv-kit1.install 's/kit/appman/'
    expect_notice packaging/debian/control 's/^Package: libvesta-hbbtv-kit1/Package: libvesta-hbbtv-kit2/'
}

yocto_is_looked_at() {
    local recipe
    recipe=$(cd "$copy" && ls packaging/yocto/*.bb)
    expect_notice "$recipe" 's/-DVESTA_BUILD_KIT/-DVESTA_BUILD_KITS/'
    expect_notice "$recipe" '/-DVESTA_BUILD_TESTS/d'
    expect_notice "$recipe" 's/(-DVESTA_BUILD_RECEIVER)=OFF/\1=ON/'
    expect_notice "$recipe" 's/^(S = .*)vesta_/\1/'
    expect_notice "$recipe" 's/^(SRC_URI = .*)vesta_/\1/'
    expect_notice "$recipe" 's/^DEPENDS = .*/DEPENDS = ""/'
    expect_notice "$recipe" 's/libvesta_hbbtv_kit\.so/libvesta_kit.so/'
}

buildroot_is_looked_at() {
    local folder=packaging/buildroot/vesta-hbbtv-appman
    expect_notice "$folder/vesta-hbbtv-appman.mk" 's/APPMAN_KIT/APPMAN_KITS/'
    expect_notice "$folder/vesta-hbbtv-appman.mk" '/-DVESTA_BUILD_TESTS/d'
    expect_notice "$folder/vesta-hbbtv-appman.mk" 's/(-DVESTA_BUILD_RECEIVER)=OFF/\1=ON/'
    expect_notice "$folder/vesta-hbbtv-appman.mk" 's/(-DVESTA_BUILD_KIT)=OFF/\1=ON/'
    expect_notice "$folder/vesta-hbbtv-appman.mk" '/DEPENDENCIES/d'
    expect_notice "$folder/vesta-hbbtv-appman.mk" 's/(_SOURCE = )vesta_/\1/'
    expect_notice "$folder/Config.in" '/select BR2_PACKAGE_EXPAT/d'
    expect_notice "$folder/Config.in" 's/^\tbool/        bool/'
}

checksums_are_looked_at() {
    local recipe
    recipe=$(cd "$copy" && ls packaging/yocto/*.bb)
    expect_notice "$recipe" 's/^(SRC_URI\[sha256sum\] = ").{64}/\10123/'
    # One digit that is another one.
    expect_notice "$recipe" '/^SRC_URI\[sha256sum\]/{s/(.)"$/\1x"/; s/0x"/1"/; s/[1-9a-f]x"/0"/}'
    expect_notice packaging/buildroot/vesta-hbbtv-appman/vesta-hbbtv-appman.hash 's/([0-9])\.tar/\11.tar/'
}

self_check() {
    copy=$(mktemp -d)
    trap 'rm -rf "$copy"' EXIT
    mkdir -p "$copy/tests/packaging"
    cp -r "$root/CMakeLists.txt" "$root/cmake" "$root/packaging" "$copy/"
    cp "$root/tests/packaging/components.txt" "$copy/tests/packaging/"
    check "$copy" || { echo "the copy is not accepted" >&2; exit 1; }
    debian_is_looked_at
    [[ -d $copy/packaging/yocto ]] || return 0
    yocto_is_looked_at
    buildroot_is_looked_at
    checksums_are_looked_at
    release_the_copy
    checksums_are_looked_at
}

case ${2:-} in
--self-check) self_check ;;
*) check "$root" ;;
esac
