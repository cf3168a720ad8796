#include <gtest/gtest.h>

#include "formats/audio/audio.h"
#include "support.h"

namespace vemko::audio {
namespace {

// Silent frames of MPEG 1, 44100 Hz; the second byte tells the layer.
std::string framesOf(int count, char layerByte, std::size_t frameBytes) {
  std::string frames;
  for (int i = 0; i < count; ++i)
    frames += std::string({'\xFF', layerByte, '\x90', '\0'}) + std::string(frameBytes - 4, '\0');
  return frames;
}
std::string layer3(int count) { return framesOf(count, '\xFB', 417); }  // 128 kbit/s
std::string layer2(int count) { return framesOf(count, '\xFD', 522); }  // 160 kbit/s

TEST(MpegProbe, FindsStreamsAlsoBehindWhatIsNoFrame) {
  struct Case {
    const char* name;
    std::string head;
    std::uint32_t layer;
    int score;
  };
  for (const Case& c : {
           Case{"frames", layer3(5), 3, 6},
           Case{"another layer", layer3(5), 2, 0},
           Case{"any layer", layer2(5), 0, 6},
           Case{"behind half a frame", layer3(1).substr(200) + layer3(5), 3, 2},
           Case{"behind zeros", std::string(3000, '\0') + layer2(5), 2, 2},
           Case{"behind zeros, another layer", std::string(3000, '\0') + layer2(5), 3, 0},
           Case{"behind what looks like a frame", layer3(1).substr(0, 100) + layer3(5), 3, 2},
           Case{"two frames behind zeros", std::string(3000, '\0') + layer3(2), 3, 0},
           Case{"only 0xFF", std::string(32768, '\xFF'), 3, 0},
           Case{"nothing", "", 3, 0},
       }) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(probeMpeg(asBytes(c.head), c.layer, c.head.size()), c.score);
  }
}

}  // namespace
}  // namespace vemko::audio
