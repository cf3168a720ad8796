#pragma once
#include "codecs/bridge.h"

namespace vemko::audio {

/// The samples of an Apple CoreAudio file; for other codecs than linear PCM, mu-law, A-law, ALAC and the IMA
/// ADPCM of QuickTime, an error that names the codec.
bool openCoreAudio(InputFile& input, CompressedSamples& samples);

}  // namespace vemko::audio
