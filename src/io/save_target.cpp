#include "io/save_target.h"

#include "base/last_error.h"
#include "base/log.h"
#include "io/save.h"

namespace vemko::io {
namespace {

namespace fs = std::filesystem;

constexpr std::u16string_view kCannotCreate = u"Could not create file";
constexpr int kMaxLinks = 40;  // as many as the systems follow themselves

Path linkTarget(Path path) {
  std::error_code error;
  for (int i = 0; i < kMaxLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
    Path to = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / to;  // an absolute `to` replaces the whole
  }
  return path;
}

}  // namespace

Path backupPath(const Path& path) {
  Path backup = path;
  backup += ".bak";
  return backup;
}

Path freeBackupPath(const Path& path) {
  Path backup = backupPath(path);
  for (int number = 2; fileExists(backup); ++number) {
    backup = backupPath(path);
    backup += std::to_string(number);
  }
  return backup;
}

SaveTarget::SaveTarget(const Path& path) : path_(path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_regular_file(status)) oldPermissions_ = status.permissions();
  isSpecial_ = fs::exists(status) && !replacesFile();
  if (!isSpecial_) path_ = linkTarget(path);
}

bool SaveTarget::pinSources() const { return !replacesFile() || SourceFile::pinIfUsed(path_); }

bool SaveTarget::setAside() {
  if (!replacesFile()) return true;
  constexpr auto kAnyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  if ((*oldPermissions_ & kAnyWrite) == fs::perms::none) {
    logWarning(textOf(path_) + u" is write-protected");
    return fail(kCannotCreate);
  }
  const Path backup = freeBackupPath(path_);
  if (backup != backupPath(path_))
    logWarning(textOf(backupPath(path_)) + u" exists already and was left alone");
  if (!replaceFile(path_, backup)) return fail(kCannotCreate);
  backup_ = backup;
  return true;
}

void SaveTarget::takeOverPermissions() const {
  std::error_code ignored;
  if (replacesFile()) fs::permissions(path_, *oldPermissions_, ignored);
}

void SaveTarget::removePartialFile() const {
  if (!isSpecial_) removeFile(path_);
}

void SaveTarget::restore() {
  if (backup_.empty()) return;
  LastErrorKeeper message;
  if (!replaceFile(backup_, path_)) logWarning(u"The old file is kept as " + textOf(backup_));
  backup_.clear();
}

void SaveTarget::finish() {
  if (backup_.empty()) return;
  flushFolder(path_.parent_path());
  if (!removeFile(backup_)) logWarning(u"The old file is kept as " + textOf(backup_));
  backup_.clear();
}

}  // namespace vemko::io
