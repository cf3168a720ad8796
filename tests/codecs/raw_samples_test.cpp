#include "codecs/raw_samples.h"

#include "core/collection.h"
#include "io/samples.h"
#include "support.h"

namespace vemko {
namespace {

using io::RawFormat;

TEST(RawSamples, AreTakenInTheFormatThatIsGiven) {
  struct Case {
    const char* name;
    RawFormat format;
    std::uint32_t frames;
    std::vector<float> first;
  };
  const Case cases[] = {
      {"16 bits", {.encoding = SampleEncoding::Pcm16}, 5, {0.5f, -0.5f}},
      {"high byte first", {.encoding = SampleEncoding::Pcm16, .bigEndian = true}, 5, {64 / 32768.0f}},
      {"stereo", {.encoding = SampleEncoding::Pcm16, .channels = 2}, 2, {0.5f, -0.5f}},
      {"behind a header", {.encoding = SampleEncoding::Pcm16, .headerBytes = 2}, 4, {-0.5f}},
      {"8 bits", {.encoding = SampleEncoding::Pcm8}, 10, {-1.0f, -0.5f, -1.0f, 0.5f}},
      {"signed bytes", {.encoding = SampleEncoding::Pcm8, .signed8 = true}, 10, {0.0f, 0.5f, 0.0f, -0.5f}},
      {"a header longer than the file", {.encoding = SampleEncoding::Pcm16, .headerBytes = 1000}, 0, {}},
  };
  const test::TempFolder folder;
  test::putFile(folder / "raw", std::string_view("\0\x40\0\xC0\0\0\0\0\0\0", 10));
  const auto file = SourceFile::at(folder / "raw");
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    Collection collection;
    Waveform& wave = createWaveform(collection, u"raw");
    // Not the first format that is tried.
    ASSERT_TRUE(setRawSamples(wave, file, {.encoding = SampleEncoding::Pcm8}));
    wave.addLoop({.startFrames = 2, .endFrames = 10}, u"", true, false);
    ASSERT_TRUE(setRawSamples(wave, file, each.format)) << toUtf8(lastError());
    EXPECT_EQ(wave.frames, each.frames);
    EXPECT_EQ(wave.channels, each.format.channels);
    EXPECT_LE(wave.mainLoop()->end, wave.frames);
    const auto format = rawFormatOf(wave);
    ASSERT_TRUE(format);
    EXPECT_EQ(format->headerBytes, each.format.headerBytes);
    EXPECT_EQ(format->bigEndian, each.format.bigEndian);
    if (each.frames == 0) continue;
    ASSERT_TRUE(io::loadSamples(wave, true)) << toUtf8(lastError());
    const auto samples = std::as_const(*wave.buffer).samples();
    EXPECT_TRUE(std::ranges::equal(std::span(samples).first(each.first.size()), each.first));
  }
}

TEST(RawSamples, StayWhatTheyAreWhenTheyCannotBeTaken) {
  const test::TempFolder folder;
  test::putFile(folder / "raw", std::string(8, 'x'));
  Collection collection;
  Waveform& wave = createWaveform(collection, u"raw");
  EXPECT_FALSE(rawFormatOf(wave));
  ASSERT_TRUE(setRawSamples(wave, SourceFile::at(folder / "raw"), {}));
  EXPECT_FALSE(setRawSamples(wave, wave.source->file(), {.encoding = SampleEncoding::Codec}));
  EXPECT_FALSE(setRawSamples(wave, wave.source->file(), {.channels = 0}));
  EXPECT_FALSE(setRawSamples(wave, SourceFile::at(folder / "none"), {}));
  EXPECT_EQ(wave.frames, 4u);
  wave.rate = 8000;
  EXPECT_EQ(rawFormatOf(wave)->rate, 8000u);
  // Edited samples are no longer those of the file.
  ASSERT_TRUE(io::loadSamples(wave, true));
  (void)wave.editableSamples();
  EXPECT_FALSE(rawFormatOf(wave));
}

}  // namespace
}  // namespace vemko
