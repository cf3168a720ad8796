#pragma once
// The text chunks that all IFF forms share: NAME, AUTH, (c) and ANNO.
#include "core/waveform.h"
#include "formats/audio/big_endian.h"

namespace vemko::audio {

/// Takes the text of a chunk that is one of these, where the waveform has none yet.
void takeIffText(const IffChunk& chunk, Waveform& waveform);

void putIffTexts(const Waveform& waveform, bool withName, ByteWriter& chunks);

}  // namespace vemko::audio
