#define OV_EXCLUDE_STATIC_CALLBACKS
#include <utility>
#include <vorbis/vorbisfile.h>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/vorbis.h"
#include "codecs/xiph_channels.h"
#include "codecs/xiph_links.h"

namespace vemko::vorbis {

std::u16string missingEncoder();  // the other half of this bridge

namespace {

constexpr int kRunFrames = 4096;

constexpr LibraryNames kLibrary = {u"libvorbisfile",
                                   u"Debian package libvorbisfile3, Windows libvorbisfile-3.dll",
                                   {"libvorbisfile.so.3", "libvorbisfile-3.dll", "libvorbisfile.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&ov_open_callbacks) openCallbacks = library.find("ov_open_callbacks");
  decltype(&ov_clear) clear = library.find("ov_clear");
  decltype(&ov_streams) streams = library.find("ov_streams");
  decltype(&ov_info) info = library.find("ov_info");
  decltype(&ov_comment) comment = library.find("ov_comment");
  decltype(&ov_pcm_total) total = library.find("ov_pcm_total");
  decltype(&ov_pcm_tell) tell = library.find("ov_pcm_tell");
  decltype(&ov_pcm_seek) seek = library.find("ov_pcm_seek");
  decltype(&ov_read_float) read = library.find("ov_read_float");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

std::size_t onRead(void* buffer, std::size_t size, std::size_t count, void* input) {
  if (size == 0) return 0;
  return static_cast<PartInput*>(input)->read({static_cast<std::byte*>(buffer), size * count}) / size;
}
int onSeek(void* input, ogg_int64_t offset, int whence) {
  return static_cast<PartInput*>(input)->seek(offset, whence) ? 0 : -1;
}
long onTell(void* input) { return static_cast<long>(static_cast<PartInput*>(input)->position()); }

class VorbisDecoder final : public Decoder {
 public:
  explicit VorbisDecoder(std::unique_ptr<PartInput> input) : input_(std::move(input)) {}
  ~VorbisDecoder() override {
    if (open_) functions().clear(&file_);
  }

  bool start() {
    ov_callbacks callbacks{onRead, onSeek, nullptr, onTell};
    open_ = functions().openCallbacks(input_.get(), &file_, nullptr, 0, callbacks) == 0;
    if (!open_) return fail(u"Not an Ogg Vorbis file");
    const vorbis_info* info = functions().info(&file_, 0);
    rate_ = info->rate;
    channels_ = info->channels;
    return true;
  }

  OggVorbis_File& file() { return file_; }
  bool isSameFormat(int link) {
    const vorbis_info* info = functions().info(&file_, link);
    return info && info->rate == rate_ && info->channels == channels_;
  }

  DecodedRun next() override {
    float** planes = nullptr;
    int link = 0;
    long frames = 0;
    do {
      frames = functions().read(&file_, &planes, kRunFrames, &link);
    } while (frames == OV_HOLE);
    if (frames <= 0 || !isSameFormat(link)) return {};
    const auto channels = static_cast<std::size_t>(channels_);
    const auto count = static_cast<std::size_t>(frames);
    samples_.resize(count * channels);
    for (std::size_t channel = 0; channel < channels; ++channel)
      for (std::size_t i = 0; i < count; ++i) samples_[i * channels + channel] = planes[channel][i];
    reorderChannels(samples_, waveOrderFromXiph(static_cast<std::uint8_t>(channels)));
    return {static_cast<std::uint64_t>(functions().tell(&file_) - frames), samples_};
  }

  bool seek(std::uint64_t frame) override {
    return functions().seek(&file_, static_cast<ogg_int64_t>(frame)) == 0;
  }

 private:
  std::unique_ptr<PartInput> input_;
  OggVorbis_File file_{};
  bool open_ = false;
  long rate_ = 0;
  int channels_ = 0;
  std::vector<float> samples_;
};

void takeComments(OggVorbis_File& file, std::vector<std::string>& comments) {
  const vorbis_comment* found = functions().comment(&file, 0);
  for (int i = 0; found && i < found->comments; ++i)
    comments.emplace_back(found->user_comments[i], static_cast<std::size_t>(found->comment_lengths[i]));
}

std::uint64_t countFrames(VorbisDecoder& decoder) {
  return framesOfLinks(
      static_cast<int>(functions().streams(&decoder.file())),
      [&](int link) { return decoder.isSameFormat(link); },
      [&](int link) { return std::int64_t{functions().total(&decoder.file(), link)}; });
}

}  // namespace

std::u16string missingLibrary(bool encoding) {
  return encoding ? missingEncoder() : functions().library.missingText();
}

bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::string>* comments) {
  if (!functions().library.require()) return false;
  auto input = PartInput::open(part);
  if (!input) return false;
  VorbisDecoder decoder(std::move(input));
  if (!decoder.start()) return false;
  const vorbis_info* info = functions().info(&decoder.file(), 0);
  if (info->channels > 255) return fail(u"Not an Ogg Vorbis file");
  if (comments) takeComments(decoder.file(), *comments);

  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts.frames = countFrames(decoder);
  recipe.facts.rate = static_cast<std::uint32_t>(info->rate);
  recipe.facts.channels = static_cast<std::uint8_t>(info->channels);
  recipe.canSeek = true;
  recipe.open = [](std::unique_ptr<PartInput> opened) {
    auto fresh = std::make_unique<VorbisDecoder>(std::move(opened));
    if (!fresh->start()) fresh = nullptr;
    return fresh;
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

}  // namespace vemko::vorbis
