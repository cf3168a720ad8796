#pragma once
// The text chunks that AIFF and Amiga files share.
#include <array>
#include <string>

#include "core/waveform.h"
#include "formats/audio/big_endian.h"

namespace vemko::audio {

struct IffTexts {
  std::array<std::u16string, 4> texts;  ///< In the order of the table.
};

/// Takes a text, of several annotations each as a line of its own, of others the first; false for any other
/// chunk.
bool takeIffText(const IffChunk& chunk, IffTexts& texts);
/// For properties that are not set; `comments` counts where there is no annotation.
void applyIffTexts(const IffTexts& texts, std::u16string_view comments, Waveform& waveform);

void putIffTexts(const Waveform& waveform, bool withName, ByteWriter& chunks);

}  // namespace vemko::audio
