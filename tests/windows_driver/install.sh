#!/bin/sh
# Makes a fresh Wine with the test driver in it: install.sh PREFIX INSTALLER INF
# It stays up for ten minutes after its last program, so that the driver stays loaded.
here=$(dirname "$(readlink -f "$0")")
wine=$here/../../scripts/wine
log=$1.log
export WINEPREFIX="$1"

# What stays up must not hold the caller's pipe.
set_up() {
    "$here/remove.sh" "$WINEPREFIX"
    timeout 180 "$wine" wineboot --init &&
        timeout 60 /usr/lib/wine/wineserver -w &&
        /usr/lib/wine/wineserver -p600 &&
        timeout 60 "$wine" "$1" "$2"
}

set_up "$2" "$3" >"$log" 2>&1 </dev/null
status=$?
[ "$status" -eq 0 ] || cat "$log"
exit "$status"
