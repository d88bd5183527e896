# Functions shared by the scripts. To be sourced under `set -euo pipefail`; changes to the root of the tree.
# shellcheck shell=bash

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit
jobs=$(nproc)
# Objects don't depend on the folder in which they are built, so builds share them.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
# The compiler itself reports what a source includes; no separate preprocessor run is needed.
export CCACHE_DEPEND=1

# step <what>: announces the next step.
step() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# quietly <command>...: shows the command's output only if it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" </dev/null >"$log" 2>&1 || status=$?
    ((status == 0)) || cat "$log" >&2
    rm -f "$log"
    return "$status"
}

# missing_packages <group>...: lists the packages of the groups that aren't installed.
missing_packages() {
    local group package
    while read -r group package _; do
        [[ " $* " == *" $group "* ]] || continue
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed$' ||
            printf '%s\n' "$package"
    done < <(grep -v '^#' scripts/packages)
}

# apt_get <arguments>...: runs apt-get as root, without questions.
apt_get() {
    local root=()
    ((EUID == 0)) || root=(sudo -n)
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y \
        -o DPkg::Lock::Timeout=300 "$@"
}

# need <group>...: installs the missing packages of the groups, or names them and stops if it may not.
# Without missing packages it doesn't use the network.
need() {
    command -v dpkg-query >/dev/null || die "needs a Debian system; see scripts/packages"
    local missing
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0
    if ((EUID != 0)) && ! sudo -n true 2>/dev/null; then
        die "these Debian packages are missing, and only root may install them:" "${missing[@]}"
    fi
    step "Installing ${missing[*]}"
    quietly apt_get update || die "the package lists can't be downloaded"
    quietly apt_get install --no-install-recommends "${missing[@]}" || die "not all packages could be installed"
}

# want <group>...: the same for optional packages; failures are ignored.
want() {
    (need "$@") 2>/dev/null || true
}

# configure <preset>: twice where the folder was made with another compiler, since CMake then forgets what the
# preset sets.
configure() (
    flock 9
    log=$(cmake --preset "$1" 2>&1) || { printf '%s\n' "$log" && exit 1; }
    ! grep -q 'require your cache to be deleted' <<<"$log" || cmake --preset "$1"
) 9>"build/$1.lock"

# build <preset> [<target>...]: configures and builds, after any other build of the same preset has ended.
build() {
    local preset=$1
    shift
    mkdir -p build
    quietly configure "$preset" || return
    # clang, which allocates by malloc, compiles faster with pages of 2 MB.
    GLIBC_TUNABLES=glibc.malloc.hugetlb=1 quietly \
        flock "build/$preset.lock" cmake --build --preset "$preset" --parallel "$jobs" ${1:+--target "$@"}
}
