#pragma once
// The wave-sample chunk "wsmp" of the DownLoadable Sounds family, which also stands in WAVE files: tuning,
// gain and loop of one waveform.
#include <cstdint>
#include <vector>

#include "base/bytes.h"

namespace vemko::riff {

struct WaveSampleLoop {
  std::uint32_t start = 0;   ///< Frame.
  std::uint32_t length = 0;  ///< Frames.
  bool untilRelease = false;
};

struct WaveSample {
  std::uint16_t unityNote = 60;
  std::int16_t fineTuneCents = 0;  ///< Added to the pitch when played.
  double gainDb = 0;
  std::uint32_t options = 0;
  std::vector<WaveSampleLoop> loops;  ///< As many as are there, whatever count the chunk claims.
};

/// False when the chunk is too short for its fixed part.
bool parseWaveSample(Bytes body, WaveSample& sample);

}  // namespace vemko::riff
