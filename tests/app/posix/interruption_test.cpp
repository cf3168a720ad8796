#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "app/program.h"
#include "app/wave_files.h"

namespace vemko {
namespace {

using namespace test;
using std::chrono::microseconds;

void interruptAfter(ProcessId program, microseconds time, int signal) {
  std::this_thread::sleep_for(time);
  ::kill(static_cast<pid_t>(program), signal);
}

// Where the program is interrupted while it writes, the old file comes back and nothing else stays.
TEST(Interruption, LeavesTheOldFileOrTheNewOneAndNothingElse) {
  const TempFolder folder;
  const RunOptions options{.folder = folder.path()};
  const Path target = folder / "target.wav";
  makeWave(folder / "source.wav", 3000000, SampleEncoding::Pcm16);
  makeWave(folder / "old.wav", 1000, SampleEncoding::Pcm16);
  const std::string old = contentOf(folder / "old.wav");
  const std::vector<std::string> command = {"convert",    "source.wav", "-o",
                                            "target.wav", "--encoding", "pcm24"};
  putFile(target, old);
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(run(command, options).status, 0);
  const auto lasting = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);
  const std::string complete = contentOf(target);
  const std::vector<std::string> files = filesIn(folder.path());

  std::mt19937 random(7);
  std::uniform_int_distribution<std::int64_t> moment(lasting.count() / 10, lasting.count());
  int interrupted = 0;
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    putFile(target, old);
    const ProcessId program = startProgram(command, options);
    interruptAfter(program, microseconds(moment(random)), round % 2 ? SIGTERM : SIGINT);
    const Ran ran = waitForProgram(program, options);
    EXPECT_EQ(filesIn(folder.path()), files);
    const bool isOld = contentOf(target) == old;
    EXPECT_TRUE(isOld || contentOf(target) == complete);
    if (isOld && ran.err == "source.wav: Interrupted (target.wav)\n") ++interrupted;
    EXPECT_TRUE(ran.status == 0 || ran.status == -1) << ran.status;
  }
  EXPECT_GT(interrupted, 0);
}

TEST(Interruption, EndsABatchBetweenFiles) {
  for (const char* jobs : {"1", "2"}) {
    SCOPED_TRACE(jobs);
    const TempFolder folder;
    const RunOptions options{.folder = folder.path()};
    makeWave(folder / "source.wav", 200000, SampleEncoding::Pcm16);
    ASSERT_EQ(run({"convert", "source.wav", "-o", "whole.wav", "--encoding", "pcm24"}, options).status, 0);
    const auto whole = fileSize(folder / "whole.wav");
    std::vector<std::string> command = {"convert",    "-d",    "out",    "--to", "wav",
                                        "--encoding", "pcm24", "--jobs", jobs};
    command.insert(command.end(), 300, "source.wav");
    const ProcessId program = startProgram(command, options);
    interruptAfter(program, std::chrono::milliseconds(300), SIGINT);
    EXPECT_EQ(waitForProgram(program, options).status, -1);
    const std::vector<std::string> files = filesIn(folder / "out");
    EXPECT_LT(files.size(), 300u);
    for (const std::string& file : files) EXPECT_EQ(fileSize(folder / "out" / file), whole) << file;
  }
}

}  // namespace
}  // namespace vemko
