#pragma once
// How every writer brings its bytes to the file: what fits the buffer is built whole and written with one
// write, a larger file goes through the same buffer in blocks. Touching fresh memory costs more than any
// conversion of samples, so the buffer is small enough to stay in the cache and is used again and again.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/bytes.h"
#include "platform/files.h"

namespace vemko {

class BlockWriter {
 public:
  static constexpr std::size_t kBlockBytes = 1 << 20;

  explicit BlockWriter(OutputFile& file);

  /// False, with the last error message set, from the first failed write on.
  bool append(Bytes data);
  /// Room for `count` bytes (at most kBlockBytes) that the caller fills before the next call; empty after a
  /// failed write.
  std::span<std::byte> reserve(std::size_t count);
  /// Appends bytes of another file, without bringing them here where the system can do that.
  bool copyFrom(const InputFile& source, std::uint64_t offset, std::uint64_t count);
  /// Writes what is pending.
  bool flush();

  /// Bytes appended so far.
  std::uint64_t position() const { return written_ + used_; }

 private:
  OutputFile& file_;
  std::unique_ptr<std::byte[]> buffer_;  // kBlockBytes, made when first needed
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;
  bool ok_ = true;
};

}  // namespace vemko
