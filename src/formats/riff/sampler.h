#pragma once
// Chunks for samplers: "smpl" (tuning and loops), "inst" (gain) and "wsmp" (the DownLoadable Sounds kind).
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"
#include "formats/riff/cues.h"

namespace vemko::riff {

/// Sets the tuning and adds the loops; `loopIds` receives their cue ids. A body that is too short for its
/// fixed part changes nothing and gives false; of lying counts the loops that are there are taken.
bool readSampler(Bytes body, const CueNotes& notes, LoopAdder& adder, Waveform& waveform,
                 std::unordered_set<std::uint32_t>& loopIds);

/// Gain, and the tuning where it still has its defaults.
void readInstrument(Bytes body, Waveform& waveform);

/// Gain; tuning and loops too unless a "smpl" chunk has given these.
void readWaveSample(Bytes body, bool hasSampler, LoopAdder& adder, Waveform& waveform);

/// Whether a "smpl" chunk of this waveform says more than that there is none.
bool needsSampler(const Waveform& waveform);
/// The body with the loops that are to be written, the main loop first. A loop's stored end keeps its exact
/// length, which decides its pitch, although the start loses its fraction.
std::vector<std::byte> buildSampler(const Waveform& waveform);

/// The body with the gain, empty when that is 0 dB.
std::vector<std::byte> buildInstrument(const Waveform& waveform);

}  // namespace vemko::riff
