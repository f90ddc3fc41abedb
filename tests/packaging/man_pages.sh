#!/usr/bin/env bash
# Compares a program's help with its man page: options, commands and exit codes are the same in both.
# The page is put right by mandoc and, where it is there, by man.
#   man_pages.sh PROGRAM PAGE [LAUNCHER...]                fails and shows the difference
#   man_pages.sh PROGRAM PAGE --self-check [LAUNCHER...]   shows that a page which lacks any of them, or
#                                                          has one more, is noticed
# A program for another processor is run by the LAUNCHER.
set -euo pipefail
readonly program=$1 page=$2 skipped=77
shift 2
mode=compare
if [[ ${1:-} == --self-check ]]; then
    mode=self-check
    shift
fi
readonly mode launcher=("$@")
export LC_ALL=C

help_of_program() {
    "${launcher[@]}" "$program" --help
}

options_in_help() {
    help_of_program | sed -nE 's/^ +((-[a-z], )?--[a-z-]+).*/\1/p' | tr ',' '\n' | tr -d ' ' | sort
}

# The list items of the page that begin with an option: `.It Fl h , Fl -help`.
options_in_page() {
    sed -nE 's/^\.It (Fl .*)/\1/p' "$1" | grep -oE 'Fl -?[a-z][a-z-]*' | sed 's/^Fl /-/' | sort
}

# The words that begin a line of the usage's explanation. The receiver's are told by its help command.
commands_in_help() {
    if [[ ${program##*/} == vesta_receiver ]]; then
        printf 'help\n' | "${launcher[@]}" "$program" --script - /dev/null 2>/dev/null |
            sed -nE 's/^  ([a-z][a-z-]*)( .*)?$/\1/p' | sort
    else
        help_of_program | sed -nE '/^usage:/d; s/^([a-z]+)  +[a-z].*/\1/p' | sort
    fi
}

commands_in_page() {
    sed -nE '/^\.Sh COMMANDS/,/^\.Sh [^C]/s/^\.It (Ic|Cm) ([a-z-]+).*/\2/p' "$1" | sort
}

exit_codes_in_help() {
    help_of_program | sed -n '/^Exit codes:/,$p' | tr '\n' ' ' |
        grep -oE '(:|,) *[0-9]+ [a-z]' | grep -oE '[0-9]+' | sort
}

exit_codes_in_page() {
    sed -nE '/^\.Sh EXIT STATUS/,/^\.Sh [^E]/s/^\.It ([0-9]+)$/\1/p' "$1" | sort
}

# compare PAGE: whether page and program say the same.
compare() {
    local what failed=0
    for what in options commands exit_codes; do
        diff -u --label "$what of --help" --label "$what of the page" \
            <("${what}_in_help") <("${what}_in_page" "$1") || failed=1
    done
    [[ -n $(options_in_page "$1") && -n $(exit_codes_in_page "$1") ]] || failed=1
    return "$failed"
}

# mandoc looks for the pages that are named in the system's folders: they lie beside this one.
named_pages_are_there() {
    local name failed=0
    for name in $(sed -nE 's/^\.Xr ([a-z_]+) 1.*/\1/p' "$page"); do
        [[ -f ${page%/*}/$name.1 ]] || { echo "$page names a page that is not there: $name" >&2; failed=1; }
    done
    return "$failed"
}

lint() {
    local remarks code=0
    remarks=$(mandoc -Tlint "$page") || code=$?
    # Up to 4 it says how grave its remarks are; above that it has not read the page.
    [[ $code -le 4 ]] || { echo "mandoc failed: $code" >&2; return 1; }
    remarks=$(grep -v 'referenced manual not found' <<<"$remarks" || true)
    if command -v man >/dev/null; then
        remarks+=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null |
            grep -v "can't set the locale" || true)
    fi
    [[ -z $remarks ]] && return 0
    printf '%s\n' "$remarks" >&2
    return 1
}

# expect_notice SED-COMMAND: the page with this change is not accepted.
expect_notice() {
    local changed
    changed=$(mktemp)
    sed -E "$1" "$page" >"$changed"
    if cmp -s "$page" "$changed" || compare "$changed" >/dev/null; then
        echo "not noticed: $1" >&2
        rm -f "$changed"
        exit 1
    fi
    rm -f "$changed"
}

case $mode in
self-check)
    expect_notice '/^\.It Fl -version/d'
    expect_notice 's/^\.It Fl -version/.It Fl -versions/'
    expect_notice 's/^(\.It Fl -version)/.It Fl -colour\n\1/'
    expect_notice '/^\.It 2$/d'
    command=$(commands_in_page "$page" | head -n 1)
    [[ -n $command || -z $(commands_in_help) ]] || { echo "the page has no commands" >&2; exit 1; }
    if [[ -n $command ]]; then
        expect_notice "/^\.Sh COMMANDS/,/^\.Sh [^C]/{/^\.It (Ic|Cm) $command\b/d}"
        expect_notice "s/^(\.It (Ic|Cm) )$command\b/\1juggle/"
    fi
    ;;
*)
    command -v mandoc >/dev/null || { echo "skipped: there is no mandoc"; exit $skipped; }
    compare "$page"
    named_pages_are_there
    lint
    ;;
esac
