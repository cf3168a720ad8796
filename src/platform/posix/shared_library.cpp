#include "platform/shared_library.h"

#include <dlfcn.h>

namespace vemko {

SharedLibrary::~SharedLibrary() {
  if (handle_ != nullptr) ::dlclose(handle_);
}

bool SharedLibrary::open(std::initializer_list<const char*> names) {
  if (handle_ != nullptr) ::dlclose(handle_);
  handle_ = nullptr;
  for (const char* name : names)
    if (handle_ == nullptr) handle_ = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
  return isOpen();
}

void* SharedLibrary::symbol(const char* name) const {
  return handle_ == nullptr ? nullptr : ::dlsym(handle_, name);
}

}  // namespace vemko
