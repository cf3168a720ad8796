#!/usr/bin/env bash
# Measures vemko against other programs that do the same job, and its own growth, and writes docs/performance.md.
#
#   benchmarks/compare.sh [--runs N] [--only TEXT]
#
# Both programs of a case run in turn, N times each (7 unless told), in fresh folders; figures are medians, ratios are taken
# pair by pair. With --only, the cases whose name contains the text run and the table is only printed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh
runs=7 only=
while [ $# -gt 0 ]; do
  case $1 in
    --runs) runs=$2 ;;
    --only) only=$2 ;;
    *) sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
  esac
  shift 2
done

install_missing "${BUILD_PACKAGES[@]}" "${RUN_PACKAGES[@]}" "${PEER_PACKAGES[@]}"
build release vemko vemko-bench
root=$PWD vemko=$PWD/build/release/vemko bench=$PWD/build/release/vemko-bench peers=$PWD/build/peers
mkdir -p "$peers"
peer() { [ "$peers/$1" -nt "benchmarks/peers/$1.cpp" ] || g++ -std=c++17 -O2 "benchmarks/peers/$1.cpp" -o "$peers/$1" "${@:2}"; }
peer gig_load $(pkg-config --cflags --libs gig)
peer fluid_open $(pkg-config --cflags --libs fluidsynth)
peer sndfile_loop $(pkg-config --cflags --libs sndfile)
export QT_QPA_PLATFORM=offscreen  # polyphone asks for a window system even where it opens no window

# The input is made once and stays; the work of each run goes into a folder that is removed.
input=$PWD/build/benchmark-input
disk=$(mktemp -d "$PWD/build/benchmark-XXXXXX") memory=$(mktemp -d /dev/shm/vemko-benchmark-XXXXXX)
trap 'rm -rf "$disk" "$memory"' EXIT
[ -f "$input/done" ] || { say "Making the input"; python3 benchmarks/make_input.py "$input"; }
ten=$input/ten.wav hundred=$input/hundred.wav fluid=/usr/share/sounds/sf2/FluidR3_GM.sf2 tim=/usr/share/sounds/sf2/TimGM6mb.sf2
seconds=$input/seconds many=$input/many
for file in "$ten" "$fluid" "$tim" "$seconds"/*; do cat "$file"; done >/dev/null  # everything is in the page cache

table=$(mktemp)
heading() { printf '\n%s\n\n| case | other program | theirs, s | ours, s | theirs / ours | target | | theirs, MiB | ours, MiB |\n%s\n' \
  "$1" '|---|---|--:|--:|--:|--:|---|--:|--:|' >>"$table"; }
# compare CASE OTHER TARGET FOLDER OURS THEIRS [MIB]: target is the least ratio; MIB bounds our peak.
compare() {
  [[ $1 == *"$only"* ]] || return 0
  say "$1: $2"
  python3 benchmarks/pair.py --row "$1" "$2" --target "$3" --runs "$runs" --in "$4" --ours "$5" --peer "$6" \
    --mebibytes "${7:-0}" >>"$table"
}
# grow CASE OURS OURS_TEN_TIMES: time of ten times as much.
grow() {
  [[ $1 == *"$only"* ]] || return 0
  say "Growth: $1"
  python3 benchmarks/pair.py --growth "$1" --runs 5 --in "$memory" --ours "$2" --peer "$3" >>"$table"
}

heading '## Audio files'
case='WAV 16 to 24 bit, 10 min stereo'
to24="$vemko convert $ten -o out.wav --encoding pcm24"
compare "$case" sndfile-convert 2.2 "$disk" "$to24" "sndfile-convert -pcm24 $ten out.wav" 32
compare "$case" sox 1 "$disk" "$to24" "sox $ten -b 24 out.wav"
compare "$case" ffmpeg 1 "$disk" "$to24" "ffmpeg -v error -i $ten -c:a pcm_s24le out.wav"
compare "$case" cp 0.4 "$disk" "$to24" "cp $input/ten24.wav out.wav"
case='WAV 16 bit to float, 10 min stereo'
float="$vemko convert $ten -o out.wav --encoding float32"
compare "$case" sox 2.2 "$disk" "$float" "sox $ten -e float -b 32 out.wav" 32
compare "$case" sndfile-convert 4 "$disk" "$float" "sndfile-convert -float32 $ten out.wav"
compare 'FLAC to WAV, 10 min stereo' 'flac -d' 1 "$disk" "$vemko convert $input/ten.flac -o out.wav" "flac -s -d $input/ten.flac -o out.wav"
case='2,000 WAVs of 1 s to 24 bit, tmpfs'
batch="sh -c 'exec $vemko convert $seconds/*.wav -d . --to wav --encoding pcm24'"
compare "$case" 'sndfile-convert, one call a file' 9 "$memory" "$batch" \
  "sh -c 'for f in $seconds/*.wav; do sndfile-convert -pcm24 \$f \${f##*/}; done'" 32
