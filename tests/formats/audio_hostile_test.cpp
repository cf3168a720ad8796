// Damaged files of every row: never a crash, and what can still be decoded stays at its place.
#include <gtest/gtest.h>
#include <random>

#include "base/log.h"
#include "formats/audio_support.h"

namespace vemko::test {
namespace {

struct Sample {
  std::string name;
  Path path;
  std::string content;
  std::vector<float> samples;  // as decoded
};

// Nothing without the codec library that this takes.
std::optional<Sample> writeSample(const TempFolder& folder, int row, io::CapabilityMask encoding,
                                  std::size_t frames) {
  Sample sample;
  sample.path = folder / ("whole." + toUtf8(io::extensionOf(row)));
  sample.name = toUtf8(io::descriptionOf(row)) + " " + std::to_string(encoding);
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"a name");
  fill(waveform, music(frames));
  waveform.rate = io::extensionOf(row) == u"gsm" ? 8000 : 48000;
  waveform.addLoop({LoopPlay::Forward, LoopCount::Infinite, 200, 900.5, 0}, u"", true, false);
  waveform.records.push_back(record(RecordType::SectionMarker, u"part", 100, 300));
  waveform.setText(TextProperty::Comments, u"some comments");
  waveform.setImage(asBytes("\x89PNG\r\n\x1A\n an image"));
  const bool saved = io::saveItem(&waveform, row, sample.path, io::saveOptionsFor(row, encoding));
  if (!saved && failedWithoutLibrary()) return std::nullopt;
  EXPECT_TRUE(saved) << sample.name << ": " << toUtf8(lastError());
  sample.content = contentOf(sample.path);
  const Opened opened = openWaveform(sample.path);
  if (opened.waveform) sample.samples = samplesOf(*opened.waveform);
  return sample;
}

// Every row in its usual encoding, and WAVE files in those that need a codec.
std::vector<Sample> everySample(const TempFolder& folder, std::size_t frames) {
  std::vector<Sample> samples;
  for (int row : waveformWritingRows())
    if (!isMissing(row)) samples.push_back(writeSample(folder, row, 0, frames).value());
  const int wave = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  for (SampleEncoding encoding : {SampleEncoding::Gsm610, SampleEncoding::Adpcm3, SampleEncoding::Codec})
    if (auto sample = writeSample(folder, wave, io::encodingBit(encoding), frames))
      samples.push_back(std::move(*sample));
  return samples;
}

// Opens the bytes under the sample's extension and decodes what there is.
void tryBytes(const Sample& sample, std::string_view bytes, const TempFolder& folder) {
  const Path path = folder / ("damaged" + sample.path.extension().string());
  removeFile(path);
  putFile(path, bytes);
  Collection collection;
  setLastError({});
  if (!io::openFile(collection, path, false)) {
    EXPECT_FALSE(lastError().empty());
    return;
  }
  for (Waveform* waveform : collection.all<Waveform>())
    if (std::uint64_t{waveform->frames} * waveform->channels < 4'000'000) io::loadSamples(*waveform, true);
}

TEST(AudioHostile, CutAndFlippedFilesNeverCrash) {
  const TempFolder folder;
  std::mt19937 random(20240607);
  for (const Sample& sample : everySample(folder, 3000)) {
    SCOPED_TRACE(sample.name);
    const std::string_view whole = sample.content;
    for (std::size_t i = 0; i < 64; ++i) {
      // The head at every few bytes, then the rest in larger steps.
      const std::size_t length =
          i < 40 ? i * 5 : 200 + (i - 40) * (whole.size() - std::min<std::size_t>(200, whole.size())) / 24;
      tryBytes(sample, whole.substr(0, length), folder);
    }
    for (int i = 0; i < 100; ++i) {
      std::string flipped(whole);
      const std::size_t reach = i % 2 == 0 ? std::min<std::size_t>(whole.size(), 400) : whole.size();
      for (int flips = 1 + i % 4; flips > 0; --flips)
        flipped[random() % reach] ^= static_cast<char>(1u << random() % 8);
      tryBytes(sample, flipped, folder);
    }
  }
}

struct LogCounter {
  LogCounter()
      : old(setLogSink(
            [this](LogLevel level, std::u16string_view) { warnings += level == LogLevel::Warning; })) {}
  ~LogCounter() { setLogSink(std::move(old)); }
  int warnings = 0;
  LogSink old;
};

struct CutCase {
  std::u16string_view description;
  bool tellsLength;  // beside the samples
};
constexpr CutCase kCutCases[] = {
    {u"Free lossless audio codec (default)", true},
    {u"WavPack", true},
    {u"MPEG layer III - CBR", true},
    {u"Ogg Vorbis", false},
    {u"Opus", false},
    {u"Raw GSM 06.10", false},
};

TEST(AudioHostile, KeepsWhatWasDecodedBeforeTheDamage) {
  const TempFolder folder;
  constexpr std::size_t kFrames = 300000;  // several pages of Ogg
  for (const CutCase& each : kCutCases) {
    SCOPED_TRACE(toUtf8(each.description));
    const int row = io::findWritingRowByDescription(each.description);
    if (isMissing(row)) continue;
    const Sample sample = writeSample(folder, row, 0, kFrames).value();
    putFile(folder / ("cut" + sample.path.extension().string()),
            std::string_view(sample.content).substr(0, sample.content.size() / 2));
    LogCounter log;
    const Opened opened = openWaveform(folder / ("cut" + sample.path.extension().string()));
    if (!opened.waveform) continue;
    const std::vector<float> found = samplesOf(*opened.waveform);
    if (each.tellsLength) {
      EXPECT_EQ(found.size(), sample.samples.size());
      EXPECT_EQ(found.back(), 0);
      EXPECT_GE(log.warnings, 1);
    } else {
      EXPECT_LT(found.size(), sample.samples.size());
    }
    const std::size_t kept = kFrames / 4;
    ASSERT_GE(found.size(), kept);
    EXPECT_TRUE(std::equal(found.begin(), found.begin() + kept, sample.samples.begin()));
  }
}

TEST(AudioHostile, SilencesWhatIsDamagedInTheMiddle) {
  const TempFolder folder;
  for (const char16_t* description : {u"Free lossless audio codec (default)", u"WavPack"}) {
    SCOPED_TRACE(toUtf8(description));
    const int row = io::findWritingRowByDescription(description);
    if (isMissing(row)) continue;
    Sample sample = writeSample(folder, row, 0, 200000).value();
    for (std::size_t i = 0; i < 200; ++i) sample.content[sample.content.size() / 2 + i] ^= 0x55;
    putFile(sample.path, sample.content);
    LogCounter log;
    const Opened opened = openWaveform(sample.path);
    if (!opened.waveform) continue;
    const std::vector<float> found = samplesOf(*opened.waveform);
    ASSERT_EQ(found.size(), sample.samples.size());
    EXPECT_GE(log.warnings, 1);
    EXPECT_TRUE(std::equal(found.begin(), found.begin() + 50000, sample.samples.begin()));
    EXPECT_TRUE(std::equal(found.end() - 50000, found.end(), sample.samples.end() - 50000));
    EXPECT_NE(found, sample.samples);
  }
}

// Samples of formats that hold them, which some encoders take for impossible.
TEST(AudioHostile, WritesWhatIsFarBeyondFullScale) {
  const TempFolder folder;
  constexpr std::size_t kFrames = 20000;
  std::vector<float> samples = music(kFrames);
  for (std::size_t i = 0; i < kFrames; ++i) samples[i] *= i % 2000 < 1000 ? 30000.0f : 1;
  samples[500] = std::numeric_limits<float>::quiet_NaN();
  samples[501] = std::numeric_limits<float>::infinity();
  samples[502] = -1e30f;
  for (int row : waveformWritingRows()) {
    if (isMissing(row)) continue;
    SCOPED_TRACE(toUtf8(io::descriptionOf(row)));
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"loud");
    fill(waveform, samples);
    waveform.rate = io::extensionOf(row) == u"gsm" ? 8000 : 48000;
    const Path path = folder / ("loud." + toUtf8(io::extensionOf(row)));
    ASSERT_TRUE(io::saveItem(&waveform, row, path, io::saveOptionsFor(row, 0))) << toUtf8(lastError());
    const Opened opened = openWaveform(path);
    if (opened.waveform) {
      EXPECT_NEAR(static_cast<double>(samplesOf(*opened.waveform).size()), kFrames, 8000);
    }
  }
}

TEST(AudioHostile, RefusesWhatGivesNothing) {
  const TempFolder folder;
  const int row = io::findWritingRowByDescription(u"Free lossless audio codec (default)");
  if (isMissing(row)) GTEST_SKIP();
  const Sample sample = writeSample(folder, row, 0, 60000).value();
  const std::size_t firstFrame = sample.content.find("\xFF\xF8", 8192);
  ASSERT_NE(firstFrame, std::string::npos);
  putFile(sample.path, std::string_view(sample.content).substr(0, firstFrame));
  Collection collection;
  EXPECT_FALSE(io::openFile(collection, sample.path, false));
  EXPECT_EQ(toUtf8(lastError()), "The compressed samples can not be decoded");
}

}  // namespace
}  // namespace vemko::test
