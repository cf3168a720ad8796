#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "app/program.h"
#include "app/wave_files.h"

namespace vemko {
namespace {

using namespace test;

// The process that has this file open.
pid_t readerOf(const Path& file) {
  std::error_code ignored;
  for (const auto& process : std::filesystem::directory_iterator("/proc", ignored))
    for (const auto& fd : std::filesystem::directory_iterator(process.path() / "fd", ignored))
      if (std::filesystem::read_symlink(fd.path(), ignored) == file)
        if (pid_t id = std::atoi(process.path().filename().c_str()); id > 0 && id != ::getpid()) return id;
  return 0;
}

TEST(CommandLine, AWorkerThatDiesFailsItsOneFile) {
  const TempFolder folder;
  const RunOptions options{.folder = folder.path()};
  for (const char* name : {"a.wav", "s.wav"}) makeWave(folder / name, 1000);
  const Path pipe = std::filesystem::canonical(folder.path()) / "pipe.wav";
  ASSERT_TRUE(makePipe(pipe));
  std::vector<std::string> arguments = {"convert", "-d", "out", "--to", "wav", "--jobs", "2", "pipe.wav"};
  for (int i = 0; i < 30; ++i) arguments.insert(arguments.end(), {"a.wav", "s.wav"});
  const ProcessId program = startProgram(arguments, options);
  const int writer = ::open(pipe.c_str(), O_WRONLY | O_CLOEXEC);  // returns when a worker reads
  ASSERT_GE(writer, 0);
  const pid_t worker = readerOf(pipe);
  ASSERT_GT(worker, 0);
  EXPECT_NE(worker, program);
  ::kill(worker, SIGKILL);
  const Ran ran = waitForProgram(program, options);
  ::close(writer);
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "pipe.wav: The conversion ended unexpectedly\n");
  EXPECT_EQ(filesIn(folder / "out").size(), 60u);
}

}  // namespace
}  // namespace vemko