compare "$case" 'libsndfile, one process' 1.5 "$memory" "$batch" "$peers/sndfile_loop $seconds ."
compare "$case" 'cp -r' 0 "$memory" "$batch" "cp -r $seconds out"

heading '## Levels'
compare 'Loudness with filter, 10 min stereo' 'ffmpeg, replaygain' 2 "$disk" \
  "$vemko process 'Find volume' --set measure=replaygain $ten" "ffmpeg -v error -i $ten -af replaygain -f null -"
compare 'Normalise, file to file' 'sox --norm=-1' 2.5 "$disk" "$vemko process 'Normalize volume' $ten -o out.wav" \
  "sox --norm=-1 $ten out.wav"
compare 'Remove DC offset, file to file' 'sox dcshift' 2 "$disk" "$vemko process 'Remove DC offset' $ten -o out.wav" \
  "sox $ten out.wav dcshift 0.01"

heading '## Instruments'
size=$(($(stat -c %s "$fluid") / 1048576))
case='Open FluidR3 (148 MB), samples deferred'
compare "$case" 'libfluidsynth, dynamic loading' 1 "$disk" "$bench open $fluid" "$peers/fluid_open $fluid"
compare 'Load all samples of FluidR3 as float' 'libgig, as 16-bit' 1.2 "$disk" "$bench load $fluid" "$peers/gig_load $fluid" 310
case='FluidR3, SF2 to SF2'
rewrite="$vemko convert $fluid -o out.sf2"
compare "$case" 'polyphone -1' 2 "$disk" "$rewrite" "polyphone -1 -i $fluid -d . -o out" $((size + 32))
compare "$case" cp 0 "$disk" "$rewrite" "cp $fluid out.sf2"
case='FluidR3, SF2 to SFZ with WAVs, tmpfs'
sfz="$vemko convert $fluid -d . --to sfz"
compare "$case" 'polyphone -3' 3 "$memory" "$sfz" "polyphone -3 -i $fluid -d . -o out"
$vemko convert -q "$fluid" -d "$memory/sfz" --to sfz
compare "$case" 'cp -r' 0 "$memory" "$sfz" "cp -r $memory/sfz out"
rm -rf "$memory/sfz"
compare 'TimGM6mb, SF2 to SF3' 'sf3convert -z' 1.8 "$disk" "$vemko convert $tim -o out.sf3" "sf3convert -z $tim out.sf3"
compare 'SFZ of 100,000 regions, read and written' 'polyphone -1' 10 "$memory" "$vemko convert -q $input/regions.sfz -o out.sfz" \
  "polyphone -1 -i $input/regions.sfz -d . -o out"

printf '\n## Growth\n\n| ten times as much | one, s | ten, s | ten / one | one, MiB | ten, MiB |\n|---|--:|--:|--:|--:|--:|\n' >>"$table"
grow 'frames: WAV 16 to 24 bit, 10 and 100 min' "$to24" "$vemko convert $hundred -o out.wav --encoding pcm24"
grow 'regions: SFZ, 100,000 and 1,000,000' "$bench open $input/regions.sfz" "$bench open $input/regions10.sfz"
grow 'waveforms: SFZ of 2,000 and 20,000 sample files' "$bench open $input/samples.sfz" "$bench open $input/samples10.sfz"
grow 'files: 2,000 and 20,000 WAVs of 1 s to 24 bit' "$batch" "sh -c 'find $many -name *.wav | xargs $vemko convert -q -d . --to wav --encoding pcm24'"

{
  cat benchmarks/performance.head.md
  printf 'Measured %s: %s, %s processors, Linux %s. ' "$(date +%F)" "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -1)" \
    "$(nproc)" "$(uname -r)"
  dpkg-query -W -f '${Package} ${Version}, ' sndfile-programs sox ffmpeg flac polyphone sf3convert libgig10 libfluidsynth3 |
    sed 's/, $/.\n/'
  cat "$table"
} >"$disk/performance.md"
if [ -n "$only" ]; then cat "$table"; else cp "$disk/performance.md" docs/performance.md; cat docs/performance.md; fi
! grep -q 'MISSED' "$table" || { say "A target was missed"; exit 1; }
