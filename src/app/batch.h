#pragma once
// Batch conversion: files in, files out. The command line and the window share it. What goes where is planned
// beforehand from names alone, so that each task can then run by itself, in any order and in any process.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "io/companion_files.h"
#include "io/loss_report.h"
#include "io/save.h"

namespace vemko::app {

enum class OnExists : std::uint8_t { Overwrite, Rename, Skip, Fail };

/// What a run makes of every input.
struct BatchTarget {
  int row = io::kNoRow;
  /// Nothing: the collection where the row can hold one, else its instruments, else its songs, else its
  /// waveforms; songs are rendered when there are no waveforms.
  std::optional<ItemKind> kind;
  io::CapabilityMask requested = 0;  ///< See SaveOptions.
  std::uint32_t setting = 0;         ///< Of the compression, likewise.
  io::SampleFiles sampleFiles = io::SampleFiles::Wav;
  OnExists onExists = OnExists::Overwrite;
  bool allowRawImport = false;
  bool reportLosses = false;  ///< In the result instead of the log.
};

/// One input, or several that are merged into one collection, with the names that are its own in the run.
struct BatchTask {
  std::vector<Path> inputs;
  Path output;         ///< When one file comes out of it.
  Path severalOutput;  ///< "Folder/Base", for files "Base - ItemName.ext"; empty: refused.
};

struct BatchOutput {
  Path file;
  bool skipped = false;
  std::vector<io::Loss> losses;  ///< Where they are asked for.
};

struct BatchResult {
  bool ok = false;
  std::u16string error;
  std::size_t failedInput = 0;  ///< The one of the task's inputs that the error concerns.
  Path failedOutput;            ///< The file that could not be written, the last of several.
  std::vector<BatchOutput> outputs;
};

/// Opens, tidies and saves. A merge of which one input cannot be opened writes nothing.
BatchResult convert(const BatchTask& task, const BatchTarget& target);

struct BatchPlan {
  std::vector<Path> inputs;  ///< Absolute.
  Path outputFile;           ///< Absolute, for a single task; else empty.
  Path outputFolder;         ///< Absolute.
  bool merge = false;
  int row = io::kNoRow;
  OnExists onExists = OnExists::Overwrite;
};

/// The tasks, in the order of the inputs. Outputs are named after their inputs; where two inputs have one
/// name the later one gets " (2)" and so on. No two tasks share an output, and none writes over another one's
/// input. With OnExists::Rename no planned name meets a file that is in the folder already.
std::vector<BatchTask> planBatch(const BatchPlan& plan);

}  // namespace vemko::app
