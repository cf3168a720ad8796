#pragma once
// FLAC through libFLAC, alone or in an Ogg container.
#include <string>
#include <vector>

#include "codecs/bridge.h"

namespace vemko::flac {

/// A front cover.
struct Picture {
  std::string mimeType;
  std::vector<std::byte> bytes;
};

/// What stands beside the samples.
struct Metadata {
  std::vector<std::string> comments;  ///< "KEY=value", UTF-8.
  std::vector<Picture> pictures;      ///< The first one counts; front covers come first.
  /// Chunks of the WAVE file that the stream was made from, each with its header ("riff" application blocks),
  /// and those of an AIFF file ("aiff").
  std::vector<std::vector<std::byte>> riffChunks, aiffChunks;
  std::vector<std::uint64_t> cueFrames;  ///< Starts of a cue sheet's tracks.
};

/// "libFLAC (...)" when the library is missing, else empty.
std::u16string missingLibrary();

/// Fails with "Not a FLAC file" and for a missing library. `metadata` may be null.
bool open(const FilePart& part, CompressedSamples& samples, Metadata* metadata = nullptr);

struct EncodeOptions {
  unsigned bits = 16;  ///< 4 to 24
  bool maxCompression = false;
};
/// At most 8 channels. Appends to the sink.
bool encode(const EncoderInput& input, const EncodeOptions& options, const Metadata& metadata,
            ByteSink& sink);

}  // namespace vemko::flac
