#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <iterator>
#include <lame/lame.h>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/mpeg.h"

namespace vemko::mpeg {
namespace {

constexpr std::size_t kBlockFrames = 4608;
constexpr int kEncodingEffort = 2;  // 0 the most, 9 the least

constexpr LibraryNames kLibrary = {u"libmp3lame",
                                   u"Debian package libmp3lame0, Windows libmp3lame-0.dll",
                                   {"libmp3lame.so.0", "libmp3lame-0.dll", "libmp3lame.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&lame_init) init = library.find("lame_init");
  decltype(&lame_close) close = library.find("lame_close");
  decltype(&lame_set_in_samplerate) setInRate = library.find("lame_set_in_samplerate");
  decltype(&lame_set_out_samplerate) setOutRate = library.find("lame_set_out_samplerate");
  decltype(&lame_set_num_channels) setChannels = library.find("lame_set_num_channels");
  decltype(&lame_set_mode) setMode = library.find("lame_set_mode");
  decltype(&lame_set_quality) setEffort = library.find("lame_set_quality");
  decltype(&lame_set_VBR) setVbr = library.find("lame_set_VBR");
  decltype(&lame_set_brate) setBitRate = library.find("lame_set_brate");
  decltype(&lame_set_VBR_mean_bitrate_kbps) setMeanBitRate = library.find("lame_set_VBR_mean_bitrate_kbps");
  decltype(&lame_set_VBR_q) setVbrQuality = library.find("lame_set_VBR_q");
  decltype(&lame_set_bWriteVbrTag) setTagFrame = library.find("lame_set_bWriteVbrTag");
  decltype(&lame_set_write_id3tag_automatic) setId3 = library.find("lame_set_write_id3tag_automatic");
  decltype(&lame_set_errorf) setErrors = library.find("lame_set_errorf");
  decltype(&lame_set_msgf) setMessages = library.find("lame_set_msgf");
  decltype(&lame_set_debugf) setDebug = library.find("lame_set_debugf");
  decltype(&lame_init_params) initParameters = library.find("lame_init_params");
  decltype(&lame_encode_buffer_interleaved_ieee_float) encodeStereo =
      library.find("lame_encode_buffer_interleaved_ieee_float");
  decltype(&lame_encode_buffer_ieee_float) encodeMono = library.find("lame_encode_buffer_ieee_float");
  decltype(&lame_encode_flush) flush = library.find("lame_encode_flush");
  decltype(&lame_get_lametag_frame) tagFrame = library.find("lame_get_lametag_frame");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

constexpr std::uint32_t kRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

// kbit/s by sample rate: above 24000 Hz, up to there, and up to 12000 Hz.
constexpr std::uint32_t kHighRates[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr std::uint32_t kMiddleRates[] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
constexpr std::uint32_t kLowRates[] = {8, 16, 24, 32, 40, 48, 56, 64};

constexpr double kSettings[] = {320, 256, 224, 192, 160, 128, 112, 96, 80, 64, 56, 48, 40, 32, 24, 16, 8};
constexpr std::uint32_t kFallbackBitRate = 128000;

struct CloseEncoder {
  void operator()(lame_global_flags* encoder) const { functions().close(encoder); }
};
using Handle = std::unique_ptr<lame_global_flags, CloseEncoder>;

void discardMessage(const char*, va_list) {}

bool configure(lame_global_flags* encoder, const EncoderInput& input, const EncodeOptions& options) {
  const Functions& use = functions();
  use.setErrors(encoder, discardMessage);
  use.setMessages(encoder, discardMessage);
  use.setDebug(encoder, discardMessage);
  use.setInRate(encoder, static_cast<int>(input.rate));
  use.setOutRate(encoder, static_cast<int>(storedRate(input.rate)));
  use.setChannels(encoder, input.channels);
  use.setMode(encoder, input.channels == 1 ? MONO : options.jointStereo ? JOINT_STEREO : STEREO);
  use.setEffort(encoder, kEncodingEffort);
  use.setTagFrame(encoder, options.tagFrame);
  use.setId3(encoder, 0);
  const int kilobits = static_cast<int>(storedBitRate(options.bitsPerSecond, input.rate) / 1000);
  switch (options.mode) {
    case RateMode::Constant:
      use.setVbr(encoder, vbr_off);
      use.setBitRate(encoder, kilobits);
      break;
    case RateMode::Average:
      use.setVbr(encoder, vbr_abr);
      use.setMeanBitRate(encoder, kilobits);
      break;
    case RateMode::Variable:
      use.setVbr(encoder, vbr_mtrh);
      use.setVbrQuality(encoder, options.quality);
      break;
  }
  return use.initParameters(encoder) >= 0;
}

bool writeTagFrame(lame_global_flags* encoder, std::uint64_t offset, ByteSink& sink) {
  std::vector<unsigned char> frame(functions().tagFrame(encoder, nullptr, 0));
  const std::size_t size = functions().tagFrame(encoder, frame.data(), frame.size());
  return size == 0 || size > frame.size() ||
         sink.writeAt(offset, std::as_bytes(std::span(frame).first(size)));
}

}  // namespace

std::u16string missingEncoder() { return functions().library.missingText(); }

std::uint32_t storedRate(std::uint32_t rate) {
  for (std::uint32_t each : kRates)
    if (rate <= each) return each;
  return kRates[std::size(kRates) - 1];
}

std::uint32_t storedBitRate(std::uint32_t bitsPerSecond, std::uint32_t rate) {
  const std::uint32_t stored = storedRate(rate);
  std::span<const std::uint32_t> choices = kHighRates;
  if (stored <= 24000) choices = kMiddleRates;
  if (stored <= 12000) choices = kLowRates;
  const auto distance = [&](std::uint32_t kilobits) {
    return std::abs(std::int64_t{kilobits} * 1000 - std::int64_t{bitsPerSecond});
  };
  return *std::ranges::min_element(choices, {}, distance) * 1000;
}

double kilobitsOfSetting(int setting) {
  const auto index = static_cast<std::size_t>(setting);
  return setting >= 0 && index < std::size(kSettings) ? kSettings[index] : 0;
}

std::uint32_t bitRateOfSetting(std::uint32_t setting) {
  return setting < std::size(kSettings) ? static_cast<std::uint32_t>(kSettings[setting] * 1000)
                                        : kFallbackBitRate;
}

bool encode(const EncoderInput& input, const EncodeOptions& options, ByteSink& sink) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  if (input.channels > 2) return fail(u"MPEG audio can hold two channels at most");
  Handle encoder(use.init());
  if (!encoder || !configure(encoder.get(), input, options))
    return fail(u"MPEG audio can not hold this sample rate");

  const std::uint64_t start = sink.size();
  EncoderBlocks blocks(input, kBlockFrames, 1);  // far beyond full scale the library ends the program
  std::vector<unsigned char> coded(kBlockFrames * 5 / 4 + 7200);  // the library's own bound
  for (bool isEnd = false; !isEnd;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    isEnd = samples->empty();
    const auto frames = static_cast<int>(samples->size() / input.channels);
    const auto room = static_cast<int>(coded.size());
    const int count =
        isEnd ? use.flush(encoder.get(), coded.data(), room)
        : input.channels == 2
            ? use.encodeStereo(encoder.get(), samples->data(), frames, coded.data(), room)
            : use.encodeMono(encoder.get(), samples->data(), samples->data(), frames, coded.data(), room);
    if (count < 0) return fail(u"The MP3 encoder failed");
    if (!sink.write(std::as_bytes(std::span(coded).first(static_cast<std::size_t>(count))))) return false;
  }
  return !options.tagFrame || writeTagFrame(encoder.get(), start, sink);
}

}  // namespace vemko::mpeg
