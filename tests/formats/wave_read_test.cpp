#include <gtest/gtest.h>

#include "base/log.h"
#include "codecs/id3.h"
#include "formats/wave_support.h"
#include "io/open.h"

namespace vemko::test {
namespace {

using namespace std::string_literals;

Block sampler(std::uint32_t note, std::uint32_t fraction, const std::vector<Block>& loops, Block data = {}) {
  Block body = words(0, 0, 0, note, fraction, 0, 0, loops.size(), data.size());
  for (const Block& loop : loops) body.insert(body.end(), loop.begin(), loop.end());
  body.insert(body.end(), data.begin(), data.end());
  return body;
}
Block cue(std::uint32_t id, std::uint32_t position, const char* chunk = "data") {
  return joined({words(id, position), text(std::string_view(chunk, 4)), words(0, 0, position)});
}
Block cues(std::initializer_list<Block> points) {
  Block body = words(points.size());
  for (const Block& point : points) body.insert(body.end(), point.begin(), point.end());
  return body;
}
NamedChunk label(std::uint32_t id, std::string_view name) {
  return {"labl", joined({words(id), text(name), Block(1)})};
}
NamedChunk length(std::uint32_t id, std::uint32_t frames) { return {"ltxt", words(id, frames, 0, 0, 0)}; }
NamedChunk notes(const std::vector<NamedChunk>& chunks) { return {"LIST", list("adtl", chunks)}; }

TEST(WaveReader, MapsSamplerAndCueChunks) {
  const NamedChunk oneLoop = {"smpl", sampler(60, 0, {words(1, 0, 10, 19, 0, 0)})};
  struct Case {
    const char* name;
    std::vector<NamedChunk> chunks;
    const char* expected;
  };
  const Case cases[] = {
      {"nothing", {}, "60 +0 0dB"},
      {"tuning", {{"smpl", sampler(64, 0x40000000, {})}}, "64 -25 0dB"},
      {"almost a semitone", {{"smpl", sampler(64, 0xFFFFFFFF, {})}}, "64 -100 0dB"},
      {"note 0", {{"smpl", sampler(0, 0, {})}}, "0 +0 0dB"},
      {"big-endian note", {{"smpl", sampler(0x48000000, 0, {})}}, "72 +0 0dB"},
      {"note 200", {{"smpl", sampler(200, 0, {})}}, "60 +0 0dB"},
      {"only the first smpl", {oneLoop, {"smpl", sampler(1, 0, {})}}, "60 +0 0dB | *Main Loop 10-20 Forward"},
      {"loop types and names",
       {{"smpl", sampler(60, 0,
                         {words(5, 1, 0, 9, 0x80000000, 0), words(6, 2, 10, 19, 0, 0),
                          words(7, 255, 30, 39, 0, 0), words(8, 1024, 50, 59, 0, 0)})},
        notes({label(5, "  first "), label(8, "caf\xE9")})},
       "60 +0 0dB | *first 0-10.5 Alternating | Release Loop 10-20 Reverse | Alt Loop 30-40 Off | "
       "caf\xC3\xA9 "
       "50-60 Forward"},
      {"duplicates merge",
       {{"smpl", sampler(60, 0, {words(1, 0, 10, 19, 0, 0), words(2, 0, 10, 19, 0, 0)})}},
       "60 +0 0dB | *Main Loop 10-20 Forward"},
      {"loop of one frame",
       {{"smpl", sampler(60, 0, {words(1, 0, 10, 10, 0, 0)})}},
       "60 +0 0dB | *Main Loop 10-11 Forward"},
      {"loops outside",
       {{"smpl",
         sampler(60, 0,
                 {words(1, 0, 100, 120, 0, 0), words(2, 0, 50, 40, 0, 0), words(3, 0, 90, 0xFFFFFFFF, 0, 0),
                  words(4, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0)})}},
       "60 +0 0dB | *Main Loop 90-100 Forward"},
      {"inst sets what has its default", {{"inst", joined({words(0x00FAF640), text("abc")})}}, "64 -10 -6dB"},
      {"smpl wins over inst",
       {{"inst", joined({words(0x00FAF640), text("abc")})}, {"smpl", sampler(61, 0, {})}},
       "61 +0 -6dB"},
      {"wsmp",
       {{"wsmp", words(20, 62u | 5u << 16, -655360, 0, 1, 16, 0, 10, 20)}},
       "62 +5 -1dB | *Main Loop 10-30 Forward"},
      {"markers and sections",
       {{"cue ", cues({cue(1, 5), cue(2, 10), cue(3, 15, "slnt"), cue(4, 20, "\0\0\0\0"), cue(5, 100),
                       cue(6, 101), cue(7, 90)})},
        notes({label(1, "here"), length(2, 4), label(2, "part"), length(7, 0xFFFFFFFF)})},
       "60 +0 0dB | here @5 | part 10-14 |  @20 |  @100 |  90-100"},
      {"labels before the points",
       {notes({label(1, "here")}), {"cue ", cues({cue(1, 5)})}},
       "60 +0 0dB | here @5"},
      {"a point of a loop",
       {oneLoop, {"cue ", cues({cue(1, 10), cue(2, 10)})}},
       "60 +0 0dB | *Main Loop 10-20 Forward |  @10"},
      {"loop by two points",
       {{"cue ", cues({cue(1, 10), cue(2, 20), cue(3, 5)})},
        notes({label(1, "Loop Start"), label(2, "Loop End")})},
       "60 +0 0dB |  @5 | *Main Loop 10-20 Forward"},
      {"loop points the wrong way round",
       {{"cue ", cues({cue(1, 20), cue(2, 10)})}, notes({label(1, "Loop Start"), label(2, "Loop End")})},
       "60 +0 0dB | Loop Start @20 | Loop End @10"},
      {"loop by a range",
       {{"cue ", cues({cue(1, 10)})}, notes({label(1, "Loop Range"), length(1, 20)})},
       "60 +0 0dB | *Main Loop 10-30 Forward"},
      {"smpl wins over labelled loops",
       {oneLoop,
        {"cue ", cues({cue(2, 10), cue(3, 40), cue(4, 50)})},
        notes({label(2, "Loop Range"), length(2, 20), label(3, "Loop Start"), label(4, "Loop End")})},
       "60 +0 0dB | *Main Loop 10-20 Forward"},
      {"announced counts past the chunk",
       {{"smpl", joined({words(0, 0, 0, 61, 0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF), words(1, 0, 10, 19, 0, 0),
                         text("xyz")})},
        {"cue ", joined({words(1u << 28), cue(9, 3)})}},
       "61 +0 0dB | *Main Loop 10-20 Forward |  @3"},
      {"label without end, note past its list",
       {{"cue ", cues({cue(1, 5)})}, {"LIST", joined({text("adtllabl"), words(400, 1), text("open")})}},
       "60 +0 0dB | open @5"},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult result = readWaveBytes(folder, monoFile(100, each.chunks));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(describe(*result.waveform), each.expected);
  }
}

TEST(WaveReader, TakesTextsWhereTheyStand) {
  auto info = [](const std::vector<NamedChunk>& chunks) { return NamedChunk{"LIST", list("INFO", chunks)}; };
  Block broadcast(602);
  std::copy_n(asBytes("described").data(), 9, broadcast.begin());
  std::copy_n(asBytes("maker").data(), 5, broadcast.begin() + 256);
  struct Case {
    const char* name;
    std::vector<NamedChunk> chunks;
    std::vector<std::u16string> texts;  // as kTextProperties
  };
  const Case cases[] = {
      {"none", {}, {u"test", u"", u"", u"", u"", u"", u""}},
      {"INFO",
       {info({{"INAM", text(" name ")},
              {"IART", text(std::string_view("artist\0junk", 11))},
              {"ICMT", text("com")},
              {"ICOP", text("copy")},
              {"IENG", text("eng")},
              {"IPRD", text("prod")},
              {"ISRC", text("source")},
              {"ICRD", text("2001")}})},
       {u"name", u"artist", u"com", u"copy", u"eng", u"prod", u"source"}},
      {"bext", {{"bext", broadcast}}, {u"test", u"", u"described", u"", u"", u"maker", u""}},
      {"INFO wins over bext",
       {{"bext", broadcast}, info({{"ICMT", text("com")}})},
       {u"test", u"", u"com", u"", u"", u"maker", u""}},
      {"the first of two",
       {info({{"INAM", text("a")}, {"INAM", text("b")}})},
       {u"a", u"", u"", u"", u"", u"", u""}},
      {"Windows-1252",
       {info({{"INAM", text("\x80 caf\xE9")}})},
       {u"\u20AC caf\u00E9", u"", u"", u"", u"", u"", u""}},
      {"ID3: a comment for people",
       {{"id3 ", text(std::string_view("ID3\3\0\0\0\0\0\x30"
                                       "COMM\0\0\0\x0F\0\0\0"
                                       "engiTunNORM\0"
                                       "00"
                                       "COMM\0\0\0\x0D\0\0\0"
                                       "engNote\0said",
                                       58))}},
       {u"test", u"", u"said", u"", u"", u"", u""}},
      {"damaged ID3",
       {{"id3 ", text(std::string_view("ID3\4\0\0\0\0\0\x7F"
                                       "TIT2\0\0\1",
                                       17))}},
       {u"test", u"", u"", u"", u"", u"", u""}},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult result = readWaveBytes(folder, monoFile(4, each.chunks));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    for (std::size_t i = 0; i < each.texts.size(); ++i)
      EXPECT_EQ(toUtf8(result.waveform->text(kTextProperties[i])), toUtf8(each.texts[i])) << i;
  }
}

TEST(WaveReader, TakesATagInFrontOfTheFile) {
  const TempFolder folder;
  Collection collection;
  Waveform& tagged = createWaveform(collection, u"Title");
  tagged.setText(TextProperty::Artist, u"Ada");
  const std::string image = "\x89PNG\r\n\x1A\n" + std::string(40000, 'x');  // longer than what probes see
  for (bool withImage : {false, true}) {
    if (withImage) tagged.setImage(asBytes(image));
    putFile(folder / "test.wav",
            joined({buildId3(tagged), monoFile(4, {{"LIST", list("INFO", {{"IART", text("Grace")}})}})}));
    Collection opened;
    ASSERT_TRUE(io::openFile(opened, folder / "test.wav", false)) << toUtf8(lastError());
    Waveform& waveform = *opened.all<Waveform>().front();
    EXPECT_EQ(waveform.name(), u"Title");
    EXPECT_EQ(waveform.text(TextProperty::Artist), u"Grace");
    EXPECT_EQ(waveform.image().empty(), !withImage);
    ASSERT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
    const auto samples = waveform.buffer->samples();
    EXPECT_EQ(std::vector<float>(samples.begin(), samples.end()),
              (std::vector<float>{0, 1 / 32768.f, 2 / 32768.f, 3 / 32768.f}));
  }
}

TEST(WaveReader, DecodesEveryWidth) {
  const Block base = {std::byte{0}, std::byte{0},    std::byte{0},    std::byte{0},   std::byte{0x10},
                      std::byte{0}, std::byte{0x80}, std::byte{0},    std::byte{0},   std::byte{0xAA},
                      std::byte{0}, std::byte{0x38}, std::byte{0x9B}, std::byte{0x71}};
  auto extensible = [&](std::uint16_t valid, std::uint16_t tag) {
    ByteWriter out;
    out.u16(valid);
    out.u32(0);
    out.u16(tag);
    out.append(base);
    return out.bytes;
  };
  auto doubles = [](std::initializer_list<double> values) {
    ByteWriter out;
    for (double value : values) out.little(value);
    return out.bytes;
  };
  const Block shortBody = formatBody({1, 1, 8000, 1, 8});
  struct Case {
    const char* name;
    Block format;
    Block data;
    std::vector<float> expected;
  };
  const Case cases[] = {
      {"8", formatBody({1, 1, 8000, 1, 8}), text("\xC0\x40"), {0.5f, -0.5f}},
      {"4 in 1", formatBody({1, 1, 8000, 1, 4}), text("\xC0\x40"), {0.5f, -0.5f}},
      {"12 in 2", formatBody({1, 1, 8000, 2, 12}), words(0xC0004000), {0.5f, -0.5f}},
      {"20 in 3",
       formatBody({1, 1, 8000, 3, 20}),
       text(std::string_view("\0\0\x40\0\0\xC0", 6)),
       {0.5f, -0.5f}},
      {"24 in 4, upper", formatBody({1, 1, 8000, 4, 24}), words(0x40000000, 0xC0000000), {0.5f, -0.5f}},
      {"24 in 4, lower",
       formatBody({1, 1, 8000, 4, 24}),
       words(0x400001, 0xFFC00000),
       {0.5f + 1.0f / 8388608, -0.5f}},
      {"24 in 4, extensible",
       formatBody({0xFFFE, 1, 8000, 4, 32}, extensible(24, 1)),
       words(0x400001),
       {4194305.0f / 2147483648.0f}},
      {"32", formatBody({1, 1, 8000, 4, 32}), words(0x40000000, 0xC0000000), {0.5f, -0.5f}},
      {"40",
       formatBody({1, 1, 8000, 5, 40}),
       text(std::string_view("\0\0\0\0\x40\0\0\0\0\xC0", 10)),
       {0.5f, -0.5f}},
      {"64", formatBody({1, 1, 8000, 8, 64}), words(0, 0x40000000, 0, 0xC0000000), {0.5f, -0.5f}},
      {"float", formatBody({3, 1, 8000, 4, 32}), words(0x3F000000, 0x40000000), {0.5f, 2.0f}},
      {"double", formatBody({3, 1, 8000, 8, 64}), doubles({0.5, -2.0}), {0.5f, -2.0f}},
      {"extensible float without bits",
       formatBody({0xFFFE, 1, 8000, 4, 0}, extensible(32, 3)),
       words(0x3F000000),
       {0.5f}},
      {"mu-law said to be 16 bits", formatBody({7, 1, 8000, 2, 16}), text("\xFF\x80"), {0, 32124 / 32768.0f}},
      {"A-law", formatBody({6, 1, 8000, 1, 8}), text("\xD5\xAA"), {8 / 32768.0f, 32256 / 32768.0f}},
      {"block align 0", formatBody({1, 2, 8000, 0, 16}), words(0xC0004000), {0.5f, -0.5f}},
      {"block align too small", formatBody({1, 2, 8000, 3, 16}), words(0xC0004000), {0.5f, -0.5f}},
      {"bits 0", formatBody({1, 1, 8000, 2, 0}), words(0xC0004000), {0.5f, -0.5f}},
      {"14 bytes", Block(shortBody.begin(), shortBody.begin() + 14), text("\xC0\x40"), {0.5f, -0.5f}},
      {"half a frame at the end",
       formatBody({1, 2, 8000, 4, 16}),
       joined({words(0xC0004000), text("abc")}),
       {0.5f, -0.5f}},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult result = readWaveBytes(folder, riffFile({{"fmt ", each.format}, {"data", each.data}}));
    ASSERT_TRUE(result.ok && io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
    auto samples = result.waveform->buffer->samples();
    EXPECT_EQ(std::vector<float>(samples.begin(), samples.end()), each.expected);
  }
}

TEST(WaveProbes, ScoreTheHead) {
  struct Case {
    const char* name;
    Block head;
    int wave, broadcast, smartSound;
    int bigEndian = 0;
  };
  const Block junk(10);
  const Case cases[] = {
      {"empty", {}, 0, 0, 0},
      {"10 bytes", text("RIFF1234WA"), 0, 0, 0},
      {"12 bytes", text("RIFF1234WAVE"), 6, 2, 0},
      {"RF64", text("RF641234WAVE"), 6, 2, 0},
      {"AVI", text("RIFF1234AVI "), 0, 0, 0},
      {"SmartSound", text("SDSS1234WAVE"), 0, 0, 6},
      {"RIFX", text("RIFX1234WAVE"), 0, 0, 0, 6},
      {"other RIFX", text("RIFX1234MV93"), 0, 0, 0, 0},
      {"bext first", riffFile({{"bext", junk}, {"data", junk}}), 6, 6, 0},
      {"bext fourth", riffFile({{"a   ", text("x")}, {"b   ", junk}, {"c   ", {}}, {"bext", junk}}), 6, 6, 0},
      {"bext fifth", riffFile({{"a   ", junk}, {"b   ", junk}, {"c   ", {}}, {"d   ", {}}, {"bext", junk}}),
       6, 2, 0},
      {"bext behind data", riffFile({{"data", junk}, {"bext", junk}}), 6, 2, 0},
      {"tag in front", joined({text("ID3\4\0\0"s), Block(3), text("\1x"), riffFile({{"bext", junk}})}), 6, 6,
       0},
      {"tag longer than the head", joined({text("ID3\4\0\0"s), text("\1\1\1\1")}), 2, 2, 0},
      {"tag before another file", joined({text("ID3\4\0\0"s), Block(4), text("fLaC")}), 0, 0, 0},
      {"chunk past the head", joined({text("RIFF1234WAVEjunk"), words(0xFFFFFFFF)}), 6, 2, 0},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    EXPECT_EQ(wave::probeWave(each.head, 0, each.head.size()), each.wave);
    EXPECT_EQ(wave::probeBroadcastWave(each.head, 0, each.head.size()), each.broadcast);
    EXPECT_EQ(wave::probeSmartSound(each.head, 0, each.head.size()), each.smartSound);
    EXPECT_EQ(wave::probeBigEndianWave(each.head, 0, each.head.size()), each.bigEndian);
  }
}

}  // namespace
}  // namespace vemko::test
