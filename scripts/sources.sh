# Functions of the scripts that build libpng, libjpeg-turbo and libtiff from their Debian sources into $libs, a folder
# of their own. To be sourced after lib.sh; needs the packages dpkg-dev and, for what they need, zlib.
# shellcheck shell=bash

# apt_source <arguments>...: apt for sources, with lists of its own, so that the system's stay as they are.
apt_source() {
    "$1" -qq -o Dir::Etc::SourceList="$libs/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$libs/lists" -o Dir::Cache="$libs/cache" -o APT::Sandbox::User= "${@:2}"
}

# The sources are pinned: Debian 12's, whatever system this is. An update of that release for a security hole keeps the
# original version and changes only what follows the last hyphen; the old package then leaves the archive. So the version
# below is taken as long as it is there, and afterwards the newest one with the same original version, which is reported:
# then name that one here. Any other version is refused. apt checks what it downloads by the archive's signatures.
picture_suite=bookworm
picture_sources=(
    'libpng1.6 1.6.39-2+deb12u5'
    'libjpeg-turbo 1:2.1.5-2'
    'tiff 4.5.0-6+deb12u4'
)

# unpack_source <package> <version>: that version, or its update, patched, in src/<package>. Prints what it was.
unpack_source() {
    local version original=${2%-*}
    while read -r version; do
        [[ ${version%-*} == "$original" ]] || continue
        rm -rf "src/$1" && mkdir -p "src/$1"
        (cd "src/$1" && apt_source apt-get source "$1=$version" </dev/null >/dev/null 2>&1) || continue
        [[ $version == "$2" ]] ||
            printf '%s %s is gone from the archive: %s is its update\n' "$1" "$2" "$version" >&2
        printf '%s %s\n' "$1" "$version"
        return
    done < <(printf '%s\n' "$2" && apt_source apt-cache showsrc "$1" | sed -n 's/^Version: //p' | sort -Vru)
    printf 'The archive has no %s like %s: see scripts/sources.sh\n' "$1" "$2" >&2
    return 1
}

# has_picture_libs, keep_picture_libs: whether $libs has the libraries of these sources; says that it now has.
has_picture_libs() { [[ -e $libs/complete && $(<"$libs/complete") == "${picture_sources[*]}" ]]; }
keep_picture_libs() { printf '%s\n' "${picture_sources[*]}" >"$libs/complete"; }

# cmake_source <package> <option of cmake>...: builds it and installs it into $libs.
cmake_source() {
    cmake -S "src/$1"/*/ -B "src/$1/build" -G Ninja -DCMAKE_INSTALL_PREFIX="$libs" -DCMAKE_INSTALL_LIBDIR=lib \
        -DCMAKE_PREFIX_PATH="$libs" "${@:2}" &&
        cmake --build "src/$1/build" --parallel "$jobs" &&
        cmake --install "src/$1/build"
}

# unpack_picture_sources: goes to $libs, and puts there the sources and their versions.
unpack_picture_sources() {
    local keys=/usr/share/keyrings/debian-archive-keyring.gpg package version
    mkdir -p "$libs/lists/partial" "$libs/cache"
    cat >"$libs/sources.list" <<LIST
deb-src [signed-by=$keys] http://deb.debian.org/debian $picture_suite main
deb-src [signed-by=$keys] http://deb.debian.org/debian-security $picture_suite-security main
LIST
    cd "$libs" || return
    apt_source apt-get update >/dev/null || return
    while read -r package version; do
        unpack_source "$package" "$version" || return
    done <<<"$(printf '%s\n' "${picture_sources[@]}")" >versions
}
