#pragma once
#include <sys/mman.h>

#include "platform/input_file.h"
#include "platform/posix/descriptor.h"

namespace vemko {

struct InputFile::System::Native {
  posix::Descriptor fd;
  void* mapping = nullptr;  // The whole file, once bytes() was called.
  std::size_t mappedBytes = 0;

  ~Native() {
    if (mapping != nullptr) ::munmap(mapping, mappedBytes);
  }
};

}  // namespace vemko
