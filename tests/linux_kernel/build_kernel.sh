#!/usr/bin/env bash
# Builds the guest's kernel from Debian's source package with the virtual card, once, and keeps it.
#     build_kernel.sh          prints the folder that has `linux` and `init`; what it does goes to standard error
#     build_kernel.sh --keep   also keeps the tree, or goes on in it: a change of the card takes seconds
# The folder lies in $ZERIX_KERNEL_CACHE, ~/.cache/zerix/linux-kernel unless given. Its name is a hash of the card, the
# configuration, this script and the package's version. gcc, make, flex, bison, bc, xz-utils and a package list that
# knows the source package are needed; root is not.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
package=linux-source-6.1
cache=${ZERIX_KERNEL_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zerix/linux-kernel}
keep=
[ "${1:-}" != --keep ] || keep=yes

version=$(apt-cache policy "$package" | sed -n 's/^  Candidate: //p')
if [ -z "$version" ] || [ "$version" = '(none)' ]; then
    echo "build_kernel.sh: no package list knows $package" >&2
    exit 1
fi
hash=$(cd "$here" && { cat build_kernel.sh kernel.config guest_init.c card/*; echo "$version"; } | sha256sum)
hash=${hash:0:16}
target=$cache/$hash
if [ -x "$target/linux" ] && [ -x "$target/init" ]; then
    echo "$target"
    exit 0
fi

mkdir -p "$cache"
# Two that begin at once build it once.
exec 9>"$cache/lock"
flock 9
tree=$cache/tree-$version
temporary=$cache/temporary
clean_up() {
    rm -rf "$temporary"
    [ -n "$keep" ] || rm -rf "$tree"
}
trap clean_up EXIT

# The parts of the source that a kernel for this architecture with this configuration reads, 190 MB of 1.4 GB.
unpack() {
    local part parts=('Kconfig*' 'Makefile*' 'Kbuild*')
    for part in arch/um arch/x86/{um,include,lib,entry,kernel} include init kernel lib mm scripts security usr certs \
        ipc drivers/{base,char,tty,firewire} tools/{include,build}; do
        parts+=("$package/$part/*")
    done
    parts+=("$package/fs/*.[ch]" "$package/io_uring/*.h" "$package/block/*.h" "$package/net/*.h")
    rm -rf "$temporary" "$tree"
    mkdir -p "$temporary" "$temporary/tree"
    (cd "$temporary" && apt-get -qq -o APT::Sandbox::User=root download "$package=$version") >&2
    dpkg-deb --fsys-tarfile "$temporary"/*.deb | tar -xO "./usr/src/$package.tar.xz" | xz -dc |
        tar -x -C "$temporary/tree" --strip-components=1 --wildcards --no-anchored "${parts[@]}"
    mv "$temporary/tree" "$tree"
}

# Lets the FireWire menu be entered without PCI, and adds the card to it.
add_card() {
    local firewire=$tree/drivers/firewire
    if ! grep -q fwbus "$firewire/Kconfig"; then
        sed -i -e 's/depends on PCI || COMPILE_TEST/depends on PCI || UML || COMPILE_TEST/' \
            -e '/^endmenu/i source "drivers/firewire/fwbus/Kconfig"\n' "$firewire/Kconfig"
        echo 'obj-$(CONFIG_FIREWIRE_FWBUS) += fwbus/' >>"$firewire/Makefile"
    fi
    mkdir -p "$firewire/fwbus"
    cp "$here"/card/* "$firewire/fwbus/"
}

check_configuration() {
    local option
    for option in $(grep '^CONFIG_' "$here/kernel.config"); do
        grep -qx "$option" "$tree/.config" || { echo "build_kernel.sh: $option did not hold" >&2; exit 1; }
    done
}

[ -n "$keep" ] && [ -f "$tree/Makefile" ] || unpack
add_card
log=$cache/build.log
make=(nice -n 19 make -C "$tree" ARCH=um -j2 KCONFIG_ALLCONFIG="$here/kernel.config")
echo "building the kernel; all output in $log" >&2
"${make[@]}" allnoconfig >"$log" 2>&1 || { tail -n 30 "$log" >&2; exit 1; }
check_configuration
"${make[@]}" linux >>"$log" 2>&1 || { tail -n 60 "$log" >&2; exit 1; }
if grep -n 'fwbus/.*warning:' "$log" >&2; then
    echo "build_kernel.sh: warnings in the card" >&2
    exit 1
fi

rm -rf "$temporary"
mkdir "$temporary"
gcc -O1 -Wall -Wextra -Werror -static -o "$temporary/init" "$here/guest_init.c"
strip -o "$temporary/linux" "$tree/linux"
rm -rf "$target"
mv "$temporary" "$target"
echo "$target"
