#!/usr/bin/env bash
# Measures what docs/figures.md says.
#   figures/measure.sh            everything, into docs/figures.md
#   figures/measure.sh --check    sizes and allocations alone, against figures/limits.txt
#   figures/measure.sh --self-check
#                                 shows that what is too large, has no limit or was not measured is noticed
#   figures/measure.sh --limits   the same, into figures/limits.txt, with a little room
#   figures/measure.sh --stack [ENTRY...]
#                                 the deepest path below each entry function, or below those that are
#                                 named, function by function; fails where one is deeper than the limit
# Where a target's compiler is missing its figures are left out, and said to be; to --check that is a failure.
# The build trees are
# build/figures/<target>-<options>; coverage and fuzzing are those of the last ./dev coverage and ./dev fuzz.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C
readonly trees=build/figures limits=figures/limits.txt page=docs/figures.md
readonly targets=(x86-64 i386 armhf aarch64) stack_targets=(armhf x86-64) deepest_stack=4096
# What figures/stack.py reads. It does not change the code.
readonly stack_options="-save-temps=obj -fcallgraph-info=su -fdump-tree-optimized-lineno"

say() {
    printf '== %s\n' "$*" >&2
}

# prepare TARGET: sets compiler, tools (the prefix of the binutils) and configuration.
prepare() {
    tools=
    case $1 in
    x86-64) compiler=g++ configuration=(-DCMAKE_CXX_COMPILER=g++) ;;
    # Where the kernel's headers for 32 bits are not installed, those of the 64-bit side serve.
    i386) compiler="g++ -m32 -isystem /usr/include/x86_64-linux-gnu" configuration=(-DCMAKE_CXX_COMPILER=g++ -DVESTA_32BIT=ON) ;;
    armhf)
        tools=arm-linux-gnueabihf- compiler=arm-linux-gnueabihf-g++
        configuration=(-DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake)
        ;;
    aarch64)
        tools=aarch64-linux-gnu- compiler=aarch64-linux-gnu-g++
        configuration=(-DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake)
        ;;
    esac
}

can_compile() {
    printf '#include <string>\nint main() { return 0; }\n' |
        $compiler -x c++ - -o /dev/null 2>/dev/null
}

# build_library TARGET LEVEL LTO: prints the library's path.
build_library() {
    local tree="$trees/$1-$2-$3" level=$2 options=(-DVESTA_PRECOMPILE=ON)
    # Neither ccache nor headers that were compiled once can give what the compiler says beside the object file.
    [[ $2-$3 != O2-OFF || " ${stack_targets[*]} " != *" $1 "* ]] ||
        level+=" $stack_options" options=(-DVESTA_PRECOMPILE=OFF -DCMAKE_CXX_COMPILER_LAUNCHER=)
    cmake -S . -B "$tree" -Wno-dev "${configuration[@]}" -DCMAKE_BUILD_TYPE=Release \
        "${options[@]}" \
        "-DCMAKE_CXX_FLAGS_RELEASE=-$level -DNDEBUG" -DVESTA_LTO="$3" -DVESTA_BUILD_TESTS=OFF \
        -DVESTA_BUILD_KIT=OFF -DVESTA_BUILD_RECEIVER=OFF -DVESTA_BUILD_STATION=OFF \
        -DVESTA_BUILD_REPLAY=OFF >"$tree.log" 2>&1 &&
        cmake --build "$tree" --parallel "${JOBS:-$(nproc)}" --target vesta_hbbtv_appman \
            >>"$tree.log" 2>&1 || {
        cat "$tree.log" >&2
        return 1
    }
    find "$tree" -name '*.ii' -delete
    # However it is built, the library calls the platform's hooks.
    READELF="${tools}readelf" tests/packaging/replaceable_symbols.sh "$tree/libvesta_hbbtv_appman.so" >&2 || {
        say "$1 -$2, link-time optimisation $3: what the platform brings is not called"
        return 1
    }
    printf '%s/libvesta_hbbtv_appman.so' "$tree"
}

