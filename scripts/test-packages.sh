#!/usr/bin/env bash
# scripts/test-packages.sh [deb] [installer] [installer32]: tries what scripts/package.sh has made. The .deb is installed, run
# and removed in a bare Debian of its own, the installer under Wine, and the 32-bit programs with the 32-bit installer under
# the Wine of a bare Debian of 32 bits. Bare systems need root. All three when none is named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
tree=$PWD packages=$PWD/build/packages
install_missing "${PACKAGE_TEST_PACKAGES[@]}"
[ $# -gt 0 ] || set -- deb installer installer32
work=$(mktemp -d)
trap '"${cleanup[@]}"; rm -rf --one-file-system "$work"' EXIT
cleanup=(true)
refuse() { say "$*"; exit 1; }

# make_bare NAME ARGUMENTS...: a bare Debian of this release in $work/NAME, which `inside` runs commands in.
make_bare() {
  local mirror release
  root=$work/$1; shift
  mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | head -n 1)
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  say "Making a bare $release $*"
  debootstrap --variant=minbase "$@" "$release" "$root" "$mirror" >"$work/debootstrap.log" || { tail "$work/debootstrap.log" >&2; return 1; }
  cp examples/organ.* "$root"
  inside apt-get update -qq
}
inside() {
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 \
    WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" "$@"
}
inside_installs() {
  inside apt-get install -y -qq --no-install-recommends "$@" >"$work/install.log" 2>&1 || { tail "$work/install.log" >&2; return 1; }
}

test_deb() {
  make_bare deb
  cp "$packages"/vemko-studio_*.deb "$root/package.deb"
  say "Installing without what is recommended"
  inside_installs /package.deb
  inside vemko --version
  inside vemko convert /organ.wav -o /organ24.wav --encoding pcm24
  ! inside vemko convert /organ.wav -o /organ.flac 2>"$work/missing" || refuse "A codec library was there that nobody had asked for"
  grep 'libFLAC is not available (Debian package libflac12' "$work/missing"
  say "Installing what is recommended"
  inside_installs $(dpkg-deb -f "$packages"/vemko-studio_*.deb Recommends | tr -d ,) xvfb xauth
  for format in flac ogg opus mp3 wv aif; do inside vemko convert /organ.wav -o "/organ.$format" -q; done
  inside xvfb-run -a vemko-studio --version
  inside sh -c 'test -s /usr/share/man/man1/vemko.1.gz && test -s /usr/share/doc/vemko-studio/copyright'
  say "Removing it"
  inside dpkg -L vemko-studio >"$work/files"
  inside apt-get purge -y -qq vemko-studio >"$work/remove.log" 2>&1
  while read -r file; do [ ! -f "$root$file" ] || refuse "$file is left"; done <"$work/files"
  [ ! -e "$root/usr/share/doc/vemko-studio" ] || refuse "A folder is left"
  say "The .deb: done"
}

