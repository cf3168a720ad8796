#pragma once
#include <string_view>

#include "platform/files.h"

namespace vemko::cli {

/// The path, made independent of the current folder; ".." stays, links decide what it means.
Path absolutePath(std::string_view text);
Path currentFolder();
/// Makes the folder and those above it. False after an error was printed.
bool createFolder(const Path& folder);

}  // namespace vemko::cli
