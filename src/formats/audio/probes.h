#pragma once
// Pieces that the probes of several formats look at.
#include <string_view>

#include "base/bytes.h"

namespace vemko::audio {

/// Whether `magic` stands at `offset` of the head.
bool startsWith(Bytes head, std::string_view magic, std::size_t offset = 0);

/// The payload of an Ogg file's first page, where the codec names itself; empty for anything else.
Bytes firstOggPacket(Bytes head);

}  // namespace vemko::audio
