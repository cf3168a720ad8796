#include "formats/riff/format_body.h"

#include <algorithm>

namespace vemko::riff {

ByteWriter buildFormatBody(const FormatFields& fields) {
  constexpr std::uint16_t kExtensibleExtraBytes = 22;
  const std::uint64_t bytesPerSecond =
      fields.bytesPerSecond != 0 ? fields.bytesPerSecond : std::uint64_t{fields.rate} * fields.blockAlign;
  ByteWriter body;
  body.bytes.reserve(40);
  body.u16(fields.extensible ? kExtensibleTag : fields.tag);
  body.u16(fields.channels);
  body.u32(fields.rate);
  body.u32(static_cast<std::uint32_t>(std::min<std::uint64_t>(bytesPerSecond, 0xFFFFFFFF)));
  body.u16(fields.blockAlign);
  body.u16(fields.bits);
  if (fields.extensible) {
    body.u16(kExtensibleExtraBytes);
    body.u16(fields.validBits);
    body.u32(fields.channels == 1 ? 4 : fields.channels == 2 ? 3 : 0);  // speaker positions
    body.u16(fields.tag);
    body.append(std::as_bytes(std::span(kBaseGuid)));
  } else if (fields.hasExtra) {
    body.u16(static_cast<std::uint16_t>(fields.extra.size()));
    body.append(fields.extra);
  }
  return body;
}

}  // namespace vemko::riff
