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

InputFile::System::System() = default;
InputFile::System::~System() = default;

bool InputFile::System::open(const Path& path) {
  auto refuse = [&path](int error) {
    if (error != ENOENT) posix::logSystemError(path, error);
    return false;
  };
  posix::Descriptor fd = posix::openPath(path, O_RDONLY | O_NOCTTY);
  struct stat status;
  if (!fd || ::fstat(fd.get(), &status) != 0) return refuse(errno);
  if (S_ISDIR(status.st_mode)) return refuse(EISDIR);
  if (off_t size = positionedSize(fd.get(), status); size >= 0) {
    wholeBytes = static_cast<std::uint64_t>(size);
    native = std::make_unique<Native>();
    native->fd = std::move(fd);
  } else {
    if (!readToEnd(fd.get(), held)) return refuse(errno);
    wholeBytes = held.size();
  }
  return true;
}

std::optional<std::size_t> InputFile::System::read(const Path& path, std::uint64_t position,
                                                   std::span<std::byte> out) const {
  const ssize_t count = posix::readFully(native->fd.get(), out, static_cast<off_t>(position));
  if (count >= 0) return static_cast<std::size_t>(count);
  posix::logSystemError(path, errno);
  return std::nullopt;
}

Bytes InputFile::System::map() {
  posix::Mapping& mapping = native->mapping;
  const bool fits = wholeBytes <= std::numeric_limits<std::size_t>::max();
  if (mapping.bytes().empty() &&
      !(fits && mapping.map(native->fd.get(), static_cast<std::size_t>(wholeBytes))))
    fail(u"Reading from file failed");
  return mapping.bytes();
}

// Of the last page, what is behind the new end of a shorter file is zero without a word.
bool InputFile::System::isIntact() const {
  if (native->mapping.bytes().empty()) return true;
  struct stat status;
  const bool isShorter = ::fstat(native->fd.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                         static_cast<std::uint64_t>(status.st_size) < wholeBytes;
  return native->mapping.isIntact() && !isShorter;
}

}  // namespace vemko
