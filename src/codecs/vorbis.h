#pragma once
// Ogg Vorbis through libvorbisfile and libvorbisenc.
#include <string>
#include <vector>

#include "codecs/bridge.h"

namespace vemko::vorbis {

/// "libvorbisfile (...)" when a library is missing, else empty.
std::u16string missingLibrary(bool encoding);

/// Fails with "Not an Ogg Vorbis file" and for a missing library. `comments`, "KEY=value" in UTF-8, may be
/// null. Of chained streams those count that go on in the first one's rate and channels.
bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::string>* comments = nullptr);

/// `quality` from -0.1 to 1 as the library has it. Appends to the sink.
bool encode(const EncoderInput& input, float quality, const std::vector<std::string>& comments,
            ByteSink& sink);

}  // namespace vemko::vorbis
