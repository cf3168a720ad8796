#include "platform/block_writer.h"

#include <algorithm>
#include <cstring>

namespace vemko {

BlockWriter::BlockWriter(OutputFile& file) : file_(file) {}

std::span<std::byte> BlockWriter::reserve(std::size_t count) {
  if (count > kBlockBytes - used_ && !flush()) return {};
  if (!ok_ || count > kBlockBytes) return {};
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBlockBytes);
  std::span<std::byte> room{buffer_.get() + used_, count};
  used_ += count;
  return room;
}

bool BlockWriter::append(Bytes data) {
  while (!data.empty()) {
    std::size_t part = std::min(data.size(), kBlockBytes - used_);
    if (part == 0) part = std::min(data.size(), kBlockBytes);
    std::span<std::byte> room = reserve(part);
    if (room.empty()) return false;
    std::memcpy(room.data(), data.data(), part);
    data = data.subspan(part);
  }
  return ok_;
}

bool BlockWriter::flush() {
  if (ok_ && used_ > 0) {
    ok_ = file_.write({buffer_.get(), used_});
    written_ += used_;
    used_ = 0;
  }
  return ok_;
}

bool BlockWriter::copyFrom(const InputFile& source, std::uint64_t offset, std::uint64_t count) {
  if (count <= kBlockBytes - used_) {
    std::span<std::byte> room = reserve(static_cast<std::size_t>(count));
    return ok_ && (room.empty() || (ok_ = source.readAt(offset, room)));
  }
  ok_ = flush() && file_.copyFrom(source, offset, count);
  written_ += count;
  return ok_;
}

}  // namespace vemko
