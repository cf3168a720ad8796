#include <algorithm>
#include <cstring>
#include <utility>

#include "base/last_error.h"
#include "codecs/decoder.h"
#include "codecs/flac.h"
#include "codecs/flac_library.h"

namespace vemko::flac {

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

namespace {

struct DeleteDecoder {
  void operator()(FLAC__StreamDecoder* decoder) const { functions().decoderDelete(decoder); }
};
using DecoderHandle = std::unique_ptr<FLAC__StreamDecoder, DeleteDecoder>;

// What the library is given as its client: the bytes, and where decoded frames and metadata go.
struct Client {
  std::unique_ptr<PartInput> input;
  std::uint8_t channels = 0;  // frames of another count are lost ones
  std::vector<float> samples;
  std::uint64_t first = 0;
  FLAC__StreamMetadata_StreamInfo info{};
  Metadata* metadata = nullptr;
};

Client& clientOf(void* client) { return *static_cast<Client*>(client); }

FLAC__StreamDecoderReadStatus onRead(const FLAC__StreamDecoder*, FLAC__byte* buffer, std::size_t* bytes,
                                     void* client) {
  *bytes = clientOf(client).input->read(std::as_writable_bytes(std::span(buffer, *bytes)));
  return *bytes == 0 ? FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM
                     : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
}

FLAC__StreamDecoderSeekStatus onSeek(const FLAC__StreamDecoder*, FLAC__uint64 offset, void* client) {
  clientOf(client).input->seek(offset);
  return FLAC__STREAM_DECODER_SEEK_STATUS_OK;
}

FLAC__StreamDecoderTellStatus onTell(const FLAC__StreamDecoder*, FLAC__uint64* offset, void* client) {
  *offset = clientOf(client).input->position();
  return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

FLAC__StreamDecoderLengthStatus onLength(const FLAC__StreamDecoder*, FLAC__uint64* length, void* client) {
  *length = clientOf(client).input->size();
  return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
}

FLAC__bool onEnd(const FLAC__StreamDecoder*, void* client) {
  const PartInput& input = *clientOf(client).input;
  return input.position() >= input.size();
}

FLAC__StreamDecoderWriteStatus onFrame(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                       const FLAC__int32* const planes[], void* clientData) {
  Client& client = clientOf(clientData);
  const std::size_t channels = client.channels, frames = frame->header.blocksize;
  if (frame->header.channels != channels) return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
  client.samples.resize(frames * channels);
  client.first = frame->header.number.sample_number;
  const float scale = 1.0f / (static_cast<float>(1u << (frame->header.bits_per_sample - 2)) * 2.0f);
  float* out = client.samples.data();
  if (channels == 2) {
    for (std::size_t i = 0; i < frames; ++i) {
      out[2 * i] = static_cast<float>(planes[0][i]) * scale;
      out[2 * i + 1] = static_cast<float>(planes[1][i]) * scale;
    }
  } else {
    for (std::size_t channel = 0; channel < channels; ++channel)
      for (std::size_t i = 0; i < frames; ++i)
        out[i * channels + channel] = static_cast<float>(planes[channel][i]) * scale;
  }
  return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void takeComments(const FLAC__StreamMetadata_VorbisComment& block, Metadata& metadata) {
  for (FLAC__uint32 i = 0; i < block.num_comments; ++i)
    metadata.comments.emplace_back(reinterpret_cast<const char*>(block.comments[i].entry),
                                   block.comments[i].length);
}

void takePicture(const FLAC__StreamMetadata_Picture& block, Metadata& metadata) {
  const Bytes data = std::as_bytes(std::span(block.data, block.data_length));
  const bool isFront = block.type == FLAC__STREAM_METADATA_PICTURE_TYPE_FRONT_COVER;
  metadata.pictures.insert(isFront ? metadata.pictures.begin() : metadata.pictures.end(),
                           {block.mime_type, {data.begin(), data.end()}});
}

void takeApplication(const FLAC__StreamMetadata& block, Metadata& metadata) {
  const auto& id = block.data.application.id;
  constexpr std::size_t kIdBytes = sizeof id;
  const Bytes data = std::as_bytes(std::span(block.data.application.data, block.length - kIdBytes));
  if (std::memcmp(id, "riff", kIdBytes) == 0) metadata.riffChunks.emplace_back(data.begin(), data.end());
  if (std::memcmp(id, "aiff", kIdBytes) == 0) metadata.aiffChunks.emplace_back(data.begin(), data.end());
}

// The last track of a sheet is its end.
void takeCueSheet(const FLAC__StreamMetadata_CueSheet& sheet, Metadata& metadata) {
  for (FLAC__uint32 i = 0; i + 1 < sheet.num_tracks; ++i)
    metadata.cueFrames.push_back(sheet.tracks[i].offset);
}

void onMetadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* block, void* clientData) {
  Client& client = clientOf(clientData);
  if (block->type == FLAC__METADATA_TYPE_STREAMINFO) client.info = block->data.stream_info;
  if (!client.metadata) return;
  if (block->type == FLAC__METADATA_TYPE_VORBIS_COMMENT)
    takeComments(block->data.vorbis_comment, *client.metadata);
  if (block->type == FLAC__METADATA_TYPE_PICTURE) takePicture(block->data.picture, *client.metadata);
  if (block->type == FLAC__METADATA_TYPE_APPLICATION && block->length >= 4)
    takeApplication(*block, *client.metadata);
  if (block->type == FLAC__METADATA_TYPE_CUESHEET) takeCueSheet(block->data.cue_sheet, *client.metadata);
}

// Damage shows in the places of the frames that follow.
void onError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void*) {}

bool isOgg(PartInput& input) {
  std::byte head[4] = {};
  const bool found = input.read(head) == 4 && std::memcmp(head, "OggS", 4) == 0;
  input.seek(0);
  return found;
}

// An open decoder that has read the headers.
DecoderHandle openHandle(Client& client) {
  const Functions& use = functions();
  DecoderHandle handle(use.decoderNew());
  if (!handle) return nullptr;
  if (client.metadata) use.respondAll(handle.get());
  const auto init = isOgg(*client.input) ? use.decoderInitOgg : use.decoderInit;
  if (init(handle.get(), onRead, onSeek, onTell, onLength, onEnd, onFrame, onMetadata, onError, &client) !=
          FLAC__STREAM_DECODER_INIT_STATUS_OK ||
      !use.processMetadata(handle.get()))
    return nullptr;
  return handle;
}

class FlacDecoder final : public Decoder {
 public:
  FlacDecoder(std::unique_ptr<PartInput> input, std::uint8_t channels) {
    client_.input = std::move(input);
    client_.channels = channels;
  }

