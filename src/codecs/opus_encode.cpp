#include <opusenc.h>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/opus.h"
#include "codecs/xiph_channels.h"

namespace vemko::opus {
namespace {

constexpr std::size_t kBlockFrames = 4096;

constexpr LibraryNames kLibrary = {u"libopusenc",
                                   u"Debian package libopusenc0, Windows libopusenc-0.dll",
                                   {"libopusenc.so.0", "libopusenc-0.dll", "opusenc.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&ope_comments_create) commentsCreate = library.find("ope_comments_create");
  decltype(&ope_comments_destroy) commentsDestroy = library.find("ope_comments_destroy");
  decltype(&ope_comments_add_string) commentsAdd = library.find("ope_comments_add_string");
  decltype(&ope_encoder_create_callbacks) create = library.find("ope_encoder_create_callbacks");
  decltype(&ope_encoder_destroy) destroy = library.find("ope_encoder_destroy");
  decltype(&ope_encoder_ctl) control = library.find("ope_encoder_ctl");
  decltype(&ope_encoder_write_float) write = library.find("ope_encoder_write_float");
  decltype(&ope_encoder_drain) drain = library.find("ope_encoder_drain");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

struct DestroyEncoder {
  void operator()(OggOpusEnc* encoder) const { functions().destroy(encoder); }
};
struct DestroyComments {
  void operator()(OggOpusComments* comments) const { functions().commentsDestroy(comments); }
};

int onWrite(void* sink, const unsigned char* data, opus_int32 count) {
  const auto bytes = std::as_bytes(std::span(data, static_cast<std::size_t>(count)));
  return static_cast<ByteSink*>(sink)->write(bytes) ? 0 : 1;
}
int onClose(void*) { return 0; }

}  // namespace

std::u16string missingEncoder() { return functions().library.missingText(); }

bool encode(const EncoderInput& input, std::uint32_t bitsPerSecond, const std::vector<std::string>& comments,
            ByteSink& sink) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  std::unique_ptr<OggOpusComments, DestroyComments> tags(use.commentsCreate());
  for (const std::string& comment : comments) use.commentsAdd(tags.get(), comment.c_str());
  const OpusEncCallbacks callbacks{onWrite, onClose};
  const int family = input.channels <= 2 ? 0 : 1;
  std::unique_ptr<OggOpusEnc, DestroyEncoder> encoder(use.create(
      &callbacks, &sink, tags.get(), static_cast<opus_int32>(input.rate), input.channels, family, nullptr));
  if (!encoder) return fail(u"Opus files can not hold this sample rate or number of channels");
  use.control(encoder.get(), OPUS_SET_BITRATE(static_cast<opus_int32>(bitsPerSecond)));
  // Equal input gives equal files; streams of different length can be chained.
  use.control(encoder.get(),
              OPE_SET_SERIALNO(static_cast<opus_int32>(input.frames * 2654435761u ^ input.rate)));

  setLastError(u"Writing to file failed");  // unless the source or the sink says more
  constexpr float kLimit = 8;               // peaks a little beyond full scale come back as they were
  EncoderBlocks blocks(input, kBlockFrames, kLimit);
  std::vector<float> reordered;
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return use.drain(encoder.get()) == OPE_OK;
    reordered.assign(samples->begin(), samples->end());
    reorderChannels(reordered, xiphOrderFromWave(input.channels));
    if (use.write(encoder.get(), reordered.data(), static_cast<int>(samples->size() / input.channels)) !=
        OPE_OK)
      return false;
  }
}

}  // namespace vemko::opus
