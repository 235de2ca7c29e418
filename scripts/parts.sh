# Shared by scripts/test and scripts/night: builds a preset, runs its tests, adds up what they report.
# Sourced after common.sh, not run.
passed=0
failed=0
skipped=0
notes= # why what was skipped was
wine32=OFF

# The packages that a part needs in addition to the everyday build's.
need_for_part() {
    case $1 in
    i386) need "${I386_PACKAGES[@]}" ;;
    win64 | win32) need "${WINDOWS_PACKAGES[@]}" ;;
    fuzz) need "${FUZZ_PACKAGES[@]}" ;;
    kernel)
        need "${KERNEL_PACKAGES[@]}"
        know linux-source-6.1
        ;;
    esac
}

need_wine32() {
    [ -x /usr/lib/wine/wine ] || { echo "$0: --wine32 needs a 32-bit Wine in /usr/lib/wine" >&2; exit 2; }
}

# The number that the first line of a report gives an attribute.
attribute() {
    grep -m1 -oP "<testsuites? [^>]*\b$2=\"\K[0-9]+" "$1" || echo 0
}

# Adds up a report of ctest's. Where one of ctest's tests is a whole program of many, the program's own report
# next to it says how many.
count_tests() {
    local folder=$1 name status report tests failures
    of_part=0 failed_of_part=0 skipped_of_part=0
    while IFS='|' read -r name status; do
        report=$folder/reports/$name.xml
        tests=1 failures=0
        if [ -f "$report" ]; then
            tests=$(attribute "$report" tests)
            failures=$(($(attribute "$report" failures) + $(attribute "$report" errors)))
            skipped_of_part=$((skipped_of_part + $(grep -c '<skipped' "$report" || true)))
        fi
        # A program that ended before its tests did has reported no failure.
        case $status in
        run) ;;
        notrun | disabled) skipped_of_part=$((skipped_of_part + tests)) ;;
        *)
            [ "$tests" -gt 0 ] || tests=1
            [ "$failures" -gt 0 ] || failures=1
            ;;
        esac
        of_part=$((of_part + tests))
        failed_of_part=$((failed_of_part + failures))
    done < <(grep -oP '<testcase [^>]*' "$folder/tests.xml" 2>/dev/null |
        sed -E 's/.*name="([^"]*)".*status="([^"]*)".*/\1|\2/')
}

# g++ 12's thread sanitizer ends at once where the system spreads addresses over more than 28 bits.
fixed_addresses() {
    if [ "$1" = tsan ] && setarch -R true 2>/dev/null; then echo setarch -R; fi
}

# Builds a preset and runs its tests: run_preset PRESET LABELS, where LABELS selects ctest's tests by label.
run_preset() {
    local preset=$1 folder=build/$1 started=$SECONDS built
    shift
    CONFIGURE_OPTIONS=()
    [ "$preset" != win32 ] || CONFIGURE_OPTIONS=("-DZERIX_WINE32=$wine32")
    if ! build "$preset" >"/tmp/zerix-build-$preset.log" 2>&1; then
        tail -n 60 "/tmp/zerix-build-$preset.log"
        echo "the build of $preset failed"
        failed=$((failed + 1))
        return
    fi
    built=$SECONDS
    rm -rf "$folder/tests.xml" "$folder/reports"
    mkdir -p "$folder/reports"
    $(fixed_addresses "$preset") ctest --test-dir "$folder" "$@" -j "$(nproc)" --output-on-failure --quiet \
        --output-junit "$PWD/$folder/tests.xml" --output-log "$PWD/$folder/tests.log" >/dev/null 2>&1 || true
    count_tests "$folder"
    if [ "$of_part" -eq 0 ]; then
        echo "$preset ran no test"
        of_part=1
        failed_of_part=1
    fi
    [ "$failed_of_part" -eq 0 ] ||
        grep -aE '\*\*\*|: Failure$|error:|ERROR: |WARNING: ThreadSanitizer|SUMMARY: |\[  FAILED' "$folder/tests.log" | head -80
    local good=$((of_part - failed_of_part - skipped_of_part))
    passed=$((passed + good))
    failed=$((failed + failed_of_part))
    skipped=$((skipped + skipped_of_part))
    echo "$preset: $good of $of_part passed, $skipped_of_part skipped; built in $((built - started)) s," \
        "run in $((SECONDS - built)) s; all output in $folder/tests.log"
}

