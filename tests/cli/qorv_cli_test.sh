#!/bin/sh
# End-to-end checks of the qorv tool on generated pictures.
#   qorv_cli_test.sh WORKDIR MAKE_SAMPLE QORV
set -eu
dir=$1 sample=$2 qorv=$3
rm -rf "$dir" && mkdir -p "$dir"
D=$dir
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

"$sample" "$D/in.png" 400 300 >/dev/null 2>&1
"$sample" "$D/wide.png" 1600 400 >/dev/null 2>&1
printf 'not a picture\n' > "$D/garbage.png"
printf 'hello\n' > "$D/text.xyz"
mkdir -p "$D/adir"

# A one-pixel TIFF with an EXIF directory: reading it makes libtiff complain
# about every EXIF tag the image library asks for, straight to stderr.
le16() { printf "\\$(printf %03o $(($1 & 255)))\\$(printf %03o $(($1 >> 8 & 255)))"; }
le32() { le16 $(($1 & 65535)); le16 $(($1 >> 16 & 65535)); }
entry() { le16 "$1"; le16 "$2"; le32 "$3"; if [ "$2" = 3 ]; then le16 "$4"; le16 0; else le32 "$4"; fi; }
{
  printf 'II'; le16 42; le32 8
  le16 9
  entry 256 3 1 1; entry 257 3 1 1; entry 258 3 1 8; entry 259 3 1 1; entry 262 3 1 1
  entry 273 4 1 148; entry 278 3 1 1; entry 279 4 1 1; entry 34665 4 1 122
  le32 0
  le16 1; entry 33434 5 1 140; le32 0   # ExposureTime, a rational at 140
  le32 1; le32 100
  printf '\200'
} > "$D/exif.tif"

