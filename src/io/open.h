#pragma once
// Opening: from a file name to items of a collection.
#include <functional>
#include <string>

#include "core/collection.h"
#include "io/registry.h"

namespace vemko::io {

enum class OpenMode { Replace, Merge, Cancel };

/// True while a reader runs.
bool isBusy();

/// Detects, reads and fixes up one file. On failure the last error message is set and the collection keeps
/// what the reader added so far; a reader that adds nothing fails with "Empty collection". The process's
/// current folder stays as it is: references in the file are resolved against its own folder
/// (locateMissingFile), and paths given later keep their meaning. Called by a reader, it only adds the items:
/// the collection stays that of the outer file, and the fix-up waits for its end.
bool openFile(Collection& collection, const Path& path, bool allowRawImport, FormatRows rows = formatTable());

/// Reads the audio file that another file refers to: its waveforms join the collection. Rows that hold
/// anything but waveforms are not tried, so that no reference leads to an instrument or back to the file
/// itself. Fails as openFile, and adds nothing then; running out of memory is left to the opening that this
/// is a part of.
bool openAudioFile(Collection& collection, const Path& path, FormatRows rows = formatTable());

/// openFile with raw import allowed, into the cleared collection or merged with it, with the status line, and
/// with `report` a line in the log and an entry in the recent files. What a failing reader added is merged
/// too. Cancel does nothing and gives false without a message.
bool openWithMode(Collection& collection, const Path& path, OpenMode mode, bool report,
                  FormatRows rows = formatTable());

/// Replace, without asking, when the collection holds no waveforms and no instruments.
OpenMode askOpenMode(const Collection& collection);

/// Called with each path that was opened or saved with a report; installed by the application.
void setRecentFileSink(std::function<void(const Path&)> sink);
void noteRecentFile(const Path& path);

}  // namespace vemko::io
