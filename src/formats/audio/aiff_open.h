#pragma once
#include "codecs/bridge.h"

namespace vemko::audio {

/// The samples of an AIFF or AIFF-C file.
bool openAiff(InputFile& input, CompressedSamples& samples);

}  // namespace vemko::audio
