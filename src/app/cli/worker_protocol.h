#pragma once
// What the command line and its worker processes say to each other: one line a task, one line a report.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/batch.h"

namespace vemko::cli {

/// What is told about one task.
struct TaskReport {
  bool ok = false;
  std::string error;
  std::size_t failedInput = 0;
  std::vector<std::string> notes;
  std::vector<std::string> results;  ///< Lines for standard output.
};

std::string taskLine(const app::BatchTask& task);
std::optional<app::BatchTask> parseTaskLine(std::string_view line);
/// A worker's line on standard output. Ends the worker when nobody listens there any more.
void sendReport(const TaskReport& report);
std::optional<TaskReport> parseReportLine(std::string_view line);

}  // namespace vemko::cli
