#!/usr/bin/env bash
# Installs what is missing, builds the viewer and opens it on an image (the
# bundled sample by default). Without a display it renders the window offscreen
# to a PNG and prints where it wrote it.
#   scripts/run.sh [IMAGE] [--screenshot OUT.png]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
"$here/setup.sh"
# shellcheck source=scripts/common.sh
. "$here/common.sh"
configure
build qorv-view
exec "$build_dir/apps/qorv-view" "$@"
