#!/usr/bin/env bash
# Compares what no test takes of the library with the tables of a page, which say why.
#   figures/misses.sh REPORT PAGE   fails, and says which rows are missing and which are too many; REPORT is
#                                   gcovr's in Cobertura's format, and its files are found from here
#   figures/misses.sh --self-check  shows that differences are noticed
# A row is "| file | `line of the source` | 1 of 2 branches |", or "the line" instead of branches; a "|" of the
# source is written "\|". Lines go by their text, because their numbers change with every line above them.
set -euo pipefail
export LC_ALL=C

# missed REPORT: a row for each line of the sources with something that no test takes.
missed() {
    # Attributes come in any order.
    tr '>' '\n' <"$1" | awk '
        function attribute(name) {
            if (!match($0, " " name "=\"[^\"]*\""))
                return ""
            return substr($0, RSTART + length(name) + 3, RLENGTH - length(name) - 4)
        }
        /<class / { file = attribute("filename"); delete seen }
        /<line / && !((number = attribute("number")) in seen) {
            seen[number]
            what = ""
            if (attribute("hits") == 0)
                what = "the line"
            else if (split(attribute("condition-coverage"), part, /[(\/)]/) > 2 && part[2] < part[3])
                what = (part[3] - part[2]) " of " part[3] " branches"
            if (what)
                print file "\t" number "\t" what
        }' | while IFS=$'\t' read -r file number what; do
        printf '| %s | `%s` | %s |\n' "$file" \
            "$(sed -n "${number}{s/^ *//; s/|/\\\\|/g; p}" "$file")" "$what"
    done | sort
}

# listed PAGE
listed() {
    sed -nE '/^\| [a-z0-9_/]+\.(cpp|h) \| `.*` \| (the line|[0-9]+ of [0-9]+ branches) \|$/p' "$1" | sort
}

# compare REPORT PAGE
compare() {
    local listed missed differences
    listed=$(listed "$2")
    missed=$(missed "$1")
    differences=$({ diff <(printf '%s\n' "$listed") <(printf '%s\n' "$missed") || true; } |
        sed -nE 's/^> (.+)/no test takes, and no table says why: \1/p; s/^< (.+)/a table says, and it is not so: \1/p')
    [[ -z $differences ]] || {
        printf '%s\n' "$differences" "a test is to be written, or $2 to be mended" >&2
        return 1
    }
}

self_check() {
    local program
    program=$(realpath "$0")
    folder=$(mktemp -d)
    trap 'rm -rf "$folder"' EXIT
    cd "$folder"
    mkdir lifecycle
    printf '%s\n' 'void end()' '{' '    if (a || b)' '        delete a;' '    c();' '}' >lifecycle/end.cpp
    # report HITS CONDITION: of the fifth line, and of the third.
    report() {
        printf '%s' '<class name="end" filename="lifecycle/end.cpp"><lines>' \
            '<line number="1" hits="1" branch="false"/>' \
            "<line number=\"3\" hits=\"9\" branch=\"true\" condition-coverage=\"50% ($2)\"><conditions/></line>" \
            "<line branch=\"false\" hits=\"$1\" number=\"5\"/></lines></class>"
    }
    page() {
        printf '%s\n' '# Misses' '' '| File | Source | Missed |' '|---|---|---|' "$@"
    }
    local branch='| lifecycle/end.cpp | `if (a \|\| b)` | 2 of 4 branches |'
    local line='| lifecycle/end.cpp | `c();` | the line |'
    # expect WORD...: the words of the only difference, or none.
    expect() {
        local said
        said=$("$program" report.xml page.md 2>&1) && [[ $# -eq 0 ]] && return
        [[ $# -gt 0 && $(wc -l <<<"$said") -eq 2 && $said == *"$*"* ]] ||
            { printf 'expected "%s", but: %s\n' "$*" "$said" >&2; exit 1; }
    }
    report 0 2/4 >report.xml
    page "$line" "$branch" >page.md
    expect
    page "$line" >page.md
    expect "no table says why: $branch"
    page "$branch" >page.md
    expect "no table says why: $line"
    page "$branch" "$line" "$line" >page.md
    expect "not so: $line"
    report 7 4/4 >report.xml
    page "$branch" >page.md
    expect "not so: $branch"
    page >page.md
    expect
}

case ${1:-} in
--self-check) self_check ;;
*)
    [[ $# -eq 2 ]] || {
        echo "figures/misses.sh takes gcovr's report and a page, or --self-check: $*" >&2
        exit 2
    }
    compare "$1" "$2"
    ;;
esac
