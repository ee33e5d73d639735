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
# Wine maps the Unix TZ into GetTimeZoneInformation; unset means GMT everywhere
unset LC_ALL LANGUAGE TZ

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

# Creates the prefix on first use and makes sure a persistent server runs.
# Serialised, so that parallel first uses (ctest -j) neither create the prefix
# twice nor start two servers.
prepare() {
  [ -d "$WINEPREFIX" ] || mkdir -p "${WINEPREFIX%/*}"
  exec 9>"$WINEPREFIX.lock"
  flock 9
  if [ ! -f "$ready_mark" ]; then
    # a prefix without the mark was interrupted mid-creation: start over
    "$WINESERVER" -k >/dev/null 2>&1 9>&- || true
    rm -rf "$WINEPREFIX"
    echo "wine-run: creating Wine prefix $WINEPREFIX (once, ~15 s)" >&2
    "$WINE" wineboot -i </dev/null >/dev/null 2>&1 9>&-
    "$WINESERVER" -w 9>&-
    touch "$ready_mark"
  fi
  # exit status 0: a new server was started, 2: one was already running
  # (fd 9 closed: a daemon holding the lock would block every later run)
  if "$WINESERVER" -p </dev/null >/dev/null 2>&1 9>&-; then
    # The first client of a new server spawns services.exe, rpcss.exe, ... which
    # live as long as the server and keep that client's stderr open: a test
    # started first would make ctest wait for them forever. Boot them detached.
    "$WINE" cmd.exe /c exit 0 </dev/null >/dev/null 2>&1 9>&- || true
  fi
  exec 9>&-
}

case "${1:-}" in
  "")
    echo "usage: $0 prog.exe [args...] | --init | --stop" >&2
    exit 2 ;;
  --stop)
    "$WINESERVER" -k >/dev/null 2>&1 || true
    exit 0 ;;
  --init)
    prepare
    exit 0 ;;
esac

prepare
exec "$WINE" "$@"
