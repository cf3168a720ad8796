#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/text.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/caf_tables.h"
#include "formats/audio/descriptions.h"
#include "formats/riff/kept_chunks.h"

namespace vemko::audio {
namespace {

constexpr std::size_t kMarkerBytes = 28;

// Those that are read, here or with the samples, and those that say nothing of their own.
constexpr std::uint32_t kKnownChunks[] = {
    fourCc("desc"), fourCc("data"), fourCc("kuki"), fourCc("pakt"), fourCc("chan"),
    fourCc("info"), fourCc("strg"), fourCc("inst"), fourCc("regn"), fourCc("mark"),
    fourCc("free"), fourCc("peak"), fourCc("ovvw"),
};

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
    for (const CafTextRow& row : kCafTextRows)
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

CafMarker takeMarker(ByteReader& reader) {
  CafMarker marker;
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

}  // namespace

void readCoreAudioDescription(Bytes file, Waveform& waveform) {
  Names names;
  Instrument instrument;
  Bytes regions, markers;
  ByteReader reader(file);
  reader.skip(kCafHeaderBytes);
  std::vector<std::uint32_t> left;
  for (CafChunk chunk; nextCafChunk(reader, chunk);) {
    if (chunk.id == fourCc("info")) readInformation(chunk.body, waveform);
    if (chunk.id == fourCc("strg")) names = readStrings(chunk.body);
    if (chunk.id == fourCc("inst")) readInstrument(chunk.body, instrument, waveform);
    if (chunk.id == fourCc("regn")) regions = chunk.body;
    if (chunk.id == fourCc("mark")) markers = chunk.body;
    const bool isKnown = std::ranges::find(kKnownChunks, chunk.id) != std::end(kKnownChunks);
    if (!isKnown && !chunk.overruns && !chunk.body.empty()) riff::addNotKept(chunk.id, left);
  }
  riff::tellChunksNotKept(left);
  LoopAdder adder(waveform);
  for (const Region& region : readRegions(regions, waveform.frames))
    addRegion(region, instrument, names, adder);
  ByteReader list(markers);
  list.skip(4);
  for (auto count = list.big<std::uint32_t>(); count > 0 && list.remaining() >= kMarkerBytes; --count) {
    const CafMarker marker = takeMarker(list);
    if (!(marker.position >= 0 && marker.position <= waveform.frames)) continue;
    LoopRecord record = sectionOf(marker.position, marker.position);
    if (const auto name = names.find(marker.id); name != names.end()) record.name = name->second;
    adder.addMarker(std::move(record));
  }
}

}  // namespace vemko::audio
