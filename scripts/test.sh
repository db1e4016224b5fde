#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors and runs
# every test through CTest. Benchmarks are left out of this build to keep it
# short; scripts/bench.sh builds and runs them.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
"$here/setup.sh"
# shellcheck source=scripts/common.sh
. "$here/common.sh"
configure
build
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"
ctest --test-dir "$build_dir" --output-on-failure --parallel "$jobs"
