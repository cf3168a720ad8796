#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/text.h"
#include "io/fixup.h"

namespace vemko::io {
namespace {

std::u16string folded(std::u16string text) {
  std::ranges::transform(text, text.begin(), foldCase);
  return text;
}

template <class T>
void makeUnique(Collection& collection) {
  std::unordered_set<std::u16string> taken;
  collection.forEach<T>([&](const T& item) { taken.insert(folded(item.name())); });
  if (taken.size() == collection.count(kKindOf<T>)) return;

  std::unordered_map<std::u16string, std::uint64_t> lastNumber;  // of the names met so far
  collection.forEach<T>([&](T& item) {
    if (item.name().empty()) return;
    auto [known, isFirst] = lastNumber.try_emplace(folded(item.name()), 1);
    if (isFirst) return;
    std::u16string ending;
    do ending = toUtf16(" " + std::to_string(++known->second));
    while (!taken.insert(known->first + ending).second);
    item.setName(item.name() + ending);
  });
}

}  // namespace

// Of several waveforms, instruments or songs whose names differ at most in case, the first keeps its name;
// the later ones get the first of " 2", " 3" ... appended that no other item of the kind bears. Items without
// a name stay without.
bool ensureUniqueNames(Collection& collection) {
  makeUnique<Waveform>(collection);
  makeUnique<Instrument>(collection);
  makeUnique<Song>(collection);
  return true;
}

}  // namespace vemko::io
