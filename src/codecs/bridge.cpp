#include "codecs/bridge.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/last_error.h"
#include "base/progress.h"

namespace vemko {
namespace {

constexpr std::size_t kReadBytes = 1 << 16;
constexpr std::size_t kWriteBytes = 1 << 18;

}  // namespace

FilePart FilePart::inMemory(std::vector<std::byte> bytes) {
  FilePart part;
  part.size = bytes.size();
  part.memory = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
  return part;
}

std::unique_ptr<PartInput> PartInput::open(const FilePart& part) {
  std::unique_ptr<PartInput> input(new PartInput);
  input->memory_ = part.memory;
  input->size_ = part.size;
  if (part.memory) {
    input->size_ = std::min<std::uint64_t>(part.size, part.memory->size());
    return input;
  }
  input->file_ = part.file->open();
  if (!input->file_) return nullptr;
  input->offset_ = std::min(part.offset, input->file_->size());
  input->size_ = std::min(part.size, input->file_->size() - input->offset_);
  return input;
}

bool PartInput::seek(std::int64_t offset, int whence) {
  const std::uint64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : size_;
  const auto distance = static_cast<std::uint64_t>(offset);
  if (offset < 0 && 0 - distance > base) return false;
  position_ = base + distance;
  return true;
}

// Brings the bytes at the position into the buffer.
bool PartInput::fill() {
  if (position_ >= bufferStart_ && position_ - bufferStart_ < buffer_.size()) return true;
  if (position_ >= size_) return false;
  buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kReadBytes, size_ - position_)));
  bufferStart_ = position_;
  if (memory_)
    std::memcpy(buffer_.data(), memory_->data() + position_, buffer_.size());
  else if (!file_->readAt(offset_ + position_, buffer_))
    buffer_.clear();
  return !buffer_.empty();
}

std::size_t PartInput::read(std::span<std::byte> out) {
  std::size_t done = 0;
  while (done < out.size() && fill()) {
    const std::size_t at = static_cast<std::size_t>(position_ - bufferStart_);
    const std::size_t count = std::min(out.size() - done, buffer_.size() - at);
    std::memcpy(out.data() + done, buffer_.data() + at, count);
    done += count;
    position_ += count;
  }
  return done;
}

bool FileSink::write(Bytes data) {
  if (pending_.size() + data.size() > kWriteBytes && !flush()) return false;
  if (data.size() > kWriteBytes) return file_.write(data);
  pending_.insert(pending_.end(), data.begin(), data.end());
  return true;
}

bool FileSink::writeAt(std::uint64_t offset, Bytes data) {
  return flush() && file_.writeAt(start_ + offset, data);
}

bool FileSink::flush() {
  const bool ok = pending_.empty() || file_.write(pending_);
  pending_.clear();
  return ok;
}

bool MemorySink::write(Bytes data) {
  bytes.insert(bytes.end(), data.begin(), data.end());
  return true;
}

bool MemorySink::writeAt(std::uint64_t offset, Bytes data) {
  if (offset > bytes.size() || data.size() > bytes.size() - offset) return fail(u"Writing to file failed");
  std::memcpy(bytes.data() + offset, data.data(), data.size());
  return true;
}

EncoderBlocks::EncoderBlocks(const EncoderInput& input, std::size_t framesPerBlock, float limit)
    : input_(input), block_(framesPerBlock * input.channels), limit_(limit) {}

std::optional<std::span<const float>> EncoderBlocks::next() {
  const std::size_t blockFrames = block_.size() / input_.channels;
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(blockFrames, input_.frames - done_));
  if (wanted == 0) return std::span<const float>();
  const auto samples = std::span(block_).first(wanted * input_.channels);
  const auto got = input_.stream.read(samples);
  if (!got) return std::nullopt;
  if (*got < wanted) {
    setLastError(u"Reading from file failed");
    return std::nullopt;
  }
  if (limit_ > 0)
    for (float& sample : samples) sample = sample == sample ? std::clamp(sample, -limit_, limit_) : 0;
  constexpr std::uint64_t kProgressFrames = 1'000'000;
  if (done_ / kProgressFrames != (done_ + wanted) / kProgressFrames)
    showProgress(static_cast<double>(done_) / static_cast<double>(input_.frames));
  done_ += wanted;
  return samples;
}

void reorderChannels(std::span<float> samples, std::span<const std::uint8_t> order) {
  if (order.empty()) return;
  std::array<float, 256> frame;
  for (std::size_t at = 0; at + order.size() <= samples.size(); at += order.size()) {
    for (std::size_t i = 0; i < order.size(); ++i) frame[i] = samples[at + order[i]];
    std::copy_n(frame.begin(), order.size(), samples.begin() + static_cast<std::ptrdiff_t>(at));
  }
}

}  // namespace vemko
