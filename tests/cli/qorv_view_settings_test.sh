#!/bin/sh
# qorv-view keeps the control's settings across runs in its INI file.
#   qorv_view_settings_test.sh WORKDIR QORV_VIEW
set -eu
dir=$1 view=$2
rm -rf "$dir" && mkdir -p "$dir"
ini="$dir/view.ini"
fail() { echo "FAIL: $*" >&2; exit 1; }

# First run: the viewer's own look is stored; the picture is not.
"$view" --settings "$ini" --screenshot "$dir/1.png" >/dev/null
grep -q "^BackColor=3419176$" "$ini" || fail "first run stores the viewer's back colour"
grep -q "^ZoomType=4$" "$ini" || fail "first run stores the zoom type"
if grep -q "^Picture=" "$ini"; then fail "the picture is not a setting"; fi

# A setting changed between runs survives the next run's read and write.
printf 'Tiled=-1\nKeyboarZoomMin=7\n' >> "$ini"
"$view" --settings "$ini" --screenshot "$dir/2.png" >/dev/null
grep -q "^Tiled=-1$" "$ini" || fail "Tiled survives a restart"
grep -q "^KeyboarZoomMin=7$" "$ini" || fail "KeyboarZoomMin survives a restart"
grep -q "^BackColor=3419176$" "$ini" || fail "back colour survives a restart"

# A damaged value costs the keys after it, not the viewer.
printf 'Zoom=huge\n' >> "$ini"
"$view" --settings "$ini" --screenshot "$dir/3.png" >/dev/null 2> "$dir/err.txt" || fail "damaged settings stop the viewer"
grep -q "settings partly restored" "$dir/err.txt" || fail "damaged settings are reported"
echo "qorv-view settings: ok"
