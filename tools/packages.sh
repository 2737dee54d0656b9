# shellcheck shell=bash disable=SC2034
# Debian packages that the project needs, and how the missing ones are installed. Sourced by ./run,
# ./test and ./bench; all of them are in Debian 12.

build_packages=(
    g++ cmake ninja-build pkg-config   # the build
    libcjson-dev                       # JSON in the daemon
    nlohmann-json3-dev libcli11-dev    # JSON and command lines of chassis-sim and dbman
    libsqlite3-dev                     # the database of dbman
    libedit-dev                        # dbman's console
    iputils-ping                       # the daemon's probe
)
run_packages=(jq util-linux procps)
test_packages=(
    libgtest-dev libgmock-dev librapidcheck-dev
    clang libclang-rt-14-dev llvm      # the sanitizers: their tests build in half the time gcc takes
    clang-format clang-tidy
    python3 python3-pytest python3-pytest-xdist python3-pytest-forked python3-pytest-timeout
    shellcheck iproute2 procps binutils
)
bench_packages=(
    libbenchmark-dev                   # times the codec
    libsnmp-dev snmpd                  # the peer of the exchange
    valgrind                           # counts instructions
    python3 iproute2
)

soak_packages=(python3 python3-pytest iproute2)
valgrind_packages=(valgrind libc6-dbg)
all_packages=("${valgrind_packages[@]}" nftables systemd) # for ./test --all

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_missing PACKAGE...: installs what is missing, saying what; as root or through sudo.
install_missing() {
    local missing=() package
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These Debian packages are missing, and only root can install them:" >&2
            echo "    apt-get install ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing Debian packages: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# alone_in PRESET COMMAND...: runs the command while nobody else configures or builds in the preset's folder; others
# wait.
alone_in() {
    local folder=build/$1
    shift
    mkdir -p "$folder"
    (
        flock 9
        "$@"
    ) 9>"$folder/lock"
}

# build PRESET [-DNAME=VALUE...] [TARGET...]: configures and builds quietly; the whole output on failure.
build() {
    local preset=$1 log word settings=() targets=()
    shift
    for word in "$@"; do
        case $word in -D*) settings+=("$word") ;; *) targets+=("--target=$word") ;; esac
    done
    log=build/$preset/build.log
    if ! alone_in "$preset" configure_and_build; then
        cat "$log" >&2
        echo "The build of preset $preset failed; its output is above and in $log." >&2
        return 1
    fi
}

# With the variables of `build`.
configure_and_build() {
    cmake --preset "$preset" "${settings[@]}" >"$log" 2>&1 &&
        cmake --build --preset "$preset" "${targets[@]}" >>"$log" 2>&1
}
