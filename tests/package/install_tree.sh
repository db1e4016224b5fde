#!/bin/sh
# Installs the built project into a fresh prefix, as a packager would, and
# checks what lands there: the library under its SONAME, the public headers and
# nothing from the sources, the package files, and programs that run from it.
#   install_tree.sh BUILD_DIR SOURCE_DIR PREFIX LIBDIR
set -eu
build=$1 src=$2 prefix=$3 libdir=$4 designer=${5:-}
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
# The Designer plugin, when built, lands in Qt's plugin folder of the prefix
# and resolves the library there.
if [ -n "$designer" ]; then
  plugin="$prefix/$designer/libqorvpicture_designer.so"
  [ -f "$plugin" ] || fail "Designer plugin not installed in $designer"
  found=$(LD_LIBRARY_PATH='' ldd "$plugin" | awk '/libQorvPictureBox/ { print $3 }')
  [ -n "$found" ] && [ "$(readlink -f "$found")" = "$(readlink -f "$prefix/$libdir/libQorvPictureBox.so.1")" ] ||
    fail "the plugin does not find the library in the prefix ($found)"
fi
echo "install tree: all checks passed"
