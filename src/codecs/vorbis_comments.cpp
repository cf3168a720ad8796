#include "codecs/vorbis_comments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "base/text.h"
#include "base/version.h"
#include "codecs/base64.h"

namespace vemko {
namespace {

struct KeyRow {
  std::string_view key;
  TextProperty property;
};

// clang-format off
// Reading takes the first that is there; writing the first of a property.
constexpr KeyRow kKeyRows[] = {
  {"TITLE",       TextProperty::Name},
  {"ARTIST",      TextProperty::Artist},
  {"COMMENT",     TextProperty::Comments},
  {"DESCRIPTION", TextProperty::Comments},
  {"COPYRIGHT",   TextProperty::Copyright},
  {"ENGINEER",    TextProperty::Engineer},
  {"ALBUM",       TextProperty::Product},
  {"SOURCE",      TextProperty::SourceFile},
};
// clang-format on
constexpr std::string_view kPictureKey = "METADATA_BLOCK_PICTURE";
constexpr std::string_view kChapterKey = "CHAPTER";
constexpr std::size_t kChapterDigits = 3;
constexpr std::size_t kMostChapters = 999;

bool isKey(std::string_view text, std::string_view key) {
  return std::ranges::equal(text, key,
                            [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return value;
}

constexpr std::int64_t kNotTold = -1;

// Times, as some write them, are no frames.
std::int64_t framesIn(std::string_view text) {
  std::uint32_t frames = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
  return error == std::errc() && end == text.data() + text.size() ? frames : kNotTold;
}

// Reads comments one by one and keeps what belongs together until all are known.
class CommentReader {
 public:
  explicit CommentReader(Waveform& waveform) : waveform_(waveform) {}

  void take(std::string_view comment) {
    const std::size_t equals = comment.find('=');
    if (equals == comment.npos) return;
    const std::string_view key = comment.substr(0, equals), value = comment.substr(equals + 1);
    for (const KeyRow& row : kKeyRows)
      if (isKey(key, row.key) && waveform_.text(row.property).empty())
        waveform_.setText(row.property, decodeText(asBytes(value)));
    if (isKey(key, "LOOPSTART") || isKey(key, "LOOP_START")) loopStart_ = framesIn(value);
    if (isKey(key, "LOOPLENGTH") || isKey(key, "LOOP_LENGTH")) loopLength_ = framesIn(value);
    if (isKey(key, "LOOPEND") || isKey(key, "LOOP_END")) loopEnd_ = framesIn(value);
    if (isKey(key, kPictureKey)) takePicture(value);
    if (key.size() >= kChapterKey.size() + kChapterDigits &&
        isKey(key.substr(0, kChapterKey.size()), kChapterKey))
      takeChapter(key.substr(kChapterKey.size()), value);
  }

  void finish() {
    LoopAdder adder(waveform_);
    if (loopStart_ != kNotTold) addLoop(adder);
    for (Chapter& chapter : chapters_) {
      if (!chapter.seconds) continue;
      LoopRecord record;
      record.start = record.end = static_cast<std::uint32_t>(std::clamp(
          std::round(*chapter.seconds * waveform_.rate), 0.0, static_cast<double>(waveform_.frames)));
      record.name = std::move(chapter.name);
      adder.addMarker(std::move(record));
    }
  }

 private:
  struct Chapter {
    std::string number;
    std::optional<double> seconds;
    std::u16string name;
  };

  void takePicture(std::string_view value) {
    if (!waveform_.image().empty()) return;
    const std::vector<std::byte> block = decodeBase64(value);
    ByteReader reader(block);
    reader.skip(4);                            // what it shows
    reader.skip(reader.big<std::uint32_t>());  // MIME type: the bytes themselves tell
    reader.skip(reader.big<std::uint32_t>());  // description
    reader.skip(16);                           // dimensions
    waveform_.setImage(reader.take(reader.big<std::uint32_t>()));
  }

  void takeChapter(std::string_view rest, std::string_view value) {
    const std::string_view number = rest.substr(0, kChapterDigits), what = rest.substr(kChapterDigits);
    if (chapters_.empty() || chapters_.back().number != number) {
      if (chapters_.size() == kMostChapters) return;
      chapters_.push_back({std::string(number), std::nullopt, {}});
    }
    if (what.empty()) chapters_.back().seconds = secondsIn(value);
    if (isKey(what, "NAME")) chapters_.back().name = trimmed(decodeText(asBytes(value)));
  }

  // "hours:minutes:seconds", the seconds with decimals.
  static std::optional<double> secondsIn(std::string_view text) {
    double seconds = 0;
    for (;;) {
      const auto part = numberIn<double>(text);
      if (!part || !std::isfinite(*part) || *part < 0) return std::nullopt;
      seconds = seconds * 60 + *part;
      const std::size_t colon = text.find(':');
      if (colon == text.npos) return seconds;
      text.remove_prefix(colon + 1);
    }
  }

  // Music that begins again behind its introduction often tells no end.
  void addLoop(LoopAdder& adder) {
    const std::int64_t end = loopLength_ != kNotTold ? loopStart_ + loopLength_
                             : loopEnd_ != kNotTold  ? loopEnd_
                                                     : waveform_.frames;
    LoopDescriptor loop;
    loop.startFrames = static_cast<double>(loopStart_);
    loop.endFrames = static_cast<double>(std::min<std::int64_t>(end, waveform_.frames));
    if (loop.startFrames < loop.endFrames) adder.add(loop, {}, true, true);
  }

  Waveform& waveform_;
  std::int64_t loopStart_ = kNotTold, loopLength_ = kNotTold, loopEnd_ = kNotTold;
  std::vector<Chapter> chapters_;
};

std::string pictureComment(Bytes image) {
  constexpr std::uint32_t kFrontCover = 3;
  const std::string_view mimeType = Item::imageMimeType(image);
  ByteWriter block;
  auto big = [&](std::size_t value) { block.u32(byteSwapped(static_cast<std::uint32_t>(value))); };
  big(kFrontCover);
  big(mimeType.size());
  block.text(mimeType);
  block.zeros(4 + 16);  // no description, dimensions not told
  big(image.size());
  block.append(image);
  return std::string(kPictureKey) + "=" + encodeBase64(block.bytes);
}

void addRecords(const Waveform& waveform, std::uint32_t rate, std::vector<std::string>& comments) {
  const double factor = static_cast<double>(rate) / std::max(waveform.rate, 1u);
  if (const LoopRecord* loop = waveform.mainLoop(); loop && loop->play != LoopPlay::Off) {
    const double start = std::round(loop->startFrames() * factor),
                 end = std::round(loop->endFrames() * factor);
    comments.push_back(formatted("LOOPSTART=%.0f", start));
    comments.push_back(formatted("LOOPLENGTH=%.0f", std::max(end - start, 0.0)));
  }
  std::size_t chapter = 0;
  for (const LoopRecord& record : waveform.records) {
    if (record.type == RecordType::Loop || chapter == kMostChapters) continue;
    const double milliseconds = std::round(record.startFrames() * 1000 / std::max(waveform.rate, 1u));
    const auto whole = static_cast<unsigned long long>(milliseconds);
    comments.push_back(formatted("CHAPTER%03zu=%02llu:%02llu:%02llu.%03llu", ++chapter, whole / 3'600'000,
                                 whole / 60'000 % 60, whole / 1000 % 60, whole % 1000));
    if (!record.name.empty())
      comments.push_back(formatted("CHAPTER%03zuNAME=", chapter) + toUtf8(record.name));
  }
}

}  // namespace

void readVorbisComments(const std::vector<std::string>& comments, Waveform& waveform) {
  CommentReader reader(waveform);
  for (const std::string& comment : comments) reader.take(comment);
  reader.finish();
}

std::vector<std::string> buildVorbisComments(const Waveform& waveform, const CommentsToBuild& what) {
  std::vector<std::string> comments;
  const KeyRow* last = nullptr;
  for (const KeyRow& row : kKeyRows) {
    const bool isAlternative = last && last->property == row.property;
    last = &row;
    const std::u16string& text = waveform.text(row.property);
    if (text.empty() || isAlternative || (row.property == TextProperty::Name && !what.name)) continue;
    comments.push_back(std::string(row.key) + "=" + toUtf8(text));
  }
  comments.push_back(std::string("ENCODER=") + kSoftwareName);
  if (what.records) addRecords(waveform, what.rate, comments);
  if (what.image && !waveform.image().empty()) comments.push_back(pictureComment(waveform.image()));
  return comments;
}

}  // namespace vemko
