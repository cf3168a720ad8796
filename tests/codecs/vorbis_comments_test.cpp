#include "codecs/vorbis_comments.h"

#include <gtest/gtest.h>

#include "core/collection.h"

namespace vemko {
namespace {

TEST(VorbisComments, TellTheLoop) {
  struct Case {
    const char* name;
    std::vector<std::string> comments;
    double start, end;  // both 0: no loop
  };
  for (const Case& c : {
           Case{"length", {"LOOPSTART=10", "LOOPLENGTH=20"}, 10, 30},
           Case{"end, lower case", {"loopend=40", "loopstart=10"}, 10, 40},
           Case{"other spelling", {"LOOP_START=10", "LOOP_END=40"}, 10, 40},
           Case{"no end", {"LOOPSTART=10"}, 10, 100},
           Case{"end behind the data", {"LOOPSTART=10", "LOOPLENGTH=200"}, 10, 100},
           Case{"a time", {"LOOP_START=00:00:01.5"}, 0, 0},
           Case{"nothing long", {"LOOPSTART=10", "LOOPLENGTH=0"}, 0, 0},
           Case{"start behind the data", {"LOOPSTART=4294967295"}, 0, 0},
           Case{"only an end", {"LOOPEND=40"}, 0, 0},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    waveform.frames = 100;
    waveform.rate = 44100;
    readVorbisComments(c.comments, waveform);
    const LoopRecord* loop = waveform.mainLoop();
    ASSERT_EQ(loop != nullptr, c.end > 0);
    if (!loop) continue;
    EXPECT_EQ(loop->startFrames(), c.start);
    EXPECT_EQ(loop->endFrames(), c.end);
  }
}

}  // namespace
}  // namespace vemko
