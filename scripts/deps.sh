#!/usr/bin/env bash
# Installs the host tools (apt) and cross-builds nym2208's third-party libraries
# (ICU, Xerces-C, GoogleTest, Google Benchmark) for x86_64-w64-mingw32 from
# Debian's source packages, into a cache outside the clone.
#
#   scripts/deps.sh                 install/build whatever is missing (idempotent)
#   scripts/deps.sh --print-prefix  print the mingw install prefix, build nothing
#   scripts/deps.sh --no-apt        skip the apt step (tools already present)
#
# Cache root: $NYM_DEPS_CACHE, else ${XDG_CACHE_HOME:-$HOME/.cache}/nym2208/deps.
# Prefix:     <cache root>/<TAG>/mingw  (include/, lib/*.dll.a, lib/cmake/, bin/*.dll,
#             share/icu/<version>/icudt<major>l.dat: ICU's full data, see ICU_DATA_ITEMS)
# Every dependency has a stamp; a missing stamp means its build is redone from scratch.
set -euo pipefail

# Bump the -rN suffix whenever build flags change: a new tag means a clean rebuild.
TAG=icu72.1-xerces3.2.4-gtest1.12.1-bench1.7.1-r2
ICU_VER=72.1
XERCES_VER=3.2.4
GTEST_VER=1.12.1
BENCH_VER=1.7.1

# The items of ICU's data that icudt72.dll keeps: what the library's ICU calls load, found by
# running every test against a data library holding nothing (`icupkg -l` lists the items).
# Character properties, case mapping, NFC and the error names are compiled into icuuc72.dll;
# NFKC normalisation loads nfkc.nrm. A new ICU call that needs data adds its item here.
ICU_DATA_ITEMS=(nfkc.nrm)

HOST=x86_64-w64-mingw32
CC_X=$HOST-gcc-posix
CXX_X=$HOST-g++-posix

CACHE_ROOT=${NYM_DEPS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/nym2208/deps}
BASE=$CACHE_ROOT/$TAG
PREFIX=$BASE/mingw
LOGS=$BASE/logs
STAMPS=$BASE/stamps
SCRATCH=$BASE/scratch
APTDIR=$CACHE_ROOT/apt       # private apt state for source downloads, shared by tags
SRCDL=$CACHE_ROOT/sources    # downloaded .dsc/.orig files, shared by tags

# Linked into every DLL/exe we build so that users ship no libgcc/libstdc++/winpthread DLL.
# whole-archive puts winpthread in before the driver's trailing -lpthread could pick the import lib;
# --exclude-libs keeps a DLL without dllexport (ICU) from auto-exporting libgcc_eh/winpthread.
RT_LDFLAGS="-static-libgcc -static-libstdc++ -Wl,-Bstatic,--whole-archive -lwinpthread -Wl,--no-whole-archive,-Bdynamic -Wl,--exclude-libs,ALL"

APT_PKGS=(
  build-essential dpkg-dev pkg-config make cmake ninja-build python3 xz-utils
  gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  mingw-w64-x86-64-dev
  wine wine64
  googletest libgtest-dev libgmock-dev
  libicu-dev libxerces-c-dev libbenchmark-dev unicode-data bzip2 gdb zlib1g-dev libdeflate-dev
  locales clang libclang-rt-14-dev
)

do_apt=1
case "${1:-}" in
  --print-prefix) printf '%s\n' "$PREFIX"; exit 0 ;;
  --no-apt) do_apt=0 ;;
  -h|--help) sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
  "") ;;
  *) echo "deps.sh: unknown argument '$1' (try --help)" >&2; exit 2 ;;
esac

say() { printf '[deps] %s\n' "$*"; }
die() { printf '[deps] ERROR: %s\n' "$*" >&2; exit 1; }

# run LOGNAME CMD...: output goes to the log; on failure show its tail and stop.
run() {
  local log=$LOGS/$1.log; shift
  printf '\n$ %s\n' "$*" >>"$log"
  local start
  start=$(($(stat -c %s "$log") + 1))
  if ! "$@" >>"$log" 2>&1; then
    printf '[deps] FAILED: %s\n[deps] first errors, then last lines of %s:\n' "$*" "$log" >&2
    tail -c +"$start" "$log" | grep -E -m 10 'error:|Error [0-9]|CMake Error|undefined reference|multiple definition' \
      | cut -c1-400 >&2 || true
    printf '[deps] ...\n' >&2
    tail -c +"$start" "$log" | tail -n 25 | cut -c1-400 >&2
    exit 1
  fi
}

pkg_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null || true)" = installed ]
}

