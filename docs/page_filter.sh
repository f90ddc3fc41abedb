#!/usr/bin/env bash
# A guide as Doxygen is to read it: headings get the names that links to them use, and links to what is no
# page of the reference (sources, folders) become their texts.
#   page_filter.sh GUIDE
set -euo pipefail
export LC_ALL=C.UTF-8
page=$(basename "$1" .md)

in_code=""
while IFS= read -r line; do
    if [[ $line =~ ^\ *\`\`\` ]]; then
        [[ -n $in_code ]] && in_code="" || in_code=1
    elif [[ -z $in_code && $line =~ ^#+\  ]]; then
        name=$(sed -E 's,^#+ +,,; s,\[([^]]*)\]\([^)]*\),\1,g; s,[^[:alnum:] _-],,g; s, ,-,g; s,.*,\L&,' <<<"$line")
        [[ $line == "# "* ]] && line="$line {#page-$page}" || line="$line {#$page-$name}"
    elif [[ -z $in_code && $line == *"]("* ]]; then
        # Within this page, to a heading of another one, to another one, and to what is none.
        line=$(sed -E "s,\]\(#([^)]*)\),](@ref $page-\1),g
            s,\]\(([^):]*/)?([A-Za-z_]+)\.md#([^)]*)\),](@ref \2-\3),g
            s,\]\(([^):]*/)?([A-Za-z_]+)\.md\),](@ref page-\2),g
            s,([^!]|^)\[([^]]*)\]\([^):@ ]*\),\1\2,g" <<<"$line")
    fi
    printf '%s\n' "$line"
done <"$1"
