// Creative voice files: a row of blocks, whose sounds, continuations and silences play one after the other.
// Real files have them in any number, end without the last block, and repeat some of them.
#include <algorithm>
#include <cmath>
#include <optional>

#include "base/last_error.h"
#include "base/log.h"
#include "codecs/pcm_source.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"

namespace vemko::audio {
namespace {

enum Block : std::uint8_t {
  kEnd,
  kSound,
  kMore,
  kSilence,
  kMarker,
  kText,
  kRepeat,
  kRepeatEnd,
  kExtra,
  kNew
};

constexpr std::size_t kHeaderSizeAt = 20;
constexpr std::uint16_t kForever = 0xFFFF;  // as the count of repeats
constexpr std::uint64_t kMostSilence = std::uint64_t{1} << 26;

struct Sound {
  PcmFormat format;
  std::uint32_t rate = 0;
  std::uint8_t channels = 1;
  friend bool operator==(const Sound&, const Sound&) = default;
};

// Frames that lie in the file, or of silence.
struct Piece {
  std::uint64_t frames = 0;
  std::optional<std::uint64_t> offset;
};

struct Pieces {
  std::shared_ptr<SourceFile> file;
  Sound sound;
  std::vector<Piece> list;

  std::shared_ptr<const SampleSource> sourceOf(const Piece& piece) const {
    return makePcmSource(file, *piece.offset, piece.frames, sound.channels, sound.format);
  }
};

class PiecesStream final : public SampleStream {
 public:
  PiecesStream(std::shared_ptr<const Pieces> pieces, std::uint64_t firstFrame)
      : pieces_(std::move(pieces)), done_(firstFrame) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t channels = pieces_->sound.channels, wanted = out.size() / channels;
    std::size_t filled = 0;
    while (filled < wanted && at_ < pieces_->list.size()) {
      const Piece& piece = pieces_->list[at_];
      const std::uint64_t left = piece.frames - std::min(done_, piece.frames);
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(wanted - filled, left));
      if (count > 0 && !readPart(piece, out.subspan(filled * channels, count * channels)))
        return std::nullopt;
      filled += count;
      done_ += count;
      if (done_ < piece.frames) continue;
      done_ -= piece.frames;
      stream_.reset();
      ++at_;
    }
    return filled;
  }

 private:
  bool readPart(const Piece& piece, std::span<float> part) {
    if (!piece.offset) {
      std::ranges::fill(part, 0.0f);
      return true;
    }
    if (!stream_) stream_ = pieces_->sourceOf(piece)->open(done_);
    if (!stream_) return false;
    const auto read = stream_->read(part);
    return read && *read == part.size() / pieces_->sound.channels;
  }

  std::shared_ptr<const Pieces> pieces_;
  std::size_t at_ = 0;
  std::uint64_t done_;  // frames of the present piece, or still to be skipped
  std::unique_ptr<SampleStream> stream_;
};

class PiecesSource final : public SampleSource {
 public:
  explicit PiecesSource(std::shared_ptr<const Pieces> pieces) : pieces_(std::move(pieces)) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    return std::make_unique<PiecesStream>(pieces_, firstFrame);
  }
  const std::shared_ptr<SourceFile>& file() const override { return pieces_->file; }
  SampleEncoding encoding() const override { return pieces_->sound.format.encoding; }
  bool canSeek() const override { return true; }

 private:
  std::shared_ptr<const Pieces> pieces_;
};

std::optional<SampleEncoding> encodingOf(std::uint16_t codec) {
  switch (codec) {
    case 0:
      return SampleEncoding::Pcm8;
    case 4:
      return SampleEncoding::Pcm16;
    case 6:
      return SampleEncoding::ALaw;
    case 7:
      return SampleEncoding::MuLaw;
    default:
      return std::nullopt;
  }
}

class VocReader {
 public:
  VocReader(Bytes bytes, std::shared_ptr<SourceFile> file) : bytes_(bytes), file_(std::move(file)) {}

  // The blocks as far as the file holds them; false with the last error message set.
  bool read() {
    std::size_t at = ByteReader(bytes_.subspan(std::min(bytes_.size(), kHeaderSizeAt))).u16();
    while (at < bytes_.size()) {
      ByteReader reader(bytes_.subspan(at));
      const std::uint8_t type = reader.u8();
      if (type == kEnd) break;
      const std::uint16_t low = reader.u16();
      const std::size_t size = std::size_t{reader.u8()} << 16 | low;
      if (!reader.ok) break;
      const Bytes body = reader.take(std::min(size + uncounted(type, reader, size), reader.remaining()));
      if (!take(type, body)) return false;
      at += 4 + body.size();
    }
    if (frames_ > UINT32_MAX) return fail(u"Wave too big - use 64-bit version!");
    return sound_ ? true : fail(u"This VOC file holds no sample");
  }

  void put(Waveform& waveform) {
    waveform.frames = static_cast<std::uint32_t>(frames_);
    waveform.rate = sound_->rate;
    waveform.channels = sound_->channels;
    const auto pieces = std::make_shared<const Pieces>(Pieces{file_, *sound_, std::move(pieces_)});
    if (pieces->list.size() == 1 && pieces->list.front().offset)
      waveform.setSource(pieces->sourceOf(pieces->list.front()));
    else
      waveform.setSource(std::make_shared<PiecesSource>(pieces));
    if (loop_) waveform.addLoop(*loop_, {}, true, true);
  }

