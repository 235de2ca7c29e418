# Shared by the scripts of this folder: where the tree is, and how Debian packages get installed.
# Sourced, not run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What the everyday build needs.
BUILD_PACKAGES=(g++ cmake ninja-build ccache pkg-config googletest libtomlplusplus-dev
    libcli11-dev libfmt-dev libtiff-dev libcfitsio-dev libpng-dev nlohmann-json3-dev python3)
# And what its tests ask besides.
TEST_PACKAGES=(fitsverify)
I386_PACKAGES=(g++-multilib)
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix wine64 llvm
    clang lld)
CHECK_PACKAGES=(clang-format clang-tidy python3)
FUZZ_PACKAGES=(clang)
KERNEL_PACKAGES=(gcc make flex bison bc xz-utils libc6-dev linux-libc-dev)
BENCH_PACKAGES=(libbenchmark-dev)
PEER_PACKAGES=(libopencv-core-dev libopencv-imgproc-dev libdc1394-dev libswscale-dev)

CONFIGURE_OPTIONS=()

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo --preserve-env=DEBIAN_FRONTEND "$@"; fi
}

# Fetches the lists of packages unless they know this one.
know() {
    [ -n "$(apt-cache madison "$1" 2>/dev/null)" ] || as_root apt-get -qq update
}

# Installs the Debian packages named that are missing; root, or sudo, is needed only then.
need() {
    local missing=()
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null)" = "install ok installed" ] ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    as_root apt-get -qq update
    DEBIAN_FRONTEND=noninteractive as_root apt-get -qq -y --no-install-recommends install \
        "${missing[@]}" >/dev/null
}

# Without these the compiler cache would leave everything alone that uses a precompiled header.
export CCACHE_SLOPPINESS=pch_defines,time_macros
# What one checkout compiled serves every other.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# Configures and builds one preset; the remaining arguments name targets. CONFIGURE_OPTIONS are further options
# for the first.
build() {
    local preset=$1
    shift
    cmake --preset "$preset" "${CONFIGURE_OPTIONS[@]}" >"/tmp/zerix-configure-$preset.log" 2>&1 ||
        { cat "/tmp/zerix-configure-$preset.log"; return 1; }
    if [ $# -eq 0 ]; then cmake --build --preset "$preset"; else
        cmake --build --preset "$preset" --target "$@"; fi
}
