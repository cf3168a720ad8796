#include <algorithm>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/last_error.h"
#include "platform/copy_blocks.h"
#include "platform/interruption.h"
#include "platform/posix/input_file.h"

namespace vemko {

struct OutputFile::System {
  posix::Descriptor fd;
};

namespace {

bool failWriting(const Path& path, int error) {
  posix::logSystemError(path, error);
  return fail(u"Writing to file failed");
}

// Calls `write(rest)` until nothing is left; the system may take a part only.
template <class Write>
bool writeFully(const Path& path, Bytes data, Write write) {
  while (!data.empty()) {
    ssize_t done = posix::retried([&] { return write(data); });
    if (done <= 0) return failWriting(path, done < 0 ? errno : EIO);
    data = data.subspan(static_cast<std::size_t>(done));
  }
  return true;
}

bool isOnAnotherDevice(int from, int to) {
  struct stat a, b;
  return ::fstat(from, &a) == 0 && ::fstat(to, &b) == 0 && a.st_dev != b.st_dev;
}

// The number of bytes of `count` that the kernel copied by itself. It may refuse at any point, for its own
// reasons; copying the rest by hand then finds out whether there is an error to report.
std::uint64_t copyInKernel(int from, std::uint64_t offset, int to, std::uint64_t count) {
  constexpr std::uint64_t kStep = 1 << 26;
  std::uint64_t copied = 0;
  while (copied < count && !isInterrupted()) {
    auto position = static_cast<off_t>(offset + copied);
    const auto step = static_cast<std::size_t>(std::min(kStep, count - copied));
    const ssize_t done = posix::retried([&] { return ::sendfile(to, from, &position, step); });
    if (done <= 0) break;
    copied += static_cast<std::uint64_t>(done);
  }
  return copied;
}

}  // namespace

OutputFile::OutputFile() = default;
OutputFile::~OutputFile() = default;

bool OutputFile::create(const Path& path) { return start(path, O_TRUNC); }
bool OutputFile::createNew(const Path& path) { return start(path, O_EXCL); }

bool OutputFile::start(const Path& path, int how) {
  path_ = path;
  size_ = 0;
  system_.reset();
  auto system = std::make_unique<System>();
  system->fd = posix::openPath(path, O_WRONLY | O_CREAT | O_NOCTTY | how);
  if (!system->fd) {
    posix::logSystemError(path, errno);
    return fail(u"Could not create file");
  }
  system_ = std::move(system);
  return true;
}

bool OutputFile::write(Bytes data) {
  if (!system_) return failWriting(path_, EBADF);
  if (isInterrupted()) return fail(u"Interrupted");
  return writeFully(path_, data, [this](Bytes rest) {
    ssize_t done = ::write(system_->fd.get(), rest.data(), rest.size());
    if (done > 0) size_ += static_cast<std::uint64_t>(done);
    return done;
  });
}

bool OutputFile::writeAt(std::uint64_t offset, Bytes data) {
  if (!system_) return failWriting(path_, EBADF);
  if (offset > size_ || data.size() > size_ - offset) return failWriting(path_, EINVAL);
  return writeFully(path_, data, [this, end = offset + data.size()](Bytes rest) {
    return ::pwrite(system_->fd.get(), rest.data(), rest.size(), static_cast<off_t>(end - rest.size()));
  });
}

bool OutputFile::copyFrom(const InputFile& source, std::uint64_t offset, std::uint64_t count) {
  if (offset > source.size() || count > source.size() - offset) return fail(u"Reading from file failed");
  if (count == 0) return true;
  if (!system_) return failWriting(path_, EBADF);
  // The kernel is faster from one device to another, a buffer that stays in the cache on the same one.
  const auto& from = source.system_->native;
  if (from && isOnAnotherDevice(from->fd.get(), system_->fd.get())) {
    const std::uint64_t copied =
        copyInKernel(from->fd.get(), source.partOffset_ + offset, system_->fd.get(), count);
    size_ += copied;
    offset += copied;
    count -= copied;
  }
  return copyBlocks(source, offset, count, *this);
}

bool OutputFile::flushToDisk() {
  if (!system_) return failWriting(path_, EBADF);
  if (posix::retried([&] { return ::fsync(system_->fd.get()); }) == 0) return true;
  // Pipes and devices have nothing to flush.
  return errno == EINVAL || errno == EROFS || errno == ENOTSUP || failWriting(path_, errno);
}

bool OutputFile::close() {
  if (!system_) return true;
  int fd = system_->fd.release();
  system_.reset();
  // An interrupted close has closed the file all the same.
  return ::close(fd) == 0 || errno == EINTR || failWriting(path_, errno);
}

}  // namespace vemko
