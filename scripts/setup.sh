#!/usr/bin/env bash
# Installs what building and testing QorvPictureBox needs on Debian 12, and
# nothing else. Safe to run repeatedly: packages already present are skipped,
# and the package lists are refreshed only when something must be installed.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  qt6-base-dev qt6-tools-dev qt6-declarative-dev libfreeimage-dev libseccomp-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  doxygen fonts-dejavu-core
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
  echo "setup: all build dependencies are installed"
  exit 0
fi

if ((EUID == 0)); then
  as_root=()
elif command -v sudo >/dev/null 2>&1; then
  as_root=(sudo)
else
  echo "setup: missing packages (${missing[*]}) and neither root nor sudo is available" >&2
  exit 1
fi

echo "setup: installing ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
