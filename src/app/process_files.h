#pragma once
// Applies a processing tool to the waveforms of files. The command line and the window's batch run share it.
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "tools/tool_entry.h"

namespace vemko::app {

struct ProcessFile {
  Path input;
  Path output;  ///< May be the input; empty: nothing is written.
};

struct ProcessResult {
  bool ok = false;
  std::u16string error;
  std::size_t failedFile = 0;  ///< The one of the files that the error concerns.
  Path failedOutput;           ///< The file that could not be written, where that is not the input.
  std::u16string report;       ///< "Processed 1 item using ..."
  std::uint32_t processedCount = 0;
  std::vector<tools::MeasuredVolume> volumes;
  std::optional<tools::Statistics> statistics;
};

/// Opens the files, applies the tool once to the waveforms of all of them in order, with its options as they
/// are, and saves each file in its own format and encoding, of several levels or dialects in the first that
/// loses least of it. A file that was not modified is not written over itself. Nothing is saved when a file
/// cannot be opened, or when the tool fails on a waveform.
/// A range of frames limits tools that work within a selection.
ProcessResult processFiles(const tools::ToolEntry& tool, const std::vector<ProcessFile>& files,
                           std::optional<tools::FrameRange> range = {});

/// The first file that is written twice; null when there is none.
const ProcessFile* findOutputTwice(const std::vector<ProcessFile>& files);

/// Where the inputs' outputs go in a folder: named like the inputs, a second file of one name gets " (2)" and
/// so on, and no output takes the place of another one's input.
std::vector<ProcessFile> planFolder(const std::vector<Path>& inputs, const Path& folder);

}  // namespace vemko::app
