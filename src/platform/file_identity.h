#pragma once
#include <compare>
#include <cstdint>
#include <optional>

#include "platform/files.h"

namespace vemko {

/// What makes a file itself, by whatever name it is reached: equal for the paths of which isSameFile holds.
struct FileIdentity {
  std::uint64_t volume = 0;
  std::uint64_t number = 0;
  friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};

/// Nothing when there is no such file.
std::optional<FileIdentity> fileIdentity(const Path& path);

/// Both at the cost of one.
struct FileState {
  FileIdentity identity;
  std::uint64_t size = 0;  ///< 0 of what is no regular file.
};
std::optional<FileState> fileState(const Path& path);

}  // namespace vemko
