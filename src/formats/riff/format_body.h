#pragma once
// The body of a "fmt " chunk.
#include <cstdint>

#include "base/bytes.h"

namespace vemko::riff {

inline constexpr std::uint16_t kPcmTag = 1, kFloatTag = 3, kExtensibleTag = 0xFFFE;

struct FormatFields {
  std::uint16_t tag = kPcmTag;
  std::uint8_t channels = 1;
  std::uint32_t rate = 44100;
  std::uint64_t bytesPerSecond = 0;  ///< 0: blockAlign x rate.
  std::uint16_t blockAlign = 2;
  std::uint16_t bits = 16;       ///< Of a sample's container.
  std::uint16_t validBits = 16;  ///< What of them is used; told by the extensible form only.
  bool extensible = false;
  bool hasExtra = false;  ///< A size word stands behind the fields, also when `extra` is empty.
  Bytes extra;            ///< Not in the extensible form.
};
ByteWriter buildFormatBody(const FormatFields& fields);

/// What stands behind the format tag in a sub-format GUID of the standard family.
inline constexpr std::uint8_t kBaseGuid[14] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                               0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

}  // namespace vemko::riff
