#pragma once
// The two companded encodings of ITU-T G.711: 8 bits that stand for 14 (mu-law) or 13 (A-law).
#include <cstdint>

namespace vemko {

/// The 16-bit value that a code stands for.
std::int16_t decodeMuLaw(std::uint8_t code);
std::int16_t decodeALaw(std::uint8_t code);

/// The code nearest to a 16-bit value.
std::uint8_t encodeMuLaw(std::int16_t value);
std::uint8_t encodeALaw(std::int16_t value);

}  // namespace vemko
