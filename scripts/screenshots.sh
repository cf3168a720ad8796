#!/usr/bin/env bash
# scripts/screenshots.sh [BANK] [OUTPUT FOLDER]: drives the program on a screen of its own through its views and
# dialogs, light and dark, and takes a picture of each. Without a bank Debian's General MIDI bank is shown, or the
# example where that is not installed. The pictures that docs/guide.md shows are copied to docs/pictures.
# Needs xvfb, xdotool, imagemagick, openbox.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bank=${1:-/usr/share/sounds/sf2/default-GM.sf2}
[ -f "$bank" ] || bank=$here/examples/organ.wav
out=${2:-$here/build/pictures}
program=${VEMKO_STUDIO:-$here/build/release/vemko-studio}
shown_in_guide=(main waveform articulation properties process save preferences dark)
for tool in Xvfb xdotool import openbox; do
  command -v "$tool" >/dev/null || { echo "$tool is missing: apt-get install xvfb xdotool imagemagick openbox" >&2; exit 1; }
done
work=$(mktemp -d)
mkdir -p "$out"
export XDG_CONFIG_HOME=$work/config NO_AT_BRIDGE=1
studio=
Xvfb -displayfd 3 -screen 0 1102x740x24 3>"$work/display" >/dev/null 2>&1 & screen=$!
manager=
trap 'kill $studio $manager $screen 2>/dev/null; rm -rf "$work"' EXIT
until [ -s "$work/display" ]; do sleep 0.1; done
export DISPLAY=:$(cat "$work/display")
openbox >/dev/null 2>&1 & manager=$!

# The program with files; settings are of the form NAME=VALUE.
start() {
  local settings=()
  while [[ ${1:-} == app.* || ${1:-} == load.* ]]; do settings+=("$1"); shift; done
  mkdir -p "$XDG_CONFIG_HOME"
  for each in "${settings[@]}"; do
    "${VEMKO:-$here/build/release/vemko}" config set "${each%%=*}" "${each#*=}" >/dev/null
  done
  "$program" "$@" & studio=$!
  sleep "${VEMKO_START_SECONDS:-3}"
  window=$(xdotool search --onlyvisible --name 'Vemko Studio$' | head -n 1)
  xdotool windowmove "$window" 0 0
  sleep 0.5
}
stop() { kill "$studio" 2>/dev/null; wait "$studio" 2>/dev/null || true; studio=; }
picture() { xdotool mousemove 1098 738; sleep "${2:-0.8}"; import -window root -trim +repage +dither -colors 220 "$out/$1.png"; }
at() { xdotool mousemove --window "$window" "$1" "$2" click 1; sleep 0.5; }
within() { xdotool mousemove --window "$(xdotool getactivewindow)" "$1" "$2" click 1; sleep 0.5; }
keys() { xdotool key "$@"; sleep 0.5; }
# Every page of the dialog in front, the first one named first.
pages() {
  local first=1
  for name in "$@"; do
    [ $first = 1 ] || keys ctrl+Next
    first=0
    picture "$name"
  done
}
instrument() { at 130 129; }
waveform() { at 330 103; }
shut() { keys Escape; }

start "$bank"
at 130 152; keys alt+Return ctrl+Next; picture articulation-pitch; within 54 126; picture articulation; shut
instrument; keys Right Right Right Right; keys Down Down Down Down Down Down
picture main
waveform; keys Down Down
picture waveform
keys ctrl+3; picture log; keys ctrl+1
instrument; keys Right; picture layer; keys Right Right; picture region
keys alt+Return; pages region-parameters region-fades region-articulation region-texts; shut
waveform; keys alt+Return
pages properties loops source texts image; shut
at 330 126; keys shift+Down shift+Down; keys alt+Return; pages several several-source several-texts; shut
waveform; keys ctrl+p; picture process; keys Down Down Down Down; picture process-normalize; shut
instrument; keys ctrl+shift+s; picture save; shut
keys alt+f; picture menu; keys l; picture save-all; shut
keys ctrl+comma; pages preferences preferences-opening preferences-display preferences-saving preferences-all
shut
keys ctrl+d; picture information; shut
keys alt+h; keys a; picture about; shut
keys ctrl+o; picture open 1.5; shut
instrument; keys F2; xdotool type "Another name"; keys Return; picture renamed
keys ctrl+q; picture unsaved; shut
stop

head -c 3000 /dev/urandom >"$work/unknown.xyz"
printf '<region> sample=gone.wav key=60\n' >"$work/missing.sfz"
start "$work/unknown.xyz"; picture raw-question; keys Return; sleep 1
waveform; keys alt+Return ctrl+Next ctrl+Next; picture raw-source; shut
stop
start "$work/missing.sfz"; picture missing-file 1.5; shut; stop
start load.bConfirm=1 "$bank"; picture fixup; shut; stop
start load.bConfirm=0 app.eDarkMode=2 "$bank"
instrument; keys Right Down; picture dark
waveform; keys Down; picture dark-waveform
keys ctrl+p; picture dark-process; shut
keys alt+Return ctrl+Next; picture dark-loops; shut
stop
if [ "$out" = "$here/build/pictures" ]; then
  for name in "${shown_in_guide[@]}"; do cp "$out/$name.png" "$here/docs/pictures/"; done
fi
