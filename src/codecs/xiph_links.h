#pragma once
// Chains of Ogg streams, "links", which count as one sound as long as they go on in the first one's format.
#include <cstdint>

#include "base/log.h"

namespace vemko {

/// The frames of those links; `isSame(link)` and `frames(link)`, below 0 for unknown, ask the library.
template <class IsSame, class Frames>
std::uint64_t framesOfLinks(int links, IsSame isSame, Frames frames) {
  std::uint64_t sum = 0;
  int link = 0;
  for (; link < links && isSame(link); ++link)
    if (const std::int64_t count = frames(link); count > 0) sum += static_cast<std::uint64_t>(count);
  if (link < links) logWarning(u"Streams of another format behind the first one are not read");
  return sum;
}

}  // namespace vemko
