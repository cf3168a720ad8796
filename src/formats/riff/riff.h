#pragma once
// RIFF files: walking and building chunks, for the formats that share the container. A chunk is a
// four-character id, a 32-bit length - little-endian, in RIFX files big-endian - and a body; a body of odd
// length is followed by a pad byte that the length does not count.
#include <cstdint>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "base/text.h"

namespace vemko::riff {

struct Chunk {
  std::uint32_t id = 0;
  std::uint64_t size = 0;    ///< As claimed.
  std::uint64_t offset = 0;  ///< Of the body, within the list that is walked.
  Bytes body;                ///< What is there of it.
  bool overruns = false;     ///< The list ends before the body does.
};

/// Walks the chunks of a list. Real files lack pad bytes: after a body of odd length the pad is skipped only
/// when a chunk id, or the end, does not stand right there.
class ChunkWalker {
 public:
  explicit ChunkWalker(Bytes list, bool bigEndian = false) : list_(list), bigEndian_(bigEndian) {}
  /// False when fewer than 8 bytes remain, or nothing but zeros within the next MiB; shorter runs of zeros
  /// between chunks are skipped.
  bool next(Chunk& chunk);
  /// Continues behind a body, for a chunk whose size stands outside its header; the body must lie within the
  /// list.
  void seekBehind(std::uint64_t offset, std::uint64_t size);

 private:
  bool skipPadding();

  Bytes list_;
  bool bigEndian_;
  std::uint64_t position_ = 0;
};

/// The list type of a LIST body and the bytes behind it; 0 when the body is too short.
std::uint32_t listType(Bytes body);
Bytes listContents(Bytes body);

/// The four characters for a log line; "?" for those that cannot be shown.
std::u16string idText(std::uint32_t id);

/// Builds nested chunks; open chunks are closed in reverse order and get their length and pad byte then.
class ChunkBuilder {
 public:
  ByteWriter out;

  void open(std::uint32_t id);
  void openList(std::uint32_t type);
  void close();
  /// A whole chunk.
  void add(std::uint32_t id, Bytes body);

 private:
  std::vector<std::size_t> starts_;
};

}  // namespace vemko::riff
