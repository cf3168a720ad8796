#include <opusfile.h>
#include <utility>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/opus.h"
#include "codecs/xiph_channels.h"
#include "codecs/xiph_links.h"

namespace vemko::opus {

std::u16string missingEncoder();  // the other half of this bridge

namespace {

constexpr std::size_t kRunFrames = 5760;  // the longest packet

constexpr LibraryNames kLibrary = {u"libopusfile",
                                   u"Debian package libopusfile0, Windows libopusfile-0.dll",
                                   {"libopusfile.so.0", "libopusfile-0.dll", "opusfile.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&op_open_callbacks) openCallbacks = library.find("op_open_callbacks");
  decltype(&op_free) free = library.find("op_free");
  decltype(&op_link_count) linkCount = library.find("op_link_count");
  decltype(&op_channel_count) channelCount = library.find("op_channel_count");
  decltype(&op_tags) tags = library.find("op_tags");
  decltype(&op_pcm_total) total = library.find("op_pcm_total");
  decltype(&op_pcm_tell) tell = library.find("op_pcm_tell");
  decltype(&op_read_float) read = library.find("op_read_float");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

int onRead(void* input, unsigned char* buffer, int count) {
  const auto room = std::as_writable_bytes(std::span(buffer, static_cast<std::size_t>(count)));
  return static_cast<int>(static_cast<PartInput*>(input)->read(room));
}
int onSeek(void* input, opus_int64 offset, int whence) {
  return static_cast<PartInput*>(input)->seek(offset, whence) ? 0 : -1;
}
opus_int64 onTell(void* input) { return static_cast<opus_int64>(static_cast<PartInput*>(input)->position()); }

struct FreeFile {
  void operator()(OggOpusFile* file) const { functions().free(file); }
};
using FileHandle = std::unique_ptr<OggOpusFile, FreeFile>;

FileHandle openHandle(PartInput& input) {
  const OpusFileCallbacks callbacks{onRead, onSeek, onTell, nullptr};
  FileHandle handle(functions().openCallbacks(&input, &callbacks, nullptr, 0, nullptr));
  if (!handle) setLastError(u"Not an Opus file");
  return handle;
}

class OpusDecoder final : public Decoder {
 public:
  OpusDecoder(std::unique_ptr<PartInput> input, FileHandle file, std::size_t channels)
      : input_(std::move(input)), file_(std::move(file)), channels_(channels) {}

  DecodedRun next() override {
    samples_.resize(kRunFrames * channels_);
    int frames = 0, link = 0;
    do {
      frames = functions().read(file_.get(), samples_.data(), static_cast<int>(samples_.size()), &link);
    } while (frames == OP_HOLE || frames == OP_EBADPACKET);
    const bool isSame = static_cast<std::size_t>(functions().channelCount(file_.get(), link)) == channels_;
    if (frames <= 0 || !isSame) return {};
    const auto run = std::span(samples_).first(static_cast<std::size_t>(frames) * channels_);
    reorderChannels(run, waveOrderFromXiph(static_cast<std::uint8_t>(channels_)));
    return {static_cast<std::uint64_t>(functions().tell(file_.get()) - frames), run};
  }

  bool seek(std::uint64_t) override { return false; }

 private:
  std::unique_ptr<PartInput> input_;
  FileHandle file_;
  std::size_t channels_;
  std::vector<float> samples_;
};

void takeComments(const OggOpusFile& file, std::vector<std::string>& comments) {
  const OpusTags* tags = functions().tags(&file, 0);
  for (int i = 0; tags && i < tags->comments; ++i)
    comments.emplace_back(tags->user_comments[i], static_cast<std::size_t>(tags->comment_lengths[i]));
}

std::uint64_t countFrames(const OggOpusFile& file) {
  const Functions& use = functions();
  return framesOfLinks(
      use.linkCount(&file),
      [&](int link) { return use.channelCount(&file, link) == use.channelCount(&file, 0); },
      [&](int link) { return std::int64_t{use.total(&file, link)}; });
}

}  // namespace

std::u16string missingLibrary(bool encoding) {
  return encoding ? missingEncoder() : functions().library.missingText();
}

bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::string>* comments) {
  if (!functions().library.require()) return false;
  auto input = PartInput::open(part);
  if (!input) return false;
  const FileHandle file = openHandle(*input);
  if (!file) return false;
  if (comments) takeComments(*file, *comments);

  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts.frames = countFrames(*file);
  recipe.facts.rate = kRate;
  recipe.facts.channels = static_cast<std::uint8_t>(functions().channelCount(file.get(), 0));
  // The decoder's state after a seek only comes near to that of decoding from the start.
  recipe.canSeek = false;
  recipe.open = [channels = std::size_t{recipe.facts.channels}](
                    std::unique_ptr<PartInput> opened) -> std::unique_ptr<Decoder> {
    FileHandle handle = openHandle(*opened);
    if (!handle) return nullptr;
    return std::make_unique<OpusDecoder>(std::move(opened), std::move(handle), channels);
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

}  // namespace vemko::opus
