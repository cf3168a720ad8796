#pragma once
// An open file, shared by its parts. Each system's sources open, read and map it; positions and parts are a
// matter of input_file.cpp.
#include <vector>

#include "platform/files.h"

namespace vemko {

struct InputFile::System {
  struct Native;
  std::unique_ptr<Native> native;  // None when the content is held.
  std::vector<std::byte> held;     // Content of what cannot be read at a position.
  std::uint64_t wholeBytes = 0;

  System();
  ~System();

  /// False, with the reason logged unless the file just is not there, when it cannot be opened.
  bool open(const Path& path);
  /// Fills `out` from a position of the whole file, as far as that goes: the number of bytes, or nothing,
  /// with the reason logged, when the system reports an error. Thread-safe. Not for held content.
  std::optional<std::size_t> read(const Path& path, std::uint64_t position, std::span<std::byte> out) const;
  /// The whole file; empty, with the last error message set, when the system cannot map it. Not for held
  /// content.
  Bytes map();
  /// What InputFile::isIntact() tells. Not for held content.
  bool isIntact() const;
};

}  // namespace vemko
