// Chunks of Apple's CoreAudio files, as its file format specification lays them out. Positions are 64-bit
// floats, so that fractions of a frame are kept.
#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/text.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/descriptions.h"

namespace vemko::audio {
namespace {

constexpr std::size_t kFileHeaderBytes = 8;
constexpr std::size_t kMarkerBytes = 28;
constexpr std::uint32_t kLoopEnable = 1, kPlayForward = 2, kPlayBackward = 4;  // flags of a region
constexpr std::uint32_t kStartMarker = 0x72626567, kEndMarker = 0x72656E64;    // "rbeg", "rend"

struct TextRow {
  std::string_view key;
  TextProperty property;
};
// clang-format off
constexpr TextRow kTextRows[] = {
  {"title",              TextProperty::Name},
  {"artist",             TextProperty::Artist},
  {"comments",           TextProperty::Comments},
  {"copyright",          TextProperty::Copyright},
  {"recording engineer", TextProperty::Engineer},
  {"album",              TextProperty::Product},
  {"source",             TextProperty::SourceFile},
};
// clang-format on

struct Chunk {
  std::uint32_t id = 0;
  Bytes body;
};

// The last chunk may leave its length open: -1, to the end of the file.
bool nextChunk(ByteReader& reader, Chunk& chunk) {
  chunk.id = reader.u32();
  const auto size = reader.big<std::uint64_t>();
  if (!reader.ok) return false;
  chunk.body = reader.take(std::min<std::uint64_t>(size, reader.remaining()));
  return true;
}

std::string_view takeString(ByteReader& reader) {
  const Bytes rest = reader.bytes.subspan(reader.pos);
  const auto length = static_cast<std::size_t>(std::ranges::find(rest, std::byte{0}) - rest.begin());
  const Bytes text = reader.take(length);
  if (reader.remaining() > 0) reader.skip(1);
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

void readInformation(Bytes body, Waveform& waveform) {
  ByteReader reader(body);
  for (auto count = reader.big<std::uint32_t>(); count > 0 && reader.remaining() > 0; --count) {
    const std::string_view key = takeString(reader), value = takeString(reader);
    for (const TextRow& row : kTextRows)
      if (row.key == key && waveform.text(row.property).empty())
        waveform.setText(row.property, decodeText(asBytes(value)));
  }
}

using Names = std::unordered_map<std::uint32_t, std::u16string>;

Names readStrings(Bytes body) {
  Names names;
  ByteReader reader(body);
  const auto count = reader.big<std::uint32_t>();
  const std::uint64_t textsAt = 4 + std::uint64_t{count} * 12;
  if (textsAt > body.size()) return names;
  const Bytes texts = body.subspan(static_cast<std::size_t>(textsAt));
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto id = reader.big<std::uint32_t>();
    const auto offset = reader.big<std::uint64_t>();
    if (offset >= texts.size()) continue;
    ByteReader text(texts.subspan(static_cast<std::size_t>(offset)));
    names.emplace(id, trimmed(decodeText(asBytes(takeString(text)))));
  }
  return names;
}

struct Marker {
  std::uint32_t type = 0, id = 0;
  double position = 0;
};
Marker takeMarker(ByteReader& reader) {
  Marker marker;
  marker.type = reader.big<std::uint32_t>();
  marker.position = reader.big<double>();
  marker.id = reader.big<std::uint32_t>();
  reader.skip(12);  // time code, channel
  return marker;
}

struct Region {
  std::uint32_t id = 0, flags = 0;
  double start = 0, end = 0;
};

std::vector<Region> readRegions(Bytes body, double frames) {
  std::vector<Region> regions;
  ByteReader reader(body);
  reader.skip(4);  // kind of time code
  for (auto count = reader.big<std::uint32_t>(); count > 0 && reader.ok; --count) {
    Region region;
    region.id = reader.big<std::uint32_t>();
    region.flags = reader.big<std::uint32_t>();
    region.start = frames;
    for (auto markers = reader.big<std::uint32_t>(); markers > 0 && reader.ok; --markers) {
      const double position = takeMarker(reader).position;
      if (!(position >= 0)) continue;
      region.start = std::min(region.start, position);
      region.end = std::min(std::max(region.end, position), frames);
    }
    if (reader.ok && region.start < region.end) regions.push_back(region);
  }
  return regions;
}

struct Instrument {
  float baseNote = 60, gainDb = 0;
  std::uint32_t sustainRegion = 0, releaseRegion = 0;
};

void readInstrument(Bytes body, Instrument& instrument, Waveform& waveform) {
  ByteReader reader(body);
  instrument.baseNote = reader.big<float>();
  reader.skip(4);  // ranges of keys and velocities
  instrument.gainDb = reader.big<float>();
  reader.skip(4);  // region of the attack
  instrument.sustainRegion = reader.big<std::uint32_t>();
  instrument.releaseRegion = reader.big<std::uint32_t>();
  if (!reader.ok || !(instrument.baseNote >= 0 && instrument.baseNote < 128)) return;
  const float key = std::round(instrument.baseNote);
  waveform.rootKey = static_cast<std::uint8_t>(std::min(key, 127.0f));
  waveform.fineTuneCents = static_cast<std::int8_t>(
      -std::round((instrument.baseNote - static_cast<float>(waveform.rootKey)) * 100));
  if (std::abs(instrument.gainDb) < 1000) waveform.volumeAdjustmentDb = instrument.gainDb;
}

LoopRecord sectionOf(double start, double end) {
  const auto parts = [](double position) {
    const auto hundredths = static_cast<std::uint64_t>(std::round(position * 100));
    return std::pair(static_cast<std::uint32_t>(std::min<std::uint64_t>(hundredths / 100, UINT32_MAX)),
                     static_cast<std::uint8_t>(hundredths % 100));
  };
  LoopRecord record;
  std::tie(record.start, record.startHundredths) = parts(start);
  std::tie(record.end, record.endHundredths) = parts(end);
  return record;
}

void addRegion(const Region& region, const Instrument& instrument, const Names& names, LoopAdder& adder) {
  const auto name = names.find(region.id);
  std::u16string text = name == names.end() ? std::u16string() : name->second;
  if (!(region.flags & kLoopEnable)) {
    LoopRecord record = sectionOf(region.start, region.end);
    record.type = RecordType::SectionMarker;
    record.name = std::move(text);
    adder.addMarker(std::move(record));
    return;
  }
  LoopDescriptor loop;
  const std::uint32_t directions = region.flags & (kPlayForward | kPlayBackward);
  loop.play = directions == (kPlayForward | kPlayBackward) ? LoopPlay::Alternating
              : directions == kPlayBackward                ? LoopPlay::Reverse
                                                           : LoopPlay::Forward;
  loop.startFrames = region.start;
  loop.endFrames = region.end;
  if (text.empty() && region.id == instrument.releaseRegion) text = kReleaseLoopName;
  adder.add(loop, text, region.id == instrument.sustainRegion, false);
}

// --- Writing

class Strings {
 public:
  void add(std::uint32_t id, std::u16string_view text) {
    if (text.empty()) return;
    putBig(table_, id);
    putBig(table_, std::uint64_t{texts_.size()});
    texts_.text(toUtf8(text));
    texts_.u8(0);
    ++count_;
  }
  std::vector<std::byte> chunk() const {
    if (count_ == 0) return {};
    ByteWriter body;
    putBig(body, count_);
    body.append(table_.bytes);
    body.append(texts_.bytes);
    return std::move(body.bytes);
  }

