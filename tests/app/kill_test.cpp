#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "program.h"
#include "wave_files.h"

namespace vemko {
namespace {

using namespace test;
using std::chrono::microseconds;

// The real program converts over an existing file and is killed at a random moment of its life, again and
// again. Afterwards the old file is whole under its own name or its backup name, or the new one is complete.
TEST(Kill, NeverLosesTheOldFile) {
  constexpr int kRounds = 240;
  const TempFolder folder;
  const RunOptions options{.folder = folder.path()};
  const Path target = folder / "target.wav", backup = folder / "target.wav.bak";
  makeWave(folder / "source.wav", 800000, SampleEncoding::Pcm16);
  makeWave(folder / "old.wav", 1000, SampleEncoding::Pcm16);
  const std::string old = contentOf(folder / "old.wav");
  const std::vector<std::string> command = {"convert",    "source.wav", "-o",
                                            "target.wav", "--encoding", "pcm24"};
  ASSERT_EQ(run({"config", "list"}, options).status, 0);  // the first start of all writes settings
  // The shortest of three: the first start of a program, and a busy machine, take longer.
  auto lasting = microseconds::max();
  for (int i = 0; i < 3; ++i) {
    putFile(target, old);
    const auto start = std::chrono::steady_clock::now();
    const Ran whole = run(command, options);
    lasting =
        std::min(lasting, std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start));
    ASSERT_EQ(whole.status, 0) << whole.err;
  }
  const std::string complete = contentOf(target);

  std::mt19937 random(20240229);
  std::uniform_int_distribution<std::int64_t> moment(0, lasting.count());
  int kept = 0, midway = 0, finished = 0;
  for (int round = 0; round < kRounds; ++round) {
    removeFile(backup);
    putFile(target, old);
    const ProcessId child = startProgram(command, options);
    std::this_thread::sleep_for(microseconds(moment(random)));
    killProcess(child);
    waitForProgram(child, options);
    const std::string found = fileExists(target) ? contentOf(target) : "";
    const bool backedUp = fileExists(backup);
    if (backedUp) {
      ++midway;
      ASSERT_EQ(contentOf(backup), old) << "round " << round;
    } else {
      ASSERT_TRUE(found == old || found == complete) << "round " << round << ": " << found.size() << " bytes";
      ++(found == old ? kept : finished);
    }
  }
  // The moments were spread over the whole life of the program.
  EXPECT_GT(kept, 0);
  EXPECT_GT(midway, 0);
  EXPECT_EQ(kept + midway + finished, kRounds);
}

// What an interrupted save left behind does not stop the next one, and is not lost by it.
TEST(Kill, TheNextSaveLeavesAnOldBackupAlone) {
  const TempFolder folder;
  makeWave(folder / "source.wav", 1000);
  putFile(folder / "target.wav", "half a fi");
  putFile(folder / "target.wav.bak", "the old file");
  const Ran ran = run({"convert", "source.wav", "-o", "target.wav"}, {.folder = folder.path()});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_NE(ran.err.find("target.wav.bak exists already"), std::string::npos) << ran.err;
  EXPECT_EQ(contentOf(folder / "target.wav"), contentOf(folder / "source.wav"));
  EXPECT_EQ(contentOf(folder / "target.wav.bak"), "the old file");
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"source.wav", "target.wav", "target.wav.bak"}));
}

}  // namespace
}  // namespace vemko
