#include "platform/input_file.h"

#include <algorithm>
#include <limits>

#include "base/last_error.h"
#include "platform/windows/system.h"

namespace vemko {

struct InputFile::System::Native {
  windows::Handle file;
  const void* mapping = nullptr;  // The whole file, once bytes() was called.

  ~Native() {
    if (mapping != nullptr) ::UnmapViewOfFile(mapping);
  }
};

namespace {

// A device can be without end.
constexpr std::size_t kMaxHeldBytes = std::size_t{1} << 30;
constexpr std::size_t kMaxRead = std::size_t{1} << 30;

bool isEnd(DWORD error) { return error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE; }

bool readToEnd(HANDLE file, std::vector<std::byte>& content) {
  constexpr std::size_t kStep = 1 << 16;
  for (;;) {
    const std::size_t used = content.size();
    if (used > kMaxHeldBytes) {
      ::SetLastError(ERROR_FILE_TOO_LARGE);
      return false;
    }
    content.resize(used + std::max(kStep, used / 2));
    DWORD count = 0;
    const bool ok = ::ReadFile(file, content.data() + used, static_cast<DWORD>(content.size() - used), &count,
                               nullptr) != 0;
    content.resize(used + count);
    if (!ok || count == 0) return ok || isEnd(::GetLastError());
  }
}

}  // namespace

InputFile::System::System() = default;
InputFile::System::~System() = default;

bool InputFile::System::open(const Path& path) {
  auto refuse = [&path] {
    const DWORD error = ::GetLastError();
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) windows::logSystemError(path, error);
    return false;
  };
  // What is open may be renamed and deleted, as saving over a file does whose samples are still to be read.
  windows::Handle file(::CreateFileW(windows::systemName(path).c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return refuse();
  if (::GetFileType(file.get()) == FILE_TYPE_DISK) {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file.get(), &size)) return refuse();
    wholeBytes = static_cast<std::uint64_t>(size.QuadPart);
    native = std::make_unique<Native>();
    native->file = std::move(file);
  } else {
    if (!readToEnd(file.get(), held)) return refuse();
    wholeBytes = held.size();
  }
  return true;
}

std::optional<std::size_t> InputFile::System::read(const Path& path, std::uint64_t position,
                                                   std::span<std::byte> out) const {
  std::size_t done = 0;
  while (done < out.size()) {
    const std::uint64_t at = position + done;
    OVERLAPPED overlapped{};
    overlapped.Offset = static_cast<DWORD>(at);
    overlapped.OffsetHigh = static_cast<DWORD>(at >> 32);
    const auto wanted = static_cast<DWORD>(std::min(out.size() - done, kMaxRead));
    DWORD count = 0;
    if (!::ReadFile(native->file.get(), out.data() + done, wanted, &count, &overlapped)) {
      const DWORD error = ::GetLastError();
      if (!isEnd(error)) {
        windows::logSystemError(path, error);
        return std::nullopt;
      }
    }
    if (count == 0) break;
    done += count;
  }
  return done;
}

// The system lets nobody shorten a file that is mapped.
bool InputFile::System::isIntact() const { return true; }

Bytes InputFile::System::map() {
  const void*& mapping = native->mapping;
  if (mapping == nullptr && wholeBytes <= std::numeric_limits<std::size_t>::max()) {
    const windows::Handle section(
        ::CreateFileMappingW(native->file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (section) mapping = ::MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0);
  }
  if (mapping == nullptr) {
    fail(u"Reading from file failed");
    return {};
  }
  return {static_cast<const std::byte*>(mapping), static_cast<std::size_t>(wholeBytes)};
}

}  // namespace vemko
