#include <vorbis/vorbisenc.h>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/vorbis.h"
#include "codecs/xiph_channels.h"

namespace vemko::vorbis {
namespace {

constexpr std::size_t kBlockFrames = 1024;

constexpr LibraryNames kEncLibrary = {u"libvorbisenc",
                                      u"Debian package libvorbisenc2, Windows libvorbisenc-2.dll",
                                      {"libvorbisenc.so.2", "libvorbisenc-2.dll", "libvorbisenc.dll"}};
constexpr LibraryNames kVorbisLibrary = {u"libvorbis",
                                         u"Debian package libvorbis0a, Windows libvorbis-0.dll",
                                         {"libvorbis.so.0", "libvorbis-0.dll", "libvorbis.dll"}};
constexpr LibraryNames kOggLibrary = {u"libogg",
                                      u"Debian package libogg0, Windows libogg-0.dll",
                                      {"libogg.so.0", "libogg-0.dll", "libogg.dll"}};

struct Functions {
  CodecLibrary encoder{kEncLibrary};
  decltype(&vorbis_encode_init_vbr) initVbr = encoder.find("vorbis_encode_init_vbr");

  CodecLibrary codec{kVorbisLibrary};
  decltype(&vorbis_info_init) infoInit = codec.find("vorbis_info_init");
  decltype(&vorbis_info_clear) infoClear = codec.find("vorbis_info_clear");
  decltype(&vorbis_comment_init) commentInit = codec.find("vorbis_comment_init");
  decltype(&vorbis_comment_clear) commentClear = codec.find("vorbis_comment_clear");
  decltype(&vorbis_comment_add) commentAdd = codec.find("vorbis_comment_add");
  decltype(&vorbis_analysis_init) analysisInit = codec.find("vorbis_analysis_init");
  decltype(&vorbis_analysis_headerout) headers = codec.find("vorbis_analysis_headerout");
  decltype(&vorbis_analysis_buffer) buffer = codec.find("vorbis_analysis_buffer");
  decltype(&vorbis_analysis_wrote) wrote = codec.find("vorbis_analysis_wrote");
  decltype(&vorbis_analysis_blockout) blockOut = codec.find("vorbis_analysis_blockout");
  decltype(&vorbis_analysis) analysis = codec.find("vorbis_analysis");
  decltype(&vorbis_bitrate_addblock) addBlock = codec.find("vorbis_bitrate_addblock");
  decltype(&vorbis_bitrate_flushpacket) flushPacket = codec.find("vorbis_bitrate_flushpacket");
  decltype(&vorbis_block_init) blockInit = codec.find("vorbis_block_init");
  decltype(&vorbis_block_clear) blockClear = codec.find("vorbis_block_clear");
  decltype(&vorbis_dsp_clear) dspClear = codec.find("vorbis_dsp_clear");

  CodecLibrary container{kOggLibrary};
  decltype(&ogg_stream_init) streamInit = container.find("ogg_stream_init");
  decltype(&ogg_stream_clear) streamClear = container.find("ogg_stream_clear");
  decltype(&ogg_stream_packetin) packetIn = container.find("ogg_stream_packetin");
  decltype(&ogg_stream_pageout) pageOut = container.find("ogg_stream_pageout");
  decltype(&ogg_stream_flush) flush = container.find("ogg_stream_flush");

  bool require() const { return encoder.require() && codec.require() && container.require(); }
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

// The library's states; each is cleared when it was made, in reverse order.
class Encoder {
 public:
  Encoder() {
    functions().infoInit(&info_);
    functions().commentInit(&comment_);
  }
  ~Encoder() {
    if (started_) {
      functions().streamClear(&stream_);
      functions().blockClear(&block_);
      functions().dspClear(&dsp_);
    }
    functions().commentClear(&comment_);
    functions().infoClear(&info_);
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  bool start(const EncoderInput& input, float quality) {
    if (functions().initVbr(&info_, input.channels, static_cast<long>(input.rate), quality) != 0)
      return fail(u"Ogg Vorbis files can not hold this sample rate or number of channels");
    functions().analysisInit(&dsp_, &info_);
    functions().blockInit(&dsp_, &block_);
    // Equal input gives equal files; streams of different length can be chained.
    functions().streamInit(&stream_, static_cast<int>(input.frames * 2654435761u ^ input.rate));
    started_ = true;
    return true;
  }

  bool writeHeaders(const std::vector<std::string>& comments, ByteSink& sink) {
    for (const std::string& comment : comments) functions().commentAdd(&comment_, comment.c_str());
    ogg_packet packets[3];
    functions().headers(&dsp_, &comment_, &packets[0], &packets[1], &packets[2]);
    for (ogg_packet& packet : packets) functions().packetIn(&stream_, &packet);
    return writePages(functions().flush, sink);  // samples start on a page of their own
  }

  /// No samples: the end.
  bool encode(std::span<const float> samples, std::size_t channels, ByteSink& sink) {
    const std::size_t frames = samples.size() / channels;
    if (frames > 0) {
      float** planes = functions().buffer(&dsp_, static_cast<int>(frames));
      for (std::size_t channel = 0; channel < channels; ++channel)
        for (std::size_t i = 0; i < frames; ++i) planes[channel][i] = samples[i * channels + channel];
    }
    functions().wrote(&dsp_, static_cast<int>(frames));
    ogg_packet packet;
    while (functions().blockOut(&dsp_, &block_) == 1) {
      functions().analysis(&block_, nullptr);
      functions().addBlock(&block_);
      while (functions().flushPacket(&dsp_, &packet) != 0) {
        functions().packetIn(&stream_, &packet);
        if (!writePages(functions().pageOut, sink)) return false;
      }
    }
    return true;
  }

 private:
  bool writePages(int (*nextPage)(ogg_stream_state*, ogg_page*), ByteSink& sink) {
    ogg_page page;
    while (nextPage(&stream_, &page) != 0) {
      const auto header = std::as_bytes(std::span(page.header, static_cast<std::size_t>(page.header_len)));
      const auto body = std::as_bytes(std::span(page.body, static_cast<std::size_t>(page.body_len)));
      if (!sink.write(header) || !sink.write(body)) return false;
    }
    return true;
  }

  vorbis_info info_;
  vorbis_comment comment_;
  vorbis_dsp_state dsp_;
  vorbis_block block_;
  ogg_stream_state stream_;
  bool started_ = false;
};

}  // namespace

std::u16string missingEncoder() {
  for (const CodecLibrary* library : {&functions().encoder, &functions().codec, &functions().container})
    if (!library->isAvailable()) return library->missingText();
  return {};
}

bool encode(const EncoderInput& input, float quality, const std::vector<std::string>& comments,
            ByteSink& sink) {
  if (!functions().require()) return false;
  Encoder encoder;
  if (!encoder.start(input, quality) || !encoder.writeHeaders(comments, sink)) return false;
  constexpr float kLimit = 8;  // peaks a little beyond full scale come back as they were
  EncoderBlocks blocks(input, kBlockFrames, kLimit);
  std::vector<float> reordered;
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    reordered.assign(samples->begin(), samples->end());
    reorderChannels(reordered, xiphOrderFromWave(input.channels));
    if (!encoder.encode(reordered, input.channels, sink)) return false;
    if (samples->empty()) return true;
  }
}

}  // namespace vemko::vorbis
