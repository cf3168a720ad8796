// WAVE files whose samples a codec library encodes: what their headers say, and what other programs' say.
#include <gtest/gtest.h>

#include "formats/audio_support.h"
#include "formats/wave_support.h"
#include "io/detect.h"

namespace vemko::test {
namespace {

Bytes chunkIn(const std::string& file, std::string_view id) {
  riff::ChunkWalker walker(asBytes(file).subspan(12));
  for (riff::Chunk chunk; walker.next(chunk);)
    if (chunk.id == idOf(std::string(id))) return chunk.body;
  return {};
}

std::string hex(Bytes bytes) {
  std::string text;
  for (std::byte each : bytes) text += formatted("%02x", std::to_integer<unsigned>(each));
  return text;
}

struct HeaderCase {
  SampleEncoding encoding;
  std::uint32_t rate, setting, frames;
  std::string_view format;  // the "fmt " body
  std::uint32_t fact;
  std::size_t dataBytes;  // 0: not looked at
};
using enum SampleEncoding;
// clang-format off
constexpr HeaderCase kHeaders[] = {
  {Gsm610, 8000,  0, 321,  "3100" "0100" "401f0000" "59060000" "4100" "0000" "0200" "4001", 640, 130},
  {Gsm610, 44100, 0, 320,  "3100" "0100" "44ac0000" "fd220000" "4100" "0000" "0200" "4001", 320, 65},
  {Adpcm2, 8000,  0, 100,  "6400" "0100" "401f0000" "d0070000" "0200" "0200" "0200" "0000", 100, 26},
  {Adpcm3, 44100, 0, 100,  "1400" "0100" "44ac0000" "9a400000" "0300" "0300" "0200" "0000", 100, 39},
  {Adpcm4, 8000,  0, 100,  "4000" "0100" "401f0000" "a00f0000" "0400" "0400" "0200" "0000", 100, 52},
  {Adpcm5, 8000,  0, 100,  "1400" "0100" "401f0000" "88130000" "0500" "0500" "0200" "0000", 100, 65},
  {Codec,  22050, 9, 3000, "5500" "0100" "22560000" "401f0000" "0100" "0000" "0c00" "0100" "00000000" "d100" "0100" "5004", 3000, 0},
};
// clang-format on

TEST(WaveCoded, TellsTheCodecInItsHeader) {
  const TempFolder folder;
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  for (const HeaderCase& each : kHeaders) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(each.encoding) << " at " << each.rate);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    fill(waveform, music(each.frames));
    waveform.rate = each.rate;
    io::SaveOptions options = io::saveOptionsFor(row, io::encodingBit(each.encoding));
    options.setting = each.setting;
    if (!io::saveItem(&waveform, row, folder / "made.wav", options)) {
      EXPECT_NE(lastError().find(u"codec library"), std::u16string::npos) << toUtf8(lastError());
      continue;
    }
    const std::string file = contentOf(folder / "made.wav");
    EXPECT_EQ(ByteReader(asBytes(file).subspan(4)).u32(), file.size() - 8);
    EXPECT_EQ(hex(chunkIn(file, "fmt ")), each.format);
    EXPECT_EQ(ByteReader(chunkIn(file, "fact")).u32(), each.fact);
    const std::size_t dataBytes = chunkIn(file, "data").size();
    EXPECT_EQ(each.dataBytes == 0 ? 0 : dataBytes, each.dataBytes);
    const Opened opened = openWaveform(folder / "made.wav");
    EXPECT_TRUE(opened.waveform && opened.waveform->frames == each.fact);
  }
}

TEST(WaveCoded, RefusesWhatTheCodecDoesNotHave) {
  const TempFolder folder;
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  fill(waveform, music(1000));
  waveform.rate = 96000;
  EXPECT_FALSE(
      io::saveItem(&waveform, row, folder / "made.wav", io::saveOptionsFor(row, io::encodingBit(Codec))));
  EXPECT_EQ(toUtf8(lastError()), "MPEG audio in WAVE files can not hold this sample rate");
  EXPECT_FALSE(fileExists(folder / "made.wav"));

  const ReadResult stereo =
      readWaveBytes(folder, riffFile({{"fmt ", formatBody({49, 2, 8000, 65, 0})}, {"data", Block(650)}}));
  EXPECT_FALSE(stereo.ok);
  EXPECT_EQ(toUtf8(lastError()), "Unsupported number of channels in this WAVE file");
}

