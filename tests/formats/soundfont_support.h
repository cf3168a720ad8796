#pragma once
// Builds small banks in memory, record by record, so that tests can also build wrong ones.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/log.h"
#include "core/collection.h"
#include "core/parameters.h"
#include "formats/riff/riff.h"
#include "formats/soundfont/sf_records.h"
#include "formats/soundfont/soundfont.h"
#include "io/fixup.h"
#include "io/open.h"
#include "io/save.h"
#include "support.h"

namespace vemko::test {

namespace gen = soundfont::gen;
using soundfont::Generator;
using soundfont::Modulator;
using Block = std::vector<std::byte>;

struct BankZone {
  std::vector<Generator> generators;
  std::vector<Modulator> modulators;
};

struct BankPreset {
  std::string name = "Preset";
  std::uint16_t preset = 0, bank = 0;
  std::vector<BankZone> zones;
};

struct BankInstrument {
  std::string name = "Instrument";
  std::vector<BankZone> zones;
};

struct BankSample {
  std::string name = "Sample";
  std::vector<std::int16_t> points = std::vector<std::int16_t>(100, 1000);
  std::uint32_t loopStart = 10, loopEnd = 90;  // from the first point
  std::uint32_t rate = 32000;
  std::uint8_t key = 60;
  std::int8_t correction = 0;
  std::uint16_t link = 0, type = 1;
};

struct Bank {
  std::uint16_t major = 2, minor = 1;
  std::vector<std::pair<std::string, std::string>> info = {{"INAM", "Bank"}};
  std::vector<BankPreset> presets;
  std::vector<BankInstrument> instruments;
  std::vector<BankSample> samples;
  std::vector<std::uint8_t> lowBytes;  // sm24, where there is one
  std::string form = "sfbk";
};

inline Generator range(int number, int low, int high) {
  return {static_cast<std::uint16_t>(number), static_cast<std::int16_t>(low | high << 8)};
}
inline Generator amount(int number, int value) {
  return {static_cast<std::uint16_t>(number), static_cast<std::int16_t>(value)};
}
inline Modulator route(int source, int destination, int value, int amountSource = 0) {
  return {static_cast<std::uint16_t>(source), static_cast<std::uint16_t>(destination),
          static_cast<std::int16_t>(value), static_cast<std::uint16_t>(amountSource), 0};
}

// One preset, one instrument, one zone of each, one sample.
inline Bank simpleBank(std::vector<Generator> instrumentGenerators = {},
                       std::vector<Modulator> modulators = {}, std::vector<Generator> presetGenerators = {},
                       std::vector<Modulator> presetModulators = {}) {
  Bank bank;
  presetGenerators.push_back(amount(gen::Instrument, 0));
  instrumentGenerators.push_back(amount(gen::Sample, 0));
  bank.presets = {{"Preset", 0, 0, {{std::move(presetGenerators), std::move(presetModulators)}}}};
  bank.instruments = {{"Instrument", {{std::move(instrumentGenerators), std::move(modulators)}}}};
  bank.samples = {{}};
  return bank;
}

namespace detail {

inline std::uint32_t idOf(std::string_view id) {
  std::uint32_t value = 0;
  std::memcpy(&value, id.data(), 4);
  return value;
}

inline void putName(ByteWriter& out, std::string_view name) {
  out.text(name.substr(0, 20));
  out.zeros(20 - std::min<std::size_t>(name.size(), 20));
}

struct ZoneTables {
  ByteWriter bags, modulators, generators;
  std::uint16_t bagCount() const { return static_cast<std::uint16_t>(bags.size() / 4); }
  void addBag() {
    bags.u16(static_cast<std::uint16_t>(generators.size() / 4));
    bags.u16(static_cast<std::uint16_t>(modulators.size() / 10));
  }
  void add(const std::vector<BankZone>& zones) {
    for (const BankZone& zone : zones) {
      addBag();
      for (const Generator& each : zone.generators) {
        generators.u16(each.number);
        generators.i16(each.amount);
      }
      for (const Modulator& each : zone.modulators)
        for (std::uint16_t word : {each.source, each.destination, static_cast<std::uint16_t>(each.amount),
                                   each.amountSource, each.transform})
          modulators.u16(word);
    }
  }
  void close() {
    addBag();
    generators.u32(0);
    modulators.zeros(10);
  }
};

}  // namespace detail

inline Block bytesOf(const Bank& bank) {
  using detail::idOf;
  riff::ChunkBuilder file;
  file.open(fourCc("RIFF"));
  file.out.text(bank.form);
  file.openList(fourCc("INFO"));
  file.open(fourCc("ifil"));
  file.out.u16(bank.major);
  file.out.u16(bank.minor);
  file.close();
  for (const auto& [id, text] : bank.info) {
    std::string padded = text + std::string(2 - text.size() % 2, '\0');
    file.add(idOf(id), asBytes(padded));
  }
  file.close();
  file.openList(fourCc("sdta"));
  file.open(fourCc("smpl"));
  for (const BankSample& sample : bank.samples) {
    for (std::int16_t point : sample.points) file.out.i16(point);
    file.out.zeros(46 * 2);
  }
  file.close();
  if (!bank.lowBytes.empty()) file.add(fourCc("sm24"), std::as_bytes(std::span(bank.lowBytes)));
  file.close();

  ByteWriter presets, instruments, headers;
  detail::ZoneTables presetZones, instrumentZones;
  auto putPreset = [&](std::string_view name, std::uint16_t preset, std::uint16_t number) {
    detail::putName(presets, name);
    presets.u16(preset);
    presets.u16(number);
    presets.u16(presetZones.bagCount());
    presets.zeros(12);
  };
  for (const BankPreset& each : bank.presets) {
    putPreset(each.name, each.preset, each.bank);
    presetZones.add(each.zones);
  }
  putPreset("EOP", 0, 0);
  for (const BankInstrument& each : bank.instruments) {
    detail::putName(instruments, each.name);
    instruments.u16(instrumentZones.bagCount());
    instrumentZones.add(each.zones);
  }
  detail::putName(instruments, "EOI");
  instruments.u16(instrumentZones.bagCount());
  presetZones.close();
  instrumentZones.close();
  std::uint32_t start = 0;
  for (const BankSample& each : bank.samples) {
    const auto end = start + static_cast<std::uint32_t>(each.points.size());
    detail::putName(headers, each.name);
    for (std::uint32_t word : {start, end, start + each.loopStart, start + each.loopEnd, each.rate})
      headers.u32(word);
    headers.u8(each.key);
    headers.little(each.correction);
    headers.u16(each.link);
    headers.u16(each.type);
    start = end + 46;
  }
  detail::putName(headers, "EOS");
  headers.zeros(26);

  file.openList(fourCc("pdta"));
  file.add(fourCc("phdr"), presets.bytes);
  file.add(fourCc("pbag"), presetZones.bags.bytes);
  file.add(fourCc("pmod"), presetZones.modulators.bytes);
  file.add(fourCc("pgen"), presetZones.generators.bytes);
  file.add(fourCc("inst"), instruments.bytes);
  file.add(fourCc("ibag"), instrumentZones.bags.bytes);
  file.add(fourCc("imod"), instrumentZones.modulators.bytes);
  file.add(fourCc("igen"), instrumentZones.generators.bytes);
  file.add(fourCc("shdr"), headers.bytes);
  file.close();
  file.close();
  return std::move(file.out.bytes);
}

/// Collects what is logged while it lives.
class LogCatcher {
 public:
  LogCatcher() {
    before_ = setLogSink([this](LogLevel, std::u16string_view line) { lines.push_back(toUtf8(line)); });
  }
  ~LogCatcher() { setLogSink(before_); }
  LogCatcher(const LogCatcher&) = delete;
  bool contains(std::string_view part) const {
    return std::ranges::any_of(lines, [&](const std::string& line) { return line.find(part) != line.npos; });
  }
  std::vector<std::string> lines;