# ----- exit status, first line and messages --------------------------------------
# Columns: exit status | stream | ERE the stream's first line matches |
#          ERE some line of the stream matches (or empty) | qorv's arguments.
cases=$(cat <<'EOF'
0|out|^qorv [0-9]+\.[0-9]+\.[0-9]+$||--version
0|out|^usage: qorv COMMAND|^Exit status: 0 done|--help
2|err|^usage: qorv COMMAND||
2|err|^qorv: unknown command 'nonsense'$||nonsense
2|err|^qorv: unknown option '--bogus'$||--bogus
2|err|^qorv: --quality for JPEG takes 0 to 100, not 150$|^usage: qorv convert|convert $D/in.png $D/q.jpg --quality 150
2|err|^qorv: --quality for JPEG takes 0 to 100, not -1$||convert $D/in.png $D/q.jpg --quality -1
2|err|^qorv: --quality takes the library's save flags for PNG, which are never negative||convert $D/in.png $D/q.png --quality -5
2|err|^qorv: --quality for JPEG takes 0 to 100, not 101$||convert $D/in.png --out-dir $D/q --to jpg --quality 101
2|err|^qorv: --quality expects a whole number||convert $D/in.png $D/q.jpg --quality high
2|err|^qorv: unknown option --frobnicate$||convert $D/in.png $D/q.png --frobnicate
2|err|^qorv: unknown option -x$||info -x $D/in.png
2|err|^qorv: unknown format 'XYZ'$||convert $D/in.png $D/q.png --type XYZ
2|err|^qorv: -j expects a number of parallel jobs from 1 to 1024, not '0'$||convert -j 0 $D/in.png --out-dir $D/q
2|err|^qorv: info needs at least one file$||info
2|err|^qorv: convert needs IN and OUT||convert $D/in.png
2|err|^qorv: --size WxH is required||render $D/in.png $D/r.png --size 0x10
2|err|^qorv: --zoom expects a whole number from 1 to 32767, not '0'$||render $D/in.png $D/r.png --size 8x8 --zoom 0
2|err|^qorv filter: resample takes WIDTHxHEIGHT, got "0x10"$||filter $D/in.png $D/f.png resample 0x10
2|err|^qorv filter: unknown operation "sparkle"$||filter $D/in.png $D/f.png sparkle
2|err|^qorv: with --out-dir the operations follow "--"$||filter --out-dir $D/q $D/in.png blur
2|err|^qorv: '.*/in.png' and '.*/in.jpg' would both be saved as||convert --out-dir $D/q --to bmp $D/in.png $D/in.jpg
2|err|^qorv: '.*/in.png' would be saved over itself||filter --out-dir $D $D/in.png -- blur
1|err|^qorv: cannot read '.*/missing.png': no such file$|^qorv: error 170: Error loading file. File may be too large or corrupted.$|convert $D/missing.png $D/x.bmp
1|err|^qorv: cannot read '.*/adir': it is a directory$|^qorv: error [0-9]+: |convert $D/adir $D/x.bmp
1|err|^qorv: cannot read '.*/garbage.png': damaged, truncated or too large a picture$|^qorv: error 170: |info $D/garbage.png
1|err|^qorv: cannot read '.*/text.xyz': unknown format|^qorv: error 101: File format not supported \(xyz\)$|info $D/text.xyz
1|err|^qorv: cannot write '.*/x.gif': GIF pictures cannot be saved \(these can: .*PNG|^qorv: error 101: File format not supported \(gif\)$|convert $D/in.png $D/x.gif
1|err|^qorv: cannot write '.*/x.xyz': unknown format 'xyz'|^qorv: error 101: |convert $D/in.png $D/x.xyz
1|err|^qorv: cannot write '.*/x.png': no such directory '.*/nodir'$|^qorv: error 900: |convert $D/in.png $D/nodir/x.png
1|err|^qorv: cannot write '.*/adir': it is a directory$||convert $D/in.png $D/adir
1|err|^qorv: cannot read '.*/missing.png'|^qorv: error 170|filter $D/missing.png $D/f.png blur
0|out|^.*/in.png: PNG \(13\) 400x300 24 bpp$||info $D/in.png
0|out|^\[$|^ *"width": 400,?$|info --json $D/in.png
0|out|^.*/exif.tif: TIFF \(18\) 1x1 8 bpp$||info $D/exif.tif
0|err|^qorv: |^qorv: .*/exif.tif: \[library\] TIFF|info --verbose $D/exif.tif
0|out|^index	name	extensions	load	save	quality	description$|^10	JPG	JPG,JPEG,JPE	yes	yes	yes	|formats
2|err|^qorv: file names must not be empty$||info ""
2|err|^qorv: file names must not be empty$||convert "" $D/e.png
2|err|^qorv: file names must not be empty$||convert $D/in.png ""
2|err|^qorv: file names must not be empty$||render "" $D/e.png --size 8x8
2|err|^qorv: file names must not be empty$||filter "" $D/e.png invert
2|err|^qorv filter: rotate takes cw, ccw or an angle in degrees$||filter $D/in.png $D/x.png rotate sideways
1|err|^qorv filter: .*/in.png: palette failed: error [0-9]+: |Error loading palette|filter $D/in.png $D/nopal.png palette $D/missing.pal
EOF
)
# The filter messages keep their own prefix; the load failure's is the shared one.
cases=$(printf '%s\n' "$cases" | sed 's/^1|err|^qorv: cannot read/1|err|^qorv: cannot read/')
if [ "$(id -u)" != 0 ]; then
  # Only without root: root reads and writes whatever the permissions say.
  printf 'x' > "$D/locked.png" && chmod 000 "$D/locked.png"
  mkdir -p "$D/ro" && chmod 555 "$D/ro"
  cases="$cases
1|err|^qorv: cannot read '.*/locked.png': permission denied$|^qorv: error 170|info $D/locked.png
1|err|^qorv: cannot write '.*/ro/x.png': permission denied$|^qorv: error 900|convert $D/in.png $D/ro/x.png"
fi

while IFS='|' read -r rc stream first also args; do
  echo x >> "$D/ran"
  eval "set -- $args"
  status=0
  "$qorv" "$@" > "$D/stdout" 2> "$D/stderr" || status=$?
  [ "$status" = "$rc" ] || { fail "qorv $args: exit $status, expected $rc"; continue; }
  head -n 1 "$D/std$stream" | grep -Eq -- "$first" || fail "qorv $args: first line of std$stream: $(head -n 1 "$D/std$stream")"
  [ -z "$also" ] || grep -Eq -- "$also" "$D/std$stream" || fail "qorv $args: no line of std$stream matches $also"
done <<EOF
$cases
EOF
[ "$(wc -l < "$D/ran")" -ge 42 ] || fail "the table did not run"
[ ! -e "$D/x.bmp" ] && [ ! -e "$D/x.gif" ] && [ ! -e "$D/q.jpg" ] && [ ! -d "$D/q" ] || fail "output written on failure"

# Without --verbose the library's complaints about the TIFF stay out of sight.
"$qorv" info "$D/exif.tif" 2> "$D/stderr" > /dev/null
[ ! -s "$D/stderr" ] || fail "info of a TIFF wrote to stderr: $(head -n 2 "$D/stderr")"

# Every help text ends with a newline.
commands="formats info convert render filter"
! "$qorv" --help | grep -q '^  script ' || commands="$commands script"
for c in "" $commands; do
  "$qorv" $c --help > "$D/help"
  [ "$(tail -c 1 "$D/help" | od -An -c | tr -d ' ')" = '\n' ] || fail "qorv $c --help does not end with a newline"
done

# ----- the commands do their work -------------------------------------------------
"$qorv" convert "$D/in.png" "$D/out.bmp" && "$qorv" info "$D/out.bmp" | grep -q ": BMP (0) 400x300 " || fail "convert to BMP"
"$qorv" convert "$D/in.png" "$D/png-data.tif" --type PNG && "$qorv" info "$D/png-data.tif" | grep -q ": PNG (13) " ||
  fail "--type PNG"
"$qorv" convert "$D/in.png" "$D/q10.jpg" --quality 10 && "$qorv" convert "$D/in.png" "$D/q95.jpg" --quality 95
[ "$(wc -c < "$D/q10.jpg")" -lt "$(wc -c < "$D/q95.jpg")" ] || fail "--quality does not reach the JPEG encoder"
"$qorv" render "$D/in.png" "$D/frame.png" --size 64x48 --zoom 50 --tiled 1 --zoom-type 4
"$qorv" info "$D/frame.png" | grep -q " 64x48 " || fail "render size"
"$qorv" filter "$D/in.png" "$D/f1.png" resample 40x30 grayscale
"$qorv" info "$D/f1.png" | grep -q " 40x30 " || fail "filter resample"
"$qorv" filter "$D/in.png" "$D/f2.png" -- rotate cw
"$qorv" info "$D/f2.png" | grep -q " 300x400 " || fail "filter with -- before the operations"
"$qorv" convert "$D/in.png" "$D/unsynced.bmp" --no-sync && cmp -s "$D/out.bmp" "$D/unsynced.bmp" || fail "convert --no-sync"
"$qorv" info --no-auto-rotate "$D/in.png" | grep -q " 400x300 " || fail "--no-auto-rotate"
# Colour tools and rotation by any angle.
"$qorv" filter "$D/in.png" "$D/turned.png" rotate 30 colourise 200 50 -10
"$qorv" info "$D/turned.png" | grep -q " 497x460 " || fail "rotate 30 size"
printf 'JASC-PAL\r\n0100\r\n2\r\n0 0 0\r\n255 255 255\r\n' > "$D/bw.pal"
"$qorv" filter "$D/in.png" "$D/pal.png" palette "$D/bw.pal" dither palette ega || fail "palette file and built-in"

# Progress: none in a pipe unless asked for; asked for, plain lines, one per
# percentage at most (a wide picture reports each of its columns).
"$qorv" filter "$D/wide.png" "$D/p.png" blur 2> "$D/stderr"
[ ! -s "$D/stderr" ] || fail "progress in a pipe without --progress"
"$qorv" filter --progress "$D/wide.png" "$D/p.png" blur 2> "$D/stderr"
grep -q '^Blur 100%$' "$D/stderr" || fail "--progress shows no completion line"
[ "$(grep -c '%$' "$D/stderr")" -le 101 ] || fail "--progress writes $(wc -l < "$D/stderr") lines for one filter"
"$qorv" filter --progress --quiet "$D/wide.png" "$D/p.png" blur 2> "$D/stderr"
[ ! -s "$D/stderr" ] || fail "--quiet still shows progress"

# ----- batches: one bad file among good ones, the same result for any -j ---------
mkdir -p "$D/batch"
for i in 1 2 3 4 5; do "$sample" "$D/batch/p$i.png" $((400 + 40 * i)) 300 >/dev/null 2>&1; done
cp "$D/garbage.png" "$D/batch/p3b.png"
for j in 1 2; do
  status=0
  "$qorv" convert -j $j "$D"/batch/*.png --to jpg --out-dir "$D/conv$j" > "$D/conv$j.out" 2> "$D/conv$j.err" || status=$?
  [ "$status" = 1 ] || fail "convert batch -j $j: exit $status, expected 1"
  status=0
  "$qorv" filter -j $j --out-dir "$D/filt$j" "$D"/batch/*.png -- sharpen invert > "$D/filt$j.out" 2> "$D/filt$j.err" ||
    status=$?
  [ "$status" = 1 ] || fail "filter batch -j $j: exit $status, expected 1"
  "$qorv" info -j $j --json "$D"/batch/*.png > "$D/info$j.json" 2>/dev/null || true
  "$qorv" info -j $j "$D"/batch/*.png > "$D/info$j.txt" 2>/dev/null || true
done
# Lines in the order of the inputs, whichever worker finished first.
[ "$(cut -d: -f1 "$D/info2.txt" | tr '\n' ' ')" = "$(ls "$D"/batch/*.png | grep -v p3b | tr '\n' ' ')" ] ||
  fail "info -j 2 lines out of input order"
cmp -s "$D/info1.txt" "$D/info2.txt" || fail "info differs between -j 1 and -j 2"
for f in p1 p2 p3 p4 p5; do
  [ -s "$D/conv1/$f.jpg" ] || fail "convert batch left out $f"
  cmp -s "$D/conv1/$f.jpg" "$D/conv2/$f.jpg" || fail "convert batch: $f.jpg differs between -j 1 and -j 2"
  cmp -s "$D/filt1/$f.png" "$D/filt2/$f.png" || fail "filter batch: $f.png differs between -j 1 and -j 2"
done
[ ! -e "$D/conv1/p3b.jpg" ] || fail "a file that failed to load was written"
grep -q "^qorv: cannot read '.*/p3b.png': damaged" "$D/conv1.err" || fail "batch failure not reported"
tail -n 1 "$D/conv1.err" | grep -q '^qorv: 1 of 6 files failed$' || fail "batch failure not counted"
for k in conv.out conv.err filt.err; do
  cmp -s "$D/${k%.*}1.${k#*.}" "$D/${k%.*}2.${k#*.}" || fail "$k differs between -j 1 and -j 2"
done
cmp -s "$D/info1.json" "$D/info2.json" || fail "info --json differs between -j 1 and -j 2"
[ "$(grep -c '"file"' "$D/info1.json")" = 6 ] && grep -q '"code": 170' "$D/info1.json" || fail "info --json batch"

# A worker that dies on one file costs that file only: the rest are done by
# a new worker, the loss is reported and counted, and the exit status is 1.
status=0
QORV_BATCH_WORKER_CRASH_ON=p2.png "$qorv" convert -j 2 "$D"/batch/p[1245].png --to jpg --out-dir "$D/crash" \
  > /dev/null 2> "$D/crash.err" || status=$?
[ "$status" = 1 ] || fail "batch with a crashing worker: exit $status, expected 1"
for f in p1 p4 p5; do [ -s "$D/crash/$f.jpg" ] || fail "a crashing worker cost $f too"; done
[ ! -e "$D/crash/p2.jpg" ] || fail "the file a worker crashed on was written"
grep -q "p2.png.*stopped unexpectedly" "$D/crash.err" || fail "worker crash not reported: $(cat "$D/crash.err")"
tail -n 1 "$D/crash.err" | grep -q '^qorv: 1 of 4 files failed$' || fail "worker crash not counted"

# --to by name gives the format's own extension; --verbose reaches the workers.
"$qorv" convert -j 2 "$D/in.png" "$D/wide.png" --to JPEG --out-dir "$D/named" &&
  "$qorv" info "$D/named/wide.jpg" | grep -q ": JPEG (2) 1600x400 " || fail "--to JPEG"
"$qorv" info --verbose -j 2 "$D/exif.tif" "$D/in.png" 2>&1 >/dev/null | grep -q "exif.tif: \[library\] TIFF" ||
  fail "--verbose does not reach the workers"

[ "$failures" = 0 ] || { echo "qorv CLI: $failures checks failed" >&2; exit 1; }
echo "qorv CLI: all checks passed"
