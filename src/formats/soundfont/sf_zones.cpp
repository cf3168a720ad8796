#include "formats/soundfont/sf_zones.h"

#include <algorithm>
#include <bitset>
#include <limits>
#include <tuple>

#include "base/last_error.h"
#include "formats/soundfont/sf_modulators.h"

namespace vemko::soundfont {
namespace {

constexpr std::array<std::int16_t, kGeneratorCount> makeInitialAmounts() {
  std::array<std::int16_t, kGeneratorCount> amounts{};
  amounts[gen::FilterCutoff] = 13500;
  for (int number : {gen::ModLfoDelay, gen::VibLfoDelay, gen::ModEnvDelay, gen::ModEnvAttack, gen::ModEnvHold,
                     gen::ModEnvDecay, gen::ModEnvRelease, gen::VolEnvDelay, gen::VolEnvAttack,
                     gen::VolEnvHold, gen::VolEnvDecay, gen::VolEnvRelease})
    amounts[static_cast<std::size_t>(number)] = -12000;
  for (int number : {gen::FixedKey, gen::FixedVelocity, gen::RootKey})
    amounts[static_cast<std::size_t>(number)] = -1;
  amounts[gen::ScaleTuning] = 100;
  return amounts;
}
constexpr auto kInitialAmounts = makeInitialAmounts();

using Numbers = std::bitset<kGeneratorCount>;

Numbers numbersOf(std::initializer_list<int> list) {
  Numbers numbers;
  for (int number : list) numbers.set(static_cast<std::size_t>(number));
  return numbers;
}

// 14, 18 to 20, 42, 49, 55, 59 and 60 are unused or reserved.
const Numbers kNoValues = numbersOf(
    {14, 18, 19, 20, gen::Instrument, 42, gen::KeyRange, gen::VelocityRange, 49, gen::Sample, 55, 59, 60});
const Numbers kInstrumentOnly = numbersOf(
    {gen::StartOffset, gen::EndOffset, gen::LoopStartOffset, gen::LoopEndOffset, gen::StartCoarseOffset,
     gen::EndCoarseOffset, gen::LoopStartCoarseOffset, gen::FixedKey, gen::FixedVelocity,
     gen::LoopEndCoarseOffset, gen::SampleModes, gen::ExclusiveClass, gen::RootKey});

std::int16_t saturated(int value) {
  return static_cast<std::int16_t>(std::clamp<int>(value, std::numeric_limits<std::int16_t>::min(),
                                                   std::numeric_limits<std::int16_t>::max()));
}

// The low byte is the lower bound.
std::optional<MidiRange> rangeOf(std::int16_t amount, Complaints& complaints) {
  MidiRange range{static_cast<std::uint8_t>(amount & 0xFF), static_cast<std::uint8_t>(amount >> 8 & 0xFF)};
  if (range.low > 127 || range.high > 127) {
    complaints.add(u"A range of keys or velocities goes beyond 127");
    range = {std::min<std::uint8_t>(range.low, 127), std::min<std::uint8_t>(range.high, 127)};
  }
  return range;
}

// --- From bags to zones

struct Tables {
  const std::vector<Bag>& bags;
  std::size_t bagEnd;
  const std::vector<Generator>& generators;
  const std::vector<Modulator>& modulators;
  int terminal;  // the generator that names the target and ends a zone
};

class ZoneBuilder {
 public:
  ZoneBuilder(const Tables& tables, ZoneList& list, Complaints& complaints)
      : tables_(tables), list_(list), complaints_(complaints) {
    budget_ =
        kBudgetPerRecord * (tables.bags.size() + tables.generators.size() + tables.modulators.size() + 1000);
  }

  // The zones of the header whose bags begin at `first`.
  bool add(std::size_t first, std::size_t end) {
    ZoneSpan span{static_cast<std::uint32_t>(list_.zones.size()), 0};
    if (first > end || end > tables_.bagEnd) {
      complaints_.add(u"The zones of a preset or instrument are out of order");
      end = std::min(end, tables_.bagEnd);
    }
    Zone global;
    for (std::size_t bag = first; bag < end; ++bag) {
      spend(1 + global.generators.size() + global.modulators.size());
      if (budget_ == 0) return fail(u"Not a SoundFont2 file");
      Zone zone = global;
      if (const bool hasTarget = readBag(bag, zone); hasTarget)
        list_.zones.push_back(std::move(zone));
      else if (bag == first)
        global = std::move(zone);
      else
        complaints_.add(u"A zone without instrument or sample is ignored");
    }
    span.count = static_cast<std::uint32_t>(list_.zones.size() - span.first);
    list_.ofHeader.push_back(span);
    return true;
  }

 private:
  // Records may be visited this many times over before the tables count as hostile.
  static constexpr std::size_t kBudgetPerRecord = 32;
  static constexpr std::size_t kMaxModulators = 512;

  void spend(std::size_t count) { budget_ -= std::min(count, budget_); }

  // Indexes that go back or past the table give an empty part of it.
  template <class Record>
  std::span<const Record> partOf(const std::vector<Record>& records, std::size_t first, std::size_t end) {
    if (first > end || end > records.size()) complaints_.add(u"A zone's records are out of order");
    end = std::min(end, records.size());
    return first < end ? std::span(records).subspan(first, end - first) : std::span<const Record>();
  }