 private:
  LogSink before_;
};

/// Reads bytes with the bank reader alone, without tidying up.
class ReadBank {
 public:
  explicit ReadBank(const Block& bytes) {
    putFile(path_, bytes);
    InputFile file;
    EXPECT_TRUE(file.open(path_));
    setLastError(u"");
    ok = soundfont::readBank(collection, file, 0);
  }
  explicit ReadBank(const Bank& bank) : ReadBank(bytesOf(bank)) {}

  Collection collection;
  bool ok = false;
  std::vector<Region*> regions() const { return regionsOf(collection); }
  const Region& region() const { return *regions().at(0); }

 private:
  TempFolder folder_;
  Path path_ = folder_ / "bank.sf2";
};

/// Every slot and every field that a bank has a place for.
inline void expectSameRegions(const Collection& a, const Collection& b) {
  const auto before = regionsOf(a), after = regionsOf(b);
  ASSERT_EQ(before.size(), after.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    SCOPED_TRACE("region " + std::to_string(i));
    const ArticulationBlock one = effective(*before[i]), other = effective(*after[i]);
    for (int slot = 0; slot < kSlotCount; ++slot)
      EXPECT_EQ(one.get(static_cast<Slot>(slot)), other.get(static_cast<Slot>(slot))) << "slot " << slot;
    EXPECT_EQ(before[i]->keys, after[i]->keys);
    EXPECT_EQ(before[i]->velocities, after[i]->velocities);
    EXPECT_EQ(before[i]->rootKey, after[i]->rootKey);
    EXPECT_EQ(before[i]->section, after[i]->section);
    EXPECT_EQ(before[i]->exclusiveGroup, after[i]->exclusiveGroup);
    EXPECT_EQ(before[i]->fixedKey, after[i]->fixedKey);
    EXPECT_EQ(before[i]->fixedVelocity, after[i]->fixedVelocity);
    EXPECT_EQ(before[i]->waveform()->frames, after[i]->waveform()->frames);
  }
}

/// Saves as the row "SoundFont v2 bank" without tidying up and gives the bytes; empty, with a failed test,
/// when that fails.
inline Block bytesOfSaved(Item& item, const io::SaveOptions& options = {}) {
  TempFolder folder;
  OutputFile file;
  const bool ok =
      file.create(folder / "out.sf2") && soundfont::writeBank(item, file, options) && file.close();
  EXPECT_TRUE(ok) << toUtf8(lastError());
  if (!ok) return {};
  const std::string content = contentOf(folder / "out.sf2");
  const Bytes bytes = asBytes(content);
  return Block(bytes.begin(), bytes.end());
}

}  // namespace vemko::test
