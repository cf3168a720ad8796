#include "formats/riff/wave_wrapper.h"

#include "base/log.h"
#include "codecs/id3.h"
#include "formats/riff/description.h"
#include "formats/riff/format_body.h"
#include "formats/riff/info.h"
#include "formats/riff/kept_chunks.h"
#include "formats/riff/riff.h"

namespace vemko::riff {
namespace {

ByteWriter formatBody(const Waveform& waveform, const WrapperLayout& layout) {
  FormatFields fields;
  const unsigned containerBytes = (layout.bits + 7) / 8;
  fields.tag = layout.isFloat ? kFloatTag : kPcmTag;
  fields.channels = layout.channels;
  fields.rate = waveform.rate;
  fields.bits = static_cast<std::uint16_t>(containerBytes * 8);
  fields.validBits = static_cast<std::uint16_t>(layout.bits);
  fields.blockAlign = static_cast<std::uint16_t>(containerBytes * layout.channels);
  fields.extensible = layout.channels > 2 || layout.bits % 8 != 0;
  return buildFormatBody(fields);
}

// Texts stand beside the samples in a way of the codec's own, but for those that no item has.
std::vector<std::byte> buildChunks(const Waveform& waveform, std::uint8_t channels) {
  ByteWriter chunks;
  chunks.append(buildDescription(waveform));
  const ChunksToWrite kept = buildKeptChunks(waveform, channels);
  chunks.append(kept.beforeData);
  chunks.append(kept.behindData);
  appendInfoTexts(keptInfo(waveform), chunks);
  return std::move(chunks.bytes);
}

}  // namespace

WaveWrapper buildWrapper(const Waveform& waveform, const WrapperLayout& layout) {
  WaveWrapper wrapper;
  const std::vector<std::byte> description = buildChunks(waveform, layout.channels);
  const std::uint64_t dataBytes = std::uint64_t{waveform.frames} * layout.channels * ((layout.bits + 7) / 8);
  const ByteWriter format = formatBody(waveform, layout);
  const std::uint64_t riffBytes = 4 + 8 + format.size() + 8 + dataBytes + dataBytes % 2 + description.size();
  if (description.empty()) return wrapper;
  if (riffBytes > 0xFFFFFFFF) {
    logWarning(u"The samples are too many for a WAVE file: loops and markers are left out");
    return wrapper;
  }
  ByteWriter head, dataHead;
  head.text("RIFF");
  head.u32(static_cast<std::uint32_t>(riffBytes));
  head.text("WAVE");
  dataHead.text("data");
  dataHead.u32(static_cast<std::uint32_t>(dataBytes));
  ChunkBuilder formatChunk;
  formatChunk.add(fourCc("fmt "), format.bytes);
  wrapper.head = std::move(head.bytes);
  wrapper.format = std::move(formatChunk.out.bytes);
  wrapper.dataHead = std::move(dataHead.bytes);
  ChunkWalker walker(description);
  for (Chunk chunk; walker.next(chunk);) {
    ChunkBuilder whole;
    whole.add(chunk.id, chunk.body);
    wrapper.rest.push_back(std::move(whole.out.bytes));
  }
  return wrapper;
}

WaveFileNotes readWrapperChunks(const std::vector<Bytes>& chunks, Waveform& waveform) {
  DescriptionChunks description;
  WaveFileNotes notes;
  bool isBeforeData = true;
  for (Bytes bytes : chunks) {
    ChunkWalker walker(bytes);
    for (Chunk chunk; walker.next(chunk);) {
      if (takeDescriptionChunk(chunk, description)) continue;
      if (chunk.id == fourCc("data")) isBeforeData = false;
      if (chunk.id == fourCc("LIST") && listType(chunk.body) == fourCc("INFO"))
        readInfo(listContents(chunk.body), waveform, notes.info);
      else if (chunk.id == fourCc("id3 ") || chunk.id == fourCc("ID3 "))
        readId3(chunk.body, waveform);
      else
        keepChunk(chunk, isBeforeData, notes);
    }
  }
  readDescription(description, waveform);
  return notes;
}

}  // namespace vemko::riff
