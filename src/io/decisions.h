#pragma once
// Questions that readers and writers put to the user. The desktop answers them with dialogs, the command line
// from its flags, tests from a script.
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/sample_encoding.h"
#include "platform/files.h"

namespace vemko::io {

/// How raw bytes are to be taken.
struct RawFormat {
  SampleEncoding encoding =
      SampleEncoding::Pcm16;  ///< Pcm8, Pcm16, Pcm24, Pcm32, Float32, Float64, MuLaw, ALaw.
  bool bigEndian = false;
  bool signed8 = false;  ///< 8-bit samples are signed; they are unsigned otherwise.
  std::uint8_t channels = 1;
  std::uint32_t rate = 44100;
  std::uint64_t headerBytes = 0;  ///< Skipped at the start.
};

struct Decisions {
  /// Shows the question with these buttons; the index of the one chosen, nothing where nobody is there to
  /// choose.
  std::function<std::optional<std::size_t>(std::u16string_view question,
                                           std::span<const std::u16string_view> buttons)>
      ask;
  /// An open-file dialog with that title for the given stored path or file name; nothing when cancelled.
  std::function<std::optional<Path>(std::u16string_view title, std::u16string_view wanted)> locateFile;
  /// Raw import of a file that no format fits; nothing when refused. `remembered` answers may be given at
  /// once.
  std::function<std::optional<RawFormat>(std::u16string_view question, const Path& file)> confirmRaw;
};

/// Installs the record and returns the one before.
Decisions setDecisions(Decisions decisions);

/// The index of a button; without somebody to ask that of `cautious`, by which nothing is lost.
std::size_t ask(std::u16string_view question, std::span<const std::u16string_view> buttons,
                std::size_t cautious);
/// Without somebody to ask: no file, no raw import.
std::optional<Path> locateFile(std::u16string_view title, std::u16string_view wanted);
std::optional<RawFormat> confirmRaw(std::u16string_view question, const Path& file);

}  // namespace vemko::io
