#pragma once
// The contract between the pipeline and the format modules: one row per file type and direction.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/collection.h"
#include "core/feature_use.h"
#include "core/sample_encoding.h"
#include "platform/files.h"

namespace vemko::io {

/// Bits 0 to 19 are sample encodings, 20 to 22 channel layouts.
using CapabilityMask = std::uint32_t;
constexpr CapabilityMask encodingBit(SampleEncoding encoding) { return 1u << static_cast<int>(encoding); }
inline constexpr CapabilityMask kEncodingBits = 0xFFFFF;
inline constexpr CapabilityMask kMono = 1u << 20;
inline constexpr CapabilityMask kStereo = 1u << 21;
inline constexpr CapabilityMask kLinkedStereo = 1u << 22;  ///< Stereo kept as a pair of mono waveforms.
inline constexpr CapabilityMask kMidiEvents = encodingBit(SampleEncoding::MidiEvents);

class CompanionFiles;

struct SaveOptions {
  /// What is asked for: at most one encoding bit, channel bits, and kMidiEvents for a song as MIDI events. No
  /// encoding bit: the writer keeps the waveform's own where the row has it, else the best it has. No channel
  /// bit: channels as they are; kMono or kStereo alone converts.
  CapabilityMask requested = 0;
  std::uint32_t variant = 0;
  /// Passed through from the dialog: index of the compression setting, and one word for the format's own use.
  std::uint32_t setting = 0;
  std::uint32_t extra = 0;
  /// The sample files that the saves of one run have written beside their targets; null: this save stands
  /// alone.
  CompanionFiles* companions = nullptr;
  bool tellsLosses = true;  ///< In the log, when the file stands.
};

/// Scores how well the head of a file fits: 0 not this format, 2 could be, 6 certainly; the head is the first
/// 32768 bytes at most. Probes see nothing else of the file.
using FormatProbe = int (*)(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
/// Adds what the file holds to the collection; false with the last error message set, and then what was added
/// so far stays.
using FormatReader = bool (*)(Collection&, InputFile&, std::uint32_t variant);
/// Writes one item that the row's kinds allow to a new file; false with the last error message set. The
/// pipeline deletes the file then.
using FormatWriter = bool (*)(Item&, OutputFile&, const SaveOptions&);
/// Nominal bit rate of compression setting 0, 1, 2 ... and, where asked for, its label; 0 past the last.
using SettingDescriber = double (*)(int index, std::uint32_t variant, std::u16string* label);

/// The codec library that reading, or writing, needs and this machine lacks: its name and where to get it;
/// empty when there is nothing missing.
using MissingLibrary = std::u16string (*)(bool writing);

/// The sample rate that a waveform of that rate is stored with, for formats that do not have every one.
using StoredRate = std::uint32_t (*)(std::uint32_t rate);

struct FormatEntry {
  std::u16string_view extension;  ///< Without the dot; "?" takes any one character, "*" the rest.
  FormatReader reader;
  FormatWriter writer;
  FormatProbe probe;  ///< Present exactly when there is a reader.
  std::u16string_view description;
  KindMask kinds;
  CapabilityMask capabilities;
  /// What the writer keeps of the features that items may use. None where the row writes neither waveforms
  /// nor instruments, of which nobody asks.
  FeatureMask features;
  std::uint32_t variant;
  SettingDescriber settings;
  MissingLibrary missingLibrary = nullptr;  ///< Absent where no library is needed.
  StoredRate storedRate = nullptr;          ///< Absent where every sample rate stays.
};

/// The library that reading (writing) with this row needs and lacks; empty where the row does neither.
inline std::u16string missingLibrary(const FormatEntry& entry, bool writing) {
  const bool isUsed = writing ? entry.writer != nullptr : entry.reader != nullptr;
  return isUsed && entry.missingLibrary ? entry.missingLibrary(writing) : std::u16string();
}

}  // namespace vemko::io
