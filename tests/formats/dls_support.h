#pragma once
// Builds small DLS collections in memory, list by list, so that tests can also build wrong ones.
#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"
#include "core/collection.h"
#include "formats/dls/dls.h"
#include "formats/dls/dls_connections.h"
#include "formats/dls/dls_records.h"
#include "formats/riff/riff.h"
#include "io/decisions.h"
#include "io/fixup.h"
#include "io/registry.h"
#include "io/save.h"
#include "support.h"

namespace vemko::test {

using dls::Connection;
using Block = std::vector<std::byte>;

struct SampleChunk {
  std::uint16_t unityNote = 60;
  std::int16_t fineTune = 0;
  std::int32_t gain = 0;
  std::uint32_t options = 0;
  struct Loop {
    std::uint32_t type, start, length;
  };
  std::optional<Loop> loop;
};

struct DlsRegion {
  MidiRange keys, velocities;
  std::uint16_t options = 0, keyGroup = 0;
  std::optional<std::uint16_t> layer;
  std::optional<SampleChunk> sample;
  dls::WaveLink link{0, 0, 1, 0};
  std::optional<std::vector<Connection>> connections;
  Block condition;  // "cdl " of the region
};

struct DlsInstrument {
  std::string name = "Instrument";
  std::uint32_t bank = 0, program = 0;
  std::vector<DlsRegion> regions = {{}};
  std::optional<std::vector<Connection>> connections;
  Block condition;
};

struct DlsWave {
  std::string name = "Wave";
  std::vector<std::int16_t> points = std::vector<std::int16_t>(100, 1000);
  std::uint16_t channels = 1, bits = 16;
  std::uint32_t rate = 32000;
  std::optional<SampleChunk> sample;
};

struct DlsFile {
  bool isLevel2 = true;
  std::vector<DlsInstrument> instruments = {{}};
  std::vector<DlsWave> waves = {{}};
  std::vector<std::pair<std::string, std::string>> info = {{"INAM", "Collection"}};
  Block version, id;
  bool hasTable = true;
};

inline Connection connection(int source, int control, int destination, int transform, double amount) {
  return {static_cast<std::uint16_t>(source), static_cast<std::uint16_t>(control),
          static_cast<std::uint16_t>(destination), static_cast<std::uint16_t>(transform),
          static_cast<std::int32_t>(amount * 65536)};
}

namespace detail {

inline std::uint32_t chunkIdOf(std::string_view id) {
  std::uint32_t value = 0;
  std::memcpy(&value, id.data(), 4);
  return value;
}

inline void addName(riff::ChunkBuilder& file, std::string_view name) {
  if (name.empty()) return;
  file.openList(fourCc("INFO"));
  file.add(fourCc("INAM"), asBytes(std::string(name) + '\0'));
  file.close();
}

inline void addSample(riff::ChunkBuilder& file, const std::optional<SampleChunk>& sample) {
  if (!sample) return;
  file.open(fourCc("wsmp"));
  file.out.u32(20);
  file.out.u16(sample->unityNote);
  file.out.i16(sample->fineTune);
  file.out.i32(sample->gain);
  file.out.u32(sample->options);
  file.out.u32(sample->loop ? 1 : 0);
  if (sample->loop)
    for (std::uint32_t word : {16u, sample->loop->type, sample->loop->start, sample->loop->length})
      file.out.u32(word);
  file.close();
}

inline void addConnections(riff::ChunkBuilder& file, const std::optional<std::vector<Connection>>& list,
                           bool isLevel2) {
  if (!list) return;
  file.openList(isLevel2 ? fourCc("lar2") : fourCc("lart"));
  file.open(isLevel2 ? fourCc("art2") : fourCc("art1"));
  file.out.u32(8);
  file.out.u32(static_cast<std::uint32_t>(list->size()));
  for (const Connection& each : *list) {
    for (std::uint16_t word : {each.source, each.control, each.destination, each.transform})
      file.out.u16(word);
    file.out.i32(each.scale);
  }
  file.close();
  file.close();
}

inline void addCondition(riff::ChunkBuilder& file, const Block& condition) {
  if (!condition.empty()) file.add(fourCc("cdl "), condition);
}

inline void addRegion(riff::ChunkBuilder& file, const DlsRegion& region, bool isLevel2) {
  file.openList(isLevel2 ? fourCc("rgn2") : fourCc("rgn "));
  addCondition(file, region.condition);
  file.open(fourCc("rgnh"));
  for (std::uint16_t word :
       {std::uint16_t{region.keys.low}, std::uint16_t{region.keys.high}, std::uint16_t{region.velocities.low},
        std::uint16_t{region.velocities.high}, region.options, region.keyGroup})
    file.out.u16(word);
  if (region.layer) file.out.u16(*region.layer);
  file.close();
  addSample(file, region.sample);
  file.open(fourCc("wlnk"));
  file.out.u16(region.link.options);
  file.out.u16(region.link.phaseGroup);
  file.out.u32(region.link.channel);
  file.out.u32(region.link.cue);
  file.close();
  addConnections(file, region.connections, isLevel2);
  file.close();
}

inline void addWave(riff::ChunkBuilder& file, const DlsWave& wave) {
  file.openList(fourCc("wave"));
  file.open(fourCc("fmt "));
  const auto align = static_cast<std::uint16_t>(wave.channels * wave.bits / 8);
  file.out.u16(1);
  file.out.u16(wave.channels);
  file.out.u32(wave.rate);
  file.out.u32(wave.rate * align);
  file.out.u16(align);
  file.out.u16(wave.bits);
  file.close();
  file.open(fourCc("data"));
  for (std::int16_t point : wave.points) {
    if (wave.bits == 24) file.out.u8(0);
    if (wave.bits == 8)
      file.out.u8(static_cast<std::uint8_t>((point >> 8) + 128));
    else
      file.out.i16(point);
  }
  file.close();
  addSample(file, wave.sample);
  addName(file, wave.name);
  file.close();
}

}  // namespace detail

inline Block bytesOf(const DlsFile& source) {
  riff::ChunkBuilder file, pool;
  file.open(fourCc("RIFF"));
  file.out.text("DLS ");
  if (!source.version.empty()) file.add(fourCc("vers"), source.version);
  if (!source.id.empty()) file.add(fourCc("dlid"), source.id);
  file.open(fourCc("colh"));
  file.out.u32(static_cast<std::uint32_t>(source.instruments.size()));
  file.close();
  file.openList(fourCc("lins"));
  for (const DlsInstrument& each : source.instruments) {
    file.openList(fourCc("ins "));
    detail::addCondition(file, each.condition);
    file.open(fourCc("insh"));
    file.out.u32(static_cast<std::uint32_t>(each.regions.size()));
    file.out.u32(each.bank);
    file.out.u32(each.program);
    file.close();
    file.openList(fourCc("lrgn"));
    for (const DlsRegion& region : each.regions) detail::addRegion(file, region, source.isLevel2);
    file.close();
    detail::addConnections(file, each.connections, source.isLevel2);
    detail::addName(file, each.name);
    file.close();
  }
  file.close();
  if (source.hasTable) {
    file.open(fourCc("ptbl"));
    file.out.u32(8);
    file.out.u32(static_cast<std::uint32_t>(source.waves.size()));
  }
  for (const DlsWave& wave : source.waves) {
    if (source.hasTable) file.out.u32(static_cast<std::uint32_t>(pool.out.size()));
    detail::addWave(pool, wave);
  }
  if (source.hasTable) file.close();
  file.openList(fourCc("wvpl"));
  file.out.append(pool.out.bytes);
  file.close();
  file.openList(fourCc("INFO"));
  for (const auto& [id, text] : source.info) file.add(detail::chunkIdOf(id), asBytes(text + '\0'));
  file.close();
  file.close();
  return std::move(file.out.bytes);
}

/// One instrument of one region of one wave; the connections stand with the region.
inline DlsFile simpleFile(std::vector<Connection> connections = {}, bool isLevel2 = true) {
  DlsFile file;
  file.isLevel2 = isLevel2;
  file.instruments[0].regions[0].connections = std::move(connections);
  return file;
}

/// Collects what is logged while it lives.
class DlsLog {
 public:
  DlsLog() {
    before_ = setLogSink([this](LogLevel, std::u16string_view line) { lines.push_back(toUtf8(line)); });
  }
  ~DlsLog() { setLogSink(before_); }
  DlsLog(const DlsLog&) = delete;
  std::string all() const {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
  }
  std::vector<std::string> lines;

