#!/usr/bin/env bash
# Makes data/windows/vemko-studio.ico from data/vemko-studio.svg; to be run, and its result committed, when that changes.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
install_missing librsvg2-bin icoutils
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
images=()
for size in 16 20 24 32 40 48 64; do
  rsvg-convert -w "$size" -h "$size" data/vemko-studio.svg -o "$work/$size.png"
  images+=("$work/$size.png")
done
# Larger ones are stored as the PNG files that they are.
rsvg-convert -w 256 -h 256 data/vemko-studio.svg -o "$work/256.png"
icotool -c -o data/windows/vemko-studio.ico "${images[@]}" -r "$work/256.png"
