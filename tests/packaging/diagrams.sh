#!/usr/bin/env bash
# The pictures of docs/diagrams/ show what their sources say. Where things stand in them depends on the fonts
# of the machine that drew them (./dev docs --diagrams), so that the texts and the arrows are compared.
#   diagrams.sh REPOSITORY
set -euo pipefail
cd "$1/docs/diagrams"

# The texts of a source, a line each, as a picture has them.
texts() {
    grep -v '^ *//' "$1" | grep -oE 'label="[^"]*"' | sed -E 's,^label=",,; s,"$,,; s,\\n,\n,g' |
        sed 's,&,\&amp;,g; s,>,\&gt;,g'
}

shown_texts() {
    grep -oE '<text [^>]*>[^<]+</text>' "$1" | sed -E 's,<text [^>]*>,,; s,</text>,,'
}

check_diagram() {
    local source=$1 picture=${1%.dot}.svg missing
    missing=$(comm -23 <(texts "$source" | sort) <(shown_texts "$picture" | sort))
    [[ -z $missing ]] || {
        printf '%s does not show: %s\n' "$picture" "$missing"
        return 1
    }
    [[ $(grep -v '^ *//' "$source" | grep -c -- '->') == $(grep -c 'class="edge"' "$picture") ]] || {
        echo "$picture has another number of arrows than $source"
        return 1
    }
}

failed=0
for source in *.dot; do
    check_diagram "$source" || failed=1
done
exit "$failed"
