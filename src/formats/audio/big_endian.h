#pragma once
// Big-endian chunks, as IFF and its descendants have them.
#include <algorithm>
#include <bit>
#include <string_view>

#include "base/bytes.h"

namespace vemko::audio {

template <class T>
void putBig(ByteWriter& out, T value) {
  out.little(byteSwapped(value));
}

/// A sample rate as a floating-point number of 80 bits.
inline void putExtended(ByteWriter& out, std::uint32_t rate) {
  constexpr int kExponentOfOne = 16383;
  const int exponent = static_cast<int>(std::bit_width(rate)) - 1;
  putBig(out, static_cast<std::uint16_t>(rate == 0 ? 0 : kExponentOfOne + exponent));
  putBig(out, rate == 0 ? std::uint64_t{0} : std::uint64_t{rate} << (63 - exponent));
}

/// The ranges of keys and velocities of a sample that plays everywhere.
inline void putFullRanges(ByteWriter& out) {
  constexpr std::uint8_t kRanges[] = {0, 127, 1, 127};
  out.append(std::as_bytes(std::span(kRanges)));
}

struct IffChunk {
  std::uint32_t id = 0;
  Bytes body;  ///< What is there of it.
  bool overruns = false;
};

/// Walks the chunks of a "FORM" behind its type. False at the end.
class IffWalker {
 public:
  explicit IffWalker(Bytes form) : reader_(form) {}
  bool next(IffChunk& chunk) {
    chunk.id = reader_.u32();
    const std::uint64_t size = reader_.big<std::uint32_t>();
    if (!reader_.ok) return false;
    chunk.overruns = size > reader_.remaining();
    chunk.body = reader_.take(std::min<std::uint64_t>(size, reader_.remaining()));
    if (size % 2 != 0 && reader_.remaining() > 0) reader_.skip(1);
    return true;
  }

 private:
  ByteReader reader_;
};

/// Appends a whole chunk, padded to an even length; nothing for an empty body.
inline void putIffChunk(ByteWriter& out, std::string_view id, Bytes body) {
  if (body.empty()) return;
  out.text(id);
  putBig(out, static_cast<std::uint32_t>(body.size()));
  out.append(body);
  if (body.size() % 2 != 0) out.u8(0);
}

}  // namespace vemko::audio
