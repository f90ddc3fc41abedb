#!/usr/bin/env bash
# valgrind.sh BUILD [NAME...]
# Runs the tests of a build tree under Valgrind's memcheck: every test program as a whole, and then
# what ctest has as corpus.*, records.* and session.*. NAME picks some: a program, or one of these
# three words. An error, a leak or a failing test is a failure; all that is said of one goes to
# BUILD/valgrind/NAME.log. What is left out stands in tests/valgrind.txt. Processes that a test
# starts are not looked at: those programs have runs of their own here.
set -euo pipefail

build=$(realpath "$1")
shift
wanted=" $* "
tests=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
out="$build/valgrind"
checked=0
rm -rf "$out"
mkdir -p "$out"
memcheck=(valgrind -q --error-exitcode=99 --leak-check=full
          --errors-for-leak-kinds=definite,indirect,possible --num-callers=40
          "--suppressions=$tests/valgrind.supp")

is_wanted() {
    [[ $wanted == "  " || $wanted == *" $1 "* ]]
}

# check NAME COMMAND...
check() {
    local name=$1
    shift
    checked=1
    "$@" >"$out/$name.log" 2>&1 </dev/null && return
    printf '%s\n' "$name" >>"$out/failed"
    echo "$name failed: $out/$name.log"
    grep -E -A 12 '^==[0-9]+== [A-Z]|Failure$|^[<>+-]' "$out/$name.log" | head -n 60 || true
}

took() {
    printf '%-30s %4d s\n' "$1" "$SECONDS"
    SECONDS=0
}

# What tests/valgrind.txt says of a test program: a filter of its tests.
left_out() {
    awk -v name="$1" '$1 == name { print $2 }' "$tests/valgrind.txt"
}

# A program that brings an operator new keeps it: its tests let it fail. Others get Valgrind's, which
# knows their pairs.
own_memory() {
    if nm -C "$1" | grep ' T operator new(unsigned long)$' >/dev/null; then
        echo --soname-synonyms=somalloc=nouserintercepts
    fi
}

check_program() {
    local name=${1##*/} filter
    filter=$(left_out "$name")
    is_wanted "$name" && [[ $filter != "*" ]] || return 0
    cd "${1%/*}"
    check "$name" "${memcheck[@]}" $(own_memory "$1") "$1" --gtest_brief=1 "--gtest_filter=-$filter"
    took "$name"
}

# tests_of KIND: the names and commands that ctest has for KIND.*, a line each.
tests_of() {
    ctest --test-dir "$build" -N -V -R "^$1\\." |
        sed -nE -e 's/^[0-9]+: Test command: //p' -e 's/^ *Test +#[0-9]+: /= /p' |
        awk '/^= / { print substr($0, 3) "\t" command; next } { command = $0 }'
}

check_commands() {
    local kind=$1 name command words count=0
    is_wanted "$kind" || return 0
    while IFS=$'\t' read -r name command; do
        mapfile -t words < <(xargs -n 1 <<<"$command")
        check "$name" "${memcheck[@]}" "${words[@]}"
        count=$((count + 1))
    done < <(tests_of "$kind")
    [[ $count -gt 0 ]] || printf '%s\n' "$kind" | tee -a "$out/failed" | sed 's/$/: ctest has none of these/'
    took "$kind, $count runs"
}

# The sessions are scripts, which get a receiver that runs under Valgrind.
check_sessions() {
    local receiver="$build/vesta_receiver" streams="$out/streams"
    is_wanted session && [[ -x $receiver ]] || return 0
    check vesta_make_streams "${memcheck[@]}" "$build/tests/receiver/vesta_make_streams" "$streams"
    { echo '#!/usr/bin/env bash' && printf '%q ' exec "${memcheck[@]}" "$receiver" && echo '"$@"'; } >"$out/vesta_receiver"
    chmod +x "$out/vesta_receiver"
    check session "$tests/receiver/sessions/run.sh" "$out/vesta_receiver" "$streams"
    took sessions
}

SECONDS=0
while read -r program; do
    check_program "$program"
done < <(find "$build/tests" -type f -perm -u+x -name 'vesta_*_tests' | sort)
check_commands corpus
check_commands records
check_sessions
[[ $checked -gt 0 ]] || echo "there is nothing of that name: $wanted" >&2
[[ $checked -gt 0 && ! -e $out/failed ]]
