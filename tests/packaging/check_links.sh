#!/usr/bin/env bash
# Every link of the guides leads somewhere: relative ones to a file, and with a "#" to a heading of it.
# Nothing is asked of the network.
#   check_links.sh REPOSITORY                    fails and names the links that lead nowhere
#   check_links.sh REPOSITORY --installed BUILD  the same of the guides that this build installs; a page may
#                                                name tests where it says that they are in the source tree
#   check_links.sh REPOSITORY --self-check       shows that such links are noticed
# CMAKE names the cmake to use.
set -euo pipefail
readonly repository=$1
sources=""  # of the guides, where those are installed ones
export LC_ALL=C.UTF-8

guides() {
    find "$1" -name '*.md' -not -path '*/build/*' -not -path '*/.git/*' | sort
}

# What is no code: neither blocks nor spans in backticks, which may look like links.
prose() {
    sed -E '/^ *```/,/^ *```/d; s/`[^`]*`//g' "$1"
}

# Those with their place beside them, and the places that stand at the bottom of a page.
links() {
    prose "$1" | grep -oE '\]\([^) ]+\)' | sed -E 's,^\]\(,,; s,\)$,,' || true
    prose "$1" | sed -nE 's,^ *\[[^]]+\]: +<?([^ >]+)>?.*,\1,p'
}

# The names of places that the page does not have: [text][name].
names_without_place() {
    comm -23 <(prose "$1" | grep -oE '\]\[[^]]+\]' | sed -E 's,^\]\[(.*)\]$,\L\1,' | sort -u) \
        <(prose "$1" | sed -nE 's,^ *\[([^]]+)\]: .*,\L\1,p' | sort -u)
}

# The names that headings get: in lower case, without punctuation, blanks as hyphens.
anchors() {
    sed -E '/^ *```/,/^ *```/d' "$1" | sed -nE 's,^#+ +,,p' | sed -E 's,\[([^]]*)\]\([^)]*\),\1,g' |
        sed -E 's,[^[:alnum:] _-],,g; s, ,-,g; s,.*,\L&,'
}

# is_in_source_tree GUIDE PLACE: a test, where the guide says so.
is_in_source_tree() {
    local path
    [[ -n $sources ]] || return 1
    path=$(realpath -m --relative-to="$tree" "$2")
    [[ $path == tests/* && -e $sources/$path ]] && grep -q 'in the source tree' "$1"
}

# check_link GUIDE LINK
check_link() {
    local guide=$1 link=$2 place anchor=""
    case $link in
    http://* | https://*) return 0 ;;
    esac
    [[ $link != *#* ]] || anchor=${link#*#}
    place=${link%%#*}
    if [[ -n $place ]]; then
        place="$(dirname "$guide")/$place"
    else
        place=$guide
    fi
    if [[ ! -e $place ]]; then
        is_in_source_tree "$guide" "$place" && return
        echo "${guide#"$tree"/}: there is no ${link%%#*}"
        return 1
    elif [[ -n $anchor ]] && ! anchors "$place" | grep -qxF -- "$anchor"; then
        echo "${guide#"$tree"/}: $link names no heading"
        return 1
    fi
}

# check TREE
check() {
    local guide link failed=0
    tree=$1
    while read -r guide; do
        while read -r link; do
            echo "${guide#"$tree"/}: no place is given for [$link]"
            failed=1
        done < <(names_without_place "$guide")
        while read -r link; do
            [[ -z $link ]] || check_link "$guide" "$link" || failed=1
        done < <(links "$guide")
    done < <(guides "$1")
    return "$failed"
}

check_installed() {
    local count
    place=$(mktemp -d)
    trap 'rm -rf "$place"' EXIT
    "${CMAKE:-cmake}" --install "$1" --prefix "$place" --component documentation >/dev/null
    sources=$repository
    count=$(guides "$place" | wc -l)
    [[ $count -ge $(find "$repository/docs" -maxdepth 1 -name '*.md' | wc -l) ]] ||
        { echo "only $count guides are installed"; return 1; }
    check "$(dirname "$(find "$place" -name README.md -not -path '*/examples/*')")"
}

# expect VERDICT TEXT: what a page of this text comes to.
expect() {
    local verdict=right
    printf '%b' "$2" >"$place/page.md"
    check "$place" >/dev/null || verdict=wrong
    [[ $verdict == "$1" ]] || {
        echo "taken as $verdict: $2"
        return 1
    }
}

self_check() {
    place=$(mktemp -d)
    trap 'rm -rf "$place"' EXIT
    printf '# A title, with `code` and a [link](page.md)\n' >"$place/other.md"
    expect right '[a](other.md) [b](http://nowhere.example/x.md)\n'
    expect right '[a](other.md#a-title-with-code-and-a-link)\n'
    expect right '## 2. One heading\n[a](#2-one-heading)\n'
    expect right '`[a](none.md)`\n```\n[b](none.md)\n```\n'
    expect right '[a][B]\n\n[b]: other.md\n'
    expect wrong '[a](none.md)\n'
    expect wrong '[a](other.md#none)\n'
    expect wrong 'two [a](other.md) [b](none.md)\n'
    expect wrong '![a picture](none.png)\n'
    expect wrong '[a][b]\n\n[b]: none.md\n'
    expect wrong '[a][b]\n'
    expect wrong '```\n## not a heading\n```\n[a](#not-a-heading)\n'
    # An installed page, and tests that are not installed.
    mkdir -p "$place/sources/tests"
    touch "$place/sources/tests/a_test.cpp" "$place/sources/a.cpp"
    expect wrong 'Tests are in the source tree: [a](tests/a_test.cpp)\n'
    sources="$place/sources"
    expect right 'Tests are in the source tree: [a](tests/a_test.cpp)\n'
    expect wrong '[a](tests/a_test.cpp)\n'
    expect wrong 'Tests are in the source tree: [a](tests/b_test.cpp)\n'
    expect wrong 'Tests are in the source tree: [a](a.cpp)\n'
}

case ${2:-} in
--self-check) self_check ;;
--installed) check_installed "$3" ;;
*) check "$repository" ;;
esac
