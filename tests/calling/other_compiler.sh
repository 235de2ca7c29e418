#!/bin/sh
# Builds a program as another compiler's users do, with the import libraries that this build makes for them, and runs
# it where that is possible.
#     other_compiler.sh TREE i686|x86_64 LIBRARIES PROGRAM [RUNNER]
# PROGRAM is made next to the DLLs.
set -e
tree=$1 machine=$2 libraries=$3 program=$4 runner=$5
here=$tree/tests/calling
clang --target="$machine-pc-windows-msvc" -std=c11 -ffreestanding -fno-stack-protector -O1 -Wall -Wextra -Werror \
    -I "$tree/include" -c "$here/other_compiler.c" -o "$program.obj"
lld-link /nologo /nodefaultlib /safeseh:no /subsystem:console /entry:Start "/out:$program" "$program.obj" \
    "$libraries/Zerix.lib" "$libraries/zerix_sim.lib" "/usr/$machine-w64-mingw32/lib/libkernel32.a"
[ -n "$runner" ] || exit 0
ZERIX_BUS=simulated "$runner" "$program"
