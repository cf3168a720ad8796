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

}  // namespace

int probeWave(Bytes head, std::uint32_t, std::uint64_t) { return isWave(head) ? 6 : 0; }

int probeBroadcastWave(Bytes head, std::uint32_t, std::uint64_t) {
  if (!isWave(head)) return 0;
  constexpr int kChunks = 4;
  std::uint64_t position = 12;
  for (int i = 0; i < kChunks && head.size() >= 8 && position <= head.size() - 8; ++i) {
    ByteReader reader(head.subspan(static_cast<std::size_t>(position)));
    std::uint32_t id = reader.u32();
    std::uint64_t size = reader.u32();
    if (id == fourCc("bext")) return 6;
    if (id == fourCc("data")) break;
    position += 8 + size + size % 2;
  }
  return 2;
}

int probeSmartSound(Bytes head, std::uint32_t, std::uint64_t) {
  return hasForm(head, {fourCc("SDSS")}) ? 6 : 0;
}

int probeBigEndianWave(Bytes head, std::uint32_t, std::uint64_t) {
  return hasForm(head, {fourCc("RIFX")}) ? 6 : 0;
}

}  // namespace vemko::wave
