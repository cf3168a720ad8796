#include "formats/soundfont/sf_bank_plan.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>

#include "base/log.h"
#include "base/parallel_for.h"
#include "base/text.h"
#include "core/regions_at_rest.h"
#include "formats/soundfont/sf_modulators.h"
#include "formats/soundfont/sf_zone_amounts.h"

namespace vemko::soundfont {
namespace {

bool isSameZone(const Zone& a, const Zone& b) {
  return a.keys == b.keys && a.velocities == b.velocities && a.target == b.target &&
         a.generators == b.generators && a.modulators == b.modulators;
}

std::size_t hashOf(const std::vector<Zone>& zones) {
  std::size_t hash = zones.size();
  auto mix = [&](std::size_t value) { hash = (hash ^ value) * 0x9E3779B1u + (hash >> 15); };
  for (const Zone& zone : zones) {
    mix(zone.target);
    mix(zone.keyRange().low * 128u + zone.keyRange().high);
    for (const Generator& each : zone.generators)
      mix(static_cast<std::size_t>(each.number) << 16 | static_cast<std::uint16_t>(each.amount));
  }
  return hash;
}

std::optional<MidiRange> unlessFull(const MidiRange& range) {
  if (range == MidiRange{}) return std::nullopt;
  return range;
}

std::vector<Generator> givenAmounts(const Generators& generators) {
  std::vector<Generator> given;
  for (int number = 0; number < kGeneratorCount; ++number)
    if (isValueGenerator(number) && generators[number] != initialAmount(number))
      given.push_back({static_cast<std::uint16_t>(number), generators[number]});
  return given;
}

// A zone of an instrument that nothing is added to.
Zone zoneOf(const ZoneTotal& total, const MidiRange& keys, const MidiRange& velocities) {
  return {unlessFull(keys), unlessFull(velocities), static_cast<std::uint16_t>(total.sample),
          givenAmounts(total.generators), total.modulators};
}

bool fits(int amount) {
  return amount >= std::numeric_limits<std::int16_t>::min() &&
         amount <= std::numeric_limits<std::int16_t>::max();
}

// What remains of the total for the instrument when the preset's zone adds its own; nothing where 16 bits do
// not hold it. Where the total is the file's own, so is what remains: a sum that met its bounds cannot be
// taken apart again.
std::optional<ZoneTotal> without(const Zone& preset, const Zone& fileInstrument, ZoneTotal total) {
  if (preset.generators.empty() && preset.modulators.empty()) return total;
  const Generators whole = sumOf(preset, fileInstrument), own = sumOf(Zone{}, fileInstrument);
  for (const Generator& added : preset.generators) {
    std::int16_t& amount = total.generators[added.number];
    if (amount == whole[added.number]) {
      amount = own[added.number];
    } else {
      if (!fits(amount - added.amount)) return std::nullopt;
      amount = static_cast<std::int16_t>(amount - added.amount);
    }
  }
  const std::vector<Modulator> wholeRoutes = sumOfModulators(preset, fileInstrument);
  auto sameRoute = [](const Modulator& route) {
    return [&route](const Modulator& other) { return isSameRoute(route, other); };
  };
  for (const Modulator& added : preset.modulators) {
    const auto same = std::ranges::find_if(total.modulators, sameRoute(added));
    if (same == total.modulators.end()) return std::nullopt;
    const auto given = std::ranges::find_if(fileInstrument.modulators, sameRoute(added));
    const bool isGiven = given != fileInstrument.modulators.end();
    const auto ofFile = std::ranges::find_if(wholeRoutes, sameRoute(added));
    if (isGiven && same->amount == ofFile->amount) {
      same->amount = given->amount;
      continue;
    }
    if (!fits(same->amount - added.amount)) return std::nullopt;
    same->amount = static_cast<std::int16_t>(same->amount - added.amount);
    if (!isGiven && same->amount == initialModulation(*same)) total.modulators.erase(same);
  }
  return total;
}

bool hasFileRanges(const Region& region, const FileZones& zones) {
  return intersection(zones.preset().keyRange(), zones.instrument().keyRange()) == region.keys &&
         intersection(zones.preset().velocityRange(), zones.instrument().velocityRange()) ==
             region.velocities;
}

// --- Preset zones that are put back

using InstrumentKey = std::pair<const BankTables*, std::uint16_t>;
using ZoneKey = std::pair<std::uint32_t, int>;  // the file's zone, and the side of a stereo sample

/// Regions of one instrument that come from one preset zone.
struct Group {
  FileZones origin;
  std::vector<const Region*> regions;
  std::map<ZoneKey, Zone> zones;
  bool isKept = true;
  bool isCut = false;
};

constexpr std::u16string_view kCut =
    u"A zone's values lie beyond what the format holds and are cut, such as a volume above full level";

/// What the groups of one origin share.
using SharedZones = std::map<ZoneKey, Zone>;

void fillGroup(Group& group, const SamplePool& pool) {
  for (const Region* region : group.regions) {
    const FileZones zones = *fileZonesOf(*region);
    if (!hasFileRanges(*region, zones)) {
      group.isKept = false;
      return;
    }
    const auto totals = totalsOf(*region, pool);
    for (std::size_t side = 0; side < totals.size(); ++side) {
      group.isCut = group.isCut || totals[side].isCut;
      const auto total = without(zones.preset(), zones.instrument(), totals[side]);
      const ZoneKey key{zones.instrumentZone, static_cast<int>(side)};
      if (!total || !group.zones
                         .emplace(key, zoneOf(*total, zones.instrument().keyRange(),
                                              zones.instrument().velocityRange()))
                         .second) {
        group.isKept = false;
        return;
      }
    }
  }
}

// Whether the group would sound as it should on these zones: its own are among them, and the others are out
// of its range.
bool soundsTheSame(const Group& group, const SharedZones& shared) {
  const Zone& preset = group.origin.preset();
  for (const auto& [key, zone] : shared) {
    const auto own = group.zones.find(key);
    if (own != group.zones.end() ? !isSameZone(own->second, zone)
                                 : intersection(preset.keyRange(), zone.keyRange()) &&
                                       intersection(preset.velocityRange(), zone.velocityRange()))
      return false;
  }
  return true;
}

// --- The plan

class BankPlanner {
 public:
  explicit BankPlanner(const SamplePool& pool) : pool_(pool) {}

