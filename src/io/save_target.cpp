#include "io/save_target.h"

#include "base/last_error.h"
#include "base/log.h"
#include "base/memory.h"
#include "io/save.h"
#include "platform/folders.h"

namespace vemko::io {
namespace {

constexpr std::u16string_view kCannotCreate = u"Could not create file";

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
  const FileKind kind = fileKind(path);
  if (kind == FileKind::Regular) oldPermissions_ = filePermissions(path);
  isSpecial_ = kind == FileKind::Folder || kind == FileKind::Other;
  if (!isSpecial_) path_ = behindLinks(path);
}

bool SaveTarget::pinSources() const { return !replacesFile() || SourceFile::pinIfUsed(path_); }

bool SaveTarget::setAside() {
  if (!replacesFile()) return true;
  using std::filesystem::perms;
  constexpr perms kAnyWrite = perms::owner_write | perms::group_write | perms::others_write;
  if ((*oldPermissions_ & kAnyWrite) == perms::none) {
    logWarning(textOf(path_) + u" is write-protected");
    return fail(kCannotCreate);
  }
  Path backup = freeBackupPath(path_);
  if (backup != backupPath(path_))
    logWarning(textOf(backupPath(path_)) + u" exists already and was left alone");
  if (!replaceFile(path_, backup)) return fail(kCannotCreate);
  backup_ = std::move(backup);
  return true;
}

bool SaveTarget::create(OutputFile& file) {
  if (!file.create(path_)) return false;
  isPartial_ = !isSpecial_;
  if (replacesFile()) setFilePermissions(path_, *oldPermissions_);
  return true;
}

// The old file comes back without needing memory.
SaveTarget::~SaveTarget() {
  const LastErrorKeeper message;
  withinMemory([this] {
    if (!backup_.empty() && replaceFile(backup_, path_)) return true;
    if (isPartial_) removeFile(path_);
    if (!backup_.empty()) logWarning(u"The old file is kept as " + textOf(backup_));
    return true;
  });
}

void SaveTarget::finish() {
  isPartial_ = false;
  if (backup_.empty()) return;
  flushFolder(path_.parent_path());
  if (!removeFile(backup_)) logWarning(u"The old file is kept as " + textOf(backup_));
  backup_.clear();
}

}  // namespace vemko::io
