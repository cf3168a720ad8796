#include "core/regions_at_rest.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <memory>
#include <tuple>
#include <unordered_set>

namespace vemko {
namespace {

constexpr int kKeys = 128;

/// Which switch is on in each of the sets that the ranges of an instrument's switches make.
class SwitchSets {
 public:
  explicit SwitchSets(const std::vector<Region*>& regions) {
    for (const Region* region : regions)
      if (waits(*region)) join(rulesOf(*region).switches.range);
    for (int key = 1; key < kKeys; ++key) setOf_[at(key)] = joined_[at(key)] ? setOf_[at(key - 1)] : key;
    for (const Region* region : regions)
      if (waits(*region)) take(rulesOf(*region).switches);
    for (const Region* region : regions)
      if (waits(*region)) confirm(rulesOf(*region).switches);
  }

  bool isOn(const KeySwitches& switches) const {
    if (!switches.waitsForLast()) return true;
    const Set& set = sets_[indexOf(switches)];
    return switches.last.contains(set.isAnswered ? set.atStart : set.lowest);
  }

 private:
  struct Set {
    int lowest = KeySwitches::kNone, atStart = KeySwitches::kNone;
    bool isAnswered = false;  // a region plays at the switch of the start
  };
  static std::size_t at(int key) { return static_cast<std::size_t>(key); }
  static bool waits(const Region& region) { return rulesOf(region).switches.waitsForLast(); }
  std::size_t indexOf(const KeySwitches& switches) const { return at(setOf_[switches.range.low & 127]); }

  // Marks each key whose lower neighbour is in the same range.
  void join(MidiRange range) {
    for (int key = range.low + 1; key <= range.high && key < kKeys; ++key) joined_.set(at(key));
  }
  void take(const KeySwitches& switches) {
    Set& set = sets_[indexOf(switches)];
    set.lowest = std::min<int>(set.lowest, switches.last.low);
    if (switches.atStart != KeySwitches::kNone) set.atStart = switches.atStart;
  }
  void confirm(const KeySwitches& switches) {
    Set& set = sets_[indexOf(switches)];
    set.isAnswered = set.isAnswered || switches.last.contains(set.atStart);
  }

  std::bitset<kKeys> joined_;
  std::array<int, kKeys> setOf_{};
  std::array<Set, kKeys> sets_{};
};

/// Keys and velocities on which something plays.
class Coverage {
 public:
  void clear() { velocities_.fill({}); }
  void add(const Region& region) {
    const Velocities all = velocitiesOf(region);
    forEachKey(region, [&](Velocities& covered) {
      covered |= all;
      return true;
    });
  }
  bool holds(const Region& region) {
    const Velocities all = velocitiesOf(region);
    return forEachKey(region, [&](const Velocities& covered) { return (all & ~covered).none(); });
  }

 private:
  using Velocities = std::bitset<kKeys>;
  static Velocities velocitiesOf(const Region& region) {
    const MidiRange range = region.velocities;
    if (range.low > range.high || range.low >= kKeys) return {};
    const int count = std::min<int>(range.high, kKeys - 1) - range.low + 1;
    return ~Velocities() >> static_cast<std::size_t>(kKeys - count) << range.low;
  }
  template <class Visit>
  bool forEachKey(const Region& region, Visit visit) {
    for (int key = region.keys.low; key <= region.keys.high && key < kKeys; ++key)
      if (!visit(velocities_[static_cast<std::size_t>(key)])) return false;
    return true;
  }

  std::array<Velocities, kKeys> velocities_{};
};

// Whether any note ever plays a sample of it from its start.
bool startsWithNotes(const Region& region) {
  return region.waveform() && (region.trigger == Trigger::Attack || region.trigger == Trigger::First) &&
         !rulesOf(region).ignoresKeys;
}

bool takesTurns(const Region& region) {
  const PlayRules& rules = rulesOf(region);
  return rules.sequenceLength > 1 || rules.sequencePosition > 1 || rules.randomLow > 0 ||
         rules.randomHigh < 1;
}

// Regions of rounds of one length share their turns; a choice at random may part a turn again.
auto turnOf(const Region& region) {
  const PlayRules& rules = rulesOf(region);
  return std::tuple(rules.sequenceLength, rules.sequencePosition, rules.randomLow);
}

/// Those of `regions` whose turn is later than that of others that play on all of their keys and velocities.
std::unordered_set<const Region*> laterTurns(const std::vector<const Region*>& regions) {
  std::vector<const Region*> turns;
  std::ranges::copy_if(regions, std::back_inserter(turns), [](auto* region) { return takesTurns(*region); });
  std::ranges::stable_sort(turns, {}, [](const Region* region) { return turnOf(*region); });
  std::unordered_set<const Region*> later;
  const auto covered = std::make_unique<Coverage>();
  for (auto from = turns.begin(); from != turns.end();) {
    const auto to =
        std::find_if(from + 1, turns.end(), [&](auto* each) { return turnOf(*each) != turnOf(**from); });
    if (from != turns.begin() && rulesOf(**(from - 1)).sequenceLength != rulesOf(**from).sequenceLength)
      covered->clear();
    const auto kept = std::partition(from, to, [&](auto* each) { return covered->holds(*each); });
    later.insert(from, kept);
    std::for_each(kept, to, [&](auto* each) { covered->add(*each); });
    from = to;
  }
  return later;
}

}  // namespace

std::vector<const Region*> regionsAtRest(const Item& instrument, Complaints* complaints) {
  const std::vector<Region*> all = regionsOf(instrument);
  std::vector<const Region*> regions;
  std::ranges::copy_if(all, std::back_inserter(regions), [](auto* each) { return soundsOnAttack(*each); });
  if (regions.empty())
    std::ranges::copy_if(all, std::back_inserter(regions), [](auto* each) { return startsWithNotes(*each); });
  if (std::ranges::any_of(regions, [](auto* each) { return each->rules != nullptr; })) {
    const SwitchSets switches(all);
    std::erase_if(regions, [&](auto* each) { return !switches.isOn(rulesOf(*each).switches); });
    const auto later = laterTurns(regions);
    std::erase_if(regions, [&](auto* each) { return later.contains(each); });
  }
  for (std::size_t i = regions.size(); complaints && i < all.size(); ++i)
    complaints->add(
        u"A region is left out: it plays no sample, or waits for its turn, a key switch, a controller or the "
        u"release");
  return regions;
}

PlayedWaveforms playedWaveforms(const Item& item) {
  PlayedWaveforms played;
  const auto add = [&](const Instrument& instrument) {
    for (const Region* region : regionsOf(instrument)) played.notAtRest.insert(region->waveformId);
    for (const Region* region : regionsAtRest(instrument)) played.atRest.insert(region->waveformId);
  };
  if (const auto* collection = dynamic_cast<const Collection*>(&item)) collection->forEach<Instrument>(add);
  if (const auto* instrument = dynamic_cast<const Instrument*>(&item)) add(*instrument);
  for (ItemId waveform : played.atRest) played.notAtRest.erase(waveform);
  return played;
}

std::vector<Waveform*> waveformsAtRest(const Item& item) {
  std::vector<Waveform*> waveforms = waveformsOf(item);
  const PlayedWaveforms played = playedWaveforms(item);
  std::erase_if(waveforms, [&](const Waveform* each) { return played.notAtRest.contains(each->id()); });
  return waveforms;
}

}  // namespace vemko
