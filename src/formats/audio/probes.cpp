#include "formats/audio/probes.h"

#include <cstring>

namespace vemko::audio {

bool startsWith(Bytes head, std::string_view magic, std::size_t offset) {
  return offset <= head.size() && magic.size() <= head.size() - offset &&
         std::memcmp(head.data() + offset, magic.data(), magic.size()) == 0;
}

Id3Head skipId3(Bytes head) {
  constexpr std::size_t kHeaderBytes = 10;
  while (startsWith(head, "ID3") && head.size() >= kHeaderBytes) {
    ByteReader reader(head.subspan(5));
    const bool hasFooter = reader.u8() & 0x10;
    std::size_t size = kHeaderBytes + (hasFooter ? kHeaderBytes : 0), body = 0;
    for (int i = 0; i < 4; ++i) body = body << 7 | (reader.u8() & 127u);
    size += body;
    if (size >= head.size()) return {{}, true};
    head = head.subspan(size);
  }
  return {head, false};
}

Bytes firstOggPacket(Bytes head) {
  constexpr std::size_t kSegmentCountAt = 26;
  if (!startsWith(head, "OggS") || head.size() <= kSegmentCountAt) return {};
  ByteReader reader(head);
  reader.skip(kSegmentCountAt);
  reader.skip(reader.u8());
  return reader.ok ? reader.rest() : Bytes();
}

}  // namespace vemko::audio
