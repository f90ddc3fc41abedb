#!/usr/bin/env bash
# Installs each component of the build alone, and shows what it brings: every installed file belongs to
# one component, and which to which is listed in components.txt.
#   components.sh BUILD COMPONENT...            fails and shows the difference
#   components.sh BUILD COMPONENT... --update   writes components.txt anew: from a build that has all of
#                                               them
# Headers are listed in headers.txt: the list has them as one line.
# A build that lacks a component is compared without its lines. CMAKE names the cmake to use, LIBDIR,
# INCLUDEDIR and DOCDIR the folders below the prefix, VERSION the project's.
set -euo pipefail
list="$(dirname "${BASH_SOURCE[0]}")/components.txt"
readonly build=$1 list
shift
update=
components=()
for argument in "$@"; do
    if [[ $argument == --update ]]; then update=1; else components+=("$argument"); fi
done
export LC_ALL=C

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

files_in() {
    (cd "$1" && find . ! -type d) | sed 's,^\./,,' | sort
}

readable() {
    sed -e "s,\(^[a-z-]* \)${INCLUDEDIR:-include}/.*,\1include/...," \
        -e "s,\(^[a-z-]* \)${DOCDIR:-share/doc/vesta_hbbtv_appman}/,\1doc/," \
        -e "s,\(^[a-z-]* \)${LIBDIR:-lib}/,\1lib/," \
        -e "s,\(Targets-\)[a-z]*\.cmake,\1CONFIG.cmake," -e "s,${VERSION//./\\.},VERSION," | sort -u
}

install_each() {
    local component
    for component in "${components[@]}"; do
        "${CMAKE:-cmake}" --install "$build" --prefix "$place/$component" --component "$component" >/dev/null
        mkdir -p "$place/$component"
        files_in "$place/$component" | sed "s,^,$component ,"
    done
}

# Lines of components that this build has. A receiver without the real browser lacks its module.
listed() {
    local component
    for component in "${components[@]}"; do
        grep "^$component " "$list" || true
    done | { if [[ -n ${PAGE_MODULE:-} ]]; then cat; else grep -v /receiver_pages/; fi; } |
        { if [[ -n ${TOOLS:-} ]]; then cat; else grep -vE '/vesta_(station|signalling)'; fi; } | sort
}

main() {
    install_each >"$place/each"
    "${CMAKE:-cmake}" --install "$build" --prefix "$place/all" >/dev/null
    if ! diff -u --label "all at once" --label "component by component" \
        <(files_in "$place/all") <(sed 's/^[^ ]* //' "$place/each" | sort); then
        echo "A file belongs to no component, or to several." >&2
        exit 1
    fi
    if [[ -n $update ]]; then
        readable <"$place/each" >"$list"
    elif ! diff -u --label listed --label installed <(listed) <(readable <"$place/each"); then
        echo "The components changed. If that is meant: $0 $build ${components[*]} --update" >&2
        exit 1
    fi
}

main
