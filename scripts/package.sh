#!/usr/bin/env bash
# scripts/package.sh [linux] [windows]: builds what is to be handed on into build/packages: a .deb for this system, and for
# Windows a zip for each width and an installer with both. Both systems' when none is named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
. scripts/windows-libraries.sh
. scripts/windows-codecs.sh
tree=$PWD out=$PWD/build/packages
version=$(sed -n 's/^project(vemko VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ $# -gt 0 ] || set -- linux windows
install_missing "${BUILD_PACKAGES[@]}" "${PACKAGE_PACKAGES[@]}"
build release vemko vemko-studio vemko-documentation
work=$PWD/build/package
rm -rf "$work"
mkdir -p "$work" "$out"

# The date of the newest commit, so that the same sources make the same packages.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s)
export SOURCE_DATE_EPOCH

package_linux() {
  local root=$work/root doc=$work/root/usr/share/doc/vemko-studio architecture; architecture=$(dpkg --print-architecture)
  DESTDIR=$root cmake --install build/release --prefix /usr --strip >/dev/null
  mkdir -p "$root/DEBIAN" "$work/debian"
  { cat <<COPYRIGHT
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: Vemko Studio

Files: *
Copyright: $(sed -n 's/^Copyright (c) //p' LICENSE)
License: Expat
COPYRIGHT
    sed '1,/^Copyright/d;s/^$/./;s/^/ /' LICENSE | sed 1d; } >"$doc/copyright"
  rm -f "$doc/LICENSE"
  gzip -9n "$root"/usr/share/man/man1/*.1

  # What the programs are linked with; the codec libraries, opened at run time, are recommended.
  printf 'Source: vemko-studio\n\nPackage: vemko-studio\nArchitecture: any\n' >"$work/debian/control"
  local depends; depends=$(cd "$work" && dpkg-shlibdeps -O root/usr/bin/vemko root/usr/bin/vemko-studio | sed 's/^shlibs:Depends=//')
  cat >"$root/DEBIAN/control" <<CONTROL
Package: vemko-studio
Version: $version
Architecture: $architecture
Maintainer: The Vemko Studio developers <maintainers@localhost>
Section: sound
Priority: optional
Installed-Size: $(du -sk --exclude=DEBIAN "$root" | cut -f1)
Depends: $depends
Recommends: $(join_with ', ' "${RUN_PACKAGES[@]}")
Description: studio for sampled sound
 Opens audio files, sampler instruments, banks and MIDI songs of many formats,
 edits them in one tree of items, and saves them in any other format that can
 hold them; it says beforehand what a format would lose.
 .
 This package has the desktop program, vemko-studio, and the command line,
 vemko. Compressed formats need the codec libraries that are recommended.
CONTROL
  (cd "$root" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
  chmod -R u=rwX,go=rX "$root"
  dpkg-deb --root-owner-group -Zxz --build "$root" "$out/vemko-studio_${version}_$architecture.deb" >&2
}

# Every format that the studio reads, for the installer: "Offer sf2 "SoundFont v2 bank" 1".
write_associations() {
  build/release/vemko formats --readable --json | python3 -c '
import json, sys
best = {}
for row in json.load(sys.stdin):
    is_bank = not {"instrument", "collection"}.isdisjoint(row["kinds"]) and row["extension"] not in ("mid", "rmi")
    if row["extension"] not in ("*", ""):
        best.setdefault(row["extension"], (row["description"], int(is_bank)))
print("!macro ForEveryFormat WHAT")
for extension, (description, is_bank) in sorted(best.items()):
    print(f"  !insertmacro ${{WHAT}} \"{extension}\" \"{description}\" {is_bank}")
print("!macroend")'
}

# The codec libraries, for the uninstaller: "Remove libFLAC-12.dll".
write_codecs() {
  echo "!macro ForEveryCodec WHAT"
  (cd "$work" && ls x64/*.dll x86/*.dll) | sed 's/.*\///' | sort -u | sed 's/.*/  !insertmacro ${WHAT} "&"/'
  echo "!macroend"
}

# make_installer FILE TARGET: also for 64 bits, because not every Wine runs the usual installer, which is of 32.
make_installer() {
  (cd "$work" && makensis -V2 -NOCD "-XTarget $2" -DVERSION="$version" -DFULL_VERSION="$version.0.8" -DPROGRAMS="$work" \
    -DTREE="$tree" -DOUTPUT="$1" "$tree/data/windows/installer.nsi") >&2
}

package_windows() {
  install_missing "${WINDOWS_PACKAGES[@]}"
  scripts/build-windows.sh x64 x86
  local width folder
  library_terms | sed 's/\r$//;s/$/\r/' >"$work/LIBRARIES.txt"
  for width in x64 x86; do
    mkdir -p "$work/$width"
    for program in vemko vemko-studio; do
      cp "build/windows-$width/$program.exe" "$work/$width"
    done
    build_codec_libraries "$width"
    codec_dlls "$width" | xargs cp -t "$work/$width"
    x86_64-w64-mingw32-strip "$work/$width"/*
    folder=vemko-studio-$version-windows-$width
    mkdir -p "$work/$folder/examples"
    cp "$work/$width"/* README.md "$work/LIBRARIES.txt" "$work/$folder"
    cp examples/organ.wav examples/organ.sfz "$work/$folder/examples"
    sed 's/$/\r/' LICENSE >"$work/$folder/LICENSE.txt"
    find "$work/$folder" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
    rm -f "$out/$folder.zip"
    (cd "$work" && TZ=UTC zip -qrX "$out/$folder.zip" "$folder")
  done
  write_associations >"$work/associations.nsh"
  write_codecs >"$work/codecs.nsh"
  make_installer "$out/vemko-studio-$version-setup.exe" x86-unicode
  make_installer "$work/setup-64.exe" amd64-unicode
}

for system in "$@"; do "package_$system"; done
say "In $out:"
ls -l "$out"
