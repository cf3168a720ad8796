// Opens the samples of AIFF files. The library at hand loses its way in comments of odd length, which are
// followed by a pad byte: files with comments are shown to it without them.
#include "formats/audio/aiff_open.h"

#include <algorithm>

#include "codecs/sndfile.h"
#include "formats/audio/big_endian.h"

namespace vemko::audio {
namespace {

struct AiffFile {
  Bytes common, sound;
  bool hasComments = false;
};

AiffFile walkChunks(Bytes form) {
  AiffFile file;
  IffWalker walker(form);
  for (IffChunk chunk; walker.next(chunk);) {
    if (chunk.id == fourCc("COMM") && file.common.empty()) file.common = chunk.body;
    if (chunk.id == fourCc("SSND") && file.sound.empty()) file.sound = chunk.body;
    if (chunk.id == fourCc("COMT")) file.hasComments = true;
  }
  return file;
}

}  // namespace

bool openAiff(InputFile& input, CompressedSamples& samples) {
  constexpr std::size_t kFormTypeAt = 8, kChunksAt = 12;
  const Bytes bytes = input.bytes();
  const AiffFile file = bytes.size() > kChunksAt ? walkChunks(bytes.subspan(kChunksAt)) : AiffFile{};
  if (!file.hasComments || file.common.empty() || file.sound.empty())
    return sndfile::open(FilePart::whole(input), samples);
  ByteWriter common, head;
  putIffChunk(common, "COMM", file.common);
  constexpr std::size_t kFormTypeBytes = 4, kChunkHeadBytes = 8;
  head.text("FORM");
  putBig(head, static_cast<std::uint32_t>(kFormTypeBytes + common.size() + kChunkHeadBytes +
                                          file.sound.size() + file.sound.size() % 2));
  head.append(bytes.subspan(kFormTypeAt, kFormTypeBytes));
  head.append(common.bytes);
  head.text("SSND");
  putBig(head, static_cast<std::uint32_t>(file.sound.size()));
  const auto offset = static_cast<std::uint64_t>(file.sound.data() - bytes.data());
  return sndfile::open({SourceFile::of(input), offset, file.sound.size(), {}}, samples,
                       std::move(head.bytes));
}

}  // namespace vemko::audio