  bool start() {
    handle_ = openHandle(client_);
    return handle_ ? true : fail(u"Not a FLAC file");
  }

  DecodedRun next() override {
    if (!pending_) decodeFrame();
    pending_ = false;
    return {client_.first, client_.samples};
  }

  bool seek(std::uint64_t frame) override {
    client_.samples.clear();
    pending_ = functions().seek(handle_.get(), frame) != 0 && !client_.samples.empty();
    return pending_;
  }

 private:
  void decodeFrame() {
    const Functions& use = functions();
    client_.samples.clear();
    while (client_.samples.empty() && use.decoderState(handle_.get()) < FLAC__STREAM_DECODER_END_OF_STREAM)
      if (!use.processSingle(handle_.get())) break;
  }

  Client client_;
  DecoderHandle handle_;
  bool pending_ = false;  // seeking has decoded the first frames already
};

}  // namespace

std::u16string missingLibrary() { return functions().library.missingText(); }

bool open(const FilePart& part, CompressedSamples& samples, Metadata* metadata) {
  if (!functions().library.require()) return false;
  Client client;
  client.input = PartInput::open(part);
  client.metadata = metadata;
  if (!client.input) return false;
  if (!openHandle(client) || client.info.channels == 0) return fail(u"Not a FLAC file");

  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts.frames = client.info.total_samples;
  recipe.facts.rate = client.info.sample_rate;
  recipe.facts.channels = static_cast<std::uint8_t>(client.info.channels);
  recipe.facts.bits = static_cast<std::uint8_t>(client.info.bits_per_sample);
  recipe.encoding = encodingOfBits(client.info.bits_per_sample);
  recipe.canSeek = true;
  recipe.open = [channels = recipe.facts.channels](std::unique_ptr<PartInput> input) {
    auto decoder = std::make_unique<FlacDecoder>(std::move(input), channels);
    if (!decoder->start()) decoder = nullptr;
    return decoder;
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

}  // namespace vemko::flac
