#!/usr/bin/env bash
# scripts/test-windows.sh [FILTER]: builds the 64-bit command line and the tests as Windows programs, runs the tests
# (or those that the GoogleTest filter names) under Wine with a user of its own, compares what both systems' programs write,
# and looks at the settings with Wine's own tool. Status 77 when Wine is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
. scripts/windows-libraries.sh
if [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null; then
  install_missing "${BUILD_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" "${WINE_PACKAGES[@]}" || say "Going on without what could not be installed"
fi
wine=$(command -v wine64 || command -v /usr/lib/wine/wine64) || { say "Wine is missing: the Windows programs are not tested"; exit 77; }

build_core_libraries x64
build_test_libraries x64
build windows-tests vemko vemko-tests
build release vemko
programs=build/windows-tests

work=$(mktemp -d)
# Wine takes arguments for text of the locale.
export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8
unset DISPLAY
trap 'wineserver -k 2>/dev/null || true; rm -rf "$work"' EXIT
say "Preparing Wine"
# Its services start once, not whenever the next program comes late.
mkdir "$WINEPREFIX"
wineserver -p60 || true
"$wine" wineboot --init >/dev/null 2>&1
# A crash ends the program; no debugger looks at it.
"$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false /f >/dev/null

# The comparison, which starts hundreds of programs, fills the waits of the tests and the second processor.
scripts/compare-windows.sh "$wine" "$programs/vemko.exe" build/release/vemko >"$work/comparison" 2>&1 & comparison=$!

say "Running the tests under Wine"
# What POSIX systems alone have is not built: tests/*/posix. What is skipped says why. The corpus is for the comparison.
tests=0
env -u VEMKO_CORPUS "$wine" "$programs/vemko-tests.exe" --gtest_brief=1 --gtest_filter="${1:-*}" | tr -d '\r' || tests=$?

say "Comparing with what the Linux program writes"
compared=0
wait "$comparison" || compared=$?
cat "$work/comparison"
[ $((tests + compared)) -eq 0 ] || exit 1

say "Looking at the settings"
key='HKCU\Software\Quorvel-Labs\Vemko Studio'
settings() { "$wine" "$programs/vemko.exe" config set "$@"; }
settings aio.nLatency -2
settings app.bShowNoteNames 0
settings app.wszWave 'C:\Größe\editor.exe'
"$wine" reg query "$key" | tr -d '\r' >"$work/stored"
expect() { LC_ALL=C grep -qaE "$1" "$work/stored" || { cat "$work/stored" >&2; say "The registry lacks: $1"; exit 1; }; }
expect '^ +VersionNumber +REG_SZ +12\.13$'
expect '^ +aio\.nLatency +REG_DWORD +0xfffffffe$'
expect '^ +app\.bShowNoteNames +REG_BINARY +00$'
expect '^ +app\.wszWave +REG_SZ +C:\\Gr.*\\editor\.exe$'
expect '^ +app\.SaveFmt +REG_BINARY +[0-9A-F]{20}$'
expect '^ +app\.iPaneSplitL +REG_DWORD +0xdd$'
expect '^ +aio\.szAudioOutDev +REG_SZ +Windows default$'
