#pragma once
// What stands under a name, and folders; like everything in files.h with names of any length that the system
// has, which the standard library's own functions do not take everywhere.
#include <optional>
#include <vector>

#include "platform/files.h"

namespace vemko {

enum class FileKind : std::uint8_t { None, Regular, Folder, Other };

/// Of what links lead to; None also when that may not be looked at.
FileKind fileKind(const Path& path);
bool isLink(const Path& path);
/// Where the link leads, or the chain of links, whether there is anything or not; the path itself when it is
/// no link.
Path behindLinks(const Path& path);

/// Nothing when there is no regular file.
std::optional<std::filesystem::perms> filePermissions(const Path& path);
void setFilePermissions(const Path& path, std::filesystem::perms permissions);

struct FolderEntry {
  Path path;  ///< The folder's with the name added.
  bool isFolder = false;
};

/// In the system's order; empty when there is no such folder.
std::vector<FolderEntry> listFolder(const Path& folder);
/// With those above it; true also when it is there. Fails with "Could not create folder".
bool createFolders(const Path& folder);
/// Leaves a folder alone in which something stands.
void removeEmptyFolder(const Path& folder);

}  // namespace vemko