 private:
  LogSink before_;
};

/// Reads bytes with the reader alone, without tidying up.
class ReadDls {
 public:
  explicit ReadDls(const Block& bytes) {
    putFile(path_, bytes);
    InputFile file;
    EXPECT_TRUE(file.open(path_));
    setLastError(u"");
    ok = dls::readCollection(collection, file, 0);
  }
  explicit ReadDls(const DlsFile& file) : ReadDls(bytesOf(file)) {}

  Collection collection;
  bool ok = false;
  std::vector<Region*> regions() const { return regionsOf(collection); }
  const Region& region() const { return *regions().at(0); }
  float slot(Slot slot) const { return effective(region()).get(slot); }

 private:
  TempFolder folder_;
  Path path_ = folder_ / "collection.dls";
};

/// The bytes that the writer of that level makes, without tidying up; empty, with a failed test, when it
/// fails.
inline Block savedAs(Item& item, std::uint32_t level) {
  TempFolder folder;
  OutputFile file;
  io::SaveOptions options;
  options.variant = level;
  const bool ok =
      file.create(folder / "out.dls") && dls::writeCollection(item, file, options) && file.close();
  EXPECT_TRUE(ok) << toUtf8(lastError());
  if (!ok) return {};
  const std::string content = contentOf(folder / "out.dls");
  const Bytes bytes = asBytes(content);
  return Block(bytes.begin(), bytes.end());
}

inline dls::CollectionRecord recordOf(const Block& bytes) {
  dls::CollectionRecord record;
  Complaints complaints;
  EXPECT_TRUE(dls::parseCollection(bytes, record, complaints)) << toUtf8(lastError());
  return record;
}

}  // namespace vemko::test
