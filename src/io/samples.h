#pragma once
// Loading of deferred samples.
#include <span>

#include "core/collection.h"

namespace vemko::io {

/// Makes the waveform's samples present as floats. Unless `quiet`, more than 250000 frames show the wait
/// cursor and "Reading: " with the waveform's name. Fails with "No wave data import procedure", "Could not
/// open file", "Wave too big - use 64-bit version!" (in a program of 32 bits), "Out of memory" or the
/// source's own message; the waveform stays without samples then.
bool loadSamples(Waveform& waveform, bool quiet);

/// loadSamples for several waveforms, each listed once, on all processors and quietly.
bool loadSamples(std::span<Waveform* const> waveforms);

/// Whether a writer will be able to get the samples: present, or with a source whose file opens. Fails as
/// loadSamples does, without loading.
bool checkSamples(std::span<Waveform* const> waveforms);

/// Drops the samples of a waveform whose source can give them back.
void dropSamples(Waveform& waveform);

}  // namespace vemko::io
