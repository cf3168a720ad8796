#!/usr/bin/env bash
# scripts/build-windows.sh [x64] [x86]: cross-builds the Windows programs, of both widths when none is named, into
# build/windows-WIDTH. The first run builds their libraries, which stay in the user's cache folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
. scripts/windows-libraries.sh
install_missing "${BUILD_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}"
[ $# -gt 0 ] || set -- x64 x86
for width in "$@"; do
  build_core_libraries "$width"
  build_window_libraries "$width"
  build "windows-$width" vemko vemko-studio
done
