#!/usr/bin/env bash
# What README.md shows of the demo is what the demo says, but for the time in front.
#   readme_demo.sh RECEIVER REPOSITORY
set -euo pipefail
readonly receiver=$1 repository=$2
export LC_ALL=C

without_time() {
    sed -E 's,^ *[0-9]+\.[0-9]{3} ,,'
}

shown() {
    sed -n '/<!-- demo output: begin -->/,/<!-- demo output: end -->/p' "$repository/README.md" |
        sed -n '/^```$/,/^```$/p' | grep -vE '^(```| *\.\.\.)$' | without_time
}

main() {
    local line said missing=0 lines
    cd "$repository"
    said=$("$receiver" --script samples/demo.script samples/station.ts | without_time)
    lines=$(shown)
    [[ $(wc -l <<<"$lines") -ge 10 ]]
    while IFS= read -r line; do
        grep -qxF -- "$line" <<<"$said" || {
            echo "The demo does not say: $line"
            missing=1
        }
    done <<<"$lines"
    return "$missing"
}

main
