#include "platform/posix/input_file.h"

#include <algorithm>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

#include "base/last_error.h"

namespace vemko {
namespace {

// A device can be without end.
constexpr std::size_t kMaxHeldBytes = std::size_t{1} << 30;

bool readToEnd(int fd, std::vector<std::byte>& content) {
  constexpr std::size_t kStep = 1 << 16;
  for (;;) {
    const std::size_t used = content.size();
    if (used > kMaxHeldBytes) {
      errno = EFBIG;
      return false;
    }
    content.resize(used + std::max(kStep, used / 2));
    ssize_t count = posix::retried([&] { return ::read(fd, content.data() + used, content.size() - used); });
    content.resize(used + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count <= 0) return count == 0;
  }
}

// The size of what can be read at a position, -1 of anything else. Files that the kernel makes up as they are
// read claim to be empty.
off_t positionedSize(int fd, const struct stat& status) {
  if (S_ISREG(status.st_mode)) return status.st_size > 0 ? status.st_size : -1;
  return S_ISBLK(status.st_mode) ? ::lseek(fd, 0, SEEK_END) : -1;
}

}  // namespace

InputFile::InputFile() = default;
InputFile::~InputFile() = default;

bool InputFile::open(const Path& path) {
  system_.reset();
  path_ = path;
  size_ = position_ = partOffset_ = 0;
  isPart_ = false;
  auto system = std::make_shared<System>();
  auto refuse = [&path](int error) {
    if (error != ENOENT) posix::logSystemError(path, error);
    return fail(u"Could not open file");
  };
  system->fd = posix::openPath(path, O_RDONLY | O_NOCTTY);
  struct stat status;
  if (!system->fd || ::fstat(system->fd.get(), &status) != 0) return refuse(errno);
  if (S_ISDIR(status.st_mode)) return refuse(EISDIR);
  if (off_t size = positionedSize(system->fd.get(), status); size >= 0) {
    size_ = static_cast<std::uint64_t>(size);
  } else {
    if (!readToEnd(system->fd.get(), system->held)) return refuse(errno);
    system->fd.reset();
    size_ = system->held.size();
  }
  system->wholeBytes = size_;
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
  if (system_->fd) {
    ssize_t count = posix::readFully(system_->fd.get(), out, static_cast<off_t>(partOffset_ + position_));
    if (count < 0) posix::logSystemError(path_, errno);
    out = out.first(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  } else {
    std::copy_n(system_->held.data() + partOffset_ + position_, out.size(), out.data());
  }
  position_ += out.size();
  return out.size();
}

bool InputFile::readAt(std::uint64_t offset, std::span<std::byte> out) const {
  if (offset > size_ || out.size() > size_ - offset) return fail(u"Reading from file failed");
  if (out.empty()) return true;
  if (!system_->fd) {
    std::copy_n(system_->held.data() + partOffset_ + offset, out.size(), out.data());
    return true;
  }
  ssize_t count = posix::readFully(system_->fd.get(), out, static_cast<off_t>(partOffset_ + offset));
  if (count < 0) posix::logSystemError(path_, errno);
  return count == static_cast<ssize_t>(out.size()) || fail(u"Reading from file failed");
}

Bytes InputFile::bytes() {
  if (size_ == 0) return {};
  const Bytes all = system_->fd ? system_->map() : system_->held;
  if (all.empty()) return {};
  return all.subspan(static_cast<std::size_t>(partOffset_), static_cast<std::size_t>(size_));
}

Bytes InputFile::System::map() {
  if (mapping == nullptr) {
    void* mapped = MAP_FAILED;
    if (wholeBytes <= std::numeric_limits<std::size_t>::max())
      mapped = ::mmap(nullptr, static_cast<std::size_t>(wholeBytes), PROT_READ, MAP_PRIVATE, fd.get(), 0);
    if (mapped == MAP_FAILED) {
      fail(u"Reading from file failed");
      return {};
    }
    mapping = mapped;
    mappedBytes = static_cast<std::size_t>(wholeBytes);
  }
  return {static_cast<const std::byte*>(mapping), mappedBytes};
}

}  // namespace vemko
