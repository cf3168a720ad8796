#include "formats/soundfont/sf_bank_tables.h"

#include <algorithm>
#include <map>

#include "base/last_error.h"
#include "formats/riff/riff.h"

namespace vemko::soundfont {
namespace {

// Indexes of 16 bits, the terminal record's included.
constexpr std::size_t kMaxRecords = 65536;

constexpr std::u16string_view kTooMuch =
    u"Save failed - Too much data!\n\nThe SF2 file format is by its construction limited to storing a "
    u"maximum of "
    u"65536 parameter values...nRemove some instruments then try saving again!\n";

void writeName(ByteWriter& out, std::string_view name) {
  constexpr std::size_t kBytes = std::tuple_size_v<Name>;
  name = name.substr(0, kBytes);
  out.text(name);
  out.zeros(kBytes - name.size());
}

// The bags, modulators and generators of presets or instruments.
class ZoneTables {
 public:
  /// `defaultOf` gives the amount of a generator that no zone gives.
  ZoneTables(int terminal, std::int16_t (*defaultOf)(int)) : terminal_(terminal), defaultOf_(defaultOf) {}

  std::size_t nextBag() const { return bags_.size() / 4; }

  void add(const std::vector<Zone>& zones) {
    const Zone global = shareOf(zones);
    if (!global.generators.empty() || !global.modulators.empty()) addZone(global, Zone{}, false);
    for (const Zone& zone : zones) addZone(zone, global, true);
  }

  void close() {
    addBag();
    generators_.u32(0);
    modulators_.zeros(10);
  }

  bool isWithinLimits() const {
    return bags_.size() / 4 <= kMaxRecords && generators_.size() / 4 <= kMaxRecords &&
           modulators_.size() / 10 <= kMaxRecords;
  }

  void appendTo(riff::ChunkBuilder& list, std::uint32_t bagId, std::uint32_t modulatorId,
                std::uint32_t generatorId) const {
    list.add(bagId, bags_.bytes);
    list.add(modulatorId, modulators_.bytes);
    list.add(generatorId, generators_.bytes);
  }

 private:
  // What a global zone says for all: of each generator the amount that saves most records; the modulators
  // that all zones have, with the amount that most of them give.
  Zone shareOf(const std::vector<Zone>& zones) const {
    Zone global;
    if (zones.size() < 2) return global;
    std::map<std::uint16_t, std::map<std::int16_t, std::size_t>> amounts;
    for (const Zone& zone : zones)
      for (const Generator& each : zone.generators) ++amounts[each.number][each.amount];
    for (const auto& [number, counts] : amounts) {
      std::size_t given = 0;
      auto best = counts.begin();
      for (auto it = counts.begin(); it != counts.end(); ++it) {
        given += it->second;
        if (it->second > best->second) best = it;
      }
      // Zones with another amount say so, those with none as well.
      if (1 + zones.size() - best->second < given) global.generators.push_back({number, best->first});
    }
    for (const Modulator& each : zones.front().modulators)
      if (const auto shared = sharedModulator(each, zones)) global.modulators.push_back(*shared);
    return global;
  }

  static std::optional<Modulator> sharedModulator(const Modulator& route, const std::vector<Zone>& zones) {
    std::map<std::pair<std::int16_t, std::uint16_t>, std::size_t> counts;
    for (const Zone& zone : zones) {
      const auto same = std::ranges::find_if(zone.modulators,
                                             [&](const Modulator& each) { return isSameRoute(each, route); });
      if (same == zone.modulators.end()) return std::nullopt;
      ++counts[{same->amount, same->transform}];
    }
    const auto best = std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
    Modulator shared = route;
    std::tie(shared.amount, shared.transform) = best->first;
    return shared;
  }

  void addBag() {
    bags_.u16(static_cast<std::uint16_t>(generators_.size() / 4));
    bags_.u16(static_cast<std::uint16_t>(modulators_.size() / 10));
  }

  void addGenerator(int number, std::int16_t amount) {
    generators_.u16(static_cast<std::uint16_t>(number));
    generators_.i16(amount);
  }

  void addRange(int number, const std::optional<MidiRange>& range) {
    if (range) addGenerator(number, static_cast<std::int16_t>(range->low | range->high << 8));
  }

