# Shared by scripts/test and scripts/night: builds a preset, runs its tests, adds up what they report.
# Sourced after common.sh, not run.
passed=0
failed=0
skipped=0
wine32=OFF

# The packages that a part needs in addition to the everyday build's.
need_for_part() {
    case $1 in
    i386) need "${I386_PACKAGES[@]}" ;;
    win64 | win32) need "${WINDOWS_PACKAGES[@]}" ;;
    fuzz) need "${FUZZ_PACKAGES[@]}" ;;
    kernel) need "${KERNEL_PACKAGES[@]}" ;;
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

# The checks that run inside a Linux kernel with a virtual FireWire card (docs/linux-kernel-test.md).
run_kernel_checks() {
    local folder=build/release log=build/release/kernel.log started=$SECONDS built kernel status=0 of=0 good=0
    if ! kernel=$(tests/linux_kernel/build_kernel.sh 2>/tmp/zerix-build-kernel.log) ||
        ! build release linux_kernel_checks >>/tmp/zerix-build-kernel.log 2>&1; then
        tail -n 60 /tmp/zerix-build-kernel.log
        echo "the build of kernel failed"
        failed=$((failed + 1))
        return
    fi
    built=$SECONDS
    tests/linux_kernel/run_kernel.sh "$kernel" "$folder/bin/linux_kernel_checks" >"$log" 2>&1 || status=$?
    of=$("$folder/bin/linux_kernel_checks" --gtest_list_tests | grep -c '^  ')
    if [ "$status" -eq 77 ]; then
        skipped=$((skipped + of))
        echo "kernel: 0 of $of passed, $of skipped; $(tail -n 1 "$log")"
        return
    fi
    good=$(grep -c '^\[       OK \]' "$log" || true)
    # The guest may have ended before its checks did, or its kernel may have complained.
    if [ "$status" -ne 0 ] && [ "$good" -eq "$of" ]; then of=$((of + 1)); fi
    [ "$good" -eq "$of" ] || grep -aE ': Failure$|\[  FAILED|^the guest|WARNING: |BUG: |Oops' "$log" | head -80
    passed=$((passed + good))
    failed=$((failed + of - good))
    echo "kernel: $good of $of passed, 0 skipped; built in $((built - started)) s," \
        "run in $((SECONDS - built)) s; all output in $log"
}

# The last line of every run.
report_total() {
    echo "$passed passed, $failed failed, $skipped skipped"
    [ "$failed" -eq 0 ]
}
