#!/bin/sh
# `qorv script` end to end: the batch example over a folder, events and
# console output, and the file:line report of errors a script does not catch.
#   qorv_script_test.sh WORKDIR MAKE_SAMPLE QORV EXAMPLES_DIR
set -eu
dir=$1 sample=$2 qorv=$3 examples=$4
rm -rf "$dir" && mkdir -p "$dir/in" "$dir/out"
fail() { echo "FAIL: $*" >&2; exit 1; }

"$sample" "$dir/in/a.png" 400 300 >/dev/null
"$sample" "$dir/in/b.png" 420 310 >/dev/null
printf 'not a picture' > "$dir/in/c.png"
"$qorv" script "$examples/batch_filter.js" -- "$dir/in" "$dir/out" > "$dir/batch.txt" 2>&1 ||
  { cat "$dir/batch.txt"; fail "batch example"; }
grep -q "filtered 2 pictures, skipped 1" "$dir/batch.txt" || fail "batch summary"
"$qorv" info "$dir/out/a.png" | grep -q " 400x300 " || fail "batch output a.png"
"$qorv" info "$dir/out/b.png" | grep -q " 420x310 " || fail "batch output b.png"

cat > "$dir/events.js" <<'JS'
var zoomings = 0;
pic.Zooming.connect(function () { zoomings++; });
pic.Zoom = 150;
try { pic.Resample(); } catch (e) { console.log("caught " + e.message); }
console.log("zoomings " + zoomings + ", zoom " + pic.Zoom + ", width " + pic.OrgPictureWidth);
JS
"$qorv" script "$dir/events.js" "$dir/in/a.png" > "$dir/events.txt" 2>&1 || { cat "$dir/events.txt"; fail "events"; }
grep -q "zoomings 1, zoom 150, width 400" "$dir/events.txt" || { cat "$dir/events.txt"; fail "events output"; }
grep -q "caught error 449: " "$dir/events.txt" || { cat "$dir/events.txt"; fail "caught automation error"; }

# Errors the script leaves uncaught: FILE:LINE: MESSAGE and status 1.
printf 'pic.Zoom = 100;\npic.Zoom = 100000;\n' > "$dir/overflow.js"
if "$qorv" script "$dir/overflow.js" 2> "$dir/err.txt"; then fail "overflow accepted"; fi
grep -q "^overflow.js:2: error 6: " "$dir/err.txt" || { cat "$dir/err.txt"; fail "automation error report"; }
printf 'var ok = 1;\nthis is not javascript\n' > "$dir/syntax.js"
if "$qorv" script "$dir/syntax.js" 2> "$dir/err.txt"; then fail "syntax error accepted"; fi
grep -q "^syntax.js:2: " "$dir/err.txt" || { cat "$dir/err.txt"; fail "syntax error report"; }
if "$qorv" script "$dir/missing.js" 2>/dev/null; then fail "missing script accepted"; fi
echo "qorv script: all checks passed"
