#!/usr/bin/env bash
# run.sh RECEIVER STREAMS PAGE
# Plays tests/television/pages/PAGE.html in the receiver's browser. The page asserts from inside and
# says so by debug(): "pass NAME", "FAIL NAME: ...", "finished". Its comment
#     <!-- receiver [STREAM [OPTION=VALUE...]]
#     COMMANDS
#     -->
# holds what a viewer does meanwhile; without commands the page is started by its URL. Where they do
# not begin with a wait, the service's table is waited for. FOLDER is one for files of its own,
# PICTURES holds what is to be seen. Where they name 127.0.0.1:PORT, server.pl has the pages, and there
# is no --site. A line
#     #expect TEXT
# among them is what the receiver has to report, after those before it.
set -euo pipefail

# The engine's libraries keep what they allocate once.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"

receiver=$(realpath "$1")
streams=$(realpath "$2")
page=$3
pages=$(realpath "$(dirname "${BASH_SOURCE[0]}")/pages")
folder=$(mktemp -d)
server=
cleanup() {
    [[ -z $server ]] || kill "$server" 2>/dev/null || true
    rm -rf "$folder"
}
trap cleanup EXIT

comment=$(sed -n '/^<!-- receiver/,/^-->/p' "$pages/$page.html")
read -ra options < <(sed -n '1s/^<!-- receiver *//p' <<<"$comment") || true
stream=${options[0]:-television}
options=("${options[@]:1}")
commands=$(sed '1d;$d' <<<"$comment")
sites=(--site "http://test.example/=$pages" --site "http://test.example:8080/=$pages/../other"
       --site "http://outside.example/=$pages/../other")
port=
if [[ $commands == *:PORT* ]]; then
    mkfifo "$folder/port"
    "$pages/../server.pl" "$pages" "$folder/port" </dev/null &
    server=$!
    read -r port <"$folder/port"
    sites=()
    # Nobody is there: a receiver that went by the environment would get nothing.
    export http_proxy=http://127.0.0.1:9 all_proxy=http://127.0.0.1:9
fi
{
    # A table that comes while an application of none is starting ends that one.
    [[ $commands == wait* ]] || echo "wait table"
    echo "${commands:-start http://test.example/$page.html}"
    echo "wait said finished within 20"
} | sed "s#FOLDER#$folder#g; s#:PORT#:$port#g; s#PICTURES#$pages/../pictures#g" >"$folder/script"

code=0
"$receiver" --browser wpe --loop "${options[@]/#/--}" --script "$folder/script" --trace "$folder/trace" \
    "${sites[@]}" "$streams/$stream.ts" </dev/null >"$folder/output" 2>&1 || code=$?
said=$(sed -n 's/.*"source":"script","event":"debug","text":"\(.*\)".*/\1/p' "$folder/trace")
if [[ $code -ne 0 ]] || grep -q '^FAIL' <<<"$said" || ! grep -q '^pass all assertions' <<<"$said"; then
    cat "$folder/output"
    exit 1
fi

expected=$(sed -n 's/^#expect //p' <<<"$commands")
[[ -n $expected ]] || exit 0
sed -n 's/.*"text":"\([^"]*\)".*/\1/p' "$folder/trace" | grep -Fx "$expected" >"$folder/found" || true
if ! diff <(echo "$expected") "$folder/found"; then
    echo "that was to be reported, and this was"
    cat "$folder/output"
    exit 1
fi