install_host_packages() {
  local missing=() p
  for p in "${APT_PKGS[@]}"; do pkg_installed "$p" || missing+=("$p"); done
  [ ${#missing[@]} -eq 0 ] && return 0
  [ "$(id -u)" -eq 0 ] || die "missing packages (${missing[*]}); run as root"
  mkdir -p "$CACHE_ROOT"
  say "apt: installing ${missing[*]}"
  local log=$CACHE_ROOT/apt-install.log
  export DEBIAN_FRONTEND=noninteractive
  if ! { apt-get update && apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    die "apt-get install failed (log: $log)"
  fi
}

# A deb-src copy of the machine's own sources, so no mirror is named here and
# the system's apt configuration stays untouched.
write_private_sources() {
  mkdir -p "$APTDIR/sources.list.d" "$APTDIR/lists/partial" "$APTDIR/cache/archives/partial"
  rm -f "$APTDIR/sources.list.d/"*
  : >"$APTDIR/sources.list"
  local f n=0
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -f "$f" ] || continue
    sed -E 's/^Types:.*/Types: deb-src/' "$f" >"$APTDIR/sources.list.d/$(basename "$f")"
    n=$((n + 1))
  done
  for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$f" ] || continue
    sed -nE 's/^[[:space:]]*deb([[:space:]])/deb-src\1/p' "$f" >"$APTDIR/sources.list.d/$(basename "$f").list"
    n=$((n + 1))
  done
  [ "$n" -gt 0 ] || die "no apt sources found under /etc/apt"
}

APT_PRIVATE=()
apt_private_update() {
  [ ${#APT_PRIVATE[@]} -gt 0 ] && return 0
  write_private_sources
  APT_PRIVATE=(
    -o "Dir::Etc::SourceList=$APTDIR/sources.list"
    -o "Dir::Etc::SourceParts=$APTDIR/sources.list.d"
    -o "Dir::State::Lists=$APTDIR/lists"
    -o "Dir::Cache=$APTDIR/cache"
    # the cache may sit under /root, which the _apt sandbox user cannot enter
    -o "APT::Sandbox::User=root"
  )
  say "apt: updating private deb-src lists"
  run apt apt-get "${APT_PRIVATE[@]}" update
}

# fetch_source PKG UPSTREAM_VERSION -> sets SRC_DSC to the downloaded .dsc
fetch_source() {
  local pkg=$1 want=$2 dir=$SRCDL/$1 dsc
  mkdir -p "$dir"
  dsc=$(ls -1 "$dir"/"${pkg}"_*.dsc 2>/dev/null | head -n1 || true)
  if [ -z "$dsc" ] || [ ! -f "$dir/.complete" ]; then
    apt_private_update
    rm -rf "$dir"; mkdir -p "$dir"
    say "$pkg: downloading Debian source package"
    (cd "$dir" && run apt apt-get "${APT_PRIVATE[@]}" source --download-only "$pkg")
    dsc=$(ls -1 "$dir"/"${pkg}"_*.dsc 2>/dev/null | head -n1 || true)
    [ -n "$dsc" ] || die "$pkg: apt-get source produced no .dsc"
    touch "$dir/.complete"
  fi
  local ver
  ver=$(sed -n 's/^Version: //p' "$dsc" | head -n1)
  ver=${ver#*:}; ver=${ver%-*}; ver=${ver%%+*}
  [ "$ver" = "$want" ] || die "$pkg: Debian has upstream $ver, this script builds $want (bump TAG and check)"
  SRC_DSC=$dsc
}

# unpack_source PKG UPSTREAM_VERSION DEST (Debian patches applied by dpkg-source)
unpack_source() {
  fetch_source "$1" "$2"
  rm -rf "$3"
  run "$1" dpkg-source --no-check -x "$SRC_DSC" "$3"
  # dpkg-source leaves copies of the tarballs beside the tree
  rm -f "$(dirname "$3")/$1_"*
}

stamp_ok() { [ -f "$STAMPS/$1" ]; }
STEP_T0=0
stamp_set() {
  date -u +%FT%TZ >"$STAMPS/$1"
  [ "$1" = icu-native ] || say "$1: done in $((SECONDS - STEP_T0)) s"
}

write_toolchain() {
  cat >"$BASE/toolchain-mingw.cmake" <<EOF
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER $CC_X)
set(CMAKE_CXX_COMPILER $CXX_X)
set(CMAKE_RC_COMPILER $HOST-windres)
set(CMAKE_FIND_ROOT_PATH /usr/$HOST "$PREFIX")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT "$RT_LDFLAGS")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "$RT_LDFLAGS")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "$RT_LDFLAGS")
EOF
}

cmake_cross() { # LOGNAME SRC BUILD extra-args...
  local log=$1 src=$2 bld=$3; shift 3
  run "$log" cmake -G Ninja -S "$src" -B "$bld" \
    -DCMAKE_TOOLCHAIN_FILE="$BASE/toolchain-mingw.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$PREFIX" \
    -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_BINDIR=bin -DCMAKE_INSTALL_INCLUDEDIR=include "$@"
}

# Fails if a DLL needs a GCC runtime DLL.
check_no_gcc_runtime() {
  local f bad
  for f in "$@"; do
    bad=$($HOST-objdump -p "$f" | sed -n 's/.*DLL Name: //p' | grep -Ei 'libstdc|libgcc|winpthread' || true)
    [ -z "$bad" ] || die "$(basename "$f") still imports: $bad"
  done
}

build_gtest() {
  stamp_ok gtest && return 0
  STEP_T0=$SECONDS
  local have
  have=$(dpkg-query -W -f='${Version}' googletest)
  case "$have" in "$GTEST_VER"*) ;; *) die "googletest $have installed, expected $GTEST_VER";; esac
  say "gtest: building $GTEST_VER (static, mingw)"
  rm -rf "$SCRATCH/gtest"
  # gtest uses Win32 threads on MinGW anyway; say so rather than rely on it
  cmake_cross gtest /usr/src/googletest "$SCRATCH/gtest" \
    -DBUILD_SHARED_LIBS=OFF -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON -Dgtest_disable_pthreads=ON
  run gtest cmake --build "$SCRATCH/gtest" -j2
  run gtest cmake --install "$SCRATCH/gtest"
  rm -rf "$SCRATCH/gtest"
  stamp_set gtest
}

