#include "codecs/adpcm.h"

#include <cstdlib>

#include "formats/wave_support.h"

namespace vemko::test {
namespace {

TEST(Adpcm, CountsTheFramesOfABlock) {
  struct Case {
    AdpcmKind kind;
    std::uint32_t bytes;
    std::uint8_t channels;
    std::uint32_t frames;
  };
  using enum AdpcmKind;
  const Case cases[] = {{Ima, 256, 1, 505},       {Ima, 512, 2, 505},   {Ima, 4, 1, 1},
                        {Ima, 3, 1, 0},           {Ima, 5, 1, 3},       {Ima, 15, 2, 1},
                        {Ima, 0, 1, 0},           {Ima, 64, 0, 0},      {Microsoft, 256, 1, 500},
                        {Microsoft, 512, 2, 500}, {Microsoft, 7, 1, 2}, {Microsoft, 6, 1, 0}};
  for (const Case& each : cases)
    EXPECT_EQ(framesOfBlock(each.kind, each.bytes, each.channels), each.frames) << each.bytes;
}

TEST(Adpcm, DecodesTheFirstSamplesAsPublished) {
  // Microsoft: predictor 0, delta 16, samples 100 and 50; nibbles 1 and -1.
  const Block microsoft = text(std::string_view("\0\x10\0\x64\0\x32\0\x1F", 8));
  // IMA: sample 100, index 0, steps 7, 7, ...: nibbles 4 and 15, low one first.
  const Block ima = text(std::string_view("\x64\0\0\0\xF4", 5));
  struct Case {
    AdpcmKind kind;
    Block block;
    std::vector<int> expected;
  };
  const Case cases[] = {{AdpcmKind::Microsoft, microsoft, {50, 100, 116, 100}},
                        {AdpcmKind::Ima, ima, {100, 107, 91}}};
  for (const Case& each : cases) {
    AdpcmFormat format;
    format.kind = each.kind;
    std::vector<float> samples(10);
    samples.resize(decodeAdpcmBlock(format, each.block, samples));
    std::vector<int> found;
    for (float sample : samples) found.push_back(static_cast<int>(sample * 32768));
    EXPECT_EQ(found, each.expected);
  }
}

bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

// Files that another program encodes, compared with what one decodes from them that rounds as published.
TEST(Adpcm, DecodesAsIndependentPrograms) {
  if (!run("command -v sox") || !run("command -v ffmpeg")) GTEST_SKIP() << "nothing to compare with";
  struct Case {
    const char* encoding;
    int channels;
    const char* decode;  // with the two file names
  };
  constexpr const char* kSox = "sox '%s' -e float -b 32 '%s'";
  constexpr const char* kFfmpeg = "ffmpeg -v error -y -i '%s' -f f32le '%s'";
  const Case cases[] = {
      {"ima-adpcm", 1, kSox}, {"ima-adpcm", 2, kSox}, {"ms-adpcm", 1, kFfmpeg}, {"ms-adpcm", 2, kFfmpeg}};
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.encoding << " x " << each.channels);
    const std::string wav = (folder / "encoded.wav").string(), raw = (folder / "decoded.raw").string();
    ASSERT_TRUE(run("sox -n -r 44100 -c " + std::to_string(each.channels) + " -e " + each.encoding + " '" +
                    wav + "' synth 0.3 sine 200-4000 sine 300 gain -3"));
    ASSERT_TRUE(run(formatted(each.decode, wav.c_str(), raw.c_str())));
    ReadResult result = readWaveFile(folder / "encoded.wav");
    ASSERT_TRUE(result.ok && io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
    const std::string decoded = contentOf(folder / "decoded.raw");
    auto samples = result.waveform->buffer->samples();
    // The other program takes whole blocks for the length.
    ASSERT_EQ(samples.size(), 13230u * static_cast<unsigned>(each.channels));
    ASSERT_LE(samples.size() * 4, decoded.size());
    EXPECT_EQ(std::memcmp(samples.data(), decoded.data(), samples.size() * 4), 0);
  }
}

TEST(Adpcm, StartsInTheMiddleOfAFile) {
  const char* corpus = std::getenv("VEMKO_CORPUS");
  const Path path = Path(corpus ? corpus : "") / "wav/misc/sample.wav";
  if (!fileExists(path)) GTEST_SKIP() << "no corpus";
  ReadResult result = readWaveFile(path);
  ASSERT_TRUE(result.ok && io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
  auto all = result.waveform->buffer->samples();
  for (std::size_t first :
       {std::size_t{1}, std::size_t{1011}, std::size_t{1013}, all.size() - 3, all.size()}) {
    auto stream = result.waveform->source->open(first);
    ASSERT_TRUE(stream) << toUtf8(lastError());
    std::vector<float> part(5000);
    auto count = stream->read(part);
    ASSERT_TRUE(count.has_value()) << toUtf8(lastError());
    EXPECT_EQ(*count, std::min(part.size(), all.size() - first));
    EXPECT_TRUE(std::equal(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(*count),
                           all.begin() + static_cast<std::ptrdiff_t>(first)));
  }
}

}  // namespace
}  // namespace vemko::test