# Lines "size TARGET LEVEL LTO TEXT DATA BSS EXPORTS".
measure_sizes() {
    local target level lto library
    for target in "${targets[@]}"; do
        prepare "$target"
        can_compile || { say "no compiler for $target"; continue; }
        for lto in OFF ON; do
            # What flash costs is asked for receivers.
            [[ $lto == OFF || $target == armhf ]] || continue
            for level in O2 Os; do
                say "$target -$level, link-time optimisation $lto"
                library=$(build_library "$target" "$level" "$lto")
                printf 'size %s %s %s %s %s\n' "$target" "$level" "$lto" \
                    "$("${tools}size" "$library" | awk 'NR == 2 { print $1, $2, $3 }')" \
                    "$("${tools}nm" -D --defined-only "$library" | wc -l)"
            done
        done
    done
}

# Lines "heap TARGET BYTES ALLOCATIONS WHAT". Under an emulator the numbers are the same.
measure_heap() {
    local target program library
    for target in x86-64 i386; do
        prepare "$target"
        can_compile || continue
        say "$target heap"
        program="$trees/heap-$target"
        library=$(build_library "$target" O2 OFF)
        # The fakes of the tests play browser and platform.
        $compiler -std=c++17 -O2 -Iinclude -I. figures/heap.cpp tests/support/fake_*.cpp \
            tests/support/section_builder.cpp tests/support/counted_memory.cpp "$library" \
            -Wl,-rpath,"$PWD/${library%/*}" -pthread -o "$program"
        # What is freed counts as free.
        GLIBC_TUNABLES=glibc.malloc.tcache_count=0 "$program" | sed -E "s/^(.*): ([-0-9]+) ([0-9]+)$/heap $target \2 \3 \1/"
    done
}

# call_graphs TARGET: prints the folder.
call_graphs() {
    prepare "$1"
    local library
    library=$(build_library "$1" O2 OFF)
    printf '%s/CMakeFiles/vesta_objects.dir' "${library%/*}"
}

# Lines "stack TARGET BYTES ENTRY".
measure_stack() {
    local target folder
    for target in "${stack_targets[@]}"; do
        prepare "$target"
        can_compile || continue
        say "$target stack"
        folder=$(call_graphs "$target")
        python3 figures/stack.py "$folder" | sed "s/^/stack $target /"
    done
}

show_stack() {
    local target folder status=0
    for target in "${stack_targets[@]}"; do
        prepare "$target"
        can_compile || { say "no compiler for $target"; continue; }
        folder=$(call_graphs "$target")
        say "$target"
        python3 figures/stack.py --paths "$folder" "$@" | tee "$trees/stack-$target"
        awk -v limit="$deepest_stack" '/^[0-9]/ && $1 > limit { print $2 ": " $1 " bytes of stack, the limit is " limit; failed = 1 }
            END { exit failed }' "$trees/stack-$target" >&2 || status=1
    done
    return "$status"
}

measure_what_is_limited() {
    measure_sizes
    measure_heap
    measure_stack
}

# Two per cent of room for text, so that a compiler's update is no alarm; none for allocations.
write_limits() {
    {
        echo "# What ./dev figures --check holds the library to: text of the shared library in bytes, and"
        echo "# bytes and allocations on the heap; and bytes of stack below any entry function. Written by"
        echo "# figures/measure.sh --limits."
        measure_what_is_limited | awk '
            $1 == "size" { printf "size %s %s %s %d\n", $2, $3, $4, $5 * 1.02 }
            $1 == "heap" { print }'
        printf "stack %s $deepest_stack\n" "${stack_targets[@]}"
    } >"$trees/limits"
    mv "$trees/limits" "$limits"
}

