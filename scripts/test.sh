#!/usr/bin/env bash
# Checks the layering of the includes, builds both presets (installing what is missing) and runs
# every test: the host build natively under ASan/UBSan, the Windows build under Wine; then the
# threaded suites under ThreadSanitizer and each fuzz target for a short fixed time
# (NYM_FUZZ_SECONDS, default 20).
set -euo pipefail
cd "$(dirname "$0")/.."

echo "== layers"
python3 scripts/check_layers.py

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

echo "== host build under ThreadSanitizer (threaded suites)"
cmake --preset host-tsan >/dev/null
cmake --build --preset host-tsan --target nym_thread_tests nym_buffer_tests nym_sync_tests nym_time_tests nym_file_tests
ctest --preset host-tsan -R '^(thread|buffer|sync|time|file)$'

echo "== fuzz targets (clang, libFuzzer, ${NYM_FUZZ_SECONDS:-20} s each)"
cmake --preset host-fuzz -DNYM_FUZZ_SECONDS="${NYM_FUZZ_SECONDS:-20}" >/dev/null
cmake --build --preset host-fuzz --target nym_fuzz
ctest --preset host-fuzz
