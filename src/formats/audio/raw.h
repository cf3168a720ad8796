#pragma once
// The catch-all row: any file as raw samples, in the format that the user gives.
#include "io/format_entry.h"

namespace vemko::audio {

int probeAny(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readRaw(Collection& collection, InputFile& file, std::uint32_t variant);

}  // namespace vemko::audio
