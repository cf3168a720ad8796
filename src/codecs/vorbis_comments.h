#pragma once
// Comments of the Xiph formats (FLAC, Ogg Vorbis, Opus) and the properties of a waveform. Beside the texts:
// LOOPSTART with LOOPLENGTH or LOOPEND, in frames, is the main loop, as game engines have it (without an end
// to the last frame; also LOOP_START and so on); CHAPTERnnn and CHAPTERnnnNAME are markers, exact to a
// millisecond; METADATA_BLOCK_PICTURE is an image.
#include <string>
#include <vector>

#include "core/waveform.h"

namespace vemko {

/// Takes over what the waveform has no value for yet; its frame count and rate must be known.
void readVorbisComments(const std::vector<std::string>& comments, Waveform& waveform);

struct CommentsToBuild {
  bool name = true;
  bool image = false;    ///< As a comment.
  bool records = false;  ///< The main loop and the markers.
  /// Rate of the frames that the records will be counted in, Hz.
  std::uint32_t rate = 0;
};
/// "KEY=value" in UTF-8, the software's name among them.
std::vector<std::string> buildVorbisComments(const Waveform& waveform, const CommentsToBuild& what);

}  // namespace vemko
