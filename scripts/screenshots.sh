#!/usr/bin/env bash
# scripts/screenshots.sh [BANK] [OUTPUT FOLDER]: drives the program on a screen of its own and takes the pictures of
# docs/guide.md. Without a bank the example instrument is shown. Needs xvfb, xdotool, imagemagick.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bank=${1:-$here/examples/organ.wav}
out=${2:-$here/docs/pictures}
program=${VEMKO_STUDIO:-$here/build/release/vemko-studio}
for tool in Xvfb xdotool import; do
  command -v "$tool" >/dev/null || { echo "$tool is missing: apt-get install xvfb xdotool imagemagick" >&2; exit 1; }
done
work=$(mktemp -d)
mkdir -p "$out"
export XDG_CONFIG_HOME=$work/config NO_AT_BRIDGE=1
studio=
Xvfb -displayfd 3 -screen 0 1100x720x24 3>"$work/display" >/dev/null 2>&1 & screen=$!
trap 'kill $studio $screen 2>/dev/null; rm -rf "$work"' EXIT

until [ -s "$work/display" ]; do sleep 0.1; done
export DISPLAY=:$(cat "$work/display")
cp "$bank" "$work/"
"$program" "$work/$(basename "$bank")" & studio=$!

picture() { sleep "${2:-1}"; import -window root +dither -colors 200 "$out/$1.png"; }
at() { xdotool mousemove "$1" "$2" click 1; sleep 0.5; }
keys() { xdotool key "$@"; sleep 0.5; }

sleep "${VEMKO_START_SECONDS:-4}"
at 130 129                      # the first instrument
keys Right
picture main
at 330 103                      # the first waveform in sight
keys Down Down
picture waveform
keys alt+Return; picture properties; keys Escape
keys ctrl+p; picture process; keys Escape
at 130 129
keys alt+Return; keys Tab ctrl+Next; picture articulation; keys Escape
keys ctrl+shift+s; picture save; keys Escape
keys ctrl+comma; picture preferences; keys Escape
