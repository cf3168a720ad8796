#pragma once
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "app/cli/arguments.h"
#include "app/cli/output.h"
#include "app/cli/worker_protocol.h"

namespace vemko::cli {

/// Prints what is told about the tasks of a run in their order, whichever ends first, with a bar on the way.
/// Each input is a task of its own, or all of them are one.
class TaskPrinter {
 public:
  TaskPrinter(const std::vector<std::string>& inputs, std::size_t taskCount, bool quiet)
      : inputs_(inputs), taskCount_(taskCount), quiet_(quiet), bar_(!quiet) {}

  void add(std::size_t task, TaskReport report);
  /// `fraction` of the task at hand is done.
  void showProgress(double fraction);

  /// The command's exit status.
  int status() const { return failed_ ? kSomeFailed : kDone; }

 private:
  void printReport(const TaskReport& report);

  const std::vector<std::string>& inputs_;
  std::size_t taskCount_;
  bool quiet_;
  ProgressBar bar_;
  std::map<std::size_t, TaskReport> waiting_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;
  bool failed_ = false;
};

}  // namespace vemko::cli
