#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "core/waveform.h"

namespace vemko::io {

/// Reads a waveform's samples in blocks, to tell equal ones. They are taken as floats, from memory or from
/// the source; those of an encoding that floats cannot hold exactly are taken as they stand in the file.
class ContentReader {
 public:
  explicit ContentReader(const Waveform& waveform);

  /// The next block, only the last one being shorter than the others, and an empty one at the end. Nothing
  /// when the samples cannot be read.
  std::optional<Bytes> next();

  /// Contents of unequal forms have nothing in common; 0 stands for floats.
  static std::uint64_t formOf(const Waveform& waveform);

 private:
  std::vector<float> block_;
  std::uint8_t channels_;
  std::unique_ptr<SampleStream> stream_;
  std::shared_ptr<InputFile> file_;
  std::uint64_t offset_ = 0, remaining_ = 0;  // in the file
};

}  // namespace vemko::io
