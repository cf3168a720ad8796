#include <optional>

#include "codecs/id3.h"
#include "formats/riff/riff.h"
#include "formats/wave/wave.h"

namespace vemko::wave {
namespace {

bool hasForm(Bytes head, std::initializer_list<std::uint32_t> ids) {
  ByteReader reader(head);
  std::uint32_t id = reader.u32();
  reader.u32();
  if (reader.u32() != fourCc("WAVE")) return false;
  for (std::uint32_t each : ids)
    if (id == each) return true;
  return false;
}

bool isWave(Bytes head) { return hasForm(head, {fourCc("RIFF"), fourCc("RF64"), fourCc("BW64")}); }

// What the head holds of the first chunk of that kind, if it is among the first four and before the samples.
std::optional<Bytes> earlyChunk(Bytes head, std::uint32_t wanted) {
  constexpr int kChunks = 4;
  std::uint64_t position = 12;
  for (int i = 0; i < kChunks && head.size() >= 8 && position <= head.size() - 8; ++i) {
    ByteReader reader(head.subspan(static_cast<std::size_t>(position)));
    std::uint32_t id = reader.u32();
    std::uint64_t size = reader.u32();
    if (id == wanted) return reader.rest();
    if (id == fourCc("data")) break;
    position += 8 + size + size % 2;
  }
  return std::nullopt;
}

}  // namespace

int probeWave(Bytes head, std::uint32_t, std::uint64_t) {
  const Id3Head tag = skipId3(head);
  if (tag.isLongerThanHead) return 2;
  return isWave(tag.rest) ? 6 : 0;
}

int probeBroadcastWave(Bytes head, std::uint32_t, std::uint64_t) {
  const Id3Head tag = skipId3(head);
  if (tag.isLongerThanHead) return 2;
  if (!isWave(tag.rest)) return 0;
  return earlyChunk(tag.rest, fourCc("bext")) ? 6 : 2;
}

int probeUsrGsm(Bytes head, std::uint32_t, std::uint64_t) {
  constexpr std::uint16_t kGsmTag = 0x31;
  if (!isWave(head)) return 0;
  const auto format = earlyChunk(head, fourCc("fmt "));
  return format && ByteReader(*format).u16() == kGsmTag ? 4 : 0;
}

int probeSmartSound(Bytes head, std::uint32_t, std::uint64_t) {
  return hasForm(head, {fourCc("SDSS")}) ? 6 : 0;
}

int probeBigEndianWave(Bytes head, std::uint32_t, std::uint64_t) {
  return hasForm(head, {fourCc("RIFX")}) ? 6 : 0;
}

}  // namespace vemko::wave
