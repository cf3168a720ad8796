#include "formats/riff/exact_records.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "base/text.h"

namespace vemko::riff {
namespace {

constexpr std::uint16_t kVersion = 1;
constexpr std::size_t kHeaderBytes = 20, kRecordBytes = 20;
constexpr std::uint8_t kMainLoopFlag = 1;
constexpr std::uint32_t kNameIsLabel = 0xFFFFFFFF;

struct Entry {
  LoopRecord record;
  bool isMain = false;
  std::uint32_t nameLength = 0;
};

bool isNameInLabel(const std::u16string& name) {
  std::string label = toUtf8(name, kLongestLabel);
  return std::u16string(trimmed(decodeText(asBytes(label)))) == name;
}

void writeEntry(ByteWriter& out, const LoopRecord& record, bool isMain) {
  out.u32(record.start);
  out.u32(record.end);
  out.u8(record.startHundredths);
  out.u8(record.endHundredths);
  out.u8(static_cast<std::uint8_t>(record.type));
  out.u8(static_cast<std::uint8_t>(record.play));
  out.u8(static_cast<std::uint8_t>(record.count));
  out.u8(isMain ? kMainLoopFlag : 0);
  out.i16(record.tuneCents);
  out.u32(isNameInLabel(record.name) ? kNameIsLabel : static_cast<std::uint32_t>(record.name.size()));
}

template <class Enum>
Enum toEnum(std::uint8_t value, Enum last, bool& isSound) {
  isSound = isSound && value <= static_cast<std::uint8_t>(last);
  return static_cast<Enum>(isSound ? value : 0);
}

bool readEntry(ByteReader& reader, std::uint32_t frames, Entry& entry) {
  bool isSound = true;
  LoopRecord& record = entry.record;
  record.start = reader.u32();
  record.end = reader.u32();
  record.startHundredths = reader.u8();
  record.endHundredths = reader.u8();
  record.type = toEnum(reader.u8(), RecordType::Loop, isSound);
  record.play = toEnum(reader.u8(), LoopPlay::Alternating, isSound);
  record.count = toEnum(reader.u8(), LoopCount::UntilRelease, isSound);
  std::uint8_t flags = reader.u8();
  record.tuneCents = reader.i16();
  entry.nameLength = reader.u32();
  entry.isMain = flags == kMainLoopFlag;
  return reader.ok && isSound && flags <= kMainLoopFlag && record.startHundredths < 100 &&
         record.endHundredths < 100 && record.tuneCents >= -1200 && record.tuneCents <= 1200 &&
         record.start <= frames && record.end <= frames;
}

bool readName(ByteReader& reader, std::size_t index, const CueNotes& notes, Entry& entry) {
  if (entry.nameLength == kNameIsLabel) {
    entry.record.name = notes.label(static_cast<std::uint32_t>(index + 1));
    return true;
  }
  Bytes units = reader.take(std::uint64_t{entry.nameLength} * 2);
  if (!reader.ok) return false;
  entry.record.name.resize(units.size() / 2);
  if (!units.empty()) std::memcpy(entry.record.name.data(), units.data(), units.size());
  return true;
}

bool readEntries(ByteReader& reader, const CueNotes& notes, std::uint32_t frames,
                 std::vector<Entry>& entries) {
  std::size_t mainLoops = 0;
  for (Entry& entry : entries) {
    if (!readEntry(reader, frames, entry)) return false;
    mainLoops += entry.isMain;
    if (entry.isMain && entry.record.type != RecordType::Loop) return false;
  }
  for (std::size_t i = 0; i < entries.size(); ++i)
    if (!readName(reader, i, notes, entries[i])) return false;
  return mainLoops <= 1;
}

// A position marker's end is its start or 0, which means the same.
std::uint32_t meaningfulEnd(const LoopRecord& record) {
  return record.type == RecordType::PositionMarker ? record.start : record.end;
}

bool isSameRecord(const LoopRecord& a, const LoopRecord& b) {
  return a.type == b.type && a.start == b.start && meaningfulEnd(a) == meaningfulEnd(b) &&
         a.startHundredths == b.startHundredths && a.endHundredths == b.endHundredths && a.play == b.play &&
         a.count == b.count && a.tuneCents == b.tuneCents && a.name == b.name;
}

}  // namespace

std::uint32_t checksumOf(const PublishedChunks& chunks, std::uint32_t frames) {
  std::uint32_t sum = 2166136261u;  // FNV-1a
  auto add = [&](Bytes bytes) {
    for (std::byte b : bytes) sum = (sum ^ static_cast<std::uint32_t>(b)) * 16777619u;
  };
  for (Bytes part : {chunks.sampler, chunks.instrument, chunks.cues, chunks.cueNotes}) add(part);
  add(std::as_bytes(std::span(&frames, 1)));
  return sum;
}

std::vector<std::byte> buildExactBlock(const Waveform& waveform, std::uint32_t checksum) {
  ByteWriter out;
  out.bytes.reserve(kHeaderBytes + waveform.records.size() * kRecordBytes);
  out.u16(kVersion);
  out.u16(0);
  out.u32(checksum);
  out.u32(static_cast<std::uint32_t>(waveform.records.size()));
  out.little(waveform.volumeAdjustmentDb);
  out.u8(waveform.rootKey);
  out.little(waveform.fineTuneCents);
  out.u16(0);
  for (const LoopRecord& record : waveform.records) writeEntry(out, record, record.id == waveform.mainLoopId);
  for (const LoopRecord& record : waveform.records)
    if (!isNameInLabel(record.name)) out.append(std::as_bytes(std::span(record.name)));
  return std::move(out.bytes);
}

bool applyExactBlock(Bytes data, std::uint32_t checksum, const CueNotes& notes, Waveform& waveform) {
  ByteReader reader(data);
  bool isOurs = reader.u16() == kVersion;
  reader.u16();
  isOurs = isOurs && reader.u32() == checksum;
  std::size_t count = reader.u32();
  float volume = reader.little<float>();
  std::uint8_t rootKey = reader.u8();
  std::int8_t fineTune = reader.i8();
  reader.u16();
  if (!reader.ok || !isOurs || count > reader.remaining() / kRecordBytes) return false;
  std::vector<Entry> entries(count);
  if (rootKey > 127 || !std::isfinite(volume) || !readEntries(reader, notes, waveform.frames, entries))
    return false;

  waveform.rootKey = rootKey;
  waveform.fineTuneCents = fineTune;
  waveform.volumeAdjustmentDb = volume;
  waveform.records.clear();
  waveform.mainLoopId = 0;
  for (Entry& entry : entries) {
    entry.record.id = nextRecordId();
    if (entry.isMain) waveform.mainLoopId = entry.record.id;
    waveform.records.push_back(std::move(entry.record));
  }
  return true;
}

bool isSameDescription(const Waveform& a, const Waveform& b) {
  auto isMain = [](const Waveform& waveform, const LoopRecord& record) {
    return record.id == waveform.mainLoopId;
  };
  return a.rootKey == b.rootKey && a.fineTuneCents == b.fineTuneCents &&
         a.volumeAdjustmentDb == b.volumeAdjustmentDb &&
         std::equal(a.records.begin(), a.records.end(), b.records.begin(), b.records.end(),
                    [&](const LoopRecord& left, const LoopRecord& right) {
                      return isSameRecord(left, right) && isMain(a, left) == isMain(b, right);
                    });
}

}  // namespace vemko::riff