# compare LIMITS MEASURED: whether everything that has a limit was measured and keeps it.
compare() {
    awk '
        function complain(text) { print text; failed = 1 }
        /^(#|$)/ { next }
        # Sizes and the heap have a limit each, the stack one for all entries of a processor.
        { what = $1 " " $2 }
        $1 == "size" { what = what " -" $3 " (link-time optimisation " $4 ")" }
        $1 == "heap" { for (i = 5; i <= NF; ++i) what = what " " $i }
        FNR == NR {
            limit[what] = $1 == "size" ? $5 : $3
            blocks[what] = $4
            next
        }
        !(what in limit) { complain("no limit for " $0); next }
        { measured[what] = 1 }
        $1 == "size" && $5 > limit[what] {
            complain(what ": text of " $5 " bytes, the limit is " limit[what])
        }
        $1 == "heap" && ($3 > limit[what] || $4 > blocks[what]) {
            complain(what ": " $3 " bytes, " $4 " allocations; the limits are " limit[what] " and " blocks[what])
        }
        $1 == "stack" && $3 > limit[what] {
            complain($4 " on " $2 ": " $3 " bytes of stack, the limit is " limit[what] "; ./dev stack " $4 " has the path")
        }
        END {
            for (what in limit)
                if (!(what in measured)) complain("has a limit, but was not measured: " what)
            exit failed
        }' "$1" "$2"
}

check() {
    measure_what_is_limited >"$trees/measured"
    compare "$limits" "$trees/measured"
}

# expect_notice TEXT SED-COMMAND: what is said of measurements that were changed so.
expect_notice() {
    local said
    said=$(compare "$place/limits" <(sed -E "$2" "$place/measured")) && said=nothing
    [[ $(wc -l <<<"$said") -eq 1 && $said == *"$1"* ]] ||
        { printf 'expected "%s", but: %s\n' "$1" "$said" >&2; exit 1; }
}

self_check() {
    place=$(mktemp -d)
    trap 'rm -rf "$place"' EXIT
    printf '%s\n' '# A comment.' 'size armhf O2 OFF 1000' 'size armhf O2 ON 900' 'heap i386 48 3 a table' \
        'heap i386 0 0 a table of two' 'stack armhf 4096' >"$place/limits"
    printf '%s\n' 'size armhf O2 OFF 1000 9 9 5' 'size armhf O2 ON 880 9 9 5' 'heap i386 48 3 a table' \
        'heap i386 0 0 a table of two' 'stack armhf 4096 tick' 'stack armhf 8 version' >"$place/measured"
    compare "$place/limits" "$place/measured"
    expect_notice "1001 bytes, the limit is 1000" 's/OFF 1000/OFF 1001/'
    expect_notice "49 bytes, 3 allocations" 's/ 48 3/ 49 3/'
    expect_notice "48 bytes, 4 allocations" 's/ 48 3/ 48 4/'
    expect_notice "tick on armhf: 10000 bytes" 's/ 4096/ 10000/'
    expect_notice "no limit for heap x86-64" '$a heap x86-64 1 1 a table'
    expect_notice "no limit for size armhf Os" '$a size armhf Os OFF 1 1 1 1'
    expect_notice "no limit for stack x86-64" '$a stack x86-64 1 tick'
    expect_notice "not measured: size armhf -O2 (link-time optimisation ON)" '/ ON /d'
    expect_notice "not measured: heap i386 a table of two" '/ two$/d'
    expect_notice "not measured: stack armhf" '/^stack/d'
}

print_sizes() {
    echo "| Processor | Options | Text | Data | Zeroed | Exported names |"
    echo "|---|---|---:|---:|---:|---:|"
    awk '$1 == "size" {
        printf "| %s | -%s%s | %.1f KiB | %d bytes | %d bytes | %d |\n", $2, $3, $4 == "ON" ? ", link-time optimisation" : "", $5 / 1024, $6, $7, $8
    }' "$1"
}

