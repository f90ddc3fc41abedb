#!/usr/bin/env bash
# try_program.sh RECEIVER STREAMS SHARED_DATA VERSION SENDER
# What the program as a whole does with wrong input, inputs of every kind, and its outputs: exit
# codes, sentences and extracted files.
set -uo pipefail

receiver=$(realpath "$1")
streams=$(realpath "$2")
shared=$3
version=$4
sender=$(realpath "$5")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
station="$here/../../../samples/station.ts"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAILED: $*" >&2
    sed 's/^/    /' "$work/out" >&2
    failures=$((failures + 1))
}

# expect CODE TEXT ARGUMENT...: the exit code, and something that stdout or stderr says; the last
# line of stderr says why it is not 0.
expect() {
    local code=$1 text=$2 actual
    shift 2
    timeout 60 "$receiver" "$@" >"$work/out" 2>"$work/err" </dev/null
    actual=$?
    [[ $code -eq 0 ]] || tail -n 1 "$work/err" | grep -q "^vesta_receiver: " || fail "does not say why at last: $*"
    cat "$work/err" >>"$work/out"
    [[ $actual -eq $code ]] || fail "exit code $actual, not $code: $*"
    ! grep -q "Sanitizer\|runtime error:" "$work/out" || fail "a sanitizer complains: $*"
    grep -qF -- "$text" "$work/out" || fail "does not say '$text': $*"
}

script() {
    printf '%s\n' "${@:2}" >"$work/$1"
}

wrong_usage() {
    expect 1 "which transport stream?"
    expect 1 "one transport stream at a time" "$station" "$station"
    expect 1 "--bogus: no such option (--help lists" --bogus "$station"
    expect 1 "--speed wants a value" --speed
    expect 1 "--speed wants a factor" --speed fast "$station"
    expect 1 "--loop wants a file" --loop -
    expect 1 "--loop wants a file" --loop udp://127.0.0.1:0
    expect 1 "--speed wants a file" --speed 1 udp://127.0.0.1:0
    expect 1 "--follow wants a file" --follow -
    expect 1 "no such service: 5; the stream has 28112 \"" --service 5 "$station"
    tail -n 1 "$work/err" | grep -q "no such service: 5; the stream has 28112" || fail "the last line does not say what there is"
    expect 0 "usage: vesta_receiver" --help
    expect 0 "vesta_receiver $version" --version
    expect 1 "cannot be both the script and the stream" --script - -
    script broken "wait running" "jump high"
    expect 1 "broken:2: there is no command jump" --script "$work/broken" "$station"
    script unbalanced 'say "never ends'
    expect 1 "unbalanced:1: a quotation mark" --script "$work/unbalanced" "$station"
    script few "" "# a comment" "zap"
    expect 1 "few:3: expected: zap SERVICE" --script "$work/few" "$station"
    script meaning "wait running" "key NOSUCH"
    expect 1 "meaning:2: no such key: NOSUCH" --script "$work/meaning" "$station"
}

unreadable_input() {
    expect 2 "nowhere.ts: No such file or directory" "$work/nowhere.ts"
    expect 2 "is a directory" "$work"
    : >"$work/empty.ts"
    expect 2 "empty.ts: is empty" "$work/empty.ts"
    expect 2 "-: is empty" -
    expect 2 "not a transport stream" "$here/run.sh"
    expect 2 "udp://127.0.0.1: expected udp://" udp://127.0.0.1
    expect 2 "udp://192.0.2.1:0: Cannot assign requested address" udp://192.0.2.1:0
    expect 2 "no such interface: nowhere9" "udp://239.1.1.1:1?interface=nowhere9"
    mkfifo "$work/unfollowed"
    expect 2 "unfollowed: --follow wants a file" --follow "$work/unfollowed"
    printf G >"$work/short.ts"
    expect 2 "not a transport stream" "$work/short.ts"
    expect 2 "cannot be read" --script "$work/nowhere" "$station"
    expect 2 "cannot be read" --script "$work" "$station"
    expect 2 "cannot be written" --trace "$work/no/trace" "$station"
    : >"$work/file"
    expect 2 "file: cannot be written" --extract "$work/file" "$station"
    mkdir "$work/taken"
    : >"$work/taken/2a"
    expect 2 "taken: not all files could be written" --extract "$work/taken" --trace "$work/untaken" "$station"
    grep -qF '"exit_code":2' "$work/untaken" || fail "the trace says another exit code"
    expect 2 "sitee: no such folder; in $here there are site" \
        --site "http://one.example=$here/sitee" "$station"
}

