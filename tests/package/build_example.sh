#!/bin/sh
# Builds examples/embed against an installed prefix, the way another project
# would (through the CMake package or through pkg-config), then runs it.
#   build_example.sh cmake|pkgconfig SOURCE_DIR PREFIX LIBDIR WORK_DIR PICTURE
set -eu
how=$1 src=$2 prefix=$3 libdir=$4 work=$5 picture=$6
rm -rf "$work"
if [ "$how" = pkgconfig ]; then
  # Only the .pc file leads to the library: no CMake package path is given.
  PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig" cmake -S "$src/examples/embed" -B "$work" -G Ninja \
    -DCMAKE_BUILD_TYPE=Release -DEMBED_WITH_PKGCONFIG=ON >/dev/null
else
  cmake -S "$src/examples/embed" -B "$work" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
fi
cmake --build "$work" >/dev/null
QT_QPA_PLATFORM=offscreen "$work/embed" --check "$picture"
echo "example through $how: built and ran"
