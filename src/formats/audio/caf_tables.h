#pragma once
// What reading and writing the chunks of Apple's CoreAudio files share. Positions are 64-bit floats, so that
// fractions of a frame are kept.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "base/bytes.h"
#include "core/item.h"

namespace vemko::audio {

inline constexpr std::uint32_t kLoopEnable = 1, kPlayForward = 2, kPlayBackward = 4;  // flags of a region
inline constexpr std::uint32_t kStartMarker = 0x72626567, kEndMarker = 0x72656E64;    // "rbeg", "rend"

struct CafTextRow {
  std::string_view key;
  TextProperty property;
};
// clang-format off
inline constexpr CafTextRow kCafTextRows[] = {
  {"title",              TextProperty::Name},
  {"artist",             TextProperty::Artist},
  {"comments",           TextProperty::Comments},
  {"copyright",          TextProperty::Copyright},
  {"recording engineer", TextProperty::Engineer},
  {"album",              TextProperty::Product},
  {"source",             TextProperty::SourceFile},
};
// clang-format on

struct CafMarker {
  std::uint32_t type = 0, id = 0;
  double position = 0;
};

inline constexpr std::size_t kCafHeaderBytes = 8;

struct CafChunk {
  std::uint32_t id = 0;
  Bytes body;  ///< What is there of it.
  bool isOpenEnded = false, overruns = false;
};

/// The next chunk behind the file's header; false at the end. The last one may leave its length open: -1, to
/// the end of the file.
inline bool nextCafChunk(ByteReader& reader, CafChunk& chunk) {
  constexpr std::uint64_t kOpenSize = UINT64_MAX;
  chunk.id = reader.u32();
  const auto size = reader.big<std::uint64_t>();
  if (!reader.ok) return false;
  chunk.isOpenEnded = size == kOpenSize;
  chunk.overruns = !chunk.isOpenEnded && size > reader.remaining();
  chunk.body = reader.take(std::min<std::uint64_t>(size, reader.remaining()));
  return true;
}

}  // namespace vemko::audio
