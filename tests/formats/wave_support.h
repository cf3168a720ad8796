#pragma once
// WAVE files made in memory, and what the reader makes of them.
#include <memory>
#include <string>
#include <vector>

#include "core/collection.h"
#include "formats/riff/riff.h"
#include "formats/wave/wave.h"
#include "io/samples.h"
#include "support.h"

namespace vemko::test {

using Block = std::vector<std::byte>;

struct FormatFields {
  std::uint16_t tag = 1, channels = 1;
  std::uint32_t rate = 44100;
  std::uint16_t blockAlign = 2, bits = 16;
};

inline Block formatBody(const FormatFields& fields, Bytes extra = {}) {
  ByteWriter out;
  out.u16(fields.tag);
  out.u16(fields.channels);
  out.u32(fields.rate);
  out.u32(fields.rate * fields.blockAlign);
  out.u16(fields.blockAlign);
  out.u16(fields.bits);
  if (!extra.empty()) out.u16(static_cast<std::uint16_t>(extra.size()));
  out.append(extra);
  return out.bytes;
}

struct NamedChunk {
  std::string id;
  Block body;
};

inline std::uint32_t idOf(const std::string& id) { return ByteReader(asBytes(id)).u32(); }

inline Block riffFile(const std::vector<NamedChunk>& chunks, const std::string& head = "RIFF") {
  riff::ChunkBuilder builder;
  builder.open(idOf(head));
  builder.out.text("WAVE");
  for (const NamedChunk& chunk : chunks) builder.add(idOf(chunk.id), chunk.body);
  builder.close();
  return builder.out.bytes;
}

template <class... Numbers>
Block words(Numbers... numbers) {
  ByteWriter out;
  (out.u32(static_cast<std::uint32_t>(numbers)), ...);
  return out.bytes;
}

inline Block joined(std::initializer_list<Bytes> parts) {
  ByteWriter out;
  for (Bytes part : parts) out.append(part);
  return out.bytes;
}

inline Block text(std::string_view value) {
  Bytes bytes = asBytes(value);
  return {bytes.begin(), bytes.end()};
}

inline Block list(std::string_view type, const std::vector<NamedChunk>& chunks) {
  riff::ChunkBuilder builder;
  builder.out.text(type);
  for (const NamedChunk& chunk : chunks) builder.add(idOf(chunk.id), chunk.body);
  return builder.out.bytes;
}

/// A file of 16-bit mono samples 0, 1, 2 ... with further chunks behind them.
inline Block monoFile(std::uint16_t frames, const std::vector<NamedChunk>& more = {}) {
  ByteWriter data;
  for (std::uint16_t i = 0; i < frames; ++i) data.u16(i);
  std::vector<NamedChunk> chunks = {{"fmt ", formatBody({})}, {"data", data.bytes}};
  chunks.insert(chunks.end(), more.begin(), more.end());
  return riffFile(chunks);
}

struct ReadResult {
  std::unique_ptr<Collection> collection = std::make_unique<Collection>();
  bool ok = false;
  Waveform* waveform = nullptr;
};

inline ReadResult readWaveFile(const Path& path, io::FormatReader reader = wave::readWave) {
  ReadResult result;
  setLastError({});
  InputFile file;
  result.ok = file.open(path) && reader(*result.collection, file, 0);
  auto waveforms = result.collection->all<Waveform>();
  if (!waveforms.empty()) result.waveform = waveforms.front();
  return result;
}

/// Writes the bytes to a file of that name in the folder and reads it.
inline ReadResult readWaveBytes(const TempFolder& folder, Bytes bytes, const std::string& name = "test.wav",
                                io::FormatReader reader = wave::readWave) {
  removeFile(folder / name);  // writing into a file that is there waits for the disk
  putFile(folder / name, bytes);
  return readWaveFile(folder / name, reader);
}

/// Tuning, gain and records in one line: "60 +0 0dB | *Main Loop 10-20 Forward | x @5 | part 5-7"; an
/// asterisk marks the main loop.
inline std::string describe(const Waveform& waveform) {
  std::string line = formatted("%d %+d %gdB", waveform.rootKey, waveform.fineTuneCents,
                               static_cast<double>(waveform.volumeAdjustmentDb));
  for (const LoopRecord& record : waveform.records) {
    const bool isMain = record.id == waveform.mainLoopId;
    line += " | " + std::string(isMain ? "*" : "") + toUtf8(record.name);
    if (record.type == RecordType::PositionMarker)
      line += formatted(" @%g", record.startFrames());
    else
      line += formatted(" %g-%g", record.startFrames(), record.endFrames());
    if (record.type != RecordType::Loop) continue;
    line += " " + toUtf8(displayWord(record.play));
    if (record.count == LoopCount::UntilRelease) line += " until release";
    if (record.tuneCents != 0) line += formatted(" %+d cents", record.tuneCents);
  }
  return line;
}

}  // namespace vemko::test
