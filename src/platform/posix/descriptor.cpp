#include "platform/posix/descriptor.h"

#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include "base/log.h"
#include "base/text.h"

namespace vemko::posix {

void Descriptor::reset(int fd) {
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

Descriptor openPath(const Path& path, int flags, mode_t mode) {
  return Descriptor(retried([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
}

void logSystemError(const Path& path, int error) {
  logWarning(textOf(path) + u": " + toUtf16(std::generic_category().message(error)));
}

ssize_t readFully(int fd, std::span<std::byte> out, off_t offset) {
  std::size_t done = 0;
  while (done < out.size()) {
    ssize_t count = retried(
        [&] { return ::pread(fd, out.data() + done, out.size() - done, offset + static_cast<off_t>(done)); });
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

}  // namespace vemko::posix
