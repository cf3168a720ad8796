#!/usr/bin/env bash
# scripts/compare-windows.sh WINE VEMKO.EXE VEMKO: converts the examples, and the files below VEMKO_CORPUS where that is set,
# with both systems' programs to every row that writes and in every encoding, and compares statuses, messages and every byte.
# Of the corpus every eighth file is taken, or every one with VEMKO_CORPUS_EVERY=1.
# What needs a codec library that the Windows program does not find is counted, not compared.
set -euo pipefail
wine=$1 windows=$(realpath "$2") linux=$(realpath "$3")
examples=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../examples")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
shopt -s nullglob nocaseglob
mkdir inputs
cp "$examples"/*.wav "$examples"/*.sfz inputs
# An instrument of the examples in the formats that hold more than one, and one that is deferred from such a file.
"$linux" convert inputs/organ.sfz -o inputs/bank.sf2 -q
"$linux" convert inputs/organ.sfz -o inputs/bank.dls --to "DownLoadable Sounds level 2" -q
if [ -n "${VEMKO_CORPUS:-}" ]; then
  find "$VEMKO_CORPUS" -type f -size -3M ! -name '*.md' ! -iname '*.sf3' | sort | awk -v every="${VEMKO_CORPUS_EVERY:-8}" 'NR % every == 0' |
    while read -r file; do
    cp "$file" "inputs/$(md5sum <<<"$file" | cut -c1-6) $(basename "$file")"
  done
fi

equal=0 missing=0 different=0
# compare NAME ARGUMENTS...: both programs with the same arguments in folders of their own.
compare() {
  local name=$1 status; shift
  rm -rf l w; mkdir l w
  status=0; (cd l && "$linux" "$@" >../l.out 2>../l.err </dev/null) || status=$?
  echo "$status" >>l.out
  status=0; (cd w && "$wine" "$windows" "$@" >../w.out 2>../w.err </dev/null) || status=$?
  echo "$status" >>w.out
  # Windows writes paths with backslashes; in JSON they are escapes.
  sed -i 's/\\/\//g' l.err w.err
  [[ $name == info* ]] || sed -i 's/\\/\//g' l.out w.out
  if grep -qE "is not available|compressed sample cannot be read" w.err; then missing=$((missing + 1)); return; fi
  if cmp -s l.out w.out && cmp -s l.err w.err && diff -rq l w >&2; then
    equal=$((equal + 1))
  else
    different=$((different + 1))
    echo "Different: $name" >&2
    { diff l.out w.out; diff l.err w.err; } | head -n 8 >&2 || true
  fi
}

for file in inputs/*; do compare "info $file" info --json "../$file"; done
while IFS=$'\t' read -r description kinds encodings; do
  case $kinds in
    *waveform*) files=(inputs/*.wav) ;;
    *song*) files=(inputs/*.mid inputs/*.rmi) ;;
    *) files=(inputs/*.sf2 inputs/*.dls inputs/*.sfz) ;;
  esac
  [ ${#files[@]} -gt 0 ] || continue
  files=("${files[@]/#/../}")
  compare "$description" convert "${files[@]}" -d out --to "$description" --report
  for encoding in $encodings; do
    [ "$encoding" = midi ] || compare "$description, $encoding" \
      convert "${files[0]}" "${files[-1]}" -d out --to "$description" --encoding "$encoding" --on-exists rename
  done
done < <("$linux" formats --writable --json | python3 -c '
import json, sys
for row in json.load(sys.stdin):
    print(row["description"], ",".join(row["kinds"]), " ".join(row["encodings"]), sep="\t")')

echo "Both systems wrote the same $equal times; $missing times a codec library was missing; $different times they differed"
[ $different -eq 0 ] && [ $equal -gt 100 ]
