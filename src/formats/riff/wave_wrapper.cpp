#include "formats/riff/wave_wrapper.h"

#include "base/log.h"
#include "codecs/id3.h"
#include "formats/riff/description.h"
#include "formats/riff/format_body.h"
#include "formats/riff/info.h"
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

}  // namespace

WaveWrapper buildWrapper(const Waveform& waveform, const WrapperLayout& layout) {
  WaveWrapper wrapper;
  const std::vector<std::byte> description = buildDescription(waveform);
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

void readWrapperChunks(const std::vector<Bytes>& chunks, Waveform& waveform) {
  DescriptionChunks description;
  for (Bytes bytes : chunks) {
    ChunkWalker walker(bytes);
    for (Chunk chunk; walker.next(chunk);) {
      if (takeDescriptionChunk(chunk, description)) continue;
      if (chunk.id == fourCc("LIST") && listType(chunk.body) == fourCc("INFO"))
        readInfo(listContents(chunk.body), waveform);
      if (chunk.id == fourCc("id3 ") || chunk.id == fourCc("ID3 ")) readId3(chunk.body, waveform);
    }
  }
  readDescription(description, waveform);
}

}  // namespace vemko::riff
