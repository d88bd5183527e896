# Functions of the scripts that build libpng, libjpeg-turbo and libtiff from their Debian sources into $libs, a folder
# of their own. To be sourced after lib.sh; needs the packages dpkg-dev and, for what they need, zlib.
# shellcheck shell=bash

# apt_source <arguments>...: apt for sources, with lists of its own, so that the system's stay as they are.
apt_source() {
    "$1" -qq -o Dir::Etc::SourceList="$libs/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$libs/lists" -o Dir::Cache="$libs/cache" -o APT::Sandbox::User= "${@:2}"
}

# unpack_source <package>: the newest version that the archive really has, patched, in src/<package>.
unpack_source() {
    local version
    for version in $(apt_source apt-cache showsrc "$1" | sed -n 's/^Version: //p' | sort -Vru); do
        rm -rf "src/$1" && mkdir -p "src/$1"
        (cd "src/$1" && apt_source apt-get source "$1=$version" >/dev/null 2>&1) || continue
        printf '%s %s\n' "$1" "$version"
        return
    done
    return 1
}

# cmake_source <package> <option of cmake>...: builds it and installs it into $libs.
cmake_source() {
    cmake -S "src/$1"/*/ -B "src/$1/build" -G Ninja -DCMAKE_INSTALL_PREFIX="$libs" -DCMAKE_INSTALL_LIBDIR=lib \
        -DCMAKE_PREFIX_PATH="$libs" "${@:2}" &&
        cmake --build "src/$1/build" --parallel "$jobs" &&
        cmake --install "src/$1/build"
}

# unpack_picture_sources: goes to $libs, and puts there the sources and their versions.
unpack_picture_sources() {
    local suite keys=/usr/share/keyrings/debian-archive-keyring.gpg package
    suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
    mkdir -p "$libs/lists/partial" "$libs/cache"
    cat >"$libs/sources.list" <<LIST
deb-src [signed-by=$keys] http://deb.debian.org/debian $suite main
deb-src [signed-by=$keys] http://deb.debian.org/debian-security $suite-security main
LIST
    cd "$libs" || return
    apt_source apt-get update >/dev/null || return
    for package in libpng1.6 libjpeg-turbo tiff; do
        unpack_source "$package" || return
    done >versions
}
