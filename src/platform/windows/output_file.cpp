#include <algorithm>

#include "base/last_error.h"
#include "platform/copy_blocks.h"
#include "platform/interruption.h"
#include "platform/windows/system.h"

namespace vemko {

struct OutputFile::System {
  windows::Handle file;
  bool isOnDisk = false;  // As opposed to a pipe or device, which has no positions.
};

namespace {

bool failWriting(const Path& path, DWORD error) {
  windows::logSystemError(path, error);
  return fail(u"Writing to file failed");
}

bool writeFully(HANDLE file, bool isOnDisk, std::uint64_t offset, Bytes data) {
  constexpr std::size_t kMaxWrite = std::size_t{1} << 30;
  while (!data.empty()) {
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(offset);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD done = 0;
    const auto part = static_cast<DWORD>(std::min(data.size(), kMaxWrite));
    if (!::WriteFile(file, data.data(), part, &done, isOnDisk ? &position : nullptr)) return false;
    if (done == 0) {
      ::SetLastError(ERROR_WRITE_FAULT);
      return false;
    }
    data = data.subspan(done);
    offset += done;
  }
  return true;
}

}  // namespace

OutputFile::OutputFile() = default;
OutputFile::~OutputFile() = default;

bool OutputFile::create(const Path& path) { return start(path, OPEN_ALWAYS); }
bool OutputFile::createNew(const Path& path) { return start(path, CREATE_NEW); }

bool OutputFile::start(const Path& path, int how) {
  path_ = path;
  size_ = 0;
  system_.reset();
  auto system = std::make_unique<System>();
  bool ok = windows::retriedWhileShared([&] {
    system->file = windows::Handle(::CreateFileW(windows::systemName(path).c_str(), GENERIC_WRITE,
                                                 FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                                 static_cast<DWORD>(how), FILE_ATTRIBUTE_NORMAL, nullptr));
    return static_cast<bool>(system->file);
  });
  if (ok) {
    // Emptied here: to ask for it when opening takes the file's attributes along.
    const bool wasThere = ::GetLastError() == ERROR_ALREADY_EXISTS;
    system->isOnDisk = ::GetFileType(system->file.get()) == FILE_TYPE_DISK;
    ok = !wasThere || !system->isOnDisk || ::SetEndOfFile(system->file.get());
  }
  if (!ok) {
    windows::logSystemError(path, ::GetLastError());
    return fail(u"Could not create file");
  }
  system_ = std::move(system);
  return true;
}

bool OutputFile::write(Bytes data) {
  if (!system_) return failWriting(path_, ERROR_INVALID_HANDLE);
  if (isInterrupted()) return fail(u"Interrupted");
  if (!writeFully(system_->file.get(), system_->isOnDisk, size_, data))
    return failWriting(path_, ::GetLastError());
  size_ += data.size();
  return true;
}

bool OutputFile::writeAt(std::uint64_t offset, Bytes data) {
  if (!system_) return failWriting(path_, ERROR_INVALID_HANDLE);
  if (offset > size_ || data.size() > size_ - offset) return failWriting(path_, ERROR_INVALID_PARAMETER);
  if (!system_->isOnDisk) return failWriting(path_, ERROR_SEEK_ON_DEVICE);
  return writeFully(system_->file.get(), true, offset, data) || failWriting(path_, ::GetLastError());
}

bool OutputFile::copyFrom(const InputFile& source, std::uint64_t offset, std::uint64_t count) {
  if (offset > source.size() || count > source.size() - offset) return fail(u"Reading from file failed");
  return copyBlocks(source, offset, count, *this);
}

bool OutputFile::flushToDisk() {
  if (!system_) return failWriting(path_, ERROR_INVALID_HANDLE);
  if (!system_->isOnDisk || ::FlushFileBuffers(system_->file.get())) return true;
  return failWriting(path_, ::GetLastError());
}

bool OutputFile::close() {
  if (!system_) return true;
  const HANDLE file = system_->file.release();
  system_.reset();
  return ::CloseHandle(file) || failWriting(path_, ::GetLastError());
}

}  // namespace vemko
