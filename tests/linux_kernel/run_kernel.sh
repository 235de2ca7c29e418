#!/usr/bin/env bash
# Runs a program in the guest: a user-mode Linux kernel that sees the host's files, read-only, as a user without rights.
#     run_kernel.sh [--seconds N] [--with FILE]... [--set NAME=VALUE]... [--kernel WORD]... [--log FILE] \
#         FOLDER PROGRAM [ARGUMENT...]
# FOLDER has the kernel (build_kernel.sh). PROGRAM and each FILE are copied to one folder, from which they run and which
# is $HERE in the guest; the libraries of the system are found in their places. Time is virtual: waiting costs nothing.
# --kernel adds a word to the kernel's command line, such as fwbus.contexts=2. After N seconds of real time, 300 unless
# given, the guest is ended.
# The output is the program's; the kernel's own messages follow where the guest failed, and go to the file of --log. The
# status is the program's; 77, with "skipped: REASON" as last line, where such a kernel can't run; 124 after N seconds;
# 125 where the guest ended otherwise, or its kernel reported a fault of its own.
set -euo pipefail
seconds=300
files=()
variables=()
words=()
log=
while [ $# -gt 0 ]; do
    case $1 in
    --seconds) seconds=$2 ;;
    --with) files+=("$2") ;;
    --set) variables+=("$2") ;;
    --kernel) words+=("$2") ;;
    --log) log=$2 ;;
    *) break ;;
    esac
    shift 2
done
[ $# -ge 2 ] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" >&2; exit 2; }
kernel=$1
program=$2
shift 2

skip() {
    echo "skipped: $1"
    exit 77
}
[ "$(uname -s)-$(uname -m)" = Linux-x86_64 ] || skip "this kernel needs 64-bit x86 Linux"

work=$(mktemp -d --tmpdir=/tmp)
trap 'rm -rf "$work"' EXIT
cp "$kernel/linux" "$kernel/init" "$program" "${files[@]}" "$work/"
printf '%s\0' "$work/$(basename "$program")" "$@" >"$work/arguments"
printf '%s\0' PATH=/usr/local/bin:/usr/bin:/bin HOME=/run TMPDIR=/run "HERE=$work" "LD_LIBRARY_PATH=$work" \
    "${variables[@]}" >"$work/environment"

# Root of the guest has the rights of this process on the host.
unprivileged=()
if [ "$(id -u)" -eq 0 ]; then
    chown -R nobody "$work"
    unprivileged=(setpriv --reuid=nobody --regid=nogroup --clear-groups --inh-caps=-all --bounding-set=-all)
fi
# The guest's memory is a file in TMPDIR: /dev/shm is too small in many containers, or can't be executed from.
status=0
timeout -k 5 "$seconds" "${unprivileged[@]}" env -i "HOME=$work" "TMPDIR=$work" PATH=/usr/bin:/bin \
    "$work/linux" mem=256M root=none rootfstype=hostfs rootflags=/ ro "init=$work/init" time-travel \
    con=null con0=null,fd:1 con1=null,fd:2 console=tty1 "${words[@]}" </dev/null 2>"$work/kernel.txt" |
    tr -d '\r' | tee "$work/console.txt" || status=$?

[ -z "$log" ] || cp "$work/kernel.txt" "$log"
if grep -qiE 'ptrace.*(failed|not permitted|expected)' "$work/kernel.txt" && ! [ -s "$work/console.txt" ]; then
    skip "ptrace is not permitted here"
fi
result=$(sed -n 's/^guest: the program ended with //p' "$work/console.txt" | tail -n 1)
if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
    cat "$work/kernel.txt"
    echo "the guest was ended after $seconds s"
    exit 124
fi
faults=$(grep -cE '(WARNING|BUG|INFO|UBSAN): |Oops|Kernel panic|Call Trace' "$work/kernel.txt" || true)
if [ -z "$result" ] || [ "$faults" -gt 0 ]; then
    cat "$work/kernel.txt"
    echo "the guest did not end in order"
    exit 125
fi
exit "$result"
