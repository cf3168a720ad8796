#include "core/sample_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "base/last_error.h"

namespace vemko {
namespace {

constexpr std::size_t kAlignment = 16;
constexpr std::uint64_t kGuardFramesBefore = 1, kGuardFramesBehind = 3;

}  // namespace

std::shared_ptr<SampleBuffer> SampleBuffer::allocate(std::uint32_t frames, std::uint8_t channels,
                                                     double rate) {
  const std::uint64_t frameBytes = channels * sizeof(float);
  const std::uint64_t sampleBytes = frames * frameBytes;
  // The guard in front is padded so that the samples start on the boundary too; the last kAlignment bytes
  // are room to move the block onto it.
  const std::uint64_t front = (kGuardFramesBefore * frameBytes + kAlignment - 1) / kAlignment * kAlignment;
  const std::uint64_t back = kGuardFramesBehind * frameBytes;
  const std::uint64_t total = front + sampleBytes + back + kAlignment;
  if (total > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) return nullptr;

  // malloc and not new: a large block that does not fit is an answer, not a reason to end the program.
  std::size_t room = static_cast<std::size_t>(total);
  void* block = std::malloc(room);
  if (!block) return nullptr;
  void* aligned = block;
  std::align(kAlignment, room - kAlignment, aligned, room);

  std::shared_ptr<SampleBuffer> buffer(new SampleBuffer);
  buffer->block_ = block;
  auto* start = static_cast<std::byte*>(aligned);
  buffer->first_ = reinterpret_cast<float*>(start + front);
  buffer->frames_ = frames;
  buffer->channels_ = channels;
  buffer->rate_ = rate;
  std::memset(start, 0, static_cast<std::size_t>(front));
  std::memset(start + front + sampleBytes, 0, static_cast<std::size_t>(back));
  return buffer;
}

std::shared_ptr<SampleBuffer> SampleBuffer::clone() const {
  auto copy = allocate(frames_, channels_, rate_);
  if (copy) std::ranges::copy(samples(), copy->samples().begin());
  return copy;
}

SampleBuffer::~SampleBuffer() { std::free(block_); }

bool fitsAddressSpace(std::uint64_t frames, std::uint32_t channels, int addressBits) {
  const std::uint64_t limit =
      addressBits >= 64 ? std::numeric_limits<std::uint64_t>::max() : (std::uint64_t{1} << addressBits) - 1;
  return channels == 0 || frames <= limit / sizeof(float) / channels;
}

bool mayLoad(std::uint64_t frames, std::uint32_t channels, int addressBits) {
  return fitsAddressSpace(frames, channels, addressBits) || fail(u"Wave too big - use 64-bit version!");
}

bool mayGrowTo(std::uint64_t frames, std::uint32_t channels, int addressBits) {
  return (frames <= UINT32_MAX && fitsAddressSpace(frames, channels, addressBits)) ||
         fail(u"Wave would be too big for the 32-bit app");
}

}  // namespace vemko
