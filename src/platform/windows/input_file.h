#pragma once
#include <vector>

#include "platform/windows/system.h"

namespace vemko {

struct InputFile::System {
  windows::Handle file;         // None when the content is held.
  std::vector<std::byte> held;  // Content of what cannot be read at a position.
  const void* mapping = nullptr;
  std::uint64_t wholeBytes = 0;

  /// The whole file; empty, with the last error message set, when the system cannot map it.
  Bytes map();

  ~System() {
    if (mapping != nullptr) ::UnmapViewOfFile(mapping);
  }
};

}  // namespace vemko
