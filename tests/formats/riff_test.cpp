#include "formats/riff/riff.h"

#include "formats/riff/wsmp.h"
#include "formats/wave_support.h"

namespace vemko::riff {
namespace {

using test::joined;
using test::text;
using test::words;

TEST(ChunkWalker, FindsChunksWithAndWithoutPadBytes) {
  const auto size = [](std::uint32_t value) { return words(value); };
  struct Case {
    const char* name;
    test::Block list;
    const char* ids;
  };
  const Case cases[] = {
      {"nothing", {}, ""},
      {"less than a header", text("abcd123"), ""},
      {"even bodies", joined({text("aaaa"), size(2), text("xy"), text("bbbb"), size(0)}), "aaaa:2 bbbb:0 "},
      {"odd with pad",
       joined({text("aaaa"), size(1), text(std::string_view("x\0", 2)), text("bbbb"), size(0)}),
       "aaaa:1 bbbb:0 "},
      {"odd without pad", joined({text("aaaa"), size(1), text("x"), text("bbbb"), size(0)}),
       "aaaa:1 bbbb:0 "},
      {"odd with a letter as pad", joined({text("aaaa"), size(1), text("xy"), text("bbbb"), size(0)}),
       "aaaa:1 bbbb:0 "},
      {"odd at the end", joined({text("aaaa"), size(1), text("x")}), "aaaa:1 "},
      {"without pad, followed by a length that looks like one",
       joined({text("aaaa"), size(1), text("x"), text("smpl"), size(60), test::Block(60)}),
       "aaaa:1 smpl:60 "},
      {"overrun", joined({text("aaaa"), size(9), text("xy")}), "aaaa:2! "},
      {"overrun by far", joined({text("aaaa"), size(0xFFFFFFFF), text("xy")}), "aaaa:2! "},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    std::string found;
    ChunkWalker walker(each.list);
    for (Chunk chunk; walker.next(chunk);)
      found +=
          toUtf8(idText(chunk.id)) + ":" + std::to_string(chunk.body.size()) + (chunk.overruns ? "! " : " ");
    EXPECT_EQ(found, each.ids);
  }
}

TEST(ChunkWalker, SkipsZerosUpToALimit) {
  struct Case {
    std::size_t zeros, chunks;
  };
  for (const Case& c :
       {Case{0, 2}, {8, 2}, {16, 2}, {(1 << 20) - 8, 2}, {1 << 20, 1}, {std::size_t{1} << 24, 1}}) {
    SCOPED_TRACE(c.zeros);
    std::string list = "one \4";
    list.append(3, '\0').append("body").append(c.zeros, '\0').append("two ").append(4, '\0');
    ChunkWalker walker(asBytes(list));
    std::size_t found = 0;
    for (Chunk chunk; walker.next(chunk);) ++found;
    EXPECT_EQ(found, c.chunks);
  }
}

TEST(WaveSample, GivesTheLoopsThatAreThere) {
  struct Case {
    const char* name;
    test::Block body;
    bool ok;
    std::size_t loops;
  };
  const auto fixed = [](std::uint32_t size, std::uint32_t count) {
    return words(size, 60u | 0xFFFBu << 16, 655360 * 3, 0, count);
  };
  const Case cases[] = {
      {"short", text("123456789"), false, 0},
      {"none", fixed(20, 0), true, 0},
      {"one", joined({fixed(20, 1), words(16, 1, 5, 7)}), true, 1},
      {"one by an old number", joined({fixed(20, 1), words(16, 2, 5, 7)}), true, 1},
      {"larger records of a later version", joined({fixed(24, 1), words(0), words(20, 1, 5, 7, 0)}), true, 1},
      {"more announced than there", joined({fixed(20, 0xFFFFFFFF), words(16, 1, 5, 7)}), true, 1},
      {"size past the end", joined({fixed(0xFFFFFFF0, 1), words(16, 1, 5, 7)}), true, 0},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    WaveSample sample;
    ASSERT_EQ(parseWaveSample(each.body, sample), each.ok);
    ASSERT_EQ(sample.loops.size(), each.loops);
    if (!each.ok) continue;
    EXPECT_EQ(sample.unityNote, 60);
    EXPECT_EQ(sample.fineTuneCents, -5);
    EXPECT_EQ(sample.gainDb, 3);
    for (const WaveSampleLoop& loop : sample.loops)
      EXPECT_TRUE(loop.start == 5 && loop.length == 7 && loop.untilRelease);
  }
}

}  // namespace
}  // namespace vemko::riff