 private:
  // SoX leaves the last eight bytes of the header out of the size of its one block: just as many stand
  // between that block and the one that ends the file, unless these are a block of their own.
  static std::size_t uncounted(std::uint8_t type, ByteReader reader, std::size_t size) {
    constexpr std::size_t kLeftOut = 8, kBlockHeaderBytes = 4;
    if (type != kNew || reader.remaining() != size + kLeftOut + 1) return 0;
    const Bytes rest = reader.rest().subspan(size);
    const auto next = static_cast<std::uint8_t>(rest.front());
    const std::uint32_t nextSize = ByteReader(rest).u32() >> 8;
    const bool isBlock = next > kEnd && next <= kNew && nextSize + kBlockHeaderBytes == kLeftOut;
    return rest.back() == std::byte{kEnd} && !isBlock ? kLeftOut : 0;
  }

  bool take(std::uint8_t type, Bytes body) {
    ByteReader reader(body);
    switch (type) {
      case kSound:
        return takeSound(reader);
      case kMore:
        return addSamples(reader);
      case kSilence:
        return takeSilence(reader);
      case kRepeat:
        if (reader.u16() == kForever && !loop_) repeatFrom_ = frames_;
        return true;
      case kRepeatEnd:
        takeRepeatEnd();
        return true;
      case kExtra:
        takeExtra(reader);
        return true;
      case kNew:
        return takeNewSound(reader);
      default:
        return true;
    }
  }

  // The divisor is 256 less the microseconds of a frame.
  static std::uint32_t rateOf(std::uint8_t divisor) {
    return static_cast<std::uint32_t>(std::lround(1e6 / (256 - divisor)));
  }

  bool takeSound(ByteReader& reader) {
    const std::uint8_t divisor = reader.u8(), codec = reader.u8();
    Sound sound{{}, rateOf(divisor), 1};
    if (extra_) sound.rate = extra_->rate, sound.channels = extra_->channels;
    return begin(sound, extra_ ? extraCodec_ : codec, reader);
  }

  bool takeNewSound(ByteReader& reader) {
    Sound sound;
    sound.rate = reader.u32();
    reader.u8();  // bits: the codec tells
    sound.channels = reader.u8();
    const std::uint16_t codec = reader.u16();
    reader.skip(4);
    return begin(sound, codec, reader);
  }

  // What a sound block says, more exactly and before it.
  void takeExtra(ByteReader& reader) {
    const std::uint16_t divisor = reader.u16();
    extraCodec_ = reader.u8();
    const auto channels = static_cast<std::uint8_t>(reader.u8() == 0 ? 1 : 2);
    if (reader.ok)
      extra_ =
          Sound{{}, static_cast<std::uint32_t>(std::lround(256e6 / (65536 - divisor) / channels)), channels};
  }

  bool begin(Sound sound, std::uint16_t codec, ByteReader& reader) {
    extra_.reset();
    if (!reader.ok || sound.channels == 0 || sound.rate == 0) return true;  // cut off
    const auto encoding = encodingOf(codec);
    if (!encoding) return fail(u"Compressed samples of VOC files can not be read");
    sound.format.encoding = *encoding;
    isOther_ = sound_ && sound != *sound_;
    if (isOther_) logWarning(u"A sound of another kind in the same VOC file is left out");
    if (!sound_) sound_ = sound;
    return addSamples(reader);
  }

  bool addSamples(ByteReader& reader) {
    if (!sound_ || isOther_) return true;
    const std::size_t frameBytes = bytesPerSample(sound_->format) * sound_->channels;
    const std::uint64_t frames = reader.remaining() / frameBytes;
    if (frames == 0) return true;
    const auto offset = static_cast<std::uint64_t>(reader.rest().data() - bytes_.data());
    pieces_.push_back({frames, offset});
    frames_ += frames;
    return true;
  }

  bool takeSilence(ByteReader& reader) {
    const std::uint64_t frames = std::uint64_t{reader.u16()} + 1;
    if (!reader.ok) return true;
    silence_ += frames;
    if (silence_ > kMostSilence) return fail(u"Wave too big - use 64-bit version!");
    pieces_.push_back({frames, std::nullopt});
    frames_ += frames;
    return true;
  }

  void takeRepeatEnd() {
    if (!repeatFrom_ || loop_ || *repeatFrom_ >= frames_ || frames_ > UINT32_MAX) return;
    loop_.emplace();
    loop_->startFrames = static_cast<double>(*repeatFrom_);
    loop_->endFrames = static_cast<double>(frames_);
  }

  Bytes bytes_;
  std::shared_ptr<SourceFile> file_;
  std::optional<Sound> sound_, extra_;
  std::uint16_t extraCodec_ = 0;
  bool isOther_ = false;  // the present sound, and what continues it
  std::vector<Piece> pieces_;
  std::uint64_t frames_ = 0, silence_ = 0;
  std::optional<std::uint64_t> repeatFrom_;
  std::optional<LoopDescriptor> loop_;
};

}  // namespace

bool readVoc(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty()) return fail(u"Reading from file failed");
  VocReader reader(bytes, SourceFile::of(file));
  if (!reader.read()) return false;
  Waveform& waveform = createWaveform(collection, {});
  nameAfterFile(waveform, file);
  reader.put(waveform);
  return true;
}

}  // namespace vemko::audio
