#!/usr/bin/env bash
# .editorconfig agrees with .clang-format in what both of them say.
#   editor_settings.sh REPOSITORY
set -euo pipefail
cd "$1"

# editor_setting KEY: of the section for sources.
editor_setting() {
    sed -n '/^\[\*\.{cpp,h,c}\]$/,/^$/p' .editorconfig | sed -n "s/^$1 = //p"
}

clang_format_setting() {
    sed -n "s/^$1: //p" .clang-format
}

# same KEY OF-CLANG-FORMAT
same() {
    local wanted
    wanted=$(clang_format_setting "$2")
    [[ -n $wanted && $(editor_setting "$1") == "$wanted" ]] && return
    echo "$1 should be what .clang-format has for $2: ${wanted:-nothing}" >&2
    return 1
}

same indent_size IndentWidth
same max_line_length ColumnLimit