  void addZone(const Zone& zone, const Zone& global, bool hasTarget) {
    addBag();
    addRange(gen::KeyRange, zone.keys);
    addRange(gen::VelocityRange, zone.velocities);
    addAmounts(zone.generators, global.generators);
    if (hasTarget) addGenerator(terminal_, static_cast<std::int16_t>(zone.target));
    for (const Modulator& each : zone.modulators)
      if (std::ranges::find(global.modulators, each) == global.modulators.end()) addModulator(each);
  }

  // Ascending, as both lists are.
  void addAmounts(const std::vector<Generator>& own, const std::vector<Generator>& global) {
    auto shared = global.begin();
    auto addMissing = [&](int below) {
      for (; shared != global.end() && shared->number < below; ++shared)
        addGenerator(shared->number, defaultOf_(shared->number));
    };
    for (const Generator& each : own) {
      addMissing(each.number);
      const bool isShared = shared != global.end() && shared->number == each.number;
      if (!isShared || shared->amount != each.amount) addGenerator(each.number, each.amount);
      if (isShared) ++shared;
    }
    addMissing(kGeneratorCount);
  }

  void addModulator(const Modulator& modulator) {
    modulators_.u16(modulator.source);
    modulators_.u16(modulator.destination);
    modulators_.i16(modulator.amount);
    modulators_.u16(modulator.amountSource);
    modulators_.u16(modulator.transform);
  }

  int terminal_;
  std::int16_t (*defaultOf_)(int);
  ByteWriter bags_, generators_, modulators_;
};

void writePreset(ByteWriter& out, std::string_view name, std::uint16_t preset, std::uint16_t bank,
                 std::size_t firstBag) {
  writeName(out, name);
  out.u16(preset);
  out.u16(bank);
  out.u16(static_cast<std::uint16_t>(firstBag));
  out.zeros(12);
}

void writeInstrument(ByteWriter& out, std::string_view name, std::size_t firstBag) {
  writeName(out, name);
  out.u16(static_cast<std::uint16_t>(firstBag));
}

}  // namespace

std::optional<std::vector<std::byte>> buildZoneTables(const BankPlan& plan) {
  ZoneTables presetZones(gen::Instrument, [](int) { return std::int16_t{0}; });
  ZoneTables instrumentZones(gen::Sample, initialAmount);
  ByteWriter presets, instruments;
  for (const PlannedPreset& preset : plan.presets) {
    writePreset(presets, preset.name, preset.preset, preset.bank, presetZones.nextBag());
    presetZones.add(preset.zones);
  }
  for (const PlannedInstrument& instrument : plan.instruments) {
    writeInstrument(instruments, instrument.name, instrumentZones.nextBag());
    instrumentZones.add(instrument.zones);
  }
  writePreset(presets, "EOP", 0, 0, presetZones.nextBag());
  writeInstrument(instruments, "EOI", instrumentZones.nextBag());
  presetZones.close();
  instrumentZones.close();
  if (!presetZones.isWithinLimits() || !instrumentZones.isWithinLimits() ||
      plan.instruments.size() >= kMaxRecords) {
    fail(kTooMuch);
    return std::nullopt;
  }
  riff::ChunkBuilder list;
  list.add(fourCc("phdr"), presets.bytes);
  presetZones.appendTo(list, fourCc("pbag"), fourCc("pmod"), fourCc("pgen"));
  list.add(fourCc("inst"), instruments.bytes);
  instrumentZones.appendTo(list, fourCc("ibag"), fourCc("imod"), fourCc("igen"));
  return std::move(list.out.bytes);
}

std::vector<std::byte> buildSampleHeaders(const SamplePool& pool,
                                          const std::vector<SamplePosition>& positions) {
  riff::ChunkBuilder list;
  list.open(fourCc("shdr"));
  ByteWriter& out = list.out;
  for (const PooledSample& sample : pool.samples()) {
    const SamplePosition& position = positions[sample.data];
    const std::int64_t origin = position.isCompressed ? 0 : position.start;
    writeName(out, sample.name);
    out.u32(position.start);
    out.u32(position.end);
    out.u32(static_cast<std::uint32_t>(origin + sample.loopStart));
    out.u32(static_cast<std::uint32_t>(origin + sample.loopEnd));
    out.u32(sample.rate);
    out.u8(sample.key);
    out.little(sample.correctionCents);
    out.u16(sample.link);
    out.u16(static_cast<std::uint16_t>(sample.type | (position.isCompressed ? sample_type::Compressed : 0)));
  }
  writeName(out, "EOS");
  out.zeros(26);
  list.close();
  return std::move(list.out.bytes);
}

}  // namespace vemko::soundfont
