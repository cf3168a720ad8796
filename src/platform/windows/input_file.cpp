#include "platform/windows/input_file.h"

#include <algorithm>
#include <limits>

#include "base/last_error.h"

namespace vemko {
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

// As much as there is; SIZE_MAX when the system reports an error.
std::size_t readFully(HANDLE file, std::uint64_t offset, std::span<std::byte> out) {
  std::size_t done = 0;
  while (done < out.size()) {
    const std::uint64_t at = offset + done;
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(at);
    position.OffsetHigh = static_cast<DWORD>(at >> 32);
    const auto wanted = static_cast<DWORD>(std::min(out.size() - done, kMaxRead));
    DWORD count = 0;
    if (!::ReadFile(file, out.data() + done, wanted, &count, &position) && !isEnd(::GetLastError()))
      return std::numeric_limits<std::size_t>::max();
    if (count == 0) break;
    done += count;
  }
  return done;
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
  auto refuse = [&path] {
    const DWORD error = ::GetLastError();
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) windows::logSystemError(path, error);
    return fail(u"Could not open file");
  };
  // What is open may be renamed and deleted, as saving over a file does whose samples are still to be read.
  system->file = windows::Handle(::CreateFileW(windows::systemName(path).c_str(), GENERIC_READ,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!system->file) return refuse();
  LARGE_INTEGER size{};
  if (::GetFileType(system->file.get()) == FILE_TYPE_DISK) {
    if (!::GetFileSizeEx(system->file.get(), &size)) return refuse();
    size_ = static_cast<std::uint64_t>(size.QuadPart);
  } else {
    if (!readToEnd(system->file.get(), system->held)) return refuse();
    system->file.reset();
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
  if (system_->file) {
    std::size_t count = readFully(system_->file.get(), partOffset_ + position_, out);
    if (count > out.size()) {
      windows::logSystemError(path_, ::GetLastError());
      count = 0;
    }
    out = out.first(count);
  } else {
    std::copy_n(system_->held.data() + partOffset_ + position_, out.size(), out.data());
  }
  position_ += out.size();
  return out.size();
}

bool InputFile::readAt(std::uint64_t offset, std::span<std::byte> out) const {
  if (offset > size_ || out.size() > size_ - offset) return fail(u"Reading from file failed");
  if (out.empty()) return true;
  if (!system_->file) {
    std::copy_n(system_->held.data() + partOffset_ + offset, out.size(), out.data());
    return true;
  }
  const std::size_t count = readFully(system_->file.get(), partOffset_ + offset, out);
  if (count > out.size()) windows::logSystemError(path_, ::GetLastError());
  return count == out.size() || fail(u"Reading from file failed");
}

Bytes InputFile::bytes() {
  if (size_ == 0) return {};
  const Bytes all = system_->file ? system_->map() : Bytes(system_->held);
  if (all.empty()) return {};
  return all.subspan(static_cast<std::size_t>(partOffset_), static_cast<std::size_t>(size_));
}

Bytes InputFile::System::map() {
  if (mapping == nullptr && wholeBytes <= std::numeric_limits<std::size_t>::max()) {
    const windows::Handle section(::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (section) mapping = ::MapViewOfFile(section.get(), FILE_MAP_READ, 0, 0, 0);
  }
  if (mapping == nullptr) {
    fail(u"Reading from file failed");
    return {};
  }
  return {static_cast<const std::byte*>(mapping), static_cast<std::size_t>(wholeBytes)};
}

}  // namespace vemko
