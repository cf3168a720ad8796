#pragma once
// What general audio files say beside their samples: texts, tuning, loops and markers, as far as each format
// has a place for it. Readers take the whole file's bytes; the waveform's frame count is known by then.
// Writers complete a file whose samples were written.
#include "codecs/bridge.h"
#include "core/waveform.h"

namespace vemko::audio {

/// What a writer keeps. `name`: false where it says no more than the file's name.
struct DescriptionToWrite {
  const Waveform& waveform;
  bool name = true;
  bool isPadded = false;  ///< The samples' odd number of bytes was filled up with one more.
};

/// AIFF and AIFF-C: texts, markers, the instrument's root key, detune and gain, its two loops; further texts
/// and the image in an ID3 tag. A loop or section that the instrument has no place for becomes a pair of
/// markers, "name" and "name end".
void readAiffDescription(Bytes file, Waveform& waveform);
std::vector<std::byte> buildAiffDescription(const DescriptionToWrite& what);

/// Apple CoreAudio: texts, markers, every section and loop with its fractions of a frame, root key, gain.
void readCoreAudioDescription(Bytes file, Waveform& waveform);
bool writeCoreAudioDescription(const DescriptionToWrite& what, ByteSink& sink);

/// Audio Visual Research: name, root key, one loop.
void readAvrDescription(Bytes file, Waveform& waveform);
bool writeAvrDescription(const DescriptionToWrite& what, ByteSink& sink);

/// Sun and NeXT: the annotation.
void readAuDescription(Bytes file, Waveform& waveform);

}  // namespace vemko::audio