 private:
  std::uint32_t count_ = 0;
  ByteWriter table_, texts_;
};

void putMarker(ByteWriter& body, const Marker& marker) {
  putBig(body, marker.type);
  putBig(body, marker.position);
  putBig(body, marker.id);
  body.zeros(4);  // no time code
  body.u32(0xFFFFFFFF);
  putBig(body, std::uint32_t{0});
}

std::uint32_t flagsOf(const LoopRecord& record) {
  if (record.type != RecordType::Loop || record.play == LoopPlay::Off) return 0;
  return kLoopEnable | (record.play != LoopPlay::Reverse ? kPlayForward : 0) |
         (record.play != LoopPlay::Forward ? kPlayBackward : 0);
}

// All records by their place in the list, ids from 1.
struct RecordChunks {
  std::vector<std::byte> markers, regions, instrument, strings;
};

RecordChunks buildRecords(const Waveform& waveform) {
  ByteWriter markers, regions;
  Strings strings;
  std::uint32_t markerCount = 0, regionCount = 0, sustain = 0, release = 0, id = 0;
  const LoopRecord* releaseLoop = waveform.releaseLoop();
  for (const LoopRecord& record : waveform.records) {
    strings.add(++id, record.name);
    if (record.type == RecordType::PositionMarker) {
      ++markerCount;
      putMarker(markers, {0, id, record.startFrames()});
      continue;
    }
    ++regionCount;
    putBig(regions, id);
    putBig(regions, flagsOf(record));
    putBig(regions, std::uint32_t{2});
    putMarker(regions, {kStartMarker, id, record.startFrames()});
    putMarker(regions, {kEndMarker, id, record.endFrames()});
    if (record.id == waveform.mainLoopId) sustain = id;
    if (&record == releaseLoop) release = id;
  }
  const auto counted = [](std::uint32_t count, const ByteWriter& body) {
    ByteWriter whole;
    if (count == 0) return std::vector<std::byte>();
    whole.zeros(4);  // no time code
    putBig(whole, count);
    whole.append(body.bytes);
    return std::move(whole.bytes);
  };
  ByteWriter instrument;
  putBig(instrument, static_cast<float>(waveform.rootKey) - static_cast<float>(waveform.fineTuneCents) / 100);
  putFullRanges(instrument);
  putBig(instrument, waveform.volumeAdjustmentDb);
  for (std::uint32_t word : {0u, sustain, release, 0u}) putBig(instrument, word);
  return {counted(markerCount, markers), counted(regionCount, regions), std::move(instrument.bytes),
          strings.chunk()};
}

std::vector<std::byte> buildInformation(const DescriptionToWrite& what) {
  ByteWriter texts;
  std::uint32_t count = 0;
  for (const TextRow& row : kTextRows) {
    const std::u16string& text = what.waveform.text(row.property);
    if (text.empty() || (row.property == TextProperty::Name && !what.name)) continue;
    texts.text(row.key);
    texts.u8(0);
    texts.text(toUtf8(text));
    texts.u8(0);
    ++count;
  }
  if (count == 0) return {};
  ByteWriter body;
  putBig(body, count);
  body.append(texts.bytes);
  return std::move(body.bytes);
}

}  // namespace

void readCoreAudioDescription(Bytes file, Waveform& waveform) {
  Names names;
  Instrument instrument;
  Bytes regions, markers;
  ByteReader reader(file);
  reader.skip(kFileHeaderBytes);
  for (Chunk chunk; nextChunk(reader, chunk);) {
    if (chunk.id == fourCc("info")) readInformation(chunk.body, waveform);
    if (chunk.id == fourCc("strg")) names = readStrings(chunk.body);
    if (chunk.id == fourCc("inst")) readInstrument(chunk.body, instrument, waveform);
    if (chunk.id == fourCc("regn")) regions = chunk.body;
    if (chunk.id == fourCc("mark")) markers = chunk.body;
  }
  LoopAdder adder(waveform);
  for (const Region& region : readRegions(regions, waveform.frames))
    addRegion(region, instrument, names, adder);
  ByteReader list(markers);
  list.skip(4);
  for (auto count = list.big<std::uint32_t>(); count > 0 && list.remaining() >= kMarkerBytes; --count) {
    const Marker marker = takeMarker(list);
    if (!(marker.position >= 0 && marker.position <= waveform.frames)) continue;
    LoopRecord record = sectionOf(marker.position, marker.position);
    if (const auto name = names.find(marker.id); name != names.end()) record.name = name->second;
    adder.addMarker(std::move(record));
  }
}

bool writeCoreAudioDescription(const DescriptionToWrite& what, ByteSink& sink) {
  const RecordChunks records = buildRecords(what.waveform);
  const std::vector<std::byte> information = buildInformation(what);
  ByteWriter chunks;
  const auto put = [&](std::string_view id, Bytes body) {
    if (body.empty()) return;
    chunks.text(id);
    putBig(chunks, std::uint64_t{body.size()});
    chunks.append(body);
  };
  put("inst", records.instrument);
  put("mark", records.markers);
  put("regn", records.regions);
  put("strg", records.strings);
  put("info", information);
  return sink.write(chunks.bytes);
}

}  // namespace vemko::audio