# Output that breaks while it is written ends the session, even one that would go on for ever.
unwritable_output() {
    expect 2 "/dev/full: No space left on device" --loop --trace /dev/full "$station"
    expect 2 "/dev/full: cannot be written" --extract /dev/full "$station"
    local stdout_of reason
    for stdout_of in "--loop $station" --help --version; do
        # shellcheck disable=SC2086
        timeout 60 "$receiver" $stdout_of </dev/null >/dev/full 2>"$work/out"
        [[ $? -eq 2 ]] || fail "exit code with standard output to a full device: $stdout_of"
        grep -qF "standard output: No space left on device" "$work/out" || fail "does not say why: $stdout_of"
    done
    timeout 60 "$receiver" --loop --extract "$work/despite" "$station" </dev/null >/dev/full 2>"$work/out"
    [[ -e $work/despite ]] || fail "no extraction without standard output"
    # It has more to say once nobody reads it any more: before, all might fit into the pipe.
    mkfifo "$work/gone"
    { read -r _ <"$work/gone"; echo help; } |
        (trap '' PIPE; timeout 60 "$receiver" --loop "$station" 2>"$work/out"; echo $? >"$work/code") |
        { head -n 1 >/dev/null; exec <&-; echo >"$work/gone"; }
    [[ $(cat "$work/code") -eq 2 ]] || fail "a reader that goes away"
    timeout 60 "$receiver" "$station" </dev/null >&- 2>"$work/out"
    [[ $? -eq 2 ]] || fail "standard output closed"
    timeout 60 "$receiver" --duration 600 "$station" <&- >"$work/out" 2>&1 || fail "standard input closed"
}

# piped CODE TEXT COMMANDS ARGUMENT...: as expect, with commands on standard input
piped() {
    local code=$1 text=$2 commands=$3 actual
    shift 3
    printf "$commands" | timeout 60 "$receiver" "$@" >"$work/out" 2>&1
    actual=${PIPESTATUS[1]}
    [[ $actual -eq $code ]] || fail "exit code $actual, not $code: '$commands' to $*"
    grep -qF -- "$text" "$work/out" || fail "does not say '$text': '$commands' to $*"
}

commands_from_standard_input() {
    piped 0 "bye" 'wait service\nsay bye\nquit' --loop "$station"
    piped 0 "bye" 'wait service\nsay bye\n' --loop "$station"
    piped 1 "standard input:2: there is no command jump" 'wait service\njump\n' --loop "$station"
    piped 3 "standard input:1: no such application runs: 1.1" 'destroy 1.1\nwait service\n' --loop "$station"
    piped 0 "end of the stream" '' "$station"
    piped 0 "bye" 'wait service\nsay bye\n' --loop --script - "$station"
    piped 1 "standard input:2: there is no command jump" 'say never\njump\n' --script - "$station"
    ! grep -q never "$work/out" || fail "a script with a mistake begins"
}

# Signals end a session that would go on for ever, as quit does.
signals() {
    local name line pid
    for name in INT TERM HUP; do
        rm -rf "$work/lines" "$work/signalled"
        mkfifo "$work/lines"
        # With job control the shell lets background jobs have SIGINT.
        set -m
        timeout --foreground 60 "$receiver" --loop --trace "$work/trace" --extract "$work/signalled" "$station" \
            </dev/null >"$work/lines" 2>"$work/err" &
        pid=$!
        set +m
        exec 8<"$work/lines"
        while read -r line <&8 && [[ $line != *"index.html: 336 bytes"* ]]; do :; done
        kill "-$name" "$pid"
        cat <&8 >"$work/out"
        wait "$pid" || fail "exit code after SIG$name"
        exec 8<&-
        grep -q "SIG$name: the receiver is to end" "$work/out" || fail "does not report SIG$name"
        grep -q '"event":"end".*"exit_code":0' "$work/trace" || fail "no clean end after SIG$name"
        [[ -e $work/signalled/2a/index.html ]] || fail "no extraction after SIG$name"
    done
}

