#!/usr/bin/env bash
# run.sh [--regenerate | --browser NAME] RECEIVER STREAMS [SESSION...]
# Plays sessions (all of them when none is named) and compares the traces that they leave, without
# the times, the library's log and its decisions, with SESSION.expected; --regenerate writes these files instead. A session's first line
# may hold the receiver's options and its stream: "# receiver OPTIONS... NAME.ts".
# --browser plays them in another browser. Then only what commands asked for, and what the
# application manager made of it, has to be the same.
set -euo pipefail

regenerate=
browser=()
if [[ "$1" == --regenerate ]]; then
    regenerate=yes
    shift
elif [[ "$1" == --browser ]]; then
    browser=(--browser "$2")
    shift 2
fi
receiver=$(realpath "$1")
streams=$(realpath "$2")
shift 2
cd "$(dirname "${BASH_SOURCE[0]}")"
[[ $# -gt 0 ]] || set -- $(basename -s .script -- *.script)

trace=$(mktemp)
complaints=$(mktemp)
trap 'rm -f "$trace" "$complaints"' EXIT
status=0

play() {
    local name=$1 code=0 arguments=()
    read -ra arguments < <(sed -n '1s/^# receiver //p' "$name.script") || true
    if [[ ${#arguments[@]} -eq 0 ]]; then
        arguments=(../../../samples/station.ts)
    else
        arguments[-1]="$streams/${arguments[-1]}"
    fi
    "$receiver" "${browser[@]}" --script "$name.script" --trace "$trace" "${arguments[@]}" </dev/null >/dev/null 2>"$complaints" ||
        code=$?
    # A sanitizer has an exit code of its own.
    if ! tail -n 1 "$trace" | grep -q "\"exit_code\":$code}"; then
        echo "session $name ended with exit code $code:" >&2
        cat "$complaints" >&2
        status=1
    fi
    sed -i '/"source":"\(log\|decision\)"/d; s/^{"time":[^,]*,/{/' "$trace"
}

# What has to be the same in every browser, and how it ends.
common() {
    grep -E '"source":"(library|user)"|"event":"end"' "$1"
}

for name in "$@"; do
    play "$name"
    if [[ -n $regenerate ]]; then
        cp "$trace" "$name.expected"
    elif [[ ${#browser[@]} -gt 0 ]]; then
        diff -u <(common "$name.expected") <(common "$trace") || status=1
    elif ! diff -u "$name.expected" "$trace"; then
        echo "session $name went another way; if it is right so: $0 --regenerate RECEIVER STREAMS $name" >&2
        status=1
    fi
done
exit "$status"
