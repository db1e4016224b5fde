#!/usr/bin/env bash
# Builds the benchmarks in their own optimised build directory and runs them
# all (or those whose name matches $1). Timings never run as part of the tests.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
"$here/setup.sh"
repo_root=$(cd "$here/.." && pwd)
bench_dir="${QORV_BENCH_DIR:-$repo_root/build-bench}"
jobs="${QORV_JOBS:-$(nproc 2>/dev/null || echo 2)}"
cmake -S "$repo_root" -B "$bench_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DQORV_BUILD_TESTS=OFF -DQORV_BUILD_BENCH=ON
cmake --build "$bench_dir" --parallel "$jobs"
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"
for b in "$bench_dir"/bench/bench_*; do
  # Build directories (bench_*_autogen) are executable too: programs only.
  [[ -f "$b" && -x "$b" ]] || continue
  [[ -z "${1:-}" || "$(basename "$b")" == *"$1"* ]] || continue
  echo "== $(basename "$b")"
  "$b"
done