durations() {
    expect 0 "the receiver has ended" --loop --duration 0.2 "$station"
    script endless "wait loaded never.html within 600"
    expect 0 "the receiver has ended" --loop --duration 0.2 --script "$work/endless" "$station"
}

expectations() {
    script waiting "wait loaded never.html"
    expect 3 "waiting:1: the stream ended before loaded never.html" --script "$work/waiting" "$station"
    script service "wait service" "zap 4"
    expect 3 "service:2: no such service: 4" --script "$work/service" "$station"
    script late "wait loaded never.html within 0.1"
    expect 3 "late:1: waited in vain" --loop --script "$work/late" "$station"
}

# A stream from a pipe that stays open: the script's end does not wait for it.
silent_pipe() {
    script quick "wait running"
    mkfifo "$work/pipe"
    exec 9<>"$work/pipe"
    cat "$station" >&9 &
    local writer=$!
    timeout 60 "$receiver" --script "$work/quick" - <"$work/pipe" >"$work/out" 2>&1 ||
        fail "a pipe that stays open"
    script patient "wait service within 0.1"
    timeout 60 "$receiver" --script "$work/patient" - <"$work/pipe" >"$work/out" 2>&1
    kill "$writer" 2>/dev/null
    wait "$writer" 2>/dev/null
    exec 9<&-
}