test_installer() {
  local wine; wine=$(command -v wine64 || command -v /usr/lib/wine/wine64) || refuse "Wine is missing"
  export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  unset DISPLAY
  cleanup=(wineserver -k)
  "$wine" wineboot --init >/dev/null 2>&1
  unzip -q -o "$packages"/vemko-studio-*-windows-x64.zip -d "$work/zip"
  "$wine" "$work"/zip/vemko-studio-*/vemko.exe --version
  say "The zip: done"
  # The same script's installer of 64 bits: not every Wine runs the other one.
  say "Installing"
  "$wine" build/package/setup-64.exe /S
  local users=$WINEPREFIX/drive_c/users/$(id -un)/AppData/Local/Programs home
  home="$users/Vemko Studio"
  "$wine" "$home/vemko.exe" convert "$home/examples/organ.sfz" -o "$work/organ.sf2"
  for format in flac ogg opus mp3 wv aif gsm; do
    "$wine" "$home/vemko.exe" convert "$home/examples/organ.wav" -o "$work/organ.$format" -q
    "$wine" "$home/vemko.exe" convert "$work/organ.$format" -o "$work/$format.wav" -q
  done
  reg() { "$wine" reg query "$1" "${@:2}" 2>/dev/null | tr -d '\r'; }
  reg 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Vemko Studio' /v DisplayVersion | grep -F 12.13
  reg 'HKCU\Software\Classes\VemkoStudio.sf2' /ve | grep -F SoundFont
  reg 'HKCU\Software\Classes\VemkoStudio.sf2\shell\open\command' /ve | grep -F 'vemko-studio.exe" "%1"'
  reg 'HKCU\Software\Classes\.sf2' /ve | grep -F VemkoStudio.sf2
  ! reg 'HKCU\Software\Classes\.wav' /ve | grep -F VemkoStudio || refuse "The installer took over .wav"
  reg 'HKCU\Software\Classes\.wav\OpenWithProgids' | grep -F VemkoStudio.wav
  say "Removing it"
  touch "$home/mine.dll"
  # It goes on from a copy of its own, so that it can remove itself.
  "$wine" "$home/uninstall.exe" /S
  local seconds=0
  until [ "$(ls "$home")" = mine.dll ]; do
    [ $((seconds++)) -lt 60 ] || refuse "Left: $(ls "$home")"
    sleep 1
  done
  wineserver -w
  ! "$wine" reg query 'HKCU\Software\Classes' /s 2>/dev/null | grep -i vemko || refuse "Keys are left"
  ! reg 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Vemko Studio' | grep . || refuse "A key is left"
  say "The installer: done"
}

leave_wine() {
  inside wineserver -k || true
  umount -l "$root/proc"
}

# The installer that is handed on is of 32 bits and installs the programs that fit the system.
test_installer32() {
  make_bare of32 --arch=i386
  say "Installing Wine of 32 bits"
  inside_installs wine wine32
  mount -t proc proc "$root/proc"
  cleanup=(leave_wine)
  unzip -q "$packages"/vemko-studio-*-windows-x86.zip -d "$root/zip"
  cp "$packages"/vemko-studio-*-setup.exe "$root/setup.exe"
  # A gigabyte that takes no room on the disk: 1.2e9 frames of 8 bits.
  printf 'RIFF\44\214\206\107WAVEfmt \20\0\0\0\1\0\1\0\104\254\0\0\104\254\0\0\1\0\10\0data\0\214\206\107' >"$root/big.wav"
  truncate -s 1200000044 "$root/big.wav"
  inside wine wineboot --init >/dev/null 2>&1
  inside sh -c 'wine /zip/*/vemko.exe --version'
  say "Installing"
  inside wine /setup.exe /S
  local home="/root/.wine/drive_c/users/root/AppData/Local/Programs/Vemko Studio" format
  inside wine "$home/vemko.exe" convert /organ.sfz -o /organ.sf2
  for format in flac ogg opus mp3 wv aif gsm; do
    inside wine "$home/vemko.exe" convert /organ.wav -o "/organ.$format" -q
    inside wine "$home/vemko.exe" convert "/organ.$format" -o "/$format.wav" -q
  done
  inside wine "$home/vemko.exe" info /big.wav | grep '1200000000 frames'
  ! inside wine "$home/vemko.exe" process "Maximize amplitude" /big.wav -o /bigger.wav 2>"$work/big" || refuse "32 bits held 4.8 GB"
  grep 'Wave too big - use 64-bit version!' "$work/big"
  inside wine "$home/uninstall.exe" /S
  local seconds=0
  until [ ! -e "$root$home" ]; do
    [ $((seconds++)) -lt 60 ] || refuse "Left: $(ls "$root$home")"
    sleep 1
  done
  leave_wine
  cleanup=(true)
  say "The 32-bit installer: done"
}

for what in "$@"; do "test_$what"; done
