#!/usr/bin/env bash
# make_records.sh BUILD
# Records the receiver's sessions, the stories and a television anew, from a build tree that has
# vesta_receiver, vesta_station, vesta_make_streams, vesta_recordable_stories, vesta_hbbtv_recorder,
# vesta_hbbtv_kit and vesta_replay. What replays then is kept here. Bytes of large files are left out.
#
# A story does what an integrator could, and asks the library's classes for nothing but how things
# are. Of all of them one does more, so that it does not replay: CallReasons.
# NativesOfAnApplicationWithoutTransport takes an application's transport away, which no
# entry function does. StartReasons.TheWindowIsClosing asks a window for a start while the library is
# being shut down, which comes to nothing: it replays without that.
set -euo pipefail

build=$(realpath "$1")
records=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly build records
project=$(cd "$records/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly large=50000

# record NAME PROGRAM [ARGUMENT...]: how the program ends is for other tests to judge.
record() {
    local name=$1 file="$work/$1.vesta"
    shift
    record_into "$file" "" "$@"
    if [[ $(stat -c %s "$file") -gt $large ]]; then
        record_into "$file" bodies "$@"
    fi
    "$build/vesta_replay" --test "$name" --into "$records" "$file" >/dev/null 2>&1 ||
        echo "not kept: $name" >&2
}

record_into() {
    local file=$1 left_out=$2
    shift 2
    LD_PRELOAD="$build/libvesta_hbbtv_recorder.so" VESTA_RECORD="$file" \
        VESTA_RECORD_LEAVE_OUT="$left_out" "$@" </dev/null >/dev/null 2>&1 || true
}

sessions() {
    local script name arguments
    "$build/tests/receiver/vesta_make_streams" "$work/streams" >/dev/null
    cd "$project/tests/receiver/sessions"
    for script in *.script; do
        name=${script%.script}
        arguments=()
        read -ra arguments < <(sed -n '1s/^# receiver //p' "$script") || true
        if [[ ${#arguments[@]} -eq 0 ]]; then
            arguments=("$project/samples/station.ts")
        else
            arguments[-1]="$work/streams/${arguments[-1]}"
        fi
        record "session-$name" "$build/vesta_receiver" --script "$script" "${arguments[@]}"
    done
}

# "CarouselStory.ItEnds" becomes "story-carousel-it-ends".
story_name() {
    sed -E 's/Story\././; s/[./]/-/g; s/([a-z0-9])([A-Z])/\1-\2/g; s/([A-Z])([A-Z][a-z])/\1-\2/g; s/-+/-/g; s/.*/story-\L&/' <<<"$1"
}

stories() {
    local program="$build/tests/replay/vesta_recordable_stories" suite test
    cd "$project"
    while read -r test; do
        record "$(story_name "$test")" "$program" --gtest_filter="$test"
    done < <("$program" --gtest_list_tests | awk '/^[^ ]/ { suite = $1 } /^  / { print suite $1 }')
}

# What a viewer does on the sample station, in the real browser: where the receiver has one.
television() {
    local stream="$work/vesta-one.ts" script="$work/pictures.script"
    cd "$project"
    "$build/vesta_receiver" --help | grep -q -- '--browser NAME  .*or wpe' || return 0
    "$build/vesta_station" make samples/vesta-one/station.json "$stream" >/dev/null
    sed "s#docs/pictures#$work#" samples/vesta-one/pictures.script >"$script"
    record television-vesta-one "$build/vesta_receiver" --browser wpe --loop --script "$script" \
        --site http://vesta.example/=samples/vesta-one/site "$stream"
}

rm -f "$records"/session-*.vesta "$records"/story-*.vesta "$records"/television-*.vesta
sessions
stories
television