build_benchmark() {
  stamp_ok benchmark && return 0
  STEP_T0=$SECONDS
  local src=$SCRATCH/benchmark-src
  unpack_source benchmark "$BENCH_VER" "$src"
  say "benchmark: building $BENCH_VER (static, mingw)"
  cmake_cross benchmark "$src" "$SCRATCH/benchmark" \
    -DBUILD_SHARED_LIBS=OFF -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF \
    -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_ENABLE_INSTALL=ON -DBENCHMARK_INSTALL_DOCS=OFF \
    -DBENCHMARK_ENABLE_LTO=OFF -DGIT_VERSION="$BENCH_VER"
  run benchmark cmake --build "$SCRATCH/benchmark" -j2
  run benchmark cmake --install "$SCRATCH/benchmark"
  grep -q shlwapi "$PREFIX/lib/cmake/benchmark/benchmarkTargets.cmake" \
    || die "benchmark: exported target lacks shlwapi"
  rm -rf "$src" "$SCRATCH/benchmark"
  stamp_set benchmark
}

build_xerces() {
  stamp_ok xerces && return 0
  STEP_T0=$SECONDS
  local src=$SCRATCH/xerces-src bld=$SCRATCH/xerces
  unpack_source xerces-c "$XERCES_VER" "$src"
  # Only the library: samples, tests and docs would need building before install.
  # On WIN32 its package config would go to <prefix>/cmake, which CMake searches
  # only on Windows hosts: put it where find_package looks everywhere.
  sed -i -E '/^add_subdirectory\((doc|tests|samples)\)/d' "$src/CMakeLists.txt"
  sed -i 's|set(xerces_config_dir "cmake")|set(xerces_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/XercesC")|' \
    "$src/src/CMakeLists.txt"
  grep -q 'xerces_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/XercesC")' "$src/src/CMakeLists.txt" \
    || die "xerces: could not relocate its CMake package config"
  say "xerces: building $XERCES_VER (DLL, mingw)"
  cmake_cross xerces "$src" "$bld" \
    -DBUILD_SHARED_LIBS=ON -Dnetwork=OFF -Dtranscoder=windows -Dmessage-loader=inmemory \
    -Dxmlch-type=char16_t -Dthreads=ON
  run xerces cmake --build "$bld" -j2
  run xerces cmake --install "$bld"
  check_no_gcc_runtime "$PREFIX"/bin/*xerces*.dll
  strip_dlls "$PREFIX"/bin/*xerces*.dll
  rm -rf "$src" "$bld"
  stamp_set xerces
}

# Cuts ICU's data archive in the source tree down to ICU_DATA_ITEMS, so the cross build makes a
# small icudt72.dll; the full archive is kept in the prefix (and cut from there on a rerun) for
# products that need all of ICU.
slim_icu_data() {
  local src=$1 native=$2 major=${ICU_VER%%.*}
  local dat=$src/source/data/in/icudt${major}l.dat work=$SCRATCH/icu-data
  local full=$PREFIX/share/icu/$ICU_VER/icudt${major}l.dat
  local icupkg=(env LD_LIBRARY_PATH="$native/lib" "$native/bin/icupkg")
  if [ ! -f "$full" ]; then
    mkdir -p "$(dirname "$full")"
    cp "$dat" "$full.part" && mv "$full.part" "$full"
  fi
  rm -rf "$work"; mkdir -p "$work/items"
  printf '%s\n' "${ICU_DATA_ITEMS[@]}" >"$work/items.lst"
  run icu "${icupkg[@]}" -x "$work/items.lst" -d "$work/items" "$full"
  rm -f "$dat"
  run icu "${icupkg[@]}" -a "$work/items.lst" -s "$work/items" new "$dat"
  [ "$("${icupkg[@]}" -l "$dat" | sort | tr '\n' ' ')" = "$(printf '%s\n' "${ICU_DATA_ITEMS[@]}" | sort | tr '\n' ' ')" ] \
    || die "icu: the slim data archive does not hold exactly: ${ICU_DATA_ITEMS[*]}"
  rm -rf "$work"
}

# Release builds of third-party DLLs carry only the symbol table and the statically linked GCC
# runtime's debug information: neither helps a product, both cost megabytes in every install.
strip_dlls() {
  local f
  for f in "$@"; do run strip "$HOST-strip" --strip-unneeded "$f"; done
}

build_icu() {
  stamp_ok icu && return 0
  STEP_T0=$SECONDS
  local src=$SCRATCH/icu-src native=$SCRATCH/icu-native cross=$SCRATCH/icu-cross
  if ! stamp_ok icu-native || [ ! -d "$src" ] || [ ! -d "$native" ]; then
    rm -f "$STAMPS/icu-native"
    unpack_source icu "$ICU_VER" "$src"
    say "icu: native build $ICU_VER (tools for the cross build, ~2 min)"
    rm -rf "$native"; mkdir -p "$native"
    (cd "$native" && run icu-native env CC=gcc CXX=g++ CFLAGS=-O1 CXXFLAGS=-O1 \
      "$src/source/runConfigureICU" Linux --disable-tests --disable-samples --disable-extras \
      --disable-layoutex --disable-icuio)
    run icu-native make -C "$native" -j2
    stamp_set icu-native
  fi
  slim_icu_data "$src" "$native"
  say "icu: cross build $ICU_VER (DLLs, mingw, data: ${ICU_DATA_ITEMS[*]}, ~3 min)"
  rm -rf "$cross"; mkdir -p "$cross"
  (cd "$cross" && run icu env CC="$CC_X" CXX="$CXX_X" CFLAGS=-O2 CXXFLAGS="-O2 -std=gnu++17" \
    LDFLAGS="$RT_LDFLAGS" \
    "$src/source/configure" --host=$HOST --with-cross-build="$native" \
    --enable-shared --disable-static --disable-tests --disable-samples --disable-extras \
    --disable-icuio --disable-layoutex --disable-tools --prefix="$PREFIX")
  run icu make -C "$cross" -j2
  run icu make -C "$cross" install
  mkdir -p "$PREFIX/bin"
  local d
  for d in "$PREFIX"/lib/icu*.dll; do [ -e "$d" ] && mv -f "$d" "$PREFIX/bin/"; done
  rm -f "$PREFIX/bin/icu-config"   # a Unix shell script, useless for a Windows prefix
  [ -f "$PREFIX/bin/icuuc${ICU_VER%%.*}.dll" ] || die "icu: icuuc${ICU_VER%%.*}.dll not installed"
  check_no_gcc_runtime "$PREFIX"/bin/icu*.dll
  strip_dlls "$PREFIX"/bin/icu*.dll
  rm -rf "$src" "$native" "$cross"
  rm -f "$STAMPS/icu-native"
  stamp_set icu
}

# The number-grouping tests need a locale that groups by three with a comma.
ensure_test_locale() {
  locale -a 2>/dev/null | grep -qix 'en_US.utf8' && return 0
  [ "$(id -u)" -eq 0 ] || die "locale en_US.UTF-8 missing; run as root to generate it"
  say "generating locale en_US.UTF-8"
  localedef -i en_US -f UTF-8 en_US.UTF-8 || die "localedef en_US.UTF-8 failed"
}

main() {
  [ "$do_apt" -eq 1 ] && install_host_packages
  ensure_test_locale
  command -v "$CXX_X" >/dev/null || die "$CXX_X not found (run without --no-apt as root)"
  mkdir -p "$PREFIX" "$LOGS" "$STAMPS" "$SCRATCH"
  write_toolchain
  local t0=$SECONDS
  build_gtest
  build_benchmark
  build_xerces
  build_icu
  rmdir "$SCRATCH" 2>/dev/null || true
  say "ready in $((SECONDS - t0)) s: $PREFIX"
}

main
