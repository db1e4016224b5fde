#!/usr/bin/env bash
# Builds the API reference (Doxygen) into build/docs/api/html and fails on any
# Doxygen warning. Uses the same build directory as test.sh.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/common.sh
. "$here/common.sh"
if ! command -v doxygen >/dev/null 2>&1; then
  echo "docs: doxygen is not installed (scripts/setup.sh installs it)" >&2
  exit 1
fi
configure
build docs
log="$build_dir/docs/api/warnings.log"
if [[ -s "$log" ]]; then
  cat "$log" >&2
  echo "docs: Doxygen reported warnings" >&2
  exit 1
fi
echo "docs: $build_dir/docs/api/html/index.html"
