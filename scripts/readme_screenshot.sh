#!/usr/bin/env bash
# Regenerates the README's picture of the viewer: qorv-view renders its own
# window offscreen on the bundled sample, small and as JPEG so that the
# repository stays light.
#   scripts/readme_screenshot.sh [OUT.jpg]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/common.sh
. "$here/common.sh"
out="${1:-$repo_root/docs/qorv-view.jpg}"
mkdir -p "$(dirname "$out")"
configure >/dev/null
build qorv-view
# A settings store of its own, so a developer's recent files and window
# layout never end up in the picture.
XDG_CONFIG_HOME=$(mktemp -d) QT_QPA_PLATFORM=offscreen \
  "$build_dir/apps/qorv-view" --size 720x480 --screenshot "$out" "$repo_root/samples/qorv-sample.png"