print_heap() {
    echo "| What | x86-64: bytes | allocations | i386: bytes | allocations |"
    echo "|---|---:|---:|---:|---:|"
    awk '$1 == "heap" {
        what = $5; for (i = 6; i <= NF; ++i) what = what " " $i
        if (!(what in known)) order[++count] = what
        known[what] = 1; bytes[what, $2] = $3; blocks[what, $2] = $4
    }
    END { for (i = 1; i <= count; ++i) { w = order[i]
        printf "| %s | %s | %s | %s | %s |\n", w, bytes[w, "x86-64"], blocks[w, "x86-64"], bytes[w, "i386"], blocks[w, "i386"] } }' "$1"
}

print_stack() {
    echo "| Entry function | armhf: bytes | x86-64: bytes |"
    echo "|---|---:|---:|"
    # The functions in C add one frame of up to 16 bytes.
    awk '$1 == "stack" && $4 !~ /^vesta_hbbtv_c_/ { if (!($4 in known)) order[++count] = $4; known[$4] = 1; bytes[$4, $2] = $3 }
    END { for (i = 1; i <= count; ++i) { e = order[i]
        printf "%d | `%s` | %s | %s |\n", bytes[e, "x86-64"], e, bytes[e, "armhf"], bytes[e, "x86-64"] } }' "$1" |
        sort -k 1,1nr -k 3,3 | sed 's/^[0-9]* //'
}

