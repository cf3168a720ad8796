#pragma once
// What an independent program says that a bank holds: the listing of sf2text, taken apart and flattened by
// rules of our own, without any code of the reader.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support.h"

namespace vemko::test {

struct ToldSample {
  std::string name;
  std::uint32_t start = 0, end = 0, loopStart = 0, loopEnd = 0;
  int rate = 0, key = 0, correction = 0, link = 0, type = 0;
};

using ToldAmounts = std::map<int, int>;  // by generator number

/// A zone of a preset with one of its instrument: what a player would sound.
struct ToldZone {
  std::array<int, 4> ranges{0, 127, 0, 127};  // keys, velocities
  std::size_t sample = 0;
  ToldAmounts amounts;  // that differ from the published defaults
  friend auto operator<=>(const ToldZone&, const ToldZone&) = default;
};

struct ToldPreset {
  std::string name;
  int preset = 0, bank = 0;
  std::vector<ToldAmounts> zones;
};

struct ToldBank {
  std::vector<ToldPreset> presets;
  std::vector<std::vector<ToldAmounts>> instruments;
  std::vector<ToldSample> samples;
  std::uint64_t samplesAt = 0;
  std::vector<ToldZone> flattened(const ToldPreset& preset) const;
};

namespace told {

enum : int { kInstrument = 41, kKeys = 43, kVelocities = 44, kSample = 53 };

// By number, in the listing's words.
inline int generatorOf(std::string_view word) {
  static constexpr const char* kWords[] = {"startAddrs",
                                           "endAddrs",
                                           "startloopAddrs",
                                           "endloopAddrs",
                                           "startAddrsHi",
                                           "lfo1ToPitch",
                                           "lfo2ToPitch",
                                           "env1ToPitch",
                                           "initialFilterFc",
                                           "initialFilterQ",
                                           "lfo1ToFilterFc",
                                           "env1ToFilterFc",
                                           "endAddrsHi",
                                           "lfo1ToVolume",
                                           "env2ToVolume",
                                           "chorusEffectsSend",
                                           "reverbEffectsSend",
                                           "panEffectsSend",
                                           "auxEffectsSend",
                                           "sampleVolume",
                                           "unused3",
                                           "delayLfo1",
                                           "freqLfo1",
                                           "delayLfo2",
                                           "freqLfo2",
                                           "delayEnv1",
                                           "attackEnv1",
                                           "holdEnv1",
                                           "decayEnv1",
                                           "sustainEnv1",
                                           "releaseEnv1",
                                           "autoHoldEnv1",
                                           "autoDecayEnv1",
                                           "delayEnv2",
                                           "attackEnv2",
                                           "holdEnv2",
                                           "decayEnv2",
                                           "sustainEnv2",
                                           "releaseEnv2",
                                           "autoHoldEnv2",
                                           "autoDecayEnv2",
                                           "instrument",
                                           "nop",
                                           "keyRange",
                                           "velRange",
                                           "startloopAddrsHi",
                                           "keynum",
                                           "velocity",
                                           "initAtten",
                                           "keyTuning",
                                           "endloopAddrsHi",
                                           "coarseTune",
                                           "fineTune",
                                           "sampleId",
                                           "sampleFlags",
                                           "samplePitch",
                                           "scaleTuning",
                                           "keyExclusiveClass",
                                           "rootKey"};
  for (std::size_t i = 0; i < std::size(kWords); ++i)
    if (word == kWords[i]) return static_cast<int>(i);
  return -1;
}

inline int initialOf(int generator) {
  switch (generator) {
    case 8:
      return 13500;
    case 21:
    case 23:
    case 25:
    case 26:
    case 27:
    case 28:
    case 30:
    case 33:
    case 34:
    case 35:
    case 36:
    case 38:
      return -12000;
    case 46:
    case 47:
    case 58:
      return -1;
    case 56:
      return 100;
    default:
      return 0;
  }
}

// Addresses, loops, fixed notes, flags, classes and root keys are the instrument's alone; 14, 18 to 20, 42,
// 49 and 55 have no meaning.
inline bool addsInPresets(int generator) {
  for (int number : {0, 1, 2, 3, 4, 12, 45, 46, 47, 50, 54, 57, 58})
    if (generator == number) return false;
  return true;
}
inline bool means(int generator) {
  for (int number : {14, 18, 19, 20, 42, 49, 55})
    if (generator == number) return false;
  return true;
}

inline std::optional<std::array<int, 2>> shared(int a, int b) {
  const int low = std::max(a & 0xFF, b & 0xFF), high = std::min(a >> 8 & 0xFF, b >> 8 & 0xFF);
  if (low > high) return std::nullopt;
  return std::array{low, std::min(high, 127)};
}

inline int rangeOf(const ToldAmounts& zone, int generator) {
  const auto given = zone.find(generator);
  return given == zone.end() ? 0x7F00 : given->second;
}

// The zones with their target, each on top of the first one if that has none.
inline std::vector<ToldAmounts> withGlobal(const std::vector<ToldAmounts>& zones, int target) {
  std::vector<ToldAmounts> whole;
  ToldAmounts global;
  for (const ToldAmounts& zone : zones) {
    if (!zone.contains(target)) {
      if (&zone == &zones.front()) global = zone;
      continue;
    }
    whole.push_back(zone);
    whole.back().insert(global.begin(), global.end());
  }
  return whole;
}

inline std::string betweenQuotes(const std::string& line) {
  const std::size_t first = line.find('"'), last = line.rfind('"');
  return first == line.npos ? "" : line.substr(first + 1, last - first - 1);
}

// The numbers behind the name.
template <class... Numbers>
bool scan(const std::string& line, const char* pattern, Numbers&... numbers) {
  const std::size_t quote = line.rfind('"');
  const char* from = line.c_str() + (quote == line.npos ? 0 : quote + 1);
  return std::sscanf(from, pattern, &numbers...) == static_cast<int>(sizeof...(numbers));
}

}  // namespace told

inline std::vector<ToldZone> ToldBank::flattened(const ToldPreset& preset) const {
  std::vector<ToldZone> flat;
  for (const ToldAmounts& outer : told::withGlobal(preset.zones, told::kInstrument)) {
    const auto target = static_cast<std::size_t>(outer.at(told::kInstrument));
    if (target >= instruments.size()) continue;
    for (const ToldAmounts& inner : told::withGlobal(instruments[target], told::kSample)) {
      const auto keys = told::shared(told::rangeOf(outer, told::kKeys), told::rangeOf(inner, told::kKeys));
      const auto velocities =
          told::shared(told::rangeOf(outer, told::kVelocities), told::rangeOf(inner, told::kVelocities));
      if (!keys || !velocities) continue;
      ToldZone zone{{(*keys)[0], (*keys)[1], (*velocities)[0], (*velocities)[1]},
                    static_cast<std::size_t>(inner.at(told::kSample)),
                    {}};
      if (zone.sample >= samples.size()) continue;
      for (int number = 0; number < 59; ++number) {
        if (number == told::kInstrument || number == told::kKeys || number == told::kVelocities ||
            number == told::kSample || !told::means(number))
          continue;
        const auto own = inner.find(number), added = outer.find(number);
        int amount = own == inner.end() ? told::initialOf(number) : own->second;
        if (added != outer.end() && told::addsInPresets(number)) amount += added->second;
        amount = std::clamp(amount, -32768, 32767);
        if (amount != told::initialOf(number)) zone.amounts[number] = amount;
      }
      flat.push_back(std::move(zone));
    }
  }
  return flat;
}

/// Nothing when the program is not there or does not read the bank.
inline std::optional<ToldBank> toldBank(const Path& path, const Path& scratch) {
  const std::string command = "sf2text '" + path.string() + "' >'" + scratch.string() + "' 2>/dev/null";
  if (std::system(command.c_str()) != 0) return std::nullopt;
  std::istringstream lines(contentOf(scratch));
  ToldBank bank;
  std::vector<ToldAmounts>* zones = nullptr;
  bool inSamples = false;
  for (std::string line; std::getline(lines, line);) {
    std::array<unsigned, 4> words{};
    std::array<int, 5> numbers{};
    char generator[32];
    int amount = 0, index = 0;
    if (std::sscanf(line.c_str(), "(SamplePos %u", &words[0]) == 1) {
      bank.samplesAt = words[0];
    } else if (line.starts_with("(SampleInfo")) {
      inSamples = true;
    } else if (inSamples && told::scan(line, " (%x %x) (%x %x)", words[0], words[1], words[2], words[3])) {
      bank.samples.push_back({told::betweenQuotes(line), words[0], words[1], words[2], words[3]});
    } else if (inSamples && !bank.samples.empty() &&
               told::scan(line, " (%d %d %d %d %d)", numbers[0], numbers[1], numbers[2], numbers[3],
                          numbers[4])) {
      ToldSample& sample = bank.samples.back();
      std::tie(sample.rate, sample.key, sample.correction, sample.link, sample.type) =
          std::tuple_cat(numbers);
    } else if (told::scan(line, " (preset %d) (bank %d)", numbers[0], numbers[1])) {
      bank.presets.push_back({told::betweenQuotes(line), numbers[0], numbers[1], {}});
      zones = &bank.presets.back().zones;
    } else if (line.starts_with("  (layer")) {
      if (zones) zones->emplace_back();
    } else if (zones && !zones->empty() &&
               std::sscanf(line.c_str(), "   (%31s %d", generator, &amount) == 2) {
      zones->back()[told::generatorOf(generator)] = amount;
    } else if (std::sscanf(line.c_str(), "  (%d \"", &index) == 1) {
      zones = &bank.instruments.emplace_back();
    }
  }
  // Terminal records.
  if (bank.presets.empty() || bank.instruments.empty() || bank.samples.empty()) return std::nullopt;
  bank.presets.pop_back();
  bank.instruments.pop_back();
  bank.samples.pop_back();
  return bank;
}

}  // namespace vemko::test
