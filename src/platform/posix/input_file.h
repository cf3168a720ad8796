#pragma once
#include <sys/mman.h>
#include <vector>

#include "platform/posix/descriptor.h"

namespace vemko {

struct InputFile::System {
  posix::Descriptor fd;         // None when the content is held.
  std::vector<std::byte> held;  // Content of what cannot be read at a position.
  void* mapping = nullptr;      // The whole file, once bytes() was called.
  std::size_t mappedBytes = 0;
  std::uint64_t wholeBytes = 0;

  /// The whole file; empty, with the last error message set, when the system cannot map it.
  Bytes map();

  ~System() {
    if (mapping != nullptr) ::munmap(mapping, mappedBytes);
  }
};

}  // namespace vemko
