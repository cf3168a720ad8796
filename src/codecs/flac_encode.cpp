#include <algorithm>
#include <cstring>

#include "base/last_error.h"
#include "base/log.h"
#include "codecs/flac.h"
#include "codecs/flac_library.h"
#include "codecs/pcm.h"

namespace vemko::flac {
namespace {

constexpr std::size_t kBlockFrames = 4096;
constexpr std::size_t kLargestBlock = (1 << 24) - 1;  // a metadata block's length has 24 bits
constexpr unsigned kPaddingBytes = 8192;              // room for a tag editor
constexpr unsigned kSeekPointSeconds = 10;
constexpr unsigned kDefaultLevel = 5, kHighestLevel = 8;

struct DeleteEncoder {
  void operator()(FLAC__StreamEncoder* encoder) const { functions().encoderDelete(encoder); }
};
struct DeleteObject {
  void operator()(FLAC__StreamMetadata* object) const { functions().objectDelete(object); }
};
using EncoderHandle = std::unique_ptr<FLAC__StreamEncoder, DeleteEncoder>;
using Object = std::unique_ptr<FLAC__StreamMetadata, DeleteObject>;

// The library writes frames one after the other, and its header once more at the end.
struct Client {
  ByteSink& sink;
  std::uint64_t start;
  std::uint64_t position;
};
Client& clientOf(void* client) { return *static_cast<Client*>(client); }

FLAC__StreamEncoderWriteStatus onWrite(const FLAC__StreamEncoder*, const FLAC__byte* buffer,
                                       std::size_t bytes, std::uint32_t, std::uint32_t, void* clientData) {
  Client& client = clientOf(clientData);
  const Bytes data = std::as_bytes(std::span(buffer, bytes));
  const bool isAtEnd = client.position == client.sink.size();
  const bool ok = isAtEnd ? client.sink.write(data) : client.sink.writeAt(client.position, data);
  client.position += bytes;
  return ok ? FLAC__STREAM_ENCODER_WRITE_STATUS_OK : FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR;
}

FLAC__StreamEncoderSeekStatus onSeek(const FLAC__StreamEncoder*, FLAC__uint64 offset, void* client) {
  clientOf(client).position = clientOf(client).start + offset;
  return FLAC__STREAM_ENCODER_SEEK_STATUS_OK;
}

FLAC__StreamEncoderTellStatus onTell(const FLAC__StreamEncoder*, FLAC__uint64* offset, void* client) {
  *offset = clientOf(client).position - clientOf(client).start;
  return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
}

FLAC__byte* libraryBytes(Bytes data) {
  return const_cast<FLAC__byte*>(reinterpret_cast<const FLAC__byte*>(data.data()));
}

Object makeSeekTable(const EncoderInput& input) {
  Object table(functions().objectNew(FLAC__METADATA_TYPE_SEEKTABLE));
  functions().appendSeekPoints(table.get(), kSeekPointSeconds * input.rate, input.frames);
  return table;
}

Object makeComments(const std::vector<std::string>& comments) {
  Object block(functions().objectNew(FLAC__METADATA_TYPE_VORBIS_COMMENT));
  for (const std::string& comment : comments) {
    FLAC__StreamMetadata_VorbisComment_Entry entry;
    entry.length = static_cast<FLAC__uint32>(comment.size());
    entry.entry = libraryBytes(asBytes(comment));
    functions().appendComment(block.get(), entry, true);
  }
  return block;
}

Object makePicture(const Picture& picture) {
  Object block(functions().objectNew(FLAC__METADATA_TYPE_PICTURE));
  block->data.picture.type = FLAC__STREAM_METADATA_PICTURE_TYPE_FRONT_COVER;
  std::string mimeType = picture.mimeType;
  functions().setPictureType(block.get(), mimeType.data(), true);
  functions().setPictureData(block.get(), libraryBytes(picture.bytes),
                             static_cast<FLAC__uint32>(picture.bytes.size()), true);
  return block;
}

Object makeRiffChunk(const std::vector<std::byte>& chunk) {
  Object block(functions().objectNew(FLAC__METADATA_TYPE_APPLICATION));
  std::memcpy(block->data.application.id, "riff", 4);
  functions().setApplicationData(block.get(), libraryBytes(chunk), static_cast<unsigned>(chunk.size()), true);
  return block;
}

std::vector<Object> makeBlocks(const EncoderInput& input, const Metadata& metadata) {
  std::vector<Object> blocks;
  if (input.frames > std::uint64_t{kSeekPointSeconds} * input.rate) blocks.push_back(makeSeekTable(input));
  blocks.push_back(makeComments(metadata.comments));
  for (const Picture& picture : metadata.pictures) {
    if (picture.bytes.size() + 1024 < kLargestBlock)
      blocks.push_back(makePicture(picture));
    else
      logWarning(u"The cover image is too large for a FLAC file and is left out");
  }
  const bool allFit = std::ranges::all_of(
      metadata.riffChunks, [](const auto& chunk) { return chunk.size() + 4 <= kLargestBlock; });
  if (!allFit) logWarning(u"The loops and markers are too many for a FLAC file and are left out");
  for (const auto& chunk : metadata.riffChunks)
    if (allFit) blocks.push_back(makeRiffChunk(chunk));
  Object padding(functions().objectNew(FLAC__METADATA_TYPE_PADDING));
  padding->length = kPaddingBytes;
  blocks.push_back(std::move(padding));
  return blocks;
}

bool encodeBlocks(FLAC__StreamEncoder* encoder, const EncoderInput& input, unsigned bits) {
  EncoderBlocks blocks(input, kBlockFrames);
  std::vector<std::int32_t> integers(kBlockFrames * input.channels);
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return true;
    floatsToIntegers(*samples, bits, std::span(integers).first(samples->size()));
    const auto frames = static_cast<std::uint32_t>(samples->size() / input.channels);
    if (!functions().process(encoder, integers.data(), frames)) return false;
  }
}

}  // namespace

bool encode(const EncoderInput& input, const EncodeOptions& options, const Metadata& metadata,
            ByteSink& sink) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  const std::vector<Object> blocks = makeBlocks(input, metadata);
  std::vector<FLAC__StreamMetadata*> pointers;
  pointers.reserve(blocks.size());
  for (const Object& block : blocks) pointers.push_back(block.get());

  EncoderHandle encoder(use.encoderNew());
  Client client{sink, sink.size(), sink.size()};
  if (!encoder) return fail(u"Out of memory");
  use.setChannels(encoder.get(), input.channels);
  use.setBits(encoder.get(), options.bits);
  use.setRate(encoder.get(), input.rate);
  use.setStreamable(encoder.get(), false);  // refuses unusual rates otherwise
  use.setLevel(encoder.get(), options.maxCompression ? kHighestLevel : kDefaultLevel);
  use.setTotal(encoder.get(), input.frames);
  use.setMetadata(encoder.get(), pointers.data(), static_cast<std::uint32_t>(pointers.size()));
  if (use.encoderInit(encoder.get(), onWrite, onSeek, onTell, nullptr, &client) !=
      FLAC__STREAM_ENCODER_INIT_STATUS_OK)
    return fail(u"FLAC files can not hold this sample rate or number of channels");
  setLastError(u"Writing to file failed");  // unless the source or the sink says more
  const bool ok = encodeBlocks(encoder.get(), input, options.bits);
  return use.encoderFinish(encoder.get()) && ok;
}

}  // namespace vemko::flac
