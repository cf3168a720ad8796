#pragma once
// The file that a save replaces or creates.
#include <filesystem>
#include <optional>

#include "core/sample_source.h"
#include "platform/files.h"

namespace vemko::io {

class SaveTarget {
 public:
  explicit SaveTarget(const Path& path);
  /// Unless finish() was called, what was written is deleted (a device or folder stays) and the file that was
  /// set aside moved back.
  ~SaveTarget();
  SaveTarget(const SaveTarget&) = delete;
  SaveTarget& operator=(const SaveTarget&) = delete;

  /// Where the bytes go, links followed.
  const Path& path() const { return path_; }
  bool replacesFile() const { return oldPermissions_.has_value(); }

  /// Keeps the samples readable that come from the file to be replaced, by whatever name a collection knows
  /// it. Fails with "Could not open file".
  bool pinSources() const;
  /// Renames the existing file, if there is one, to its backup name. Fails with "Could not create file".
  bool setAside();
  /// Creates the new file, with the permissions of the one that it replaces; it is to be closed before this
  /// object goes. Fails with "Could not create file".
  bool create(OutputFile& file);
  /// The new file is complete and on the disk: its name is made lasting, then the backup goes.
  void finish();

 private:
  Path path_;
  bool isSpecial_ = false;  // a device, a pipe, a folder
  std::optional<std::filesystem::perms> oldPermissions_;
  Path backup_;             // empty when nothing was set aside
  bool isPartial_ = false;  // a file was begun
};

}  // namespace vemko::io
