#pragma once
#include <cstddef>
#include <string>

#include "io/registry.h"

namespace vemko::io {

struct Detection {
  int row = kNoRow;
  int confidence = 0;  ///< Percent; 0 when the catch-all row wins.
};

/// At most this many leading bytes of a file are shown to the probes.
inline constexpr std::size_t kHeadBytes = 32768;

/// Scores the head of the file against every reading row. The file's position does not change. Without a row
/// the last error message is set: "Reading from file failed", or "Not a supported import file type" where not
/// even the catch-all takes it.
Detection detect(const Path& path, const InputFile& file, FormatRows rows = formatTable());

struct FileDescription {
  std::u16string text;
  int confidence = 0;
};
/// For file lists: the winning row's description, else the operating system's, else "Unknown file type";
/// empty when the file cannot be opened.
FileDescription describeFile(const Path& path, FormatRows rows = formatTable());

}  // namespace vemko::io
