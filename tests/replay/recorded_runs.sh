#!/usr/bin/env bash
# recorded_runs.sh PROGRAM REPLAY LIBRARY [EMULATOR...]
# What the recorder writes down of a program (tests/recorder/program), played into the library: all of
# its stories, the newest part of a long one, and crashes, which end the replay in the same place.
set -euo pipefail

program=$1 replay=$2 library=$3
shift 3
emulator=("$@")
folder=$(mktemp -d)
# What is sent where there is no queue stays its sender's: the replay leaves it, as the program did.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}${ASAN_OPTIONS:+:}detect_leaks=0"
trap 'rm -rf "$folder"' EXIT
status=0

# run_recorded STORY [VARIABLE=VALUE...]: into $folder/record. How the program ends is not asked.
run_recorded() {
    local story=$1
    shift
    (cd "$folder" && env VESTA_RECORD="$folder/record" "$@" "${emulator[@]}" "$program" "$story") \
        >/dev/null 2>&1 </dev/null || true
} 2>/dev/null  # where the shell would say that the program crashed

# expect_replay CODE TEXT-IN-THE-OUTPUT WHAT [OPTION...]
expect_replay() {
    local code=0 output
    output=$("${emulator[@]}" "$replay" --library "$library" "${@:4}" "$folder/record" 2>&1) || code=$?
    if [[ $code -ne $1 || $output != *"$2"* ]]; then
        printf '%s: exit code %s where %s is expected, with "%s":\n%s\n' "$3" "$code" "$1" "$2" "$output"
        status=1
    fi
}

for story in everything shutdown-from-inside calls-back files another-thread sends-to-nobody many-to-nobody \
    secrets zaps-once; do
    run_recorded "$story"
    expect_replay 0 "the same" "$story" --whole
    run_recorded "$story" VESTA_RECORD_LEAVE_OUT=bodies,queries
    expect_replay 0 "the same" "$story, with much left out"
done

run_recorded zaps VESTA_RECORD_LIMIT=12K
grep -q '"state":"begin"' "$folder/record" || {
    echo "the record with a limit does not begin in the middle"
    status=1
}
expect_replay 0 "the same" "a part of zaps"

run_recorded stays-and-zaps VESTA_RECORD_LIMIT=8K
grep -q '"state":"begin"' "$folder/record" || {
    echo "the record does not go on after it was full"
    status=1
}
expect_replay 0 "the same" "what comes after a pause"

run_recorded throws
expect_replay 4 "threw an exception" throws

run_recorded crashes
expect_replay 0 '"type":"HBBTV_NOTIFICATION_START_APPLICATION"' crashes
expect_replay 0 "the record ends here inside:" crashes
expect_replay 4 "it is not whole: it ends inside" "crashes, cut off" --whole
expect_replay 4 "a test has to be whole" "crashes, cut off" --test cut-off --into "$folder"
expect_replay 0 "written: " "crashes, kept" --test crash --into "$folder" --crash
mv "$folder/crash.vesta" "$folder/record"
expect_replay 0 "the record ends here inside:" "crashes, as a test" --whole
run_recorded crashes-inside-the-library
expect_replay 0 "the record ends here, but the library comes back, inside:" "crashes in the library"

exit $status
