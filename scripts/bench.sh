#!/usr/bin/env bash
# Builds the Windows benchmarks and runs them under Wine: scripts/bench.sh [name-filter]
# (the filter picks executables, e.g. "status"). Extra Google Benchmark flags go in
# NYM_BENCH_ARGS.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh >/dev/null
cmake --preset windows -DNYM_DEPS_PREFIX="$(scripts/deps.sh --print-prefix)" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build --preset windows
export NYM_WINEPREFIX=$PWD/build/windows/wineprefix
scripts/wine-run.sh --init
trap 'scripts/wine-run.sh --stop' EXIT
for exe in build/windows/bin/nym_*${1:-}*_bench.exe; do
  echo "== $(basename "$exe")"
  # shellcheck disable=SC2086
  scripts/wine-run.sh "$exe" ${NYM_BENCH_ARGS:-}
done
