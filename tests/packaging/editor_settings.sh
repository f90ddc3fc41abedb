#!/usr/bin/env bash
# .editorconfig agrees with .clang-format.
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

[[ $(editor_setting indent_size) == "$(clang_format_setting IndentWidth)" ]]
[[ $(editor_setting max_line_length) == "$(clang_format_setting ColumnLimit)" ]]
