#!/usr/bin/env bash
# try_recorder.sh RECEIVER STREAMS RECORDER
# Plays every session with the recorder before the library: it leaves the trace that it leaves
# without, and a record in which every call has come to its end.
set -euo pipefail
receiver=$(realpath "$1")
streams=$(realpath "$2")
recorder=$(realpath "$3")
cd "$(dirname "${BASH_SOURCE[0]}")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# The recorder is the receiver's alone, not the shell's that plays the session.
cat >"$work/receiver" <<EOF
#!/bin/sh
LD_PRELOAD='$recorder' VESTA_RECORD='$work/record' exec '$receiver' "\$@"
EOF
chmod +x "$work/receiver"

for script in *.script; do
    rm -f "$work/record"
    ./run.sh "$work/receiver" "$streams" "${script%.script}" || status=1
    calls=$(grep -c '^{"n":' "$work/record")
    ends=$(grep -c '^{"end":' "$work/record")
    if [[ $calls -lt 10 || $calls -ne $ends ]]; then
        echo "${script%.script}: $calls calls, $ends ends" >&2
        status=1
    fi
done
exit $status
