#include <gtest/gtest.h>

#include "io/open.h"
#include "io/samples.h"
#include "support.h"

namespace vemko::audio {
namespace {

std::string block(char type, const std::string& body) {
  const auto size = static_cast<unsigned>(body.size());
  return std::string{type, static_cast<char>(size), static_cast<char>(size >> 8), '\0'} + body;
}
const std::string kHead("Creative Voice File\x1A\x1A\0\x14\x01\x1F\x11", 26);
const std::string kEnd(1, '\0');
// Unsigned bytes at 11111 Hz; half of full scale and back.
std::string sound(const std::string& samples, char codec = 0) { return block(1, "\xA6" + (codec + samples)); }
const std::string kUp(3, '\xC0'), kDown(2, '\x40');

std::string levelsOf(Waveform& waveform) {
  EXPECT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
  std::string levels;
  for (const float sample : waveform.buffer->samples())
    levels += sample > 0.4f ? '+' : sample < -0.4f ? '-' : '0';
  return levels;
}

TEST(VocReader, ReadsBlocksInAnyNumber) {
  const std::string stereo = block(8, std::string("\xF2\xE9\0\x01", 4));  // 256e6 / (65536 - 59890) / 2
  const std::string newSound("\x40\x1F\0\0\x10\x01\x04\0\0\0\0\0", 12), upDown("\0\x40\0\xC0", 4);
  const std::string words = block(9, newSound + upDown);
  const std::string silence = block(3, std::string("\x03\0\xA6", 3));
  struct Case {
    const char* name;
    std::string blocks;
    std::string levels;  // of all channels
    std::uint32_t rate = 11111;
    std::uint8_t channels = 1;
    double loopEnd = 0;
  };
  for (const Case& c : {
           Case{"one sound", sound(kUp) + kEnd, "+++"},
           Case{"without an end", sound(kUp), "+++"},
           Case{"cut off", sound(kUp).substr(0, 8), "++"},
           Case{"continued", sound(kUp) + block(2, kDown) + kEnd, "+++--"},
           Case{"two sounds", sound(kUp) + sound(kDown) + kEnd + "behind", "+++--"},
           Case{"silence between", sound(kUp) + silence + sound(kDown) + kEnd, "+++0000--"},
           Case{"silence first", silence + sound(kUp) + kEnd, "0000+++"},
           Case{"texts and marks", block(5, "text") + block(4, "\1\2") + sound(kUp) + kEnd, "+++"},
           Case{"repeated for ever", block(6, "\xFF\xFF") + sound(kUp) + block(7, "") + kEnd, "+++", 11111, 1,
                3},
           Case{"repeated twice", block(6, "\x02\1") + sound(kUp) + block(7, "") + kEnd, "+++"},
           Case{"stereo", stereo + sound("\xC0\x40\xC0\x40") + kEnd, "+-+-", 22671, 2},
           Case{"the newer block", words + kEnd, "+-", 8000},
           Case{"a size that leaves out eight bytes, as SoX writes it",
                block(9, newSound + upDown) + upDown + upDown + kEnd, "+-+-+-", 8000},
           Case{"eight bytes that are a block", words + block(5, "text") + kEnd, "+-", 8000},
           Case{"another kind behind", sound(kUp) + words + block(2, kDown) + kEnd, "+++"},
       }) {
    SCOPED_TRACE(c.name);
    const test::TempFolder folder;
    test::putFile(folder / "a.voc", kHead + c.blocks);
    Collection collection;
    ASSERT_TRUE(io::openFile(collection, folder / "a.voc", false)) << toUtf8(lastError());
    Waveform& waveform = *collection.all<Waveform>().at(0);
    EXPECT_EQ(levelsOf(waveform), c.levels);
    EXPECT_EQ(waveform.rate, c.rate);
    EXPECT_EQ(waveform.channels, c.channels);
    const LoopRecord* loop = waveform.mainLoop();
    EXPECT_EQ(loop ? loop->endFrames() : 0, c.loopEnd);
  }
}

TEST(VocReader, RefusesWhatItCannotRead) {
  std::string silences;
  for (int i = 0; i < 1100; ++i) silences += block(3, "\xFF\xFF\xA6");
  struct Case {
    const char* name;
    std::string blocks;
    std::u16string_view message;
  };
  for (const Case& c : {
           Case{"ADPCM", sound(kUp, 1) + kEnd, u"Compressed samples of VOC files can not be read"},
           Case{"nothing but texts", block(5, "text") + kEnd, u"This VOC file holds no sample"},
           Case{"no block", "", u"This VOC file holds no sample"},
           Case{"a bomb of silence", sound(kUp) + silences, u"Wave too big - use 64-bit version!"},
       }) {
    SCOPED_TRACE(c.name);
    const test::TempFolder folder;
    test::putFile(folder / "a.voc", kHead + c.blocks);
    Collection collection;
    EXPECT_FALSE(io::openFile(collection, folder / "a.voc", false));
    EXPECT_EQ(lastError(), c.message);
  }
}

}  // namespace
}  // namespace vemko::audio