  BankPlan plan(const std::vector<Instrument*>& instruments) {
    for (const Instrument* instrument : instruments) collect(*instrument);
    fillGroups();
    share();
    for (std::size_t i = 0; i < instruments.size(); ++i) addPreset(*instruments[i], presets_[i]);
    return std::move(plan_);
  }

 private:
  struct PresetRegions {
    std::vector<Group> groups;
    std::vector<const Region*> others;
  };

  void collect(const Instrument& instrument) {
    PresetRegions& preset = presets_.emplace_back();
    std::map<std::pair<const BankTables*, std::uint32_t>, std::size_t> groupOf;
    for (const Region* region : regionsAtRest(instrument, &complaints_)) {
      const auto zones = fileZonesOf(*region);
      if (!zones) {
        preset.others.push_back(region);
        continue;
      }
      const auto [place, isNew] = groupOf.try_emplace({zones->bank, zones->presetZone}, preset.groups.size());
      if (isNew) preset.groups.push_back({*zones, {}, {}, true});
      preset.groups[place->second].regions.push_back(region);
    }
    std::ranges::stable_sort(preset.groups, {}, [](const Group& group) { return group.origin.presetZone; });
  }

  // By far the most work, and none of it depends on another group.
  void fillGroups() {
    std::vector<Group*> groups;
    for (PresetRegions& preset : presets_)
      for (Group& group : preset.groups) groups.push_back(&group);
    parallelFor(groups.size(), [&](std::size_t i) {
      fillGroup(*groups[i], pool_);
      return true;
    });
    for (const Group* group : groups)
      if (group->isCut && group->isKept) complaints_.add(kCut);
  }

  std::map<InstrumentKey, SharedZones> gather() const {
    std::map<InstrumentKey, SharedZones> shared;
    for (const PresetRegions& preset : presets_)
      for (const Group& group : preset.groups)
        if (group.isKept) {
          SharedZones& zones = shared[{group.origin.bank, group.origin.preset().target}];
          zones.insert(group.zones.begin(), group.zones.end());
        }
    return shared;
  }

