#include "platform/input_file.h"

#include <algorithm>

#include "base/last_error.h"

namespace vemko {

InputFile::InputFile() = default;
InputFile::~InputFile() = default;

bool InputFile::open(const Path& path) {
  path_ = path;
  size_ = position_ = partOffset_ = 0;
  isPart_ = false;
  system_.reset();
  auto system = std::make_shared<System>();
  if (!system->open(path)) return fail(u"Could not open file");
  size_ = system->wholeBytes;
  system_ = std::move(system);
  return true;
}

bool InputFile::openPart(const InputFile& whole, std::uint64_t offset, std::uint64_t size) {
  if (!whole.system_ || offset > whole.size_ || size > whole.size_ - offset)
    return fail(u"Reading from file failed");
  system_ = whole.system_;
  path_ = whole.path_;
  size_ = size;
  position_ = 0;
  partOffset_ = whole.partOffset_ + offset;
  isPart_ = true;
  return true;
}

std::size_t InputFile::read(std::span<std::byte> out) {
  if (position_ >= size_) return 0;
  out = out.first(static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - position_)));
  std::size_t count = out.size();
  if (system_->native)
    count = system_->read(path_, partOffset_ + position_, out).value_or(0);
  else
    std::copy_n(system_->held.data() + partOffset_ + position_, count, out.data());
  position_ += count;
  return count;
}

bool InputFile::readAt(std::uint64_t offset, std::span<std::byte> out) const {
  if (offset > size_ || out.size() > size_ - offset) return fail(u"Reading from file failed");
  if (out.empty()) return true;
  if (!system_->native) {
    std::copy_n(system_->held.data() + partOffset_ + offset, out.size(), out.data());
    return true;
  }
  return system_->read(path_, partOffset_ + offset, out) == out.size() || fail(u"Reading from file failed");
}

Bytes InputFile::bytes() {
  if (size_ == 0) return {};
  const Bytes all = system_->native ? system_->map() : Bytes(system_->held);
  if (all.empty()) return {};
  return all.subspan(static_cast<std::size_t>(partOffset_), static_cast<std::size_t>(size_));
}

bool InputFile::isIntact() const { return !system_ || !system_->native || system_->isIntact(); }

}  // namespace vemko
