#include <mpg123.h>
#include <utility>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/mpeg.h"

namespace vemko::mpeg {

std::u16string missingEncoder();  // the other half of this bridge

namespace {

constexpr std::size_t kRunSamples = 8192;
// A frame's bits may lie up to 511 bytes before it: in so many of the smallest frames.
constexpr long kFramesBeforeSeek = 24;

constexpr LibraryNames kLibrary = {u"libmpg123",
                                   u"Debian package libmpg123-0, Windows libmpg123-0.dll",
                                   {"libmpg123.so.0", "libmpg123-0.dll", "mpg123.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&mpg123_init) init = library.find("mpg123_init");
  decltype(&mpg123_new) create = library.find("mpg123_new");
  decltype(&mpg123_delete) destroy = library.find("mpg123_delete");
  decltype(&mpg123_param) parameter = library.find("mpg123_param");
  decltype(&mpg123_replace_reader_handle) replaceReader = library.find("mpg123_replace_reader_handle");
  decltype(&mpg123_open_handle) open = library.find("mpg123_open_handle");
  decltype(&mpg123_getformat) getFormat = library.find("mpg123_getformat");
  decltype(&mpg123_format_none) formatNone = library.find("mpg123_format_none");
  decltype(&mpg123_format) format = library.find("mpg123_format");
  decltype(&mpg123_getstate) state = library.find("mpg123_getstate");
  decltype(&mpg123_scan) scan = library.find("mpg123_scan");
  decltype(&mpg123_length) length = library.find("mpg123_length");
  decltype(&mpg123_read) read = library.find("mpg123_read");
  decltype(&mpg123_seek) seek = library.find("mpg123_seek");
  bool isReady = library.isAvailable() && init() == MPG123_OK;
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

ssize_t onRead(void* input, void* buffer, std::size_t count) {
  return static_cast<ssize_t>(static_cast<PartInput*>(input)->read({static_cast<std::byte*>(buffer), count}));
}
off_t onSeek(void* client, off_t offset, int whence) {
  auto* input = static_cast<PartInput*>(client);
  if (!input->seek(offset, whence) || !std::in_range<off_t>(input->position())) return -1;
  return static_cast<off_t>(input->position());
}

struct DestroyHandle {
  void operator()(mpg123_handle* handle) const { functions().destroy(handle); }
};
using Handle = std::unique_ptr<mpg123_handle, DestroyHandle>;

struct Format {
  long rate = 0;
  int channels = 0;
};

// Open, and bound to the format of the first frame.
Handle openHandle(PartInput& input, Format& format) {
  const Functions& use = functions();
  Handle handle(use.create(nullptr, nullptr));
  constexpr long kFlags = MPG123_QUIET | MPG123_FORCE_FLOAT | MPG123_GAPLESS | MPG123_SKIP_ID3V2;
  int encoding = 0;
  const bool ok = handle && use.parameter(handle.get(), MPG123_ADD_FLAGS, kFlags, 0) == MPG123_OK &&
                  use.parameter(handle.get(), MPG123_RESYNC_LIMIT, -1, 0) == MPG123_OK &&
                  use.parameter(handle.get(), MPG123_PREFRAMES, kFramesBeforeSeek, 0) == MPG123_OK &&
                  use.replaceReader(handle.get(), onRead, onSeek, nullptr) == MPG123_OK &&
                  use.open(handle.get(), &input) == MPG123_OK &&
                  use.getFormat(handle.get(), &format.rate, &format.channels, &encoding) == MPG123_OK;
  if (!ok || format.rate <= 0) {
    setLastError(u"Not an MPEG audio file");
    return nullptr;
  }
  use.formatNone(handle.get());
  use.format(handle.get(), format.rate, format.channels, MPG123_ENC_FLOAT_32);
  return handle;
}

class MpegDecoder final : public Decoder {
 public:
  MpegDecoder(std::unique_ptr<PartInput> input, std::uint32_t delayFrames)
      : input_(std::move(input)), delay_(delayFrames), samples_(kRunSamples) {}

  bool start() {
    handle_ = openHandle(*input_, format_);
    return handle_ != nullptr;
  }

  DecodedRun next() override {
    for (;;) {
      std::size_t bytes = 0;
      const int result = functions().read(handle_.get(), reinterpret_cast<unsigned char*>(samples_.data()),
                                          samples_.size() * sizeof(float), &bytes);
      const std::size_t channels = static_cast<std::size_t>(format_.channels);
      const std::size_t frames = bytes / sizeof(float) / channels;
      position_ += frames;
      if (frames > 0 && position_ > delay_) {
        const auto kept = static_cast<std::size_t>(std::min<std::uint64_t>(frames, position_ - delay_));
        const auto run = std::span(samples_).first(frames * channels).last(kept * channels);
        return {position_ - kept - delay_, run};
      }
      if (frames == 0 && result != MPG123_OK && result != MPG123_NEW_FORMAT) return {};
    }
  }

  bool seek(std::uint64_t frame) override {
    const off_t reached = functions().seek(handle_.get(), static_cast<off_t>(frame + delay_), SEEK_SET);
    position_ = static_cast<std::uint64_t>(std::max(reached, off_t{0}));
    return reached >= 0;
  }

 private:
  std::unique_ptr<PartInput> input_;
  std::uint64_t delay_;
  std::uint64_t position_ = 0;  // counted here: the library's own is wrong in the last frame
  Handle handle_;
  Format format_;
  std::vector<float> samples_;
};

}  // namespace

std::u16string missingLibrary(bool encoding) {
  return encoding ? missingEncoder() : functions().library.missingText();
}

bool open(const FilePart& part, CompressedSamples& samples, std::uint32_t delayFrames) {
  const Functions& use = functions();
  if (!use.library.require()) return false;
  auto input = PartInput::open(part);
  if (!input) return false;
  Format format;
  const Handle handle = openHandle(*input, format);
  if (!handle) return false;
  long encoderDelay = -1;
  use.state(handle.get(), MPG123_ENC_DELAY, &encoderDelay, nullptr);
  // Only the tag frame tells the length; without one the headers of all frames do.
  if (encoderDelay < 0 || use.length(handle.get()) <= 0)
    use.scan(handle.get());
  else
    delayFrames = 0;

  DecoderRecipe recipe;
  recipe.part = part;
  const std::int64_t length = use.length(handle.get());
  recipe.facts.frames =
      length > std::int64_t{delayFrames} ? static_cast<std::uint64_t>(length) - delayFrames : 0;
  recipe.facts.rate = static_cast<std::uint32_t>(format.rate);
  recipe.facts.channels = static_cast<std::uint8_t>(format.channels);
  recipe.canSeek = true;
  recipe.open = [delayFrames](std::unique_ptr<PartInput> opened) {
    auto decoder = std::make_unique<MpegDecoder>(std::move(opened), delayFrames);
    if (!decoder->start()) decoder = nullptr;
    return decoder;
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

}  // namespace vemko::mpeg
