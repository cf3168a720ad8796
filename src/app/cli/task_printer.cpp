#include "app/cli/task_printer.h"

#include <utility>

#include "base/text.h"

namespace vemko::cli {

void TaskPrinter::add(std::size_t task, TaskReport report) {
  ++done_;
  waiting_.emplace(task, std::move(report));
  for (auto first = waiting_.begin(); first != waiting_.end() && first->first == next_; ++next_) {
    printReport(first->second);
    first = waiting_.erase(first);
  }
  if (done_ < taskCount_) showProgress(0);
}

void TaskPrinter::showProgress(double fraction) {
  const auto total = static_cast<double>(taskCount_);
  std::string text = taskCount_ == 1 ? inputs_.front() : formatted("%zu of %zu files", done_, taskCount_);
  bar_.show((static_cast<double>(done_) + fraction) / total, text);
}

void TaskPrinter::printReport(const TaskReport& report) {
  const std::string& input = inputs_[taskCount_ == 1 ? report.failedInput : next_];
  if (!report.ok || !report.notes.empty() || !report.results.empty()) bar_.clear();
  for (const std::string& line : report.results) printLine(line);
  if (!quiet_)
    for (const std::string& note : report.notes) printNote(input, note);
  if (!report.ok) printError(input, report.error);
  failed_ = failed_ || !report.ok;
}

}  // namespace vemko::cli
