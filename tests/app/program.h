#pragma once
// Runs the real program.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support.h"

namespace vemko::test {

struct Ran {
  int status = -1;  ///< -1 when a signal ended it.
  std::string out, err;
};

struct RunOptions {
  Path folder;  ///< Current folder, settings and captured output.
  std::uint64_t fileSizeLimit = RLIM_INFINITY;
};

/// Starts it with standard output and error going to files in the folder; its process id.
inline pid_t startProgram(const std::vector<std::string>& arguments, const RunOptions& options) {
  const std::string settings = (options.folder / ".config").string();
  std::vector<char*> words = {const_cast<char*>(VEMKO_PROGRAM)};
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::setenv("XDG_CONFIG_HOME", settings.c_str(), 1);
  if (::chdir(options.folder.c_str()) != 0) ::_exit(127);
  ::dup2(::open(".out", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
  ::dup2(::open(".err", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  const rlimit limit{options.fileSizeLimit, options.fileSizeLimit};
  ::setrlimit(RLIMIT_FSIZE, &limit);
  ::execv(VEMKO_PROGRAM, words.data());
  ::_exit(127);
}

inline Ran waitForProgram(pid_t child, const RunOptions& options) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
          .out = contentOf(options.folder / ".out"),
          .err = contentOf(options.folder / ".err")};
}

inline Ran run(const std::vector<std::string>& arguments, const RunOptions& options) {
  return waitForProgram(startProgram(arguments, options), options);
}

}  // namespace vemko::test