# figures/ratios.txt: program, benchmark, its peer, what that says.
print_ratios() {
    local program ours peer text result
    echo "| What | Peer | Ratio |"
    echo "|---|---|---:|"
    grep -v '^#' figures/ratios.txt | while IFS='|' read -r program ours peer text; do
        [[ -x build/bench/benchmarks/$program ]] || continue
        say "$program $ours"
        # Medians of processor times; both sides have the same unit.
        result=$(OPENSSL_ia32cap="${OPENSSL_ia32cap:-~0x1000020000000000:~0x20000128}" \
            "build/bench/benchmarks/$program" --benchmark_filter="^($ours|$peer)\$" \
            --benchmark_repetitions=5 --benchmark_report_aggregates_only=true 2>/dev/null |
            awk -v ours="${ours}_median" -v peer="${peer}_median" '
                $1 == ours { a = $4; unit = $5 } $1 == peer { b = $4; other = $5 }
                END { if (a && b && unit == other) printf "%.2f", a / b }')
        [[ -n $result ]] || { say "$program has no $ours, or no $peer"; continue; }
        printf '| %s | %s |\n' "$text" "$result"
    done
}

print_coverage() {
    if [[ -r build/coverage/summary.txt ]]; then
        sed -nE 's/^(lines|branches): ([0-9.]+%).*/- \1 of the library: \2/p' build/coverage/summary.txt
    else
        echo "- not measured: \`./dev coverage\` does"
    fi
}

print_tests() {
    local preset count
    for preset in release m32 arm arm64; do
        [[ -r build/$preset/CTestTestfile.cmake ]] || continue
        count=$(ctest --test-dir "build/$preset" -N | sed -nE 's/^Total Tests: //p')
        echo "- \`build/$preset\`: $count"
    done
}

print_fuzzing() {
    local log found=
    for log in build/fuzz/found/*/log; do
        [[ -r $log ]] || continue
        found=1
        printf -- '- %s: %s executions\n' "$(basename "$(dirname "$log")")" \
            "$(sed -nE 's/^stat::number_of_executed_units: +//p' "$log")"
    done
    [[ -n $found ]] || echo "- no run is kept here: \`./dev fuzz 30\` makes one"
}

write_page() {
    measure_what_is_limited >"$trees/measured"
    {
        echo "# Figures"
        echo
        echo "Measured by \`./dev figures\` with $(g++ --version | sed -n 1p), GNU binutils $(ld --version | sed -nE '1s/.* //p'). Times are"
        echo "ratios from one run: machines differ, and so do their moods."
        echo
        echo "## The shared library"
        echo
        print_sizes "$trees/measured"
        echo
        echo "## Heap"
        echo
        echo "What the work leaves in use, with what the allocator needs for it, and how many blocks were asked"
        echo "for on the way. An event's record is its sender's, and counts with the event."
        echo
        print_heap "$trees/measured"
        echo
        echo "## Stack"
        echo
        echo "The deepest path below an entry function, frame by frame as the compiler laid them out with -O2;"
        echo "\`./dev stack\` prints the paths, and none is deeper than $deepest_stack bytes. It is that of the library alone: what the"
        echo "browser, the platform, listeners and the C and C++ libraries need on top is theirs, and so is what they"
        echo "call in return. How often a path goes round is known where \`figures/stack_rules.txt\` says so. The functions"
        echo "in C take up to 16 bytes more."
        echo
        print_stack "$trees/measured"
        echo
        echo "## Speed"
        echo
        echo "Processor time, as a multiple of the peer's; less is faster."
        echo
        print_ratios
        echo
        echo "## Tests"
        echo
        print_tests
        echo
        echo "## Coverage"
        echo
        print_coverage
        echo
        echo "## Fuzzing"
        echo
        echo "The last run of each target:"
        echo
        print_fuzzing
    } >"$trees/page"
    mv "$trees/page" "$page"
    write_between_marks README.md print_summary
    [[ ! -r build/coverage/summary.txt ]] || write_between_marks docs/coverage.md print_coverage_table
}

# The README's table, between its marks.
print_summary() {
    echo "| | |"
    echo "|---|---|"
    awk '$1 == "size" && $2 == "armhf" && $4 == "OFF" { text[$3] = $5 / 1024 }
        END { if (text["O2"]) printf "| The library on armhf | %.0f KiB of text with -O2, %.0f KiB with -Os |\n", text["O2"], text["Os"] }' "$trees/measured"
    awk '$1 == "heap" && $2 == "i386" && /a table of 10 applications/ { printf "| Heap of a table of 10 applications | %.1f KiB on 32 bits |\n", $3 / 1024 }
        $1 == "heap" && $2 == "i386" && /tick without/ { printf "| A tick without an event | %s allocations |\n", $4 }' "$trees/measured"
    sed -nE '/^## Speed/,/^## /s/^\| ([^|]*(section of an AIT|line of the log)[^|]*) \| ([^|]*) \| ([0-9.]+) \|$/| \1 | \4 times the time of \3 |/p' "$page"
    sed -nE 's/^- `build\/release`: ([0-9]+)$/| Tests | \1 |/p' "$page"
    sed -nE 's/^- (lines|branches) of the library: (.*)$/| Coverage, \1 | \2 |/p' "$page"
    echo
    echo "[All figures](docs/figures.md) are measured by \`./dev figures\`."
}

print_coverage_table() {
    echo "| | Taken | Of |"
    echo "|---|---:|---:|"
    sed -nE 's/^(lines|branches): [0-9.]+% \(([0-9]+) out of ([0-9]+)\)/| \1 | \2 | \3 |/p' build/coverage/summary.txt
}

# write_between_marks PAGE COMMAND: what the command prints stands there from now on.
write_between_marks() {
    {
        sed '/<!-- figures: begin -->/q' "$1"
        "$2"
        sed -n '/<!-- figures: end -->/,$p' "$1"
    } >"$trees/marked"
    cat "$trees/marked" >"$1"
}

[[ ${1:-} == --self-check ]] || mkdir -p "$trees"
case ${1:-} in
--check) check ;;
--self-check) self_check ;;
--limits) write_limits ;;
--stack)
    shift
    show_stack "$@"
    ;;
"") write_page ;;
*)
    echo "figures/measure.sh takes --check, --self-check, --limits, --stack or nothing: $*" >&2
    exit 2
    ;;
esac
