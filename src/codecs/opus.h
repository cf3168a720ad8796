#pragma once
// Opus through libopusfile and libopusenc. Opus knows 48000 Hz only: samples of another rate are converted by
// the encoder, and what is decoded has 48000 Hz.
#include <string>
#include <vector>

#include "codecs/bridge.h"

namespace vemko::opus {

inline constexpr std::uint32_t kRate = 48000;

std::u16string missingLibrary(bool encoding);

/// Fails with "Not an Opus file" and for a missing library. The encoder's delay and padding are left out.
/// `comments`, "KEY=value" in UTF-8, may be null.
bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::string>* comments = nullptr);

/// At most 8 channels. Appends to the sink.
bool encode(const EncoderInput& input, std::uint32_t bitsPerSecond, const std::vector<std::string>& comments,
            ByteSink& sink);

}  // namespace vemko::opus
