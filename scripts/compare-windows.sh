#!/usr/bin/env bash
# scripts/compare-windows.sh WINE VEMKO.EXE VEMKO: converts the examples, and the files below VEMKO_CORPUS where that is set,
# with both systems' programs to every row that writes and in every encoding, and compares statuses, messages and every byte.
# Of the corpus every eighth file is taken, and the first and the last of them in every encoding; with VEMKO_CORPUS_EVERY=1
# all of them, in every encoding. VEMKO_WINDOWS_CODECS names a folder with codec libraries for the Windows program; what needs
# one that it does not find is counted, not compared.
set -euo pipefail
run=("$1" "$(realpath "$2")") linux=$(realpath "$3")
[ -z "${VEMKO_WINDOWS_CODECS:-}" ] || run=(env "VEMKO_CODEC_PATH=$VEMKO_WINDOWS_CODECS" "${run[@]}")
examples=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../examples")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir inputs
cp "$examples"/*.wav "$examples"/*.sfz inputs
# An instrument of the examples in the formats that hold more than one, and one that is deferred from such a file.
"$linux" convert inputs/organ.sfz -o inputs/bank.sf2 -q
"$linux" convert inputs/organ.sfz -o inputs/bank.dls --to "DownLoadable Sounds level 2" -q
every=${VEMKO_CORPUS_EVERY:-8}
[ -z "${VEMKO_CORPUS:-}" ] || cp -r "$VEMKO_CORPUS" inputs/corpus
# chosen PATTERN...: the files of these names.
chosen() {
  local pattern names=()
  for pattern in "$@"; do names+=(-o -iname "$pattern"); done
  { find inputs -maxdepth 1 -type f \( "${names[@]:1}" \) | sort
    [ ! -d inputs/corpus ] || find inputs/corpus -type f \( "${names[@]:1}" \) | sort | awk -v every="$every" 'NR % every == 0'; } | sed 's|^|../|'
}

equal=0 missing=0 different=0
lack="is not available|compressed sample cannot be read"
# compare NAME ARGUMENTS...: both programs with the same arguments in folders of their own; 1 when a library is missing.
compare() {
  local name=$1 status; shift
  rm -rf l w; mkdir l w
  status=0; (cd l && "$linux" "$@" >../l.out 2>../l.err </dev/null) || status=$?
  echo "$status" >>l.out
  status=0; (cd w && "${run[@]}" "$@" >../w.out 2>../w.err </dev/null) || status=$?
  echo "$status" >>w.out
  # Windows writes paths with backslashes; in JSON they are escapes.
  sed -i 's/\\/\//g' l.err w.err
  [[ $name == info* ]] || sed -i 's/\\/\//g' l.out w.out
  if grep -qE "$lack" w.err; then return 1; fi
  if cmp -s l.out w.out && cmp -s l.err w.err && diff -rq l w >&2; then
    equal=$((equal + 1))
  else
    different=$((different + 1))
    echo "Different: $name" >&2
    { diff l.out w.out; diff l.err w.err; } | head -n 8 >&2 || true
  fi
}

# convert NAME ARGUMENTS...: $files, a hundred at a time, because Windows has command lines of 32767 characters at most; where
# some of them need what is missing, once more without those.
convert() {
  local name=$1 how=(-d out --to "$description" --on-exists rename "${@:2}") first some rest
  for ((first = 0; first < ${#files[@]}; first += 100)); do
    some=("${files[@]:first:100}")
    compare "$name" convert "${some[@]}" "${how[@]}" && continue
    mapfile -t rest < <(printf '%s\n' "${some[@]}" | grep -vxFf <(grep -E "$lack" w.err | sed 's/: .*//'))
    missing=$((missing + ${#some[@]} - ${#rest[@]}))
    [ ${#rest[@]} -eq 0 ] || compare "$name" convert "${rest[@]}" "${how[@]}" || missing=$((missing + ${#rest[@]}))
  done
}

mapfile -t waves < <(chosen '*.wav')
mapfile -t songs < <(chosen '*.mid' '*.rmi')
mapfile -t banks < <(chosen '*.sf2' '*.sf3' '*.dls' '*.sfz')
for file in "${waves[@]}" "${songs[@]}" "${banks[@]}"; do
  compare "info $file" info --json "$file" || missing=$((missing + 1))
done
while IFS=$'\t' read -r description kinds encodings; do
  case $kinds in
    *waveform*) files=("${waves[@]}") ;;
    *song*) files=("${songs[@]}") ;;
    *) files=("${banks[@]}") ;;
  esac
  convert "$description" --report
  [ "$every" = 1 ] || [ ${#files[@]} -lt 2 ] || files=("${files[0]}" "${files[-1]}")
  for encoding in $encodings; do
    [ "$encoding" = midi ] || convert "$description, $encoding" --encoding "$encoding"
  done
done < <("$linux" formats --writable --json | python3 -c '
import json, sys
for row in json.load(sys.stdin):
    print(row["description"], ",".join(row["kinds"]), " ".join(row["encodings"]), sep="\t")')

echo "Both systems wrote the same $equal times; $missing times a codec library was missing; $different times they differed"
[ $different -eq 0 ] && [ $equal -gt 100 ]
