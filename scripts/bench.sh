#!/usr/bin/env bash
# Builds the benchmarks in Release and runs them: scripts/bench.sh [--host] [name-filter]
# (the filter picks executables, e.g. "status"). By default the Windows build under Wine; with
# --host the native build without sanitizers (preset host-bench), where the peers that exist
# only on the host (zlib, libdeflate) run beside the library. Extra Google Benchmark flags go
# in NYM_BENCH_ARGS.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = "--host" ]; then
  shift
  cmake --preset host-bench >/dev/null
  cmake --build --preset host-bench
  for exe in build/host-bench/bin/nym_*${1:-}*_bench; do
    echo "== $(basename "$exe")"
    # shellcheck disable=SC2086
    "$exe" ${NYM_BENCH_ARGS:-}
  done
  exit 0
fi

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
