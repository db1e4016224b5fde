#!/bin/sh
# End-to-end check of the qorv tool on a generated picture.
#   qorv_cli_test.sh WORKDIR MAKE_SAMPLE QORV
set -eu
dir=$1 sample=$2 qorv=$3
rm -rf "$dir" && mkdir -p "$dir"
fail() { echo "FAIL: $*" >&2; exit 1; }

"$sample" "$dir/in.png" 400 300 >/dev/null

"$qorv" formats | grep -q "^10	JPG	JPG,JPEG,JPE	yes	yes	yes	" || fail "formats lists JPG"
"$qorv" info "$dir/in.png" > "$dir/info.txt"
grep -q "^format: PNG (13)$" "$dir/info.txt" || fail "info format"
grep -q "^width: 400$" "$dir/info.txt" || fail "info width"
grep -q "^height: 300$" "$dir/info.txt" || fail "info height"

"$qorv" convert "$dir/in.png" "$dir/out.bmp"
"$qorv" info "$dir/out.bmp" | grep -q "^format: BMP (0)$" || fail "convert to BMP"
"$qorv" convert "$dir/in.png" "$dir/out.jpg" --quality 75
"$qorv" convert "$dir/in.png" "$dir/unsynced.bmp" --no-sync
cmp -s "$dir/out.bmp" "$dir/unsynced.bmp" || fail "convert --no-sync"
"$qorv" convert "$dir/in.png" "$dir/png-data.tif" --type PNG
"$qorv" info "$dir/png-data.tif" | grep -q "^format: PNG (13)$" || fail "--type PNG"

"$qorv" render "$dir/in.png" "$dir/frame.png" --size 64x48 --zoom 50 --tiled 1 --zoom-type 4
"$qorv" info "$dir/frame.png" | grep -q "^width: 64$" || fail "render width"
"$qorv" render "$dir/in.png" "$dir/frame2.png" --size 32x32 --stretch 0 --offset 10,10 --initial
"$qorv" info "$dir/frame2.png" | grep -q "^height: 32$" || fail "render height"

# Colour tools and rotation by any angle.
"$qorv" filter "$dir/in.png" "$dir/turned.png" rotate 30 colourise 200 50 -10
"$qorv" info "$dir/turned.png" | grep -q "^width: 497$" || fail "rotate 30 width"
"$qorv" info "$dir/turned.png" | grep -q "^height: 460$" || fail "rotate 30 height"
printf 'JASC-PAL\r\n0100\r\n2\r\n0 0 0\r\n255 255 255\r\n' > "$dir/bw.pal"
"$qorv" filter "$dir/in.png" "$dir/pal.png" palette "$dir/bw.pal" dither palette ega
if "$qorv" filter "$dir/in.png" "$dir/nopal.png" palette "$dir/missing.pal" 2> "$dir/err.txt"; then
  fail "missing palette accepted"
fi
grep -q "Error loading palette" "$dir/err.txt" || fail "palette error text"
if "$qorv" filter "$dir/in.png" "$dir/x.png" rotate sideways 2>/dev/null; then fail "rotate sideways accepted"; fi

# Failures: non-zero exit with the control's error on stderr, no output file.
if "$qorv" convert "$dir/missing.png" "$dir/x.bmp" 2> "$dir/err.txt"; then fail "missing input accepted"; fi
grep -q "error 170: Error loading file. File may be too large or corrupted." "$dir/err.txt" || fail "170 text"
if "$qorv" convert "$dir/in.png" "$dir/x.gif" 2> "$dir/err.txt"; then fail "gif output accepted"; fi
grep -q "error 101: File format not supported (gif)" "$dir/err.txt" || fail "101 text"
[ ! -e "$dir/x.bmp" ] && [ ! -e "$dir/x.gif" ] || fail "output written on failure"
if "$qorv" render "$dir/in.png" "$dir/y.png" 2>/dev/null; then fail "render without --size accepted"; fi
if "$qorv" nonsense 2>/dev/null; then fail "unknown command accepted"; fi
# An empty path is a usage error (exit 2), never a file dialog.
usage_exit() { rc=0; "$@" >/dev/null 2>&1 || rc=$?; [ "$rc" -eq 2 ] || fail "empty path gave exit $rc: $*"; }
usage_exit "$qorv" info ""
usage_exit "$qorv" convert "" "$dir/e.png"
usage_exit "$qorv" convert "$dir/in.png" ""
usage_exit "$qorv" render "" "$dir/e.png" --size 8x8
usage_exit "$qorv" filter "" "$dir/e.png" invert
"$qorv" info --no-auto-rotate "$dir/in.png" | grep -q "^width: 400$" || fail "--no-auto-rotate"
"$qorv" --help | grep -q "^usage: qorv COMMAND" || fail "tool help"
for c in formats info convert render filter; do
  "$qorv" "$c" --help | grep -q "usage: qorv $c" || fail "$c help"
done
echo "qorv CLI: all checks passed"
