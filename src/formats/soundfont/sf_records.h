#pragma once
// The records of a bank as they stand in its file, by the names of the published format.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/bytes.h"
#include "base/log.h"

namespace vemko::soundfont {

using vemko::Complaints;

/// Generator numbers.
namespace gen {
enum Number : std::uint8_t {
  StartOffset = 0,
  EndOffset = 1,
  LoopStartOffset = 2,
  LoopEndOffset = 3,
  StartCoarseOffset = 4,
  ModLfoToPitch = 5,
  VibLfoToPitch = 6,
  ModEnvToPitch = 7,
  FilterCutoff = 8,
  FilterQ = 9,
  ModLfoToCutoff = 10,
  ModEnvToCutoff = 11,
  EndCoarseOffset = 12,
  ModLfoToVolume = 13,
  ChorusSend = 15,
  ReverbSend = 16,
  Pan = 17,
  ModLfoDelay = 21,
  ModLfoFrequency = 22,
  VibLfoDelay = 23,
  VibLfoFrequency = 24,
  ModEnvDelay = 25,
  ModEnvAttack = 26,
  ModEnvHold = 27,
  ModEnvDecay = 28,
  ModEnvSustain = 29,
  ModEnvRelease = 30,
  KeyToModEnvHold = 31,
  KeyToModEnvDecay = 32,
  VolEnvDelay = 33,
  VolEnvAttack = 34,
  VolEnvHold = 35,
  VolEnvDecay = 36,
  VolEnvSustain = 37,
  VolEnvRelease = 38,
  KeyToVolEnvHold = 39,
  KeyToVolEnvDecay = 40,
  Instrument = 41,
  KeyRange = 43,
  VelocityRange = 44,
  LoopStartCoarseOffset = 45,
  FixedKey = 46,
  FixedVelocity = 47,
  Attenuation = 48,
  LoopEndCoarseOffset = 50,
  CoarseTune = 51,
  FineTune = 52,
  Sample = 53,
  SampleModes = 54,
  ScaleTuning = 56,
  ExclusiveClass = 57,
  RootKey = 58,
};
}  // namespace gen
inline constexpr int kGeneratorCount = 61;

/// Bits of SampleHeader::type.
namespace sample_type {
inline constexpr std::uint16_t Mono = 1, Right = 2, Left = 4, Compressed = 0x10, Rom = 0x8000;
}

using Name = std::array<char, 20>;  ///< Ends at the first zero, if there is one.
std::string_view charactersOf(const Name& name);
/// UTF-8, also where 20 bytes cut off its last character, or Windows-1252.
std::u16string textOf(const Name& name);

struct SampleHeader {
  Name name{};
  std::uint32_t start = 0, end = 0;  ///< Points of `smpl`; of a compressed sample, bytes.
  std::uint32_t loopStart = 0, loopEnd = 0;
  std::uint32_t rate = 0;
  std::uint8_t key = 60;
  std::int8_t correctionCents = 0;
  std::uint16_t link = 0;
  std::uint16_t type = 0;
};

struct PresetHeader {
  Name name{};
  std::uint16_t preset = 0, bank = 0, firstBag = 0;
};

struct InstrumentHeader {
  Name name{};
  std::uint16_t firstBag = 0;
};

struct Bag {
  std::uint16_t firstGenerator = 0, firstModulator = 0;
};

struct Generator {
  std::uint16_t number = 0;
  std::int16_t amount = 0;
  friend bool operator==(const Generator&, const Generator&) = default;
};

struct Modulator {
  std::uint16_t source = 0, destination = 0;
  std::int16_t amount = 0;
  std::uint16_t amountSource = 0, transform = 0;
  friend bool operator==(const Modulator&, const Modulator&) = default;
};
/// Whether one replaces or adds to the other.
inline bool isSameRoute(const Modulator& a, const Modulator& b) {
  return a.source == b.source && a.destination == b.destination && a.amountSource == b.amountSource;
}

/// A text of the INFO list, without the zeros behind it.
struct InfoText {
  std::uint32_t id = 0;
  std::string text;
};

/// Where bytes lie in the bank's file.
struct FileRange {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

struct BankFile {
  std::uint16_t versionMajor = 0, versionMinor = 0;
  bool packed = false;
  std::vector<InfoText> info;
  FileRange smpl, sm24;
  std::vector<SampleHeader> samples;
  std::vector<PresetHeader> presets;
  std::vector<InstrumentHeader> instruments;
  std::vector<Bag> presetBags, instrumentBags;
  std::size_t presetBagEnd = 0, instrumentBagEnd = 0;  ///< Where the zones of the last header end.
  std::vector<Generator> presetGenerators, instrumentGenerators;
  std::vector<Modulator> presetModulators, instrumentModulators;
};

/// Takes the bank's tables out of its file; terminal records are gone. Fails with "Not a SoundFont2 file" and
/// "Not a Sound Font v2.x file". `bytes` is the whole file.
bool parseBank(Bytes bytes, BankFile& bank, Complaints& complaints);

}  // namespace vemko::soundfont
