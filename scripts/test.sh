#!/usr/bin/env bash
# Builds both presets (installing what is missing) and runs every test: the host build
# natively under ASan/UBSan, the Windows build under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
prefix=$(scripts/deps.sh --print-prefix)

echo "== host build (native, ASan + UBSan)"
cmake --preset host >/dev/null
cmake --build --preset host
ctest --preset host

echo "== windows build (mingw-w64, tests under Wine)"
cmake --preset windows -DNYM_DEPS_PREFIX="$prefix" >/dev/null
cmake --build --preset windows
export NYM_WINEPREFIX=$PWD/build/windows/wineprefix
scripts/wine-run.sh --init
trap 'scripts/wine-run.sh --stop' EXIT
ctest --preset windows
