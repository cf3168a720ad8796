#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "system/system.h"

namespace vemko::test {
namespace {

void limitFileSize(std::uint64_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = bytes == UINT64_MAX ? limit.rlim_max : static_cast<rlim_t>(bytes);
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

void setEnvironment(const std::string& name, const char* value) {
  value == nullptr ? ::unsetenv(name.c_str()) : ::setenv(name.c_str(), value, 1);
}

std::pair<std::string, std::string> settingsVariable(const Path& folder) {
  return {"XDG_CONFIG_HOME", folder.native()};
}

bool makePipe(const Path& path) { return ::mkfifo(path.c_str(), 0600) == 0; }

FileSizeLimit::FileSizeLimit(std::uint64_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  before_ = limit.rlim_cur;
  ::signal(SIGXFSZ, SIG_IGN);
  limitFileSize(bytes);
}
FileSizeLimit::~FileSizeLimit() { limitFileSize(before_); }

ProcessId startProcess(const Path& program, const std::vector<std::string>& arguments,
                       const RunOptions& options) {
  const auto [variable, settings] = settingsVariable(options.folder / ".config");
  std::vector<char*> words = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  const pid_t child = ::fork();
  if (child != 0) return child;
  setEnvironment(variable, settings.c_str());
  if (::chdir(options.folder.c_str()) != 0) ::_exit(127);
  ::dup2(::open(".out", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
  ::dup2(::open(".err", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  ::signal(SIGXFSZ, SIG_DFL);
  limitFileSize(options.fileSizeLimit);
  ::execv(program.c_str(), words.data());
  ::_exit(127);
}

int waitForProcess(ProcessId process) {
  int status = 0;
  ::waitpid(static_cast<pid_t>(process), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void killProcess(ProcessId process) { ::kill(static_cast<pid_t>(process), SIGKILL); }

}  // namespace vemko::test
