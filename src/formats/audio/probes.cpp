#include "formats/audio/probes.h"

#include <cstring>

namespace vemko::audio {

bool startsWith(Bytes head, std::string_view magic, std::size_t offset) {
  return offset <= head.size() && magic.size() <= head.size() - offset &&
         std::memcmp(head.data() + offset, magic.data(), magic.size()) == 0;
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