# A command that is one test: run_one NAME COMMAND.
run_one() {
    local name=$1 started=$SECONDS log=/tmp/zerix-${1// /-}.log
    shift
    if "$@" >"$log" 2>&1; then
        passed=$((passed + 1))
        echo "$name: passed in $((SECONDS - started)) s"
    else
        failed=$((failed + 1))
        tail -n 40 "$log"
        echo "$name: failed; all output in $log"
    fi
}

# Runs a program of checks in the guest: run_in_guest PROGRAM OPTION..., where the options are those of run_kernel.sh.
run_in_guest() {
    local name=$1 status=0
    shift
    tests/linux_kernel/run_kernel.sh "$@" "$kernel" "build/release/bin/$name" >"build/release/$name.log" 2>&1 || status=$?
    echo "$status" >"build/release/$name.status"
}

# Adds up what such a program has reported.
count_of_guest() {
    local program=build/release/bin/$1 log=build/release/$1.log status of good
    status=$(cat "build/release/$1.status")
    of=$("$program" --gtest_list_tests | grep -c '^  ')
    of_part=$((of_part + of))
    if [ "$status" -eq 77 ]; then
        reason=$(sed -n 's/^skipped: //p' "$log" | tail -n 1)
        skipped_of_part=$((skipped_of_part + of))
        return
    fi
    good=$(grep -c '^\[       OK \]' "$log" || true)
    # The guest may have ended before its checks did, or its kernel may have complained.
    if [ "$status" -ne 0 ] && [ "$good" -eq "$of" ]; then
        of_part=$((of_part + 1))
        of=$((of + 1))
    fi
    failed_of_part=$((failed_of_part + of - good))
    [ "$good" -eq "$of" ] || grep -aE ': Failure$|\[  FAILED|^the guest|WARNING: |BUG: |Oops' "$log" | head -80
}

# The checks that run inside a Linux kernel with a virtual FireWire card (docs/linux-kernel-test.md): those of the kernel's
# own interface, and those of the library on it.
run_kernel_checks() {
    local started=$SECONDS built kernel reason= file good libraries=build/release/lib options=()
    local targets=(linux_kernel_checks linux_kernel_cameras zerix zerix_sim_shared zerix_tool)
    if ! kernel=$(tests/linux_kernel/build_kernel.sh 2>/tmp/zerix-build-kernel.log) ||
        ! build release "${targets[@]}" >>/tmp/zerix-build-kernel.log 2>&1; then
        tail -n 60 /tmp/zerix-build-kernel.log
        echo "the build of kernel failed"
        failed=$((failed + 1))
        return
    fi
    built=$SECONDS
    for file in racks/*.toml build/release/bin/zerix "$libraries/libzerix.so.2" "$libraries/libzerix_sim.so.2"; do
        options+=(--with "$file")
    done
    # Pictures need memory, and what is given back to the guest's kernel is slow to come again. Time passes in waits
    # only, so that no limit depends on how busy this machine is.
    options+=(--kernel mem=512M --kernel time-travel=inf-cpu)
    options+=(--set MALLOC_MMAP_MAX_=0 --set MALLOC_TRIM_THRESHOLD_=1000000000 --set MALLOC_ARENA_MAX=1)
    run_in_guest linux_kernel_checks &
    run_in_guest linux_kernel_cameras "${options[@]}" &
    wait
    of_part=0 failed_of_part=0 skipped_of_part=0
    count_of_guest linux_kernel_checks
    count_of_guest linux_kernel_cameras
    # Where it is to run, not to run is a failure.
    if [ "${CI:-}" = true ] && [ "$skipped_of_part" -gt 0 ]; then
        failed_of_part=$((failed_of_part + skipped_of_part))
        skipped_of_part=0
    fi
    good=$((of_part - failed_of_part - skipped_of_part))
    passed=$((passed + good))
    failed=$((failed + failed_of_part))
    skipped=$((skipped + skipped_of_part))
    if [ -n "$reason" ]; then notes+=" (kernel: $reason)"; fi
    echo "kernel: $good of $of_part passed, $skipped_of_part skipped${reason:+: $reason}; built in $((built - started)) s," \
        "run in $((SECONDS - built)) s; all output in build/release/linux_kernel_*.log"
}

# The last line of every run: the total, and why anything was skipped.
report_total() {
    echo "$passed passed, $failed failed, $skipped skipped$notes"
    [ "$failed" -eq 0 ]
}
