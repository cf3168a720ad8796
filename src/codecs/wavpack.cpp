#include "codecs/wavpack.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <wavpack/wavpack.h>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/pcm.h"

namespace vemko::wavpack {
namespace {

constexpr std::size_t kRunFrames = 4096;
constexpr int kFloatBits = 32;
constexpr int kFloatNormExponent = 127;  // full scale is 1.0

constexpr LibraryNames kLibrary = {u"libwavpack",
                                   u"Debian package libwavpack1, Windows libwavpack-1.dll",
                                   {"libwavpack.so.1", "libwavpack-1.dll", "wavpackdll.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&WavpackOpenFileInputEx64) openInput = library.find("WavpackOpenFileInputEx64");
  decltype(&WavpackCloseFile) close = library.find("WavpackCloseFile");
  decltype(&WavpackGetMode) mode = library.find("WavpackGetMode");
  decltype(&WavpackGetNumSamples64) frameCount = library.find("WavpackGetNumSamples64");
  decltype(&WavpackGetSampleIndex64) frameIndex = library.find("WavpackGetSampleIndex64");
  decltype(&WavpackGetSampleRate) rate = library.find("WavpackGetSampleRate");
  decltype(&WavpackGetNumChannels) channels = library.find("WavpackGetNumChannels");
  decltype(&WavpackGetBitsPerSample) bits = library.find("WavpackGetBitsPerSample");
  decltype(&WavpackGetBytesPerSample) bytes = library.find("WavpackGetBytesPerSample");
  decltype(&WavpackUnpackSamples) unpack = library.find("WavpackUnpackSamples");
  decltype(&WavpackGetNumErrors) errorCount = library.find("WavpackGetNumErrors");
  decltype(&WavpackSeekSample64) seek = library.find("WavpackSeekSample64");
  decltype(&WavpackGetFileFormat) fileFormat = library.find("WavpackGetFileFormat");
  decltype(&WavpackGetWrapperBytes) wrapperBytes = library.find("WavpackGetWrapperBytes");
  decltype(&WavpackGetWrapperData) wrapperData = library.find("WavpackGetWrapperData");
  decltype(&WavpackFreeWrapper) freeWrapper = library.find("WavpackFreeWrapper");
  decltype(&WavpackSeekTrailingWrapper) seekTrailer = library.find("WavpackSeekTrailingWrapper");

  decltype(&WavpackOpenFileOutput) openOutput = library.find("WavpackOpenFileOutput");
  decltype(&WavpackSetConfiguration64) configure = library.find("WavpackSetConfiguration64");
  decltype(&WavpackAddWrapper) addWrapper = library.find("WavpackAddWrapper");
  decltype(&WavpackPackInit) packInit = library.find("WavpackPackInit");
  decltype(&WavpackPackSamples) pack = library.find("WavpackPackSamples");
  decltype(&WavpackFlushSamples) flush = library.find("WavpackFlushSamples");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

PartInput& inputOf(void* client) { return *static_cast<PartInput*>(client); }

std::int32_t onRead(void* client, void* buffer, std::int32_t count) {
  if (count <= 0) return 0;
  return static_cast<std::int32_t>(
      inputOf(client).read({static_cast<std::byte*>(buffer), static_cast<std::size_t>(count)}));
}
std::int64_t onTell(void* client) { return static_cast<std::int64_t>(inputOf(client).position()); }
int onSeekTo(void* client, std::int64_t offset) { return inputOf(client).seek(offset, SEEK_SET) ? 0 : -1; }
int onSeekBy(void* client, std::int64_t offset, int whence) {
  return inputOf(client).seek(offset, whence) ? 0 : -1;
}
int onPushBack(void* client, int c) { return inputOf(client).seek(-1, SEEK_CUR) ? c : EOF; }
std::int64_t onLength(void* client) { return static_cast<std::int64_t>(inputOf(client).size()); }
int onCanSeek(void*) { return 1; }

WavpackStreamReader64 reader = {onRead,     nullptr,  onTell,    onSeekTo, onSeekBy,
                                onPushBack, onLength, onCanSeek, nullptr,  nullptr};

struct CloseFile {
  void operator()(WavpackContext* context) const { functions().close(context); }
};
using Handle = std::unique_ptr<WavpackContext, CloseFile>;

Handle openHandle(PartInput& input, int flags) {
  char message[80] = {};
  Handle handle(
      functions().openInput(&reader, &input, nullptr, message, flags | OPEN_NORMALIZE | OPEN_DSD_AS_PCM, 0));
  if (!handle) setLastError(u"Not a WavPack file");
  return handle;
}

class WavpackDecoder final : public Decoder {
 public:
  WavpackDecoder(std::unique_ptr<PartInput> input, Handle handle)
      : input_(std::move(input)),
        handle_(std::move(handle)),
        channels_(static_cast<std::size_t>(functions().channels(handle_.get()))),
        isFloat_(functions().mode(handle_.get()) & MODE_FLOAT),
        stored_(kRunFrames * channels_),
        samples_(kRunFrames * channels_) {}

  // Runs that the library knows to be damaged are passed over.
  DecodedRun next() override {
    for (;;) {
      const int errors = functions().errorCount(handle_.get());
      const std::size_t frames = functions().unpack(handle_.get(), stored_.data(), kRunFrames);
      if (frames == 0 || functions().errorCount(handle_.get()) == errors) return runOf(frames);
    }
  }

  bool seek(std::uint64_t frame) override {
    return functions().seek(handle_.get(), static_cast<std::int64_t>(frame)) != 0;
  }

 private:
  DecodedRun runOf(std::size_t frames) {
    const std::size_t count = frames * channels_;
    if (isFloat_) {
      std::memcpy(samples_.data(), stored_.data(), count * sizeof(float));
    } else {
      const int bits = functions().bytes(handle_.get()) * 8;
      const float scale = 1.0f / (static_cast<float>(1u << (bits - 2)) * 2.0f);
      for (std::size_t i = 0; i < count; ++i) samples_[i] = static_cast<float>(stored_[i]) * scale;
    }
    const auto end = static_cast<std::uint64_t>(functions().frameIndex(handle_.get()));
    return {end - std::min<std::uint64_t>(end, frames), std::span(samples_).first(count)};
  }

  std::unique_ptr<PartInput> input_;
  Handle handle_;
  std::size_t channels_;
  bool isFloat_;
  std::vector<std::int32_t> stored_;
  std::vector<float> samples_;
};

std::vector<std::byte> takeWrapper(WavpackContext* context) {
  const Bytes bytes =
      std::as_bytes(std::span(functions().wrapperData(context), functions().wrapperBytes(context)));
  std::vector<std::byte> copy(bytes.begin(), bytes.end());
  functions().freeWrapper(context);
  return copy;
}

int onBlock(void* sink, void* data, std::int32_t count) {
  const Bytes bytes(static_cast<const std::byte*>(data), static_cast<std::size_t>(count));
  return static_cast<ByteSink*>(sink)->write(bytes);
}

bool configure(WavpackContext* context, const EncoderInput& input, const EncodeOptions& options) {
  WavpackConfig config{};
  config.bits_per_sample = options.isFloat ? kFloatBits : static_cast<int>(options.bits);
  config.bytes_per_sample = (config.bits_per_sample + 7) / 8;
  config.num_channels = input.channels;
  // Front left and right for two, the centre for one, and the first positions for more.
  config.channel_mask = input.channels == 1 ? 4 : input.channels <= 18 ? (1 << input.channels) - 1 : 0;
  config.sample_rate = static_cast<std::int32_t>(input.rate);
  config.float_norm_exp = options.isFloat ? kFloatNormExponent : 0;
  return functions().configure(context, &config, static_cast<std::int64_t>(input.frames), nullptr) != 0;
}

bool addWrapper(WavpackContext* context, std::vector<std::byte> bytes) {
  return bytes.empty() ||
         functions().addWrapper(context, bytes.data(), static_cast<std::uint32_t>(bytes.size())) != 0;
}

// Integers stand in the upper bits of whole bytes.
bool packBlocks(WavpackContext* context, const EncoderInput& input, const EncodeOptions& options) {
  EncoderBlocks blocks(input, kRunFrames);
  std::vector<std::int32_t> stored(kRunFrames * input.channels);
  const unsigned shift = (8 - options.bits % 8) % 8;
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return true;
    if (options.isFloat) {
      std::memcpy(stored.data(), samples->data(), samples->size_bytes());
    } else {
      floatsToIntegers(*samples, options.bits, std::span(stored).first(samples->size()));
      for (std::int32_t& value : stored)
        value = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << shift);
    }
    const auto frames = static_cast<std::uint32_t>(samples->size() / input.channels);
    if (!functions().pack(context, stored.data(), frames)) return false;
  }
}

}  // namespace

std::u16string missingLibrary() { return functions().library.missingText(); }

bool open(const FilePart& part, CompressedSamples& samples, Wrapper* wrapper) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  auto input = PartInput::open(part);
  if (!input) return false;
  const Handle handle = openHandle(*input, wrapper ? OPEN_WRAPPER : 0);
  if (!handle) return false;
  const int channels = use.channels(handle.get());
  if (channels < 1 || channels > 255) return fail(u"Not a WavPack file");
  const bool isFloat = use.mode(handle.get()) & MODE_FLOAT;

  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts.frames = static_cast<std::uint64_t>(std::max<std::int64_t>(use.frameCount(handle.get()), 0));
  recipe.facts.rate = use.rate(handle.get());
  recipe.facts.channels = static_cast<std::uint8_t>(channels);
  recipe.facts.bits = static_cast<std::uint8_t>(isFloat ? 0 : use.bits(handle.get()));
  recipe.encoding = isFloat ? SampleEncoding::Float32 : encodingOfBits(recipe.facts.bits);
  recipe.canSeek = true;
  recipe.open = [](std::unique_ptr<PartInput> opened) -> std::unique_ptr<Decoder> {
    Handle fresh = openHandle(*opened, 0);
    if (!fresh) return nullptr;
    return std::make_unique<WavpackDecoder>(std::move(opened), std::move(fresh));
  };
  if (wrapper && use.fileFormat(handle.get()) == WP_FORMAT_WAV) {
    wrapper->header = takeWrapper(handle.get());
    use.seekTrailer(handle.get());
    wrapper->trailer = takeWrapper(handle.get());
  }
  return makeDecodedSamples(std::move(recipe), samples);
}

bool encode(const EncoderInput& input, const EncodeOptions& options, const Wrapper& wrapper, ByteSink& sink) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  const Handle handle(use.openOutput(onBlock, &sink, nullptr));
  if (!handle) return fail(u"Out of memory");
  if (!configure(handle.get(), input, options) || !addWrapper(handle.get(), wrapper.header) ||
      !use.packInit(handle.get()))
    return fail(u"WavPack files can not hold this sample rate or number of channels");
  setLastError(u"Writing to file failed");  // unless the source or the sink says more
  return packBlocks(handle.get(), input, options) && use.flush(handle.get()) != 0 &&
         addWrapper(handle.get(), wrapper.trailer) && use.flush(handle.get()) != 0;
}

}  // namespace vemko::wavpack
