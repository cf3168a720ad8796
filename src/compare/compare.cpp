#include "compare/compare.h"

#include <algorithm>
#include <iterator>

#include "base/parallel_for.h"
#include "compare/differences.h"
#include "compare/match.h"

namespace vemko::compare {
namespace {

void append(std::vector<Difference>& to, std::vector<Difference> from) {
  std::ranges::move(from, std::back_inserter(to));
}

std::u16string placeOf(const Item& item) {
  std::u16string word(displayWord(item.kind()));
  word[0] = static_cast<char16_t>(word[0] - u'a' + u'A');
  return word + u" \"" + item.displayName() + u"\"";
}

template <class T>
void addMissing(const Matched<T>& matched, std::vector<Difference>& differences) {
  for (const T* item : matched.onlyFirst) differences.push_back({placeOf(*item), u"missing", u"yes", u"no"});
  for (const T* item : matched.onlySecond) differences.push_back({placeOf(*item), u"missing", u"no", u"yes"});
}

template <class T>
std::vector<const T*> allOf(const Collection& collection) {
  const std::vector<T*> items = collection.all<T>();
  return {items.begin(), items.end()};
}

class Comparison {
 public:
  Comparison(const Collection& first, const Collection& second, const Options& options)
      : first_(first), second_(second), options_(options) {}

  Report run() {
    compareWaveforms();
    compareInstruments();
    compareSongs();
    return std::move(report_);
  }

 private:
  void compareWaveforms() {
    const auto a = allOf<Waveform>(first_), b = allOf<Waveform>(second_);
    const auto matched = matchWaveforms(a, b);
    for (const auto& [mine, other] : matched.pairs) partners_[mine->id()] = other->id();
    std::vector<std::vector<Difference>> found(matched.pairs.size());
    parallelFor(found.size(), [&](std::size_t i) {
      const auto& [mine, other] = matched.pairs[i];
      Differences differences(options_, placeOf(*mine));
      compare::compareWaveforms(*mine, *other, differences);
      found[i] = differences.take();
      return true;
    });
    for (auto& each : found) append(report_.differences, std::move(each));
    addMissing(matched, report_.differences);
    report_.waveforms = matched.pairs.size();
  }

  void compareInstruments() {
    const auto a = allOf<Instrument>(first_), b = allOf<Instrument>(second_);
    const auto matched = matchInstruments(a, b);
    addMissing(matched, report_.differences);
    for (const auto& [mine, other] : matched.pairs) compareInstrument(*mine, *other);
    report_.instruments = matched.pairs.size();
  }

  void compareInstrument(const Instrument& mine, const Instrument& other) {
    Differences differences(options_, placeOf(mine));
    compareTexts(mine, other, differences);
    differences.need(featureBit(features::Patches));
    differences.whole(u"program", mine.patch.program(), other.patch.program());
    differences.whole(u"bank MSB", mine.patch.bankMsb(), other.patch.bankMsb());
    differences.whole(u"bank LSB", mine.patch.bankLsb(), other.patch.bankLsb());
    differences.whole(u"drum kit", mine.patch.isDrumKit(), other.patch.isDrumKit());
    const auto regions = matchRegions(mine, other, partners_);
    append(report_.differences, differences.take());
    for (const Region* region : regions.onlyFirst) addMissingRegion(*region, true);
    for (const Region* region : regions.onlySecond) addMissingRegion(*region, false);
    for (const auto& [a, b] : regions.pairs) {
      Differences ofPair(options_, compare::placeOf(*a));
      compareRegions(*a, *b, partners_, ofPair);
      append(report_.differences, ofPair.take());
    }
    report_.regions += regions.pairs.size();
  }

  void addMissingRegion(const Region& region, bool isFirst) {
    report_.differences.push_back(
        {compare::placeOf(region), u"missing region", isFirst ? u"yes" : u"no", isFirst ? u"no" : u"yes"});
  }

  void compareSongs() {
    const auto a = allOf<Song>(first_), b = allOf<Song>(second_);
    const auto matched = matchSongs(a, b);
    addMissing(matched, report_.differences);
    for (const auto& [mine, other] : matched.pairs) compareSong(*mine, *other);
    report_.songs = matched.pairs.size();
  }

  void compareSong(const Song& mine, const Song& other) {
    Differences differences(options_, placeOf(mine));
    compareTexts(mine, other, differences);
    differences.whole(u"settings", mine.settings, other.settings);
    differences.whole(u"tracks", std::ssize(mine.children), std::ssize(other.children));
    for (std::size_t i = 0; i < std::min(mine.children.size(), other.children.size()); ++i) {
      const auto* a = first_.find<Track>(mine.children[i]);
      const auto* b = second_.find<Track>(other.children[i]);
      if (!a || !b) continue;
      differences.text(u"track name", a->name(), b->name());
      if (!std::ranges::equal(a->events(), b->events()))
        differences.add(u"track events", decimalText(a->eventCount()), decimalText(b->eventCount()));
    }
    append(report_.differences, differences.take());
  }

  const Collection& first_;
  const Collection& second_;
  const Options& options_;
  WaveformPartners partners_;
  Report report_;
};

}  // namespace

Report compareCollections(const Collection& first, const Collection& second, const Options& options) {
  return Comparison(first, second, options).run();
}

}  // namespace vemko::compare
