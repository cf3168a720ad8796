#pragma once
// Child processes with pipes, for workers.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace vemko {

/// To be called first in every program: a reader that has gone and a file-size limit become errors of the
/// write concerned instead of ending the program, and files never take the numbers of closed standard
/// streams.
void prepareProcess();

/// A program of that name from where the system looks for programs; nothing when there is none.
std::optional<Path> findProgram(std::string_view name);

/// A running child whose standard input and output are pipes; standard error is shared with this process.
class ChildProcess {
 public:
  ChildProcess();
  ~ChildProcess();  ///< Closes the pipes and waits for the child's end.
  ChildProcess(ChildProcess&&) noexcept;
  ChildProcess& operator=(ChildProcess&&) noexcept;

  /// Starts the program; arguments are UTF-8 and exclude the program's name. Its current folder is `folder`,
  /// or when that is empty this process's.
  bool start(const Path& program, const std::vector<std::string>& arguments, const Path& folder = {});

  bool running() const;
  /// Writes a line (a newline is added); false when the child has gone. Never raises SIGPIPE.
  bool writeLine(std::string_view line);
  /// Reads up to the next newline, which is removed; nothing when the child has closed its output.
  std::optional<std::string> readLine();
  /// Closes the child's input, reads what is left and waits; the exit status, or -1 after a signal.
  int finish();
  void kill();

  /// Waits until one of the children has a line to read or has closed its output; its index.
  static std::size_t waitForAny(const std::vector<ChildProcess*>& children);

 private:
  struct System;
  std::unique_ptr<System> system_;
};

}  // namespace vemko
