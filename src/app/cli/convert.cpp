#include <iostream>
#include <map>
#include <thread>

#include "app/cli/commands.h"
#include "app/cli/convert_options.h"
#include "app/cli/output.h"
#include "app/cli/reading.h"
#include "app/cli/workers.h"
#include "base/progress.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

TaskReport runTask(const app::BatchTask& task, const app::BatchTarget& target, const Path& startFolder) {
  NoteCollector notes;
  const app::BatchResult result = app::convert(task, target);
  TaskReport report{.ok = result.ok,
                    .error = toUtf8(result.error),
                    .failedInput = result.failedInput,
                    .notes = notes.take(),
                    .results = {}};
  if (!result.failedOutput.empty()) report.error += " (" + shownPath(result.failedOutput, startFolder) + ")";
  for (const app::BatchOutput& output : result.outputs) {
    const std::string path = printable(shownPath(output.file, startFolder));
    if (output.skipped && target.reportLosses) report.results.push_back(path + ": exists, skipped");
    for (const std::u16string& loss : output.losses)
      report.results.push_back(path + ": loses " + printable(toUtf8(loss)));
  }
  return report;
}

// Prints what is told about the tasks in the order of the inputs, whichever ends first.
class Printer {
 public:
  Printer(const ConvertArguments& arguments, std::size_t taskCount)
      : arguments_(arguments), taskCount_(taskCount), bar_(!arguments.quiet) {}

  void add(std::size_t index, TaskReport report) {
    ++done_;
    waiting_.emplace(index, std::move(report));
    for (auto first = waiting_.begin(); first != waiting_.end() && first->first == next_; ++next_) {
      printReport(first->second);
      first = waiting_.erase(first);
    }
    if (done_ < taskCount_) showProgress(0);
  }

  /// `fraction` of the task at hand is done.
  void showProgress(double fraction) {
    const auto total = static_cast<double>(taskCount_);
    std::string text =
        taskCount_ == 1 ? arguments_.inputs.front() : formatted("%zu of %zu files", done_, taskCount_);
    bar_.show((static_cast<double>(done_) + fraction) / total, text);
  }

  int status() const { return failed_ ? kSomeFailed : kDone; }

 private:
  void printReport(const TaskReport& report) {
    const std::string& input = arguments_.inputs[arguments_.merge ? report.failedInput : next_];
    if (!report.ok || !report.notes.empty() || !report.results.empty()) bar_.clear();
    for (const std::string& line : report.results) printLine(line);
    if (!arguments_.quiet)
      for (const std::string& note : report.notes) printNote(input, note);
    if (!report.ok) printError(input, report.error);
    failed_ = failed_ || !report.ok;
  }

  const ConvertArguments& arguments_;
  std::size_t taskCount_;
  ProgressBar bar_;
  std::map<std::size_t, TaskReport> waiting_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;
  bool failed_ = false;
};

bool createFolder(const Path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (folderExists(folder)) return true;
  printError(toUtf8(textOf(folder)), "Could not create folder");
  return false;
}

std::size_t jobsOf(const ConvertArguments& arguments) {
  return arguments.jobs > 0 ? static_cast<std::size_t>(arguments.jobs)
                            : std::max(1u, std::thread::hardware_concurrency());
}

Path currentFolder() {
  std::error_code error;
  return std::filesystem::current_path(error);
}

}  // namespace

int runConvert(const ConvertArguments& arguments, std::vector<std::string> workerArguments) {
  useSettings();
  if (!checkDestination(arguments)) return kUsage;
  const auto target = targetOf(arguments);
  if (!target || !applyReadingOptions(arguments)) return kUsage;
  const app::BatchPlan plan = planOf(arguments, *target);
  if (plan.outputFile.empty() && !createFolder(plan.outputFolder)) return kSomeFailed;
  const std::vector<app::BatchTask> tasks = planBatch(plan);
  const Path startFolder = currentFolder();
  Printer printer(arguments, tasks.size());
  const RunTask runHere = [&](const app::BatchTask& task) { return runTask(task, *target, startFolder); };
  const TaskDone done = [&](std::size_t index, TaskReport report) { printer.add(index, std::move(report)); };
  if (jobsOf(arguments) > 1 && tasks.size() > 1) {
    workerArguments.push_back("--to=" + toUtf8(io::descriptionOf(target->row)));
    runOnWorkers(tasks, jobsOf(arguments), workerArguments, runHere, done);
  } else {
    setProgressSink({.status = {},
                     .advance = [&](double fraction) { printer.showProgress(fraction); },
                     .waitCursor = {}});
    for (std::size_t i = 0; i < tasks.size(); ++i) done(i, runHere(tasks[i]));
    setProgressSink({});
  }
  return printer.status();
}

int runConvertWorker(const ConvertArguments& arguments) {
  useSettings();
  const auto target = targetOf(arguments);
  if (!target || !applyReadingOptions(arguments)) return kUsage;
  const Path startFolder = currentFolder();
  for (std::string line; std::getline(std::cin, line);) {
    const auto task = parseTaskLine(line);
    if (!task) return kUsage;
    print(reportLine(runTask(*task, *target, startFolder)) + "\n");
    if (!finishOutput()) return kSomeFailed;
  }
  return kDone;
}

}  // namespace vemko::cli
