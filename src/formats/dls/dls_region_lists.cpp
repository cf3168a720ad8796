#include "formats/dls/dls_region_lists.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "core/key_rules.h"
#include "core/parameters.h"

namespace vemko::dls {
namespace {

List listOf(Level level) { return level == Level::One ? List::Level1 : List::Level2; }

bool isBend(const Connection& connection) {
  return connection.source == source::PitchWheel && connection.destination == destination::Pitch;
}

// The file's connections with those of a changed item in their place. What no slot knows stays.
std::vector<Connection> mixed(const std::vector<Connection>& file, const std::vector<Connection>& old,
                              const std::vector<Connection>& changed, bool isSameBend) {
  std::vector<Connection> result;
  for (const Connection& each : file) {
    if (isReadOnlyRoute(each) || (isBend(each) && !isSameBend)) continue;
    const Connection *then = findRoute(old, each), *since = findRoute(changed, each);
    const bool isUnchanged = then && since ? then->scale == since->scale : !then && !since;
    if (isUnchanged) result.push_back(each);
  }
  for (const Connection& each : changed)
    if (!findRoute(result, each)) result.push_back(each);
  return result;
}

struct Amounts {
  std::vector<Connection> connections;
  double gainDb = 0, cents = 0;
  bool isAsRead = false;
};

Amounts amountsFor(const SlotValues& values, const Articulation* file, const WaveTotals& totals, Level level,
                   const SendChannels& sends) {
  if (!file || file->list != listOf(level)) {
    RegionAmounts now = amountsOf(values, level, sends);
    return {std::move(now.connections), now.gainDb, now.cents, false};
  }
  const SlotValues before = valuesOf(*file, totals, sends);
  if (values == before) return {file->connections, totals.gainDb, totals.cents, true};
  // What the file says beyond the level stays, and volume and times depend on it: both are seen as by a level
  // that knows all of it.
  const Level knowing = level == Level::One ? Level::One : Level::TwoPlusPlus;
  RegionAmounts edited = amountsOf(limitedTo(level, before, values), knowing, sends);
  const bool isSameBend = before[slots::BendToPitch] == values[slots::BendToPitch];
  return {
      mixed(file->connections, amountsOf(before, knowing, sends).connections, edited.connections, isSameBend),
      edited.gainDb, edited.cents, false};
}

// With the defaults of routes that the instrument's list says otherwise.
std::vector<Connection> completed(std::vector<Connection> own, const std::vector<Connection>& outer) {
  for (const Connection& each : outer)
    if (!findRoute(own, each)) own.push_back(initialConnection(each));
  return own;
}

std::string keyOf(const std::vector<Connection>& connections) {
  std::string key;
  for (const Connection& each : connections) {
    const std::uint64_t route = routeKey(each);
    key.append(reinterpret_cast<const char*>(&route), sizeof route);
    key.append(reinterpret_cast<const char*>(&each.scale), sizeof each.scale);
  }
  return key;
}

std::vector<Connection> mostCommon(const std::vector<Amounts>& regions) {
  std::unordered_map<std::string, std::size_t> counts;
  const Amounts* best = nullptr;
  std::size_t most = 0;
  for (const Amounts& each : regions)
    if (const std::size_t count = ++counts[keyOf(each.connections)]; count > most) {
      most = count;
      best = &each;
    }
  return best ? best->connections : std::vector<Connection>{};
}

SlotValues valuesFor(const Region& region, Level level) {
  ArticulationBlock block = effective(region);
  settleFixedNote(region, block);
  if (level == Level::One) settleScaleOfOneKey(region, block);
  return vemko::valuesOf(block);
}

}  // namespace

InstrumentPlan planInstrument(const Instrument& instrument, const std::vector<const Region*>& regions,
                              Level level) {
  const SendChannels sends = sendsOf(instrument);
  const auto* notes = notesOf<InstrumentNotes>(instrument);
  const Amounts outer = amountsFor(vemko::valuesOf(instrument.articulation),
                                   notes ? &notes->articulation : nullptr, {}, level, sends);
  InstrumentPlan plan;
  plan.connections = outer.connections;
  std::vector<Amounts> amounts;
  for (const Region* region : regions) {
    const auto* origin = notesOf<RegionNotes>(*region);
    const Articulation list = origin ? mergedOf(*origin) : Articulation{};
    const SlotValues values = valuesFor(*region, level);
    Amounts& each = amounts.emplace_back(
        amountsFor(values, origin ? &list : nullptr, origin ? origin->totals : WaveTotals{}, level, sends));
    if (level == Level::One && !each.isAsRead)
      each.cents = level1Cents(values, region->waveform()->fineTuneCents);
  }
  const bool isShared = level == Level::One && !instrument.patch.isDrumKit() && !outer.isAsRead;
  if (isShared) plan.connections = mostCommon(amounts);

  for (std::size_t i = 0; i < regions.size(); ++i) {
    const auto* origin = notesOf<RegionNotes>(*regions[i]);
    RegionPlan& region = plan.regions.emplace_back();
    region.region = regions[i];
    region.gainDb = amounts[i].gainDb;
    region.cents = amounts[i].cents;
    if (amounts[i].isAsRead && outer.isAsRead && origin->instrument == notes) {
      region.hasOwnList = origin->hasOwnList;
      region.own = origin->own.connections;
      continue;
    }
    region.hasOwnList = !isSameList(amounts[i].connections, plan.connections);
    if (region.hasOwnList) region.own = completed(std::move(amounts[i].connections), plan.connections);
  }
  return plan;
}

}  // namespace vemko::dls
