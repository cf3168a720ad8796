#include "platform/windows/system.h"

#include <algorithm>

#include "base/log.h"
#include "base/text.h"

namespace vemko::windows {
namespace {

// Folders need room for a name of the old form in them.
constexpr std::size_t kMaxOrdinaryName = MAX_PATH - 13;

std::wstring fullName(const std::wstring& name) {
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0) return name;
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) return full;
  }
}

}  // namespace

static_assert(sizeof(wchar_t) == sizeof(char16_t));
std::wstring wide(std::u16string_view text) { return {text.begin(), text.end()}; }
std::u16string text(std::wstring_view wide) { return {wide.begin(), wide.end()}; }

std::wstring systemName(const Path& path) {
  const std::wstring& name = path.native();
  if (name.starts_with(L"\\\\?\\") || name.starts_with(L"\\\\.\\") || name.empty()) return name;
  std::wstring full = fullName(name);
  if (full.size() < kMaxOrdinaryName || full.starts_with(L"\\\\.\\")) return name;
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

Handle openForStatus(const Path& path) {
  return Handle(::CreateFileW(systemName(path).c_str(), FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

std::wstring finalName(const Path& path) {
  std::wstring name(1 << 15, L'\0');
  const Handle file = openForStatus(path);
  const DWORD length =
      file ? ::GetFinalPathNameByHandleW(file.get(), name.data(), static_cast<DWORD>(name.size()), 0) : 0;
  name.resize(length < name.size() ? length : 0);
  return name;
}

void logSystemErrorOf(std::u16string_view what, DWORD error) {
  wchar_t* message = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
      error, 0, reinterpret_cast<wchar_t*>(&message), 0, nullptr);
  std::u16string words(trimmed(text({message, length})));
  ::LocalFree(message);
  if (words.empty()) words = toUtf16("error " + std::to_string(error));
  logWarning(std::u16string(what) + u": " + words);
}

void logSystemError(const Path& path, DWORD error) { logSystemErrorOf(textOf(path), error); }

}  // namespace vemko::windows
