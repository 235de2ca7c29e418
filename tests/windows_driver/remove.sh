#!/bin/sh
# Ends the Wine of a prefix and deletes the prefix: remove.sh PREFIX
export WINEPREFIX="$1"
[ -d "$WINEPREFIX" ] || exit 0
timeout 30 /usr/lib/wine/wineserver -k
timeout 30 /usr/lib/wine/wineserver -w
rm -rf "$WINEPREFIX"
