#include "formats/riff/riff.h"

#include <algorithm>
#include <cassert>

namespace vemko::riff {
namespace {

constexpr std::uint64_t kHeaderBytes = 8;
// What writers and disks pad with is shorter; files of gigabytes of zeros are not to be walked through.
constexpr std::uint64_t kMaxPadding = 1 << 20;

bool isChunkId(Bytes at) {
  auto isPrintable = [](std::byte b) { return b >= std::byte{0x20} && b < std::byte{0x7F}; };
  return at.size() >= 4 && std::all_of(at.begin(), at.begin() + 4, isPrintable);
}

std::uint32_t readSize(ByteReader& reader, bool bigEndian) {
  return bigEndian ? reader.big<std::uint32_t>() : reader.u32();
}

// A chunk id whose body fits the list.
bool startsWholeChunk(Bytes at, bool bigEndian) {
  ByteReader reader(at);
  reader.skip(4);
  std::uint32_t size = readSize(reader, bigEndian);
  return reader.ok && isChunkId(at) && size <= reader.remaining();
}

// Whether the byte that stands right behind a body of odd length is the pad byte.
bool isPadByte(Bytes behind, bool bigEndian) {
  if (behind.empty() || startsWholeChunk(behind, bigEndian)) return false;
  return startsWholeChunk(behind.subspan(1), bigEndian) || !isChunkId(behind);
}

}  // namespace

// False at the end of the list, or where only padding follows.
bool ChunkWalker::skipPadding() {
  if (position_ > list_.size()) return false;
  const Bytes rest = list_.subspan(static_cast<std::size_t>(position_));
  const auto padding = static_cast<std::size_t>(
      std::find_if(rest.begin(), rest.begin() + std::min<std::ptrdiff_t>(std::ssize(rest), kMaxPadding),
                   [](std::byte b) { return b != std::byte{0}; }) -
      rest.begin());
  position_ += padding / kHeaderBytes * kHeaderBytes;
  return padding < kMaxPadding && list_.size() - position_ >= kHeaderBytes;
}

bool ChunkWalker::next(Chunk& chunk) {
  if (!skipPadding()) return false;
  ByteReader reader(list_.subspan(static_cast<std::size_t>(position_)));
  chunk.id = reader.u32();
  chunk.size = readSize(reader, bigEndian_);
  chunk.offset = position_ + kHeaderBytes;
  chunk.overruns = chunk.size > reader.remaining();
  chunk.body = reader.take(std::min<std::uint64_t>(chunk.size, reader.remaining()));
  seekBehind(chunk.offset, chunk.body.size());
  return true;
}

void ChunkWalker::seekBehind(std::uint64_t offset, std::uint64_t size) {
  position_ = offset + size;
  if (size % 2 != 0 && position_ < list_.size() &&
      isPadByte(list_.subspan(static_cast<std::size_t>(position_)), bigEndian_))
    ++position_;
}

std::uint32_t listType(Bytes body) { return ByteReader(body).u32(); }

Bytes listContents(Bytes body) { return body.size() < 4 ? Bytes() : body.subspan(4); }

std::u16string idText(std::uint32_t id) {
  std::u16string text;
  for (int i = 0; i < 4; ++i, id >>= 8) {
    char16_t c = id & 0xFF;
    text += c >= 0x20 && c < 0x7F ? c : u'?';
  }
  return text;
}

void ChunkBuilder::open(std::uint32_t id) {
  out.u32(id);
  out.u32(0);
  starts_.push_back(out.size());
}

void ChunkBuilder::openList(std::uint32_t type) {
  open(fourCc("LIST"));
  out.u32(type);
}

void ChunkBuilder::close() {
  assert(!starts_.empty());
  std::size_t size = out.size() - starts_.back();
  out.patchU32(starts_.back() - 4, static_cast<std::uint32_t>(size));
  starts_.pop_back();
  if (size % 2 != 0) out.u8(0);
}

void ChunkBuilder::add(std::uint32_t id, Bytes body) {
  open(id);
  out.append(body);
  close();
}

}  // namespace vemko::riff