  bool readBag(std::size_t index, Zone& zone) {
    const Bag& bag = tables_.bags[index];
    const bool isLast = index + 1 >= tables_.bags.size();
    const std::size_t generatorEnd =
        isLast ? tables_.generators.size() : tables_.bags[index + 1].firstGenerator;
    const std::size_t modulatorEnd =
        isLast ? tables_.modulators.size() : tables_.bags[index + 1].firstModulator;
    for (const Modulator& modulator : partOf(tables_.modulators, bag.firstModulator, modulatorEnd)) {
      spend(1);
      takeModulator(modulator, zone);
    }
    for (const Generator& generator : partOf(tables_.generators, bag.firstGenerator, generatorEnd)) {
      spend(1);
      if (takeGenerator(generator, zone)) return true;
    }
    return false;
  }

  // True at the generator that ends the zone.
  bool takeGenerator(const Generator& generator, Zone& zone) {
    const int number = generator.number;
    if (number == tables_.terminal) {
      zone.target = static_cast<std::uint16_t>(generator.amount);
      return true;
    }
    if (number == gen::KeyRange)
      zone.keys = rangeOf(generator.amount, complaints_);
    else if (number == gen::VelocityRange)
      zone.velocities = rangeOf(generator.amount, complaints_);
    else if (!isValueGenerator(number))
      complaints_.add(u"An unknown generator is ignored");
    else if (tables_.terminal == gen::Instrument && !addsInPresets(number))
      complaints_.add(u"A generator that presets cannot have is ignored");
    else
      setAmount(generator, zone.generators);
    return false;
  }

  static void setAmount(const Generator& generator, std::vector<Generator>& list) {
    const auto place = std::ranges::lower_bound(list, generator.number, {}, &Generator::number);
    if (place != list.end() && place->number == generator.number)
      place->amount = generator.amount;
    else
      list.insert(place, generator);
  }

  void takeModulator(const Modulator& modulator, Zone& zone) {
    constexpr std::uint16_t kLink = 127, kLinkedDestination = 0x8000;
    if ((modulator.source & 0xFF) == kLink || (modulator.destination & kLinkedDestination) != 0) {
      complaints_.add(u"Modulators of modulators are not kept");
      return;
    }
    const auto same = std::ranges::find_if(
        zone.modulators, [&](const Modulator& other) { return isSameRoute(modulator, other); });
    if (same != zone.modulators.end())
      *same = modulator;
    else if (zone.modulators.size() < kMaxModulators)
      zone.modulators.push_back(modulator);
    else
      complaints_.add(u"A zone has too many modulators");
  }

  const Tables& tables_;
  ZoneList& list_;
  Complaints& complaints_;
  std::size_t budget_;
};

template <class Header>
bool buildZones(const std::vector<Header>& headers, const Tables& tables, ZoneList& list,
                Complaints& complaints) {
  ZoneBuilder builder(tables, list, complaints);
  for (std::size_t i = 0; i < headers.size(); ++i) {
    const std::size_t end = i + 1 < headers.size() ? headers[i + 1].firstBag : tables.bagEnd;
    if (!builder.add(headers[i].firstBag, end)) return false;
  }
  return true;
}

}  // namespace

Generators::Generators() : amounts(kInitialAmounts) {}

std::int16_t initialAmount(int number) { return kInitialAmounts[static_cast<std::size_t>(number)]; }

bool isValueGenerator(int number) {
  return number >= 0 && number < kGeneratorCount && !kNoValues[static_cast<std::size_t>(number)];
}

bool addsInPresets(int number) {
  return isValueGenerator(number) && !kInstrumentOnly[static_cast<std::size_t>(number)];
}

bool buildPresetZones(const BankFile& bank, ZoneList& list, Complaints& complaints) {
  const Tables tables{bank.presetBags, bank.presetBagEnd, bank.presetGenerators, bank.presetModulators,
                      gen::Instrument};
  return buildZones(bank.presets, tables, list, complaints);
}

bool buildInstrumentZones(const BankFile& bank, ZoneList& list, Complaints& complaints) {
  const Tables tables{bank.instrumentBags, bank.instrumentBagEnd, bank.instrumentGenerators,
                      bank.instrumentModulators, gen::Sample};
  return buildZones(bank.instruments, tables, list, complaints);
}

std::optional<MidiRange> intersection(const MidiRange& a, const MidiRange& b) {
  const MidiRange shared{std::max(a.low, b.low), std::min(a.high, b.high)};
  if (shared.low > shared.high) return std::nullopt;
  return shared;
}

Generators sumOf(const Zone& preset, const Zone& instrument) {
  Generators sum;
  for (const Generator& given : instrument.generators) sum[given.number] = given.amount;
  for (const Generator& given : preset.generators)
    sum[given.number] = saturated(sum[given.number] + given.amount);
  return sum;
}

std::vector<Modulator> sumOfModulators(const Zone& preset, const Zone& instrument) {
  std::vector<Modulator> sum = instrument.modulators;
  for (const Modulator& given : preset.modulators) {
    const auto same =
        std::ranges::find_if(sum, [&](const Modulator& other) { return isSameRoute(given, other); });
    if (same != sum.end()) {
      same->amount = saturated(same->amount + given.amount);
    } else {
      sum.push_back(given);
      sum.back().amount = saturated(given.amount + initialModulation(given));
    }
  }
  std::ranges::sort(sum, {}, [](const Modulator& m) {
    return std::tuple(m.source, m.destination, m.amountSource, m.transform);
  });
  return sum;
}

}  // namespace vemko::soundfont
