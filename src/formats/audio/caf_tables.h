#pragma once
// What reading and writing the chunks of Apple's CoreAudio files share. Positions are 64-bit floats, so that
// fractions of a frame are kept.
#include <cstdint>
#include <string_view>

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

}  // namespace vemko::audio
