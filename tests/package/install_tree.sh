#!/bin/sh
# Installs the built project into a fresh prefix, as a packager would, and
# checks what lands there: the library under its SONAME, the public headers and
# nothing from the sources, the package files, and programs that run from it.
#   install_tree.sh BUILD_DIR SOURCE_DIR PREFIX LIBDIR
set -eu
build=$1 src=$2 prefix=$3 libdir=$4
fail() { echo "FAIL: $*" >&2; exit 1; }
rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

lib="$prefix/$libdir"
[ -f "$lib/cmake/QorvPictureBox/QorvPictureBoxConfig.cmake" ] || fail "no CMake package"
[ -f "$lib/cmake/QorvPictureBox/QorvPictureBoxConfigVersion.cmake" ] || fail "no package version file"
[ -f "$lib/pkgconfig/QorvPictureBox.pc" ] || fail "no pkg-config file"
soname=$(objdump -p "$lib/libQorvPictureBox.so" | awk '$1 == "SONAME" { print $2 }')
[ "$soname" = "libQorvPictureBox.so.1" ] || fail "SONAME is '$soname'"
[ -f "$lib/$soname" ] || fail "$soname not installed"

# Exactly the public headers, in their one folder.
[ "$(ls "$prefix/include")" = "QorvPictureBox" ] || fail "other folders on the include path"
(cd "$src/include/QorvPictureBox" && ls) > "$prefix/expected-headers"
(cd "$prefix/include/QorvPictureBox" && ls) | diff "$prefix/expected-headers" - || fail "installed headers differ"
rm "$prefix/expected-headers"

# The programs find the library in the prefix, not in the build tree.
QT_QPA_PLATFORM=offscreen LD_LIBRARY_PATH='' "$prefix/bin/qorv" formats | grep -q "^13	PNG	" || fail "installed qorv"
[ -x "$prefix/bin/qorv-view" ] || fail "qorv-view not installed"
echo "install tree: all checks passed"
