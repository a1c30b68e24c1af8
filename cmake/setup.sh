# shellcheck shell=bash disable=SC2034 # used by those who source it
# Sourced by run and test: the packages that they need, and how they get them.
#
# The one place where packages are named. README.md tells what to install on other systems.

build_packages=(
    g++ cmake ninja-build ccache pkg-config
    libboost-dev libssl-dev libsqlite3-dev libical-dev libsodium-dev libcurl4-openssl-dev
    libarchive-dev libcli11-dev nlohmann-json3-dev tzdata
    file dpkg-dev # for the Debian package
)
test_packages=(
    libgtest-dev clang-format shellcheck vdirsyncer curl openssl strace zstd nginx-light
    evolution-data-server gir1.2-ecal-2.0 gir1.2-ebook-1.2 python3-gi dbus-daemon
    libbenchmark-dev clang libclang-rt-dev
)

say() { printf '== %s\n' "$*"; }

give_up() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs those of the named packages that are missing; asks nothing when none is.
install_missing() {
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null || {
        say "This is no Debian system: make sure that the packages listed in README.md are there"
        return 0
    }
    local missing=() package
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            give_up "these packages are missing; install them as root: ${missing[*]}"
        as_root=(sudo)
    fi
    say "Installing missing packages: ${missing[*]}"
    "${as_root[@]}" apt-get update -q ||
        give_up "apt-get update failed; these packages are missing: ${missing[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" ||
        give_up "apt-get install failed; these packages are missing: ${missing[*]}"
}

# Configures and builds a preset: build_preset NAME [CMAKE-ARGUMENT...] -- [TARGET...]
build_preset() {
    local preset=$1 configure=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        configure+=("$1")
        shift
    done
    [ $# -eq 0 ] || shift
    say "Building preset $preset${*:+ ($*)}"
    cmake --preset "$preset" "${configure[@]}" -Wno-dev >/dev/null &&
        cmake --build "build/$preset" -j "$(nproc)" ${1:+--target "$@"}
}

# The programs alone, as ./run serves them.
build_release() {
    build_preset release -DCVWEBDAV_TESTS=OFF -DCVWEBDAV_BENCH=OFF
}
