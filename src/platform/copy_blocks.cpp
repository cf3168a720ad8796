#include "platform/copy_blocks.h"

#include <algorithm>

namespace vemko {

bool copyBlocks(const InputFile& source, std::uint64_t offset, std::uint64_t count, OutputFile& target) {
  constexpr std::uint64_t kStep = 1 << 18;
  const auto step = static_cast<std::size_t>(std::min(count, kStep));
  const auto buffer = std::make_unique_for_overwrite<std::byte[]>(step);
  const std::span block(buffer.get(), step);
  while (count > 0) {
    const auto part = block.first(static_cast<std::size_t>(std::min<std::uint64_t>(count, step)));
    if (!source.readAt(offset, part) || !target.write(part)) return false;
    offset += part.size();
    count -= part.size();
  }
  return true;
}

}  // namespace vemko
