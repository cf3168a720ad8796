#pragma once
// The sample files that an instrument format keeps beside its own file.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "core/collection.h"
#include "io/file_names.h"
#include "io/format_entry.h"

namespace vemko::io {

/// Values of SaveOptions::extra for such formats.
enum class SampleFiles : std::uint32_t { Wav, Flac, Ogg };
/// "wav", "flac", "ogg".
std::u16string_view extensionOf(SampleFiles format);

/// Writes sample files, and remembers those of a whole run of saves, so that what several instruments share
/// is written once. No file that was there before is touched: a sample whose name is taken gets a number,
/// unless the file there is the waveform's own or has the very bytes that would be written, which then stands
/// for it.
class CompanionFiles {
 public:
  struct Sample {
    Waveform* waveform = nullptr;
    std::u16string stem;  ///< The wanted name, made safe here.
    Path name;            ///< Where the samples are, within the folder; filled by save().
  };
  /// Into `folder`, or into its folder of the name `below`, which is made when it is missing. Fails with "The
  /// sample files can not have this encoding" when the options ask for one that the samples' format lacks,
  /// and like a save; no file that it made remains then. `meanwhile` runs beside the writing and sees the
  /// names; in the rare case that one of them has changed in the end, it runs again.
  bool save(std::span<Sample> samples, const Path& folder, const Path& below, const SaveOptions& options,
            const std::function<bool()>& meanwhile);
  /// Removes what save() wrote since keepLast(), after a failure of the file that was to refer to it.
  void removeLast();
  /// What is there stays, whatever fails from now on.
  void keepLast();

 private:
  // Equal for waveforms with the same samples, whatever their loops are.
  struct Identity {
    std::shared_ptr<const void> samples;
    std::uint32_t frames = 0, rate = 0;
    Path folder;
    friend auto operator<=>(const Identity&, const Identity&) = default;
  };
  using Written = std::map<Identity, Path>;
  struct Job {
    Waveform* waveform = nullptr;
    Written::iterator entry;
    Path wanted, path;
    bool isWritten = false;
  };

  bool makeFolder(const Path& folder);
  bool write(Job& job, const FormatEntry& row, const SaveOptions& options);
  void claim(Job& job);
  void reuseEqualFile(Job& job) const;

  std::mutex guard_;  // of the names, while files are written
  NameReserve names_;
  Written written_;
  std::vector<Job> last_;
  Path lastFolder_;  // when it was made
};

}  // namespace vemko::io
