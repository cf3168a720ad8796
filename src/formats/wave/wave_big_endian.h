#pragma once
// Chunks of RIFX files, whose numbers stand with their high byte first.
#include <cstdint>
#include <optional>
#include <vector>

#include "base/bytes.h"

namespace vemko::wave {

/// What the body of this chunk would be in a RIFF file; nothing for chunks that are the same in both, which
/// are those of bytes and texts only. The sub-chunks of lists are laid out anew.
std::optional<std::vector<std::byte>> littleEndianBody(std::uint32_t id, Bytes body);

}  // namespace vemko::wave
