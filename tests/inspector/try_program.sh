#!/usr/bin/env bash
# try_program.sh PROGRAM VERSION SENDER
# What the program as a whole does: its exit codes, standard input, a pipe, the network, and outputs
# that cannot be written.
set -uo pipefail

program=$(realpath "$1")
version=$2
sender=$(realpath "$3")
station="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/../../samples/station.ts"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAILED: $*" >&2
    head -n 40 "$work/out" "$work/err" >&2
    failures=$((failures + 1))
}

# expect CODE TEXT ARGUMENT...: the exit code, and something that stdout or stderr says. Standard
# input is what the caller has it be.
expect() {
    local code=$1 text=$2 actual
    shift 2
    timeout 60 "$program" "$@" >"$work/out" 2>"$work/err"
    actual=$?
    [[ $actual -eq $code ]] || fail "exit code $actual, not $code: $*"
    cat "$work/out" "$work/err" >"$work/both"
    ! grep -q "Sanitizer\|runtime error:" "$work/both" || fail "a sanitizer complains: $*"
    grep -qF -- "$text" "$work/both" || fail "does not say '$text': $*"
}

exit_codes() {
    expect 0 "usage: vesta_signalling" --help
    expect 0 "vesta_signalling $version" --version
    expect 1 "dump or check?"
    expect 1 "no such option" check --bogus "$station"
    expect 2 "No such file or directory" dump "$work/nowhere.ts"
    expect 0 "0 errors, 0 warnings" check --strict "$station"
    head -c 100000 "$station" >"$work/short.ts"
    expect 4 "carousel-module-incomplete" check --strict "$work/short.ts"
    printf '74' >"$work/cut.txt"
    expect 3 "section-incomplete" check "$work/cut.txt"
}

inputs() {
    expect 0 "AIT of type HbbTV on PID 0x0200, version 7" dump - <"$station"
    expect 0 "AIT of type HbbTV on PID 0x0200, version 7" dump - < <(cat "$station")
    expect 2 "-: is empty" dump - </dev/null
    printf '74 f0 0d 00 10 c3 00 00 f0 00 f0 00 00 00 00 00\n' >"$work/hexadecimal.txt"
    expect 3 "section-crc" check - <"$work/hexadecimal.txt"
}

unwritable_output() {
    "$program" dump "$station" >/dev/full 2>"$work/err"
    [[ $? -eq 2 ]] || fail "exit code with a full disk"
    grep -q "the output cannot be written" "$work/err" || fail "does not say that the disk is full"
}

# from_network URL [rtp]: a stream that is sent without end is read for a while. The program says
# which port is free.
from_network() {
    local line pid url=$1
    shift
    rm -f "$work/lines" "$work/on_air"
    mkfifo "$work/lines" "$work/on_air"
    "$program" dump --seconds 2 "$url" </dev/null >"$work/out" 2>"$work/lines" &
    pid=$!
    exec 8<"$work/lines"
    while read -r line <&8 && [[ $line != *"listening to "* ]]; do :; done
    "$sender" 127.0.0.1 "${line##*:}" "$station" "$@" <"$work/on_air" &
    exec 7>"$work/on_air"
    wait "$pid" || fail "exit code after $url"
    cat <&8 >"$work/err"
    exec 7>&- 8<&-
    wait
    grep -q "AIT of type HbbTV on PID 0x0200, version 7" "$work/out" || fail "no AIT from $url $*"
}

# A stream is read while it is written. The first packets have no table.
growing_file() {
    local pid
    head -c 188 "$station" >"$work/growing.ts"
    "$program" dump --follow --seconds 2 "$work/growing.ts" </dev/null >"$work/out" 2>"$work/err" &
    pid=$!
    tail -c +189 "$station" >>"$work/growing.ts"
    wait "$pid" || fail "exit code after a growing file"
    grep -q "AIT of type HbbTV on PID 0x0200, version 7" "$work/out" || fail "no AIT in a growing file"
}

exit_codes
inputs
growing_file
unwritable_output
from_network "udp://@127.0.0.1:0"
from_network "rtp://127.0.0.1:0" rtp
[[ $failures -eq 0 ]] && echo "everything is as it should be"
exit $((failures > 0))