  // Groups that do not agree with the first of their origin give way; what they brought is gone then, which
  // leaves the others as they are.
  void share() {
    const auto all = gather();
    for (PresetRegions& preset : presets_)
      for (Group& group : preset.groups)
        if (group.isKept)
          group.isKept = soundsTheSame(group, all.at({group.origin.bank, group.origin.preset().target}));
    shared_ = gather();
  }

  void addPreset(const Instrument& instrument, PresetRegions& regions) {
    const auto* notes = notesOf<InstrumentNotes>(instrument);
    const PresetHeader* header = notes ? &notes->bank->presets[notes->preset] : nullptr;
    const bool keepsNumbers = header && patchOf(*header).word == instrument.patch.word;
    PlannedPreset preset;
    preset.name = restoredName(instrument.name(), header ? &header->name : nullptr);
    preset.preset = keepsNumbers ? header->preset : static_cast<std::uint16_t>(instrument.patch.program());
    preset.bank = keepsNumbers ? header->bank : bankNumberOf(instrument.patch);
    for (Group& group : regions.groups) {
      if (group.isKept)
        preset.zones.push_back(presetZoneOf(group));
      else
        regions.others.insert(regions.others.end(), group.regions.begin(), group.regions.end());
    }
    if (!regions.others.empty()) {
      Zone zone;
      zone.target = static_cast<std::uint16_t>(plainInstrument(preset.name, regions.others));
      preset.zones.push_back(std::move(zone));
    }
    plan_.presets.push_back(std::move(preset));
  }

  Zone presetZoneOf(const Group& group) {
    const Zone& origin = group.origin.preset();
    Zone zone{origin.keys, origin.velocities, 0, {}, origin.modulators};
    if (zone.keys) zone.keys = unlessFull(*zone.keys);
    if (zone.velocities) zone.velocities = unlessFull(*zone.velocities);
    for (const Generator& each : origin.generators)
      if (each.amount != 0) zone.generators.push_back(each);
    const InstrumentKey key{group.origin.bank, origin.target};
    const auto [place, isNew] = sharedInstruments_.try_emplace(key, plan_.instruments.size());
    if (isNew) {
      PlannedInstrument instrument;
      instrument.name = std::string(charactersOf(group.origin.bank->instruments[origin.target].name));
      for (auto& [zoneKey, shared] : shared_.at(key)) instrument.zones.push_back(shared);
      plan_.instruments.push_back(std::move(instrument));
    }
    zone.target = static_cast<std::uint16_t>(place->second);
    return zone;
  }

  // Equal ones are one, whatever their names.
  std::size_t plainInstrument(const std::string& name, const std::vector<const Region*>& regions) {
    PlannedInstrument instrument{name, {}};
    for (const Region* region : regions)
      for (const ZoneTotal& total : totalsOf(*region, pool_)) {
        instrument.zones.push_back(zoneOf(total, region->keys, region->velocities));
        if (total.isCut) complaints_.add(kCut);
      }
    std::vector<std::size_t>& alike = plainInstruments_[hashOf(instrument.zones)];
    for (std::size_t known : alike)
      if (std::ranges::equal(plan_.instruments[known].zones, instrument.zones, isSameZone)) return known;
    alike.push_back(plan_.instruments.size());
    plan_.instruments.push_back(std::move(instrument));
    return alike.back();
  }

  const SamplePool& pool_;
  std::vector<PresetRegions> presets_;  // one an instrument
  std::map<InstrumentKey, SharedZones> shared_;
  std::map<InstrumentKey, std::size_t> sharedInstruments_;
  std::unordered_map<std::size_t, std::vector<std::size_t>> plainInstruments_;
  BankPlan plan_;
  Complaints complaints_;
};

}  // namespace

BankPlan planBank(const std::vector<Instrument*>& instruments, const SamplePool& pool) {
  return BankPlanner(pool).plan(instruments);
}

}  // namespace vemko::soundfont
