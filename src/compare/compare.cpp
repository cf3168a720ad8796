#include "compare/compare.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "base/parallel_for.h"
#include "compare/differences.h"
#include "compare/match.h"
#include "core/regions_at_rest.h"

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

/// The side of a pair may have been split off.
FeatureMask featureOfSide(const Item& item) {
  const auto* waveform = dynamic_cast<const Waveform*>(&item);
  return waveform && waveform->side != StereoSide::None ? featureBit(features::PannedStereo) : FeatureMask();
}

/// For a format that keeps only what plays at rest.
constexpr FeatureMask kLeavesOut =
    featureBits({features::SilentRegions, features::TriggerTypes, features::PlayRules});

template <class T>
void addMissing(const Matched<T>& matched, const std::unordered_set<ItemId>& notAtRest,
                std::vector<Difference>& differences) {
  const auto add = [&](const T& item, bool isFirst) {
    FeatureMask features = featureOfSide(item);
    if (isFirst && notAtRest.contains(item.id())) features |= kLeavesOut;
    differences.push_back(
        {placeOf(item), u"missing", isFirst ? u"yes" : u"no", isFirst ? u"no" : u"yes", features});
  };
  for (const T* item : matched.onlyFirst) add(*item, true);
  for (const T* item : matched.onlySecond) add(*item, false);
}

template <class T>
std::vector<const T*> allOf(const Collection& collection) {
  const std::vector<T*> items = collection.all<T>();
  return {items.begin(), items.end()};
}

class Comparison {
 public:
  Comparison(const Collection& first, const Collection& second, const Options& options)
      : first_(first), second_(second), options_(options), played_(playedWaveforms(first)) {}

  Report run() {
    Differences differences(options_, placeOf(first_));
    compareTexts(first_, second_, differences);
    append(report_.differences, differences.take());
    compareWaveforms();
    compareInstruments();
    compareSongs();
    return std::move(report_);
  }

 private:
  void compareWaveforms() {
    const auto a = allOf<Waveform>(first_), b = allOf<Waveform>(second_);
    auto matched = matchWaveforms(a, b);
    classes_.emplace(matched);
    std::vector<std::vector<Difference>> found(matched.pairs.size());
    parallelFor(found.size(), [&](std::size_t i) {
      const auto& [mine, other] = matched.pairs[i];
      Differences differences(options_, placeOf(*mine));
      compare::compareWaveforms(*mine, *other, isPlayed(*mine), differences);
      if (first_.count(ItemKind::Instrument) == 0 || second_.count(ItemKind::Instrument) == 0)
        compareRootKeys(*mine, *other, differences);
      found[i] = differences.take();
      return true;
    });
    for (auto& each : found) append(report_.differences, std::move(each));
    addMissing(matched, played_.notAtRest, report_.differences);
    report_.waveforms = matched.pairs.size();
  }

  // Of a collection without instruments, waveforms are all there is to play.
  bool isPlayed(const Waveform& waveform) const {
    return first_.count(ItemKind::Instrument) == 0 || played_.atRest.contains(waveform.id());
  }

  void compareInstruments() {
    const auto a = allOf<Instrument>(first_), b = allOf<Instrument>(second_);
    const auto matched = matchInstruments(a, b, *classes_);
    addMissing(matched, played_.notAtRest, report_.differences);
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
    const auto regions = matchRegions(mine, other, *classes_);
    append(report_.differences, differences.take());
    for (const Region* region : regions.onlyFirst) addMissingRegion(*region, true);
    for (const Region* region : regions.onlySecond) addMissingRegion(*region, false);
    for (const auto& [a, b] : regions.pairs) {
      Differences ofPair(options_, compare::placeOf(*a));
      compareRegions(*a, *b, *classes_, ofPair);
      append(report_.differences, ofPair.take());
    }
    report_.regions += regions.pairs.size();
  }

  void addMissingRegion(const Region& region, bool isFirst) {
    FeatureMask features = featuresOf(region) & kLeavesOut;
    if (region.waveform()) features |= featureOfSide(*region.waveform());
    report_.differences.push_back({compare::placeOf(region), u"missing region", isFirst ? u"yes" : u"no",
                                   isFirst ? u"no" : u"yes", features});
  }

  void compareSongs() {
    const auto a = allOf<Song>(first_), b = allOf<Song>(second_);
    const auto matched = matchSongs(a, b);
    addMissing(matched, played_.notAtRest, report_.differences);
    for (const auto& [mine, other] : matched.pairs) compareSong(*mine, *other);
    report_.songs = matched.pairs.size();
  }

  void compareSong(const Song& mine, const Song& other) {
    Differences differences(options_, placeOf(mine));
    compareTexts(mine, other, differences);
    compareMusic(mine, other, differences);
    append(report_.differences, differences.take());
  }

  const Collection& first_;
  const Collection& second_;
  const Options& options_;
  const PlayedWaveforms played_;  // of the first
  std::optional<WaveformClasses> classes_;
  Report report_;
};

}  // namespace

Report compareCollections(const Collection& first, const Collection& second, const Options& options) {
  return Comparison(first, second, options).run();
}

}  // namespace vemko::compare
