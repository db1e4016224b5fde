#!/bin/sh
# The viewer's command line end to end: exit codes, messages, and a rendering
# of a picture, a folder and a bad file without a display.
#   qorv_view_cli_test.sh WORKDIR MAKE_SAMPLE QORV_VIEW
set -eu
dir=$1 sample=$2 view=$3
rm -rf "$dir" && mkdir -p "$dir/pictures"
fail() { echo "FAIL: $*" >&2; exit 1; }
export XDG_CONFIG_HOME="$dir/config"

# expect CODE PATTERN ARGS...: exit status CODE and PATTERN in stdout+stderr.
expect() {
  code=$1 pattern=$2
  shift 2
  set +e
  "$view" "$@" > "$dir/out.txt" 2>&1
  got=$?
  set -e
  [ "$got" -eq "$code" ] || fail "$* exited $got, not $code"
  grep -q -- "$pattern" "$dir/out.txt" || fail "$*: no '$pattern' in: $(cat "$dir/out.txt")"
}

"$sample" "$dir/pictures/p10.png" 400 300 >/dev/null
"$sample" "$dir/pictures/p2.png" 480 300 >/dev/null
printf 'not a picture' > "$dir/bad.png"

expect 0 "^usage: qorv-view" --help
expect 0 "^qorv-view [0-9]" --version
expect 2 "unknown option '--bogus'" --bogus
expect 2 "--size needs" --size 0x10
expect 0 "rendered p10.png" --size 200x150 --screenshot "$dir/shot.png" "$dir/pictures/p10.png"
[ -s "$dir/shot.png" ] || fail "no screenshot written"
# A folder opens its first picture in natural order: p2 before p10.
expect 0 "rendered p2.png" --screenshot "$dir/folder.png" "$dir/pictures"
expect 1 "Cannot open bad.png: .*error 170" --screenshot "$dir/bad-shot.png" "$dir/bad.png"
expect 1 "There is no such file" --screenshot "$dir/none.png" "$dir/missing.png"
echo "qorv-view command line: all checks passed"
