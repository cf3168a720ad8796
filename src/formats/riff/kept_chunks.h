#pragma once
// Chunks of a WAVE file that the model has no place for - production notes, tempo, wavetables - carried from
// the file that was read to the next one of such a kind.
#include <cstdint>
#include <string>
#include <vector>

#include "core/waveform.h"
#include "formats/riff/info.h"
#include "formats/riff/riff.h"

namespace vemko::riff {

struct KeptChunk {
  std::uint32_t id = 0;
  bool isBeforeData = false;
  std::vector<std::byte> body;
};

/// What the readers of WAVE files, and of those that hold a WAVE file's chunks, leave with a waveform. At
/// most 1 MiB of bodies are kept.
struct WaveFileNotes final : ReaderNotes {
  std::vector<KeptChunk> chunks;
  std::vector<InfoText> info;          ///< Texts that are no property of items.
  std::vector<std::byte> tag;          ///< The ID3 tag.
  std::vector<std::uint32_t> left;     ///< Chunks that are not kept, each once.
  std::u16string comments, product;    ///< The waveform's as they were read.
  std::uint32_t frames = 0, rate = 0;  // what the chunks speak of
  std::uint8_t channels = 0;
  std::size_t keptBytes = 0;
  bool canCarry = true;  ///< False where numbers stand in another byte order.

  std::vector<std::u16string> lostIn(std::u16string_view extension) const override;
};

/// Takes a chunk that no reader of the model's knows. Padding, what can be computed from the samples, and
/// what is no chunk at all are passed over.
void keepChunk(const Chunk& chunk, bool isBeforeData, WaveFileNotes& notes);
void keepTag(Bytes tag, WaveFileNotes& notes);

/// The notes of a waveform that is read but for them. Names in the log what is not kept.
void attachNotes(WaveFileNotes notes, Waveform& waveform);

/// Names chunks, whose content is not kept, in one line of the log; nothing for none.
void tellChunksNotKept(const std::vector<std::uint32_t>& ids);
/// Notes a chunk for that, once, unless it can be no chunk by its id.
void addNotKept(std::uint32_t id, std::vector<std::uint32_t>& ids);

/// Whole chunks to be written around the samples.
struct ChunksToWrite {
  std::vector<std::byte> beforeData, behindData;
};
/// The kept chunks that are still true, for a file of that many channels; the log names the others, which
/// speak of frames that are now elsewhere or of channels that are gone.
ChunksToWrite buildKeptChunks(const Waveform& waveform, std::uint8_t channels);

/// Texts that were read beside those of the properties.
const std::vector<InfoText>& keptInfo(const Waveform& waveform);

/// The tag that was read, where it still says what the waveform does; empty otherwise.
Bytes keptTag(const Waveform& waveform);

}  // namespace vemko::riff
