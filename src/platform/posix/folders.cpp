#include "platform/folders.h"

#include "base/last_error.h"

namespace vemko {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40;  // as many as the systems follow themselves

}  // namespace

FileKind fileKind(const Path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) return FileKind::None;
  if (fs::is_directory(status)) return FileKind::Folder;
  return fs::is_regular_file(status) ? FileKind::Regular : FileKind::Other;
}

bool isLink(const Path& path) {
  std::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error));
}

Path behindLinks(const Path& path) {
  std::error_code error;
  Path target = path;
  for (int i = 0; i < kMaxLinks && isLink(target); ++i) {
    const Path to = fs::read_symlink(target, error);
    if (error) break;
    target = target.parent_path() / to;  // an absolute `to` replaces the whole
  }
  return target;
}

std::optional<fs::perms> filePermissions(const Path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::is_regular_file(status)) return std::nullopt;
  return status.permissions();
}

void setFilePermissions(const Path& path, fs::perms permissions) {
  std::error_code ignored;
  fs::permissions(path, permissions, ignored);
}

std::vector<FolderEntry> listFolder(const Path& folder) {
  std::vector<FolderEntry> entries;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    std::error_code unknown;
    entries.push_back({at->path(), at->is_directory(unknown)});
  }
  return entries;
}

bool createFolders(const Path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  return folderExists(folder) || fail(u"Could not create folder");
}

void removeEmptyFolder(const Path& folder) {
  std::error_code ignored;
  if (fileKind(folder) == FileKind::Folder && !isLink(folder)) fs::remove(folder, ignored);
}

}  // namespace vemko
