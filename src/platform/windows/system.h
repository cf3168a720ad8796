#pragma once
// What the sources of this folder share: owning handles, names as the system takes them, errors in its words.
#include <string>
#include <string_view>
#include <utility>
#include <windows.h>

#include "platform/files.h"

namespace vemko::windows {

class Handle {
 public:
  Handle() = default;
  /// The system has two values for none, depending on the call.
  explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~Handle() { reset(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, nullptr));
    return *this;
  }

  HANDLE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  HANDLE release() { return std::exchange(handle_, nullptr); }
  void reset(HANDLE handle = nullptr) {
    if (handle_ != nullptr) ::CloseHandle(handle_);
    handle_ = handle;
  }

 private:
  HANDLE handle_ = nullptr;
};

std::wstring wide(std::u16string_view text);
std::u16string text(std::wstring_view wide);

/// The name to hand to the system: as it is while it is short, and absolute in the form that may have up to
/// 32767 characters when it is longer than ordinary names may be.
std::wstring systemName(const Path& path);

/// The long form of the one name that the path leads to, behind links; empty when there is none.
std::wstring finalName(const Path& path);

/// For everything but reading and writing the content; also of a folder.
Handle openForStatus(const Path& path);

void logSystemError(const Path& path, DWORD error);
void logSystemErrorOf(std::u16string_view what, DWORD error);

/// Calls again for a moment while other programs, often those that look at every new file, keep the file
/// open.
template <class Call>
bool retriedWhileShared(Call call) {
  for (DWORD pause = 10; !call(); pause *= 2) {
    const DWORD error = ::GetLastError();
    const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
    if (!mayPass || pause > 200) return false;
    ::Sleep(pause);
    ::SetLastError(error);
  }
  return true;
}

}  // namespace vemko::windows
