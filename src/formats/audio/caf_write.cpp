#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "base/version.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/caf_tables.h"
#include "formats/audio/descriptions.h"

namespace vemko::audio {
namespace {

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

void putMarker(ByteWriter& body, const CafMarker& marker) {
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
  const auto put = [&](std::string_view key, std::string_view text) {
    texts.text(key);
    texts.u8(0);
    texts.text(text);
    texts.u8(0);
    ++count;
  };
  for (const CafTextRow& row : kCafTextRows) {
    const std::u16string& text = what.waveform.text(row.property);
    if (text.empty() || (row.property == TextProperty::Name && !what.name)) continue;
    put(row.key, toUtf8(text));
  }
  put("encoding application", kSoftwareName);
  ByteWriter body;
  putBig(body, count);
  body.append(texts.bytes);
  return std::move(body.bytes);
}

}  // namespace

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
  // Chunks follow each other without a gap in this format.
  const Bytes bytes = chunks.bytes;
  if (what.isPadded) return sink.writeAt(sink.size() - 1, bytes.first(1)) && sink.write(bytes.subspan(1));
  return sink.write(bytes);
}

}  // namespace vemko::audio