// The delay that other writers tell, and how much of what is decoded goes.
TEST(WaveCoded, LeavesOutTheDelayThatTheHeaderTells) {
  const TempFolder folder;
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  const std::vector<float> samples = music(20000);
  fill(waveform, samples);
  waveform.rate = 44100;
  if (!io::saveItem(&waveform, row, folder / "made.wav", io::saveOptionsFor(row, io::encodingBit(Codec))))
    GTEST_SKIP() << toUtf8(lastError());
  const std::string made = contentOf(folder / "made.wav");
  const std::size_t delayAt = 12 + 8 + 28;
  struct Case {
    std::uint16_t delay;
    std::ptrdiff_t shift;
  };
  for (const Case& each : {Case{1104, 0}, Case{1393, 0}, Case{0, 1105}, Case{576, 528}}) {
    SCOPED_TRACE(each.delay);
    std::string file = made;
    file[delayAt] = static_cast<char>(each.delay & 0xFF);
    file[delayAt + 1] = static_cast<char>(each.delay >> 8);
    putFile(folder / (std::to_string(each.delay) + ".wav"), file);
    const Opened opened = openWaveform(folder / (std::to_string(each.delay) + ".wav"));
    ASSERT_TRUE(opened.waveform);
    EXPECT_EQ(bestShift(samples, samplesOf(*opened.waveform), 1), each.shift);
  }
}

// The sample data is a whole stream with its own headers, or, by other tags, one whose headers stand
// elsewhere.
TEST(WaveCoded, ReadsTheStreamOfOggVorbis) {
  const TempFolder folder;
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  fill(waveform, music(6000, 2), 2);
  const int row = io::findWritingRow(u"ogg", kindBit(ItemKind::Waveform));
  if (!io::saveItem(&waveform, row, folder / "stream.ogg", io::saveOptionsFor(row, io::encodingBit(Codec))))
    GTEST_SKIP() << toUtf8(lastError());
  const std::vector<float> samples = samplesOf(*openWaveform(folder / "stream.ogg").waveform);
  for (const std::uint16_t tag : std::initializer_list<std::uint16_t>{0x674F, 0x676F}) {
    putFile(folder / "a.wav", riffFile({{"fmt ", formatBody({tag, 2, 44100, 1, 16}, words(0x01020800, 0))},
                                        {"fact", words(5000)},
                                        {"data", text(contentOf(folder / "stream.ogg"))}}));
    const Opened opened = openWaveform(folder / "a.wav");
    ASSERT_TRUE(opened.waveform) << toUtf8(lastError());
    EXPECT_EQ(opened.waveform->channels, 2);
    EXPECT_EQ(samplesOf(*opened.waveform), std::vector(samples.begin(), samples.begin() + 2 * 5000));
  }
  for (const std::uint16_t tag : std::initializer_list<std::uint16_t>{0x6750, 0x6771}) {
    EXPECT_FALSE(readWaveBytes(folder, riffFile({{"fmt ", formatBody({tag})}, {"data", Block(64)}})).ok);
    EXPECT_EQ(toUtf8(lastError()),
              "The encoding 'Ogg Vorbis' of this WAVE file needs a codec that is not available");
  }
}

TEST(WaveCoded, UsrGsmIsToldByItsExtension) {
  const Block file = riffFile({{"fmt ", formatBody({49, 1, 8000, 65, 0})}, {"data", Block(65)}});
  const Block plain = riffFile({{"fmt ", formatBody({})}, {"data", Block(64)}});
  EXPECT_EQ(wave::probeUsrGsm(file, 0, file.size()), 4);
  EXPECT_EQ(wave::probeUsrGsm(plain, 0, plain.size()), 0);
  const TempFolder folder;
  for (const auto& [name, description] : {std::pair{"a.gsm", u"USR GSM with header"},
                                          {"a.wav", u"Microsoft wave"},
                                          {"a.dat", u"Microsoft wave"}}) {
    putFile(folder / name, file);
    InputFile input;
    ASSERT_TRUE(input.open(folder / name));
    EXPECT_EQ(io::descriptionOf(io::detect(folder / name, input).row), description) << name;
  }
}

}  // namespace
}  // namespace vemko::test
