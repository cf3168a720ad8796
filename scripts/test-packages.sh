#!/usr/bin/env bash
# scripts/test-packages.sh [deb] [installer]: tries what scripts/package.sh has made. The .deb is installed, run and
# removed in a bare Debian of its own (needs root), the installer under Wine. Both when none is named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
tree=$PWD packages=$PWD/build/packages
install_missing "${PACKAGE_TEST_PACKAGES[@]}"
[ $# -gt 0 ] || set -- deb installer
work=$(mktemp -d)
trap '"${cleanup[@]}"; rm -rf "$work"' EXIT
cleanup=(true)
refuse() { say "$*"; exit 1; }

test_deb() {
  local root=$work/root mirror release before after
  mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | head -n 1)
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  say "Making a bare $release"
  debootstrap --variant=minbase "$release" "$root" "$mirror" >"$work/debootstrap.log" || { tail "$work/debootstrap.log" >&2; return 1; }
  cp "$packages"/vemko-studio_*.deb "$root/package.deb"
  cp examples/organ.wav "$root/organ.wav"
  inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 "$@"; }
  inside apt-get update -qq
  before=$(inside dpkg-query -W -f '${Package}\n')
  say "Installing without what is recommended"
  inside apt-get install -y -qq --no-install-recommends /package.deb >"$work/install.log" 2>&1 || { tail "$work/install.log" >&2; return 1; }
  inside vemko --version
  inside vemko convert /organ.wav -o /organ24.wav --encoding pcm24
  ! inside vemko convert /organ.wav -o /organ.flac 2>"$work/missing" || refuse "A codec library was there that nobody had asked for"
  grep 'libFLAC is not available (Debian package libflac12' "$work/missing"
  say "Installing what is recommended"
  inside apt-get install -y -qq $(dpkg-deb -f "$packages"/vemko-studio_*.deb Recommends | tr -d ,) xvfb xauth >"$work/install.log" 2>&1
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
  local width
  for width in x64; do
    unzip -q -o "$packages"/vemko-studio-*-windows-$width.zip -d "$work/zip"
    "$wine" "$work"/zip/vemko-studio-*/vemko.exe --version
  done
  say "The zip: done"
  # The same script's installer of 64 bits: not every Wine runs the other one.
  say "Installing"
  "$wine" build/package/setup-64.exe /S
  local users=$WINEPREFIX/drive_c/users/$(id -un)/AppData/Local/Programs home
  home="$users/Vemko Studio"
  "$wine" "$home/vemko.exe" convert "$home/examples/organ.sfz" -o "$work/organ.sf2"
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

for what in "$@"; do "test_$what"; done
