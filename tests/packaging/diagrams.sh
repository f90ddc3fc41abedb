#!/usr/bin/env bash
# The pictures of docs/diagrams/ show what their sources say. Where things stand in them depends on the fonts
# of the machine that drew them (./dev docs --diagrams), so that the texts and the arrows are compared: which
# leads where, and what is written beside it.
#   diagrams.sh REPOSITORY               fails and shows the difference
#   diagrams.sh REPOSITORY --self-check  shows that differences are noticed
set -euo pipefail
export LC_ALL=C.UTF-8

# What is drawn, a line each: "arrow FROM->TO|TEXT..." and "node NAME|TEXT...". Nodes without a text are left
# out; a node that is only named by an arrow shows its name.
drawn_by_source() {
    sed -E 's,^ *//.*,,; s,\]; +,];\n,g' "$1" | awk '
        function label(line) {
            if (!match(line, /label="[^"]*"/)) return ""
            line = substr(line, RSTART + 7, RLENGTH - 8)
            gsub(/\\n/, "|", line)
            return "|" line
        }
        $2 == "->" {
            to = $3
            sub(/;$/, "", to)
            print "arrow " $1 "->" to label($0)
            used[$1] = used[to] = 1
        }
        $2 ~ /^\[/ && $1 !~ /^(graph|node|edge)$/ {
            described[$1] = 1
            if (label($0) != "") print "node " $1 label($0)
        }
        END { for (name in used) if (!(name in described)) print "node " name "|" name }' | sort
}

drawn_in_picture() {
    awk '
        function content(line) {
            gsub(/<[^>]*>/, "", line)
            gsub(/&#45;/, "-", line); gsub(/&#160;/, " ", line); gsub(/&#39;/, "\047", line)
            gsub(/&quot;/, "\"", line); gsub(/&lt;/, "<", line); gsub(/&gt;/, ">", line); gsub(/&amp;/, "\\&", line)
            return line
        }
        /class="edge"/ { kind = "arrow" }
        /class="node"/ { kind = "node" }
        /class="graph"/ { kind = "" }
        /^<title>/ && kind { name = content($0); texts = "" }
        /^<text/ { if (kind) texts = texts "|" content($0); else print "text outside of everything: " content($0) }
        /^<\/g>/ && kind {
            if (kind == "arrow" || texts) print kind " " name texts
            kind = ""
        }' "$1" | sort
}

check() {
    local source failed=0
    for source in "$1"/*.dot; do
        diff -u --label "$source" --label "${source%.dot}.svg" \
            <(drawn_by_source "$source") <(drawn_in_picture "${source%.dot}.svg") || failed=1
        [[ $(drawn_by_source "$source" | grep -c '^arrow') -gt 0 ]] || { echo "$source has no arrows"; failed=1; }
    done
    return "$failed"
}

# expect_notice FILE SED-COMMAND
expect_notice() {
    cp "$copy/$1" "$copy/former"
    sed -i -E "$2" "$copy/$1"
    if cmp -s "$copy/$1" "$copy/former" || check "$copy" >/dev/null; then
        echo "not noticed: $2 in $1" >&2
        exit 1
    fi
    cp "$copy/former" "$copy/$1"
}

self_check() {
    copy=$(mktemp -d)
    trap 'rm -rf "$copy"' EXIT
    cp "$1"/*.dot "$1"/*.svg "$copy"
    check "$copy" || { echo "the copy is not accepted" >&2; exit 1; }
    expect_notice window_states.dot 's/RUNNING -> TEARDOWN/TEARDOWN -> RUNNING/'
    expect_notice window_states.dot 's/begin -> IDLE/begin -> RUNNING/'
    expect_notice window_states.dot 's/(forbids the )application/\1child/'
    expect_notice window_states.dot '/TEARDOWN -> IDLE/d'
    expect_notice window_states.svg 's/>IDLE<\/text>/>BUSY<\/text>/'
    expect_notice window_states.svg 's/^<text .*>(child failed.*)<\/text>/&\n&/'
    expect_notice section_to_page.dot 's/a6 -> b6/b6 -> a6/'
    expect_notice section_to_page.svg '/REQUEST_WINDOW/d'
}

case ${2:-} in
--self-check) self_check "$1/docs/diagrams" ;;
*) check "$1/docs/diagrams" ;;
esac
