#pragma once
// Bridges to codec libraries. A library is opened at run time by file name when a compressed format is first
// read or written; without it that format answers with an error that names the library, and everything else
// goes on working. All bridges read from a part of a file and write to a sink, so that the same code serves a
// file of its own, a chunk of a WAVE file and a sample within a bank.
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "core/sample_source.h"
#include "core/waveform.h"
#include "platform/files.h"

namespace vemko {

/// Bytes within a file.
struct FilePart {
  std::shared_ptr<SourceFile> file;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

/// Where encoders put their bytes: a file, or memory.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  /// Appends; false with the last error message set.
  virtual bool write(Bytes data) = 0;
  /// Overwrites bytes that were written before, for codecs that complete their header at the end.
  virtual bool writeAt(std::uint64_t offset, Bytes data) = 0;
  virtual std::uint64_t size() const = 0;
};

/// What a compressed stream says of itself, found without decoding it where the format allows.
struct StreamFacts {
  std::uint64_t frames = 0;  ///< Without encoder delay and padding, where the file tells them.
  std::uint32_t rate = 0;
  std::uint8_t channels = 0;
  std::uint8_t bits = 0;  ///< Width of lossless samples, 0 for lossy ones and floats.
};

/// A codec library and how to name it to the user.
struct LibraryNames {
  std::u16string_view title;                 ///< "libFLAC"
  std::u16string_view package;               ///< "Debian package libflac12, Windows libFLAC.dll"
  std::initializer_list<const char*> files;  ///< Tried in turn.
};

/// Fails with "The codec library libFLAC is not available (Debian package ...)".
bool failWithoutLibrary(const LibraryNames& names);

}  // namespace vemko
