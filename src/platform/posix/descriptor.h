#pragma once
// What the sources of this folder share: owning file descriptors and calling the system.
#include <cerrno>
#include <sys/types.h>
#include <utility>

#include "platform/files.h"

namespace vemko::posix {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) reset(std::exchange(other.fd_, -1));
    return *this;
  }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }
  /// Closes what is held, without a word on failure.
  void reset(int fd = -1);

 private:
  int fd_ = -1;
};

/// Repeats a call for as long as signals interrupt it.
template <class Call>
auto retried(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// open(2), never inherited by child processes; errno tells why there is no descriptor.
Descriptor openPath(const Path& path, int flags, mode_t mode = 0666);

/// Logs "path: reason" for an error number.
void logSystemError(const Path& path, int error);

/// Reads until `out` is full or the file ends; the number of bytes read, or -1.
ssize_t readFully(int fd, std::span<std::byte> out, off_t offset);

}  // namespace vemko::posix
