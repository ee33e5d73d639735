#!/usr/bin/env bash
# Runs a Windows x64 program under 64-bit Wine in a private prefix; meant as
# CMAKE_CROSSCOMPILING_EMULATOR, so the program's exit code (& 0xFF) is ours.
#
#   scripts/wine-run.sh prog.exe [args...]   run (creates the prefix on first use)
#   scripts/wine-run.sh --init               create the prefix, start the server
#   scripts/wine-run.sh --stop               stop the prefix's wineserver
#
# Prefix: $NYM_WINEPREFIX (the build points it into its build tree); if unset,
# ${XDG_CACHE_HOME:-$HOME/.cache}/nym2208/wineprefix, one per user, so that
# running an exe by hand and --stop agree without knowing any build dir.
# A persistent `wineserver -p` keeps later starts at a few ms instead of ~250 ms;
# stop it with --stop at the end of a test run.
# $NYM_WINE overrides the wine loader (default: the 64-bit loader, no wine32 needed).
set -euo pipefail

export WINEPREFIX=${NYM_WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/nym2208/wineprefix}
export WINEDEBUG=-all
# no Mono/Gecko installers on prefix creation
export WINEDLLOVERRIDES="mscoree,mshtml="
export LANG=C.UTF-8
unset LC_ALL LANGUAGE TZ
# the Unix TZ would leak into GetTimeZoneInformation; tests expect GMT

if [ -n "${NYM_WINE:-}" ]; then
  WINE=$NYM_WINE
elif [ -x /usr/lib/wine/wine64 ]; then
  WINE=/usr/lib/wine/wine64   # Debian: /usr/bin/wine nags about wine32 otherwise
  export WINELOADER=$WINE
elif command -v wine64 >/dev/null 2>&1; then
  WINE=wine64
else
  WINE=wine
fi
WINESERVER=${NYM_WINESERVER:-wineserver}

ready_mark=$WINEPREFIX/.nym-ready

init_prefix() {
  [ -f "$ready_mark" ] && return 0
  mkdir -p "$(dirname "$WINEPREFIX")"
  # parallel first uses (ctest -j) must not create the prefix twice
  exec 9>"$WINEPREFIX.lock"
  flock 9
  if [ ! -f "$ready_mark" ]; then
    # a prefix without the mark was interrupted mid-creation: start over
    "$WINESERVER" -k >/dev/null 2>&1 || true
    rm -rf "$WINEPREFIX"
    echo "wine-run: creating Wine prefix $WINEPREFIX (once, ~20 s)" >&2
    "$WINE" wineboot -i >/dev/null 2>&1
    "$WINESERVER" -w
    touch "$ready_mark"
  fi
  exec 9>&-
}

start_server() {
  # exits at once when this prefix already has a server
  "$WINESERVER" -p </dev/null >/dev/null 2>&1 || true
}

case "${1:-}" in
  "")
    echo "usage: $0 prog.exe [args...] | --init | --stop" >&2
    exit 2 ;;
  --stop)
    "$WINESERVER" -k >/dev/null 2>&1 || true
    exit 0 ;;
  --init)
    init_prefix
    start_server
    exit 0 ;;
esac

init_prefix
start_server
exec "$WINE" "$@"
