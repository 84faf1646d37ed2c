# shellcheck shell=bash
# shellcheck disable=SC2034 # The package lists are for those who source this.
# What the repository's scripts share: where the root is, the Debian packages that are needed, and
# a quiet build. Sourced, never run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

buildPackages=(
    g++ cmake ninja-build nlohmann-json3-dev libcli11-dev libvalijson-dev libgtest-dev locales
)
benchPackages=(
    libbenchmark-dev pkg-config libboost1.81-dev libsigc++-2.0-dev libabsl-dev libuv1-dev
    libev-dev valgrind
)
# Not the distribution's default clang 14, which cannot compile the ranges of its own library.
clangPackages=(
    clang-16 clang-tidy-16 libclang-rt-16-dev llvm-16
)
checkPackages=(
    clang-format shellcheck "${clangPackages[@]}"
)

# What a script ends with when packages are missing and cannot be installed from here.
exitUnavailable=69

say() {
    printf '%s\n' "$*" >&2
}

# The folders that hold sources, those of the library and the program first.
sourceFolders() {
    local folder
    for folder in Platform KelQos Model Host examples tests bench fuzz; do
        [[ -d $root/$folder ]] && printf '%s\n' "$folder"
    done
}

# The files of the source folders with one of the given endings, relative to the root, sorted.
sources() {
    local -a folders names=()
    mapfile -t folders < <(sourceFolders)
    local ending
    for ending in "$@"; do
        names+=(${names:+-o} -name "*.$ending")
    done
    (cd "$root" && find "${folders[@]}" -type f \( "${names[@]}" \) | LC_ALL=C sort)
}

# needPackages PACKAGE...: installs those that are missing. Without the right to do so, prints the
# command that would, and ends the script.
needPackages() {
    command -v dpkg-query >/dev/null || return 0 # Not a Debian: the configuration will tell.
    local installed package
    local -a missing=()
    installed=" $(dpkg-query -W -f '${Package}=${db:Status-Status} ' "$@" 2>/dev/null) "
    for package in "$@"; do
        [[ $installed == *" $package=installed "* ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local -a asRoot=()
    if ((EUID != 0)); then
        if ! sudo -n true 2>/dev/null; then
            say "Packages are missing. Install them, then run this again:"
            say "    sudo apt-get update && sudo apt-get install -y ${missing[*]}"
            exit "$exitUnavailable"
        fi
        asRoot=(sudo -n)
    fi
    say "installing ${missing[*]}"
    local log
    log=$(mktemp)
    if ! {
        "${asRoot[@]}" apt-get -q -o DPkg::Lock::Timeout=300 update &&
            "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y \
                -o DPkg::Lock::Timeout=300 install --no-install-recommends "${missing[@]}"
    } >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        say "The packages could not be installed: ${missing[*]}"
        exit "$exitUnavailable"
    fi
    rm -f "$log"
}

# configure PRESET: prepares build/PRESET, anew when the presets have changed or the repository has
# moved.
configure() {
    local dir=$root/build/$1
    if [[ $dir/build.ninja -nt $root/CMakePresets.json ]] &&
        grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$dir/CMakeCache.txt"; then
        return 0
    fi
    cmake -S "$root" --preset "$1" --fresh
}

# Reads a build's output, keeps it in the file $2 and shows how far it is: a counter on a terminal,
# one line elsewhere, nothing when there is nothing to do.
showProgress() {
    local what=$1 log=$2 line shown=
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$log"
        [[ $line =~ ^\[([1-9][0-9]*)/([0-9]+)\]\ [BL] ]] || continue
        if [[ -t 2 ]]; then
            printf '\rbuilding %s: %s of %s ' "$what" "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" >&2
        elif [[ ! $shown ]]; then
            say "building $what"
        fi
        shown=1
    done
    if [[ $shown && -t 2 ]]; then
        printf '\r\033[K' >&2
    fi
}

# build PRESET [TARGET...]: builds the targets (all by default) in build/PRESET. Silent but for the
# progress on standard error; the output is shown when the build fails. Two builds of one preset
# wait for each other; the lock ends with the subshell, so what runs afterwards does not hold it.
build() {
    local preset=$1 dir=$root/build/$1
    shift
    local log=$dir/build.log
    local -a targets=()
    (($#)) && targets=(--target "$@")
    mkdir -p "$dir"
    (
        flock 9
        : >"$log"
        set -o pipefail
        if ! { configure "$preset" &&
            cmake --build "$dir" --parallel "$(nproc)" "${targets[@]}"; } 2>&1 </dev/null 9>&- |
            showProgress "${*:-everything} ($preset)" "$log"; then
            grep -vE '^\[[0-9]+/[0-9]+\] ' "$log" >&2
            exit 1
        fi
    ) 9>"$root/build/$preset.lock"
}

# runTests PRESET [CTEST OPTIONS...]: builds everything and runs the tests of build/PRESET.
runTests() {
    local preset=$1
    shift
    build "$preset" || return
    ulimit -c 0 # Tests of fatal conditions abort on purpose.
    ctest --test-dir "$root/build/$preset" --parallel "$(nproc)" --output-on-failure \
        --no-tests=error "$@"
}

# configureQuietly PRESET: prepares build/PRESET and tells about it only when that fails.
configureQuietly() {
    local said
    said=$(configure "$1" 2>&1 </dev/null) || { say "$said"; return 1; }
}
