#!/usr/bin/env bash
# Builds everything for Windows (installing what is missing), makes the package archive
# (build/windows/package/nym2208-<version>-win64.zip) and runs the demo: the `nym` tool
# under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
prefix=$(scripts/deps.sh --print-prefix)
cmake --preset windows -DNYM_DEPS_PREFIX="$prefix" >/dev/null
cmake --build --preset windows
cmake --build --preset windows --target package

export NYM_WINEPREFIX=$PWD/build/windows/wineprefix
nym=build/windows/bin/nym.exe
echo "== nym --help"
scripts/wine-run.sh "$nym" --help
echo "== nym status 0x80070005 C:\\data\\a.ini"
scripts/wine-run.sh "$nym" status 0x80070005 'C:\data\a.ini'
echo "== nym date 2000-01-01"
scripts/wine-run.sh "$nym" date 2000-01-01
echo "== nym detect README.md"
scripts/wine-run.sh "$nym" detect README.md
scripts/wine-run.sh --stop
