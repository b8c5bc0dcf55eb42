#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Packs what a build installs, stripped, in a tarball to be unpacked in the root directory of an
# image. The build has the prefix /usr. SOURCE_DATE_EPOCH is the time in the tarball.
# usage: tarball.sh BUILD-DIRECTORY TARBALL
set -eu
: "${SOURCE_DATE_EPOCH:?is not set}"
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR=$root cmake --install "$1" --strip

# The licences of the libraries in a static program ask for their notices, and the C library's for
# what it takes to link the program with another one.
if ! readelf -lW "$root/usr/sbin/switch-querier" | grep -q INTERP; then
    compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER "\(.*\)")$/\1/p' \
        "$1"/CMakeFiles/*/CMakeCXXCompiler.cmake)
    notices=$root/usr/share/doc/switch-querier/libraries
    mkdir "$notices"
    cp /usr/share/common-licenses/LGPL-2.1 /usr/share/common-licenses/GPL-3 "$notices"
    for library in libc.a libstdc++.a; do
        package=$(dpkg-query --search "$(realpath "$("$compiler" -print-file-name="$library")")")
        package=${package%%:*}
        cp "/usr/share/doc/$package/copyright" "$notices/$library.copyright"
        dpkg-query --show --showformat="$library: \${Package} \${Version}\n" "$package"
    done >"$notices/README"
    cat >>"$notices/README" <<'README'

These static libraries of Debian are linked into the program: the GNU C Library, and the C++ library
of GCC with what it needs of libgcc. Their notices are here; their sources are in the Debian source
packages of these versions, on snapshot.debian.org for example.

The complete source of the program is the source tarball of the same release. To link it with other
versions of the libraries, install these for the compiler and build it anew, as its README.md says,
with SWITCH_QUERIER_STATIC=ON.
README
fi

# Neither the umask nor the order of the file system is in it.
tar --create --directory="$root" --sort=name --format=ustar --owner=root:0 --group=root:0 \
    --mode=u=rwX,go=rX --mtime="@$SOURCE_DATE_EPOCH" usr | gzip -9n >"$2"
