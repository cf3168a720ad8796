#pragma once
// What both systems' OutputFile::copyFrom do with what the system does not copy by itself.
#include "platform/files.h"

namespace vemko {

/// Appends `count` bytes of `source` from `offset` to `target`, without holding more than a block that stays
/// in the processor's cache. Fails as readAt or write.
bool copyBlocks(const InputFile& source, std::uint64_t offset, std::uint64_t count, OutputFile& target);

}  // namespace vemko
