#pragma once
// What the tests ask of the system beyond what the studio itself does; one source for each system.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/files.h"

namespace vemko::test {

/// Links by path, pipes and devices with names, file-size limits, names that are no text: tests of what only
/// POSIX systems have are skipped on others.
inline constexpr bool kPosix = Path::preferred_separator == '/';
inline constexpr char kPosixOnly[] = "only POSIX systems have this";

/// UTF-8; null removes the variable.
void setEnvironment(const std::string& name, const char* value);

/// The variable and its value that give a process settings of its own, which belong to that folder.
std::pair<std::string, std::string> settingsVariable(const Path& folder);

/// A pipe that has a name; false where the system has none.
bool makePipe(const Path& path);

/// Writing beyond so many bytes of a file fails, in this process, while it lives; no limit where the system
/// has none.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uint64_t bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  std::uint64_t before_ = 0;
};

struct RunOptions {
  Path folder;  ///< Current folder, settings and captured output (".out" and ".err").
  std::uint64_t fileSizeLimit = UINT64_MAX;
};

using ProcessId = std::intptr_t;

/// Starts the program with standard output and error going to files in the folder.
ProcessId startProcess(const Path& program, const std::vector<std::string>& arguments,
                       const RunOptions& options);
/// Its status; -1 when a signal ended it.
int waitForProcess(ProcessId process);
void killProcess(ProcessId process);

}  // namespace vemko::test