# from_network ARGUMENT...: a station that is sent without end is heard, and its application runs.
# The receiver says which port is free. It takes what comes, until a signal ends it.
from_network() {
    local line pid station_pid port= url=$1
    shift
    rm -f "$work/lines" "$work/on_air"
    mkfifo "$work/lines" "$work/on_air"
    timeout --foreground 60 "$receiver" "$url" </dev/null >"$work/lines" 2>"$work/err" &
    pid=$!
    exec 8<"$work/lines"
    while read -r line <&8 && [[ $line != *"listening to "* ]]; do :; done
    port=${line##*:}
    "$sender" 127.0.0.1 "$port" "$station" "$@" <"$work/on_air" &
    station_pid=$!
    exec 7>"$work/on_air"
    while read -r line <&8 && [[ $line != *"index.html: 336 bytes"* ]]; do :; done
    [[ $line == *"index.html: 336 bytes"* ]] || fail "no application from $url $*"
    kill -TERM "$pid"
    cat <&8 >"$work/out"
    wait "$pid" || fail "exit code after $url $*"
    exec 7>&- 8<&-
    wait "$station_pid"
    grep -q "  receiver  network: [0-9,]* datagrams" "$work/out" || fail "does not sum up $url $*"
    [[ $# -eq 0 ]] || grep -q "; RTP, " "$work/out" || fail "does not see RTP: $url $*"
}

network() {
    from_network "udp://@127.0.0.1:0"
    from_network "rtp://127.0.0.1:0" rtp
    expect 0 "no services: the stream lists none" --duration 0.2 udp://127.0.0.1:0
}

# A file that is still being written has no end.
growing_file() {
    local pid line
    head -c 200000 "$station" >"$work/growing.ts"
    rm -f "$work/lines"
    mkfifo "$work/lines"
    timeout --foreground 60 "$receiver" --follow "$work/growing.ts" </dev/null >"$work/lines" 2>"$work/err" &
    pid=$!
    exec 8<"$work/lines"
    while read -r line <&8 && [[ $line != *"tuned to"* ]]; do :; done
    tail -c +200001 "$station" >>"$work/growing.ts"
    while read -r line <&8 && [[ $line != *"index.html: 336 bytes"* ]]; do :; done
    [[ $line == *"index.html: 336 bytes"* ]] || fail "no application from a file that grows"
    kill -TERM "$pid"
    cat <&8 >"$work/out"
    wait "$pid" || fail "exit code after a file that grows"
    exec 8<&-
}

odd_streams() {
    local middle=$((188 * 900 + 77))
    head -c $((188 * 2500 + 100)) "$station" >"$work/truncated.ts"
    expect 0 "end of the stream: 2,500 packets" "$work/truncated.ts"
    { head -c 100000 "$station"; tail -c +$((100000 + 188 * 40 + 1)) "$station"; } >"$work/lost.ts"
    script loaded "wait loaded"
    expect 0 "index.html: 336 bytes" --script "$work/loaded" "$work/lost.ts"
    tail -c +"$middle" "$station" >"$work/middle.ts"
    expect 0 "index.html: 336 bytes" --script "$work/loaded" "$work/middle.ts"
    expect 0 "no clock in the stream" --speed 100 "$station"
    expect 0 "signals no HbbTV applications" --service 1 "$streams/no-table.ts"
    expect 0 "no service of the stream signals HbbTV applications" "$streams/no-table.ts"
    script zapped "wait running a.1" "zap Plain" "wait stopped" "status"
    expect 0 "service 2 \"Plain\" signals no HbbTV applications" --script "$work/zapped" --service 1 \
        --site "http://one.example=$here/site/one" "$streams/services-without-table.ts"
    [[ $(grep -c "^  none$" "$work/out") -eq 3 ]] || fail "status shows more than nothing"
    script ended "wait end" "status"
    expect 0 "2 gaps, 1 damaged and 1 scrambled packets, 0 damaged sections, 1 losses of sync (77 bytes skipped)" \
        --script "$work/ended" "$streams/damaged.ts"
    expect 1 "no PMT of service 3 came" --service 3 "$streams/damaged.ts"
    script listed "wait running" "services"
    expect 0 "* 28112  Made one  signals HbbTV" --script "$work/listed" "$station"
    expect 0 "log       debug [      Window]" --log debug "$station"
}

# compare JSON FOLDER: every file that the description lists, with its size and SHA-256, and no other.
compare() {
    local hash path wanted
    wanted=$(sed -n 's/^ *"path": "\(.*\)",$/\1/p' "$1" | sort)
    (cd "$2" && find . -type f | sed 's,^\./,,' | LC_ALL=C sort) >"$work/found"
    while IFS=$'\t' read -r path hash; do
        path=$(printf '%b' "$path")
        [[ $(sha256sum <"$2/$path" 2>/dev/null) == "$hash  -" ]] || fail "$path is not as $1 says"
    done < <(sed -n -e 's/^ *"path": "\(.*\)",$/\1/p' -e 's/^ *"sha256": "\(.*\)",*$/\1/p' "$1" | paste - -)
    [[ $(wc -l <"$work/found") -eq $(grep -c . <<<"$wanted") ]] ||
        fail "not as many files as in $1: $(cat "$work/found")"
}

extraction() {
    expect 0 "11 files written" --extract "$work/files" "$station"
    [[ $(grep -c '"complete": true' "$work/files/index.json") -eq 11 ]] || fail "the index is not whole"
    expect 0 "PID 300: no carousel began there" --carousel-pid 300 --extract "$work/files" "$station"
    compare "${station%.ts}.json" "$work/files/2a"
    if [[ -e $shared/ts/made-1-signal.ts ]]; then
        expect 0 "11 files written" --extract "$work/made" "$shared/ts/made-1-signal.ts"
        compare "$shared/ts/made-1-signal.json" "$work/made/2a"
        expect 0 "3 files written" --carousel-pid 0x76a:1 --extract "$work/real" \
            "$shared/ts/real-4-carousel.ts"
        compare "$shared/ts/real-4-carousel.json" "$work/real/1"
    fi
}

# stream, what it says
recordings() {
    [[ -d $shared/ts ]] || return 0
    expect 0 "no service of the stream signals HbbTV applications" "$shared/ts/real-1-three-aits.ts"
    expect 0 'service 1 "Italia 1" signals no HbbTV applications' --service 1 \
        "$shared/ts/real-1-three-aits.ts"
    expect 0 "AIT version 0, 250 bytes" "$shared/ts/real-2-two-types.ts"
    expect 0 "3c0.65 rejected: it wants profile 0x0000 with version 1.4.1" \
        "$shared/ts/real-2-two-types.ts"
    expect 0 "may 3c0.65 start (AUTOSTART)? yes" --hbbtv-version 1.4.1 \
        "$shared/ts/real-2-two-types.ts"
    expect 0 "AIT version 4, 224 bytes" "$shared/ts/real-3-launcher.ts"
    expect 0 "no services: the stream lists none" "$shared/ts/real-4-carousel.ts"
}

wrong_usage
unreadable_input
unwritable_output
commands_from_standard_input
signals
durations
expectations
silent_pipe
network
growing_file
odd_streams
extraction
recordings
[[ $failures -eq 0 ]] && echo "everything is as it should be"
exit $((failures > 0))
