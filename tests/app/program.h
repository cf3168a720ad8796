#pragma once
// Runs the real program.
#include "support.h"
#include "system/system.h"

namespace vemko::test {

struct Ran {
  int status = -1;  ///< -1 when a signal ended it.
  std::string out, err;
};

/// Output with paths in it, as on POSIX systems.
inline std::string withSlashes(std::string output) {
  if (!kPosix) std::ranges::replace(output, '\\', '/');
  return output;
}

inline ProcessId startProgram(const std::vector<std::string>& arguments, const RunOptions& options) {
  return startProcess(VEMKO_PROGRAM, arguments, options);
}

inline Ran waitForProgram(ProcessId program, const RunOptions& options) {
  return {.status = waitForProcess(program),
          .out = contentOf(options.folder / ".out"),
          .err = contentOf(options.folder / ".err")};
}

inline Ran run(const std::vector<std::string>& arguments, const RunOptions& options) {
  return waitForProgram(startProgram(arguments, options), options);
}

}  // namespace vemko::test
