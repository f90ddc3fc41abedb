#!/usr/bin/env bash
# Every link of the guides leads somewhere: relative ones to a file, and with a "#" to a heading of it.
# Nothing is asked of the network.
#   check_links.sh REPOSITORY               fails and names the links that lead nowhere
#   check_links.sh REPOSITORY --self-check  shows that such links are noticed
set -euo pipefail
readonly repository=$1
export LC_ALL=C.UTF-8

guides() {
    find "$1" -name '*.md' -not -path '*/build/*' -not -path '*/.git/*' | sort
}

# What is no code: neither blocks nor spans in backticks, which may look like links.
prose() {
    sed -E '/^ *```/,/^ *```/d; s/`[^`]*`//g' "$1"
}

links() {
    prose "$1" | grep -oE '\]\([^) ]+\)' | sed -E 's,^\]\(,,; s,\)$,,' || true
}

# The names that headings get: in lower case, without punctuation, blanks as hyphens.
anchors() {
    sed -E '/^ *```/,/^ *```/d' "$1" | sed -nE 's,^#+ +,,p' | sed -E 's,\[([^]]*)\]\([^)]*\),\1,g' |
        sed -E 's,[^[:alnum:] _-],,g; s, ,-,g; s,.*,\L&,'
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
        echo "${guide#"$repository"/}: there is no ${link%%#*}"
        return 1
    elif [[ -n $anchor ]] && ! anchors "$place" | grep -qxF -- "$anchor"; then
        echo "${guide#"$repository"/}: $link names no heading"
        return 1
    fi
}

check() {
    local guide link failed=0
    while read -r guide; do
        while read -r link; do
            [[ -z $link ]] || check_link "$guide" "$link" || failed=1
        done < <(links "$guide")
    done < <(guides "$1")
    return "$failed"
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
    expect wrong '[a](none.md)\n'
    expect wrong '[a](other.md#none)\n'
    expect wrong 'two [a](other.md) [b](none.md)\n'
    expect wrong '![a picture](none.png)\n'
    expect wrong '```\n## not a heading\n```\n[a](#not-a-heading)\n'
}

case ${2:-} in
--self-check) self_check ;;
*) check "$repository" ;;
esac
