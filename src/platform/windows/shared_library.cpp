#include "platform/shared_library.h"

#include <windows.h>

#include "platform/windows/system.h"

namespace vemko {
namespace {

HMODULE moduleOf(void* handle) { return static_cast<HMODULE>(handle); }

// Libraries that one in a folder of its own needs are looked for beside it.
HMODULE load(const char* name) {
  const Path path = std::u8string(name, name + std::char_traits<char>::length(name));
  if (!path.has_parent_path()) return ::LoadLibraryW(path.c_str());
  return ::LoadLibraryExW(windows::systemName(std::filesystem::absolute(path).make_preferred()).c_str(),
                          nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

}  // namespace

SharedLibrary::~SharedLibrary() {
  if (handle_ != nullptr) ::FreeLibrary(moduleOf(handle_));
}

bool SharedLibrary::open(std::initializer_list<const char*> names) {
  if (handle_ != nullptr) ::FreeLibrary(moduleOf(handle_));
  handle_ = nullptr;
  for (const char* name : names)
    if (handle_ == nullptr) handle_ = load(name);
  return isOpen();
}

void* SharedLibrary::symbol(const char* name) const {
  if (handle_ == nullptr) return nullptr;
  return reinterpret_cast<void*>(::GetProcAddress(moduleOf(handle_), name));
}

}  // namespace vemko
