# Shared by run.sh and test.sh: one build directory, configured one way, so that
# running and testing never rebuild each other's objects.
# shellcheck shell=bash

repo_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir="${QORV_BUILD_DIR:-$repo_root/build}"
jobs="${QORV_JOBS:-$(nproc 2>/dev/null || echo 2)}"

configure() {
  cmake -S "$repo_root" -B "$build_dir" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQORV_WERROR=ON -DQORV_BUILD_BENCH=OFF
}

build() {
  cmake --build "$build_dir" --parallel "$jobs" ${1:+--target "$@"}
}
