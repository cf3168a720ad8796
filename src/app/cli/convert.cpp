#include <iostream>

#include "app/cli/commands.h"
#include "app/cli/convert_options.h"
#include "app/cli/json.h"
#include "app/cli/output.h"
#include "app/cli/paths.h"
#include "app/cli/reading.h"
#include "app/cli/task_printer.h"
#include "app/cli/workers.h"
#include "base/progress.h"
#include "base/text.h"
#include "platform/interruption.h"

namespace vemko::cli {
namespace {

TaskReport runTask(const app::BatchTask& task, const app::BatchTarget& target, const Path& startFolder,
                   bool asJson) {
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
    if (asJson) report.results.push_back(conversionJson(task.inputs, output, report.notes));
    if (asJson) continue;
    if (output.skipped && target.reportLosses) report.results.push_back(path + ": exists, skipped");
    for (const io::Loss& loss : output.losses)
      report.results.push_back(path + ": loses " + printable(toUtf8(lossText(loss))));
  }
  return report;
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
  TaskPrinter printer(arguments.inputs, tasks.size(), arguments.quiet);
  const RunTask runHere = [&](const app::BatchTask& task) {
    return runTask(task, *target, startFolder, arguments.json);
  };
  const TaskDone done = [&](std::size_t index, TaskReport report) { printer.add(index, std::move(report)); };
  // Instruments share sample files, whose names then depend on who comes first.
  const bool independent = io::formatRow(target->row)->kinds == kindBit(ItemKind::Waveform);
  const std::size_t jobs = jobCount(arguments.jobs, tasks.size(), independent);
  if (jobs > 1 && tasks.size() > 1) {
    workerArguments.push_back("--to=" + toUtf8(io::descriptionOf(target->row)));
    runOnWorkers(tasks, jobs, workerArguments, runHere, done);
  } else {
    setProgressSink({.status = {},
                     .advance = [&](double fraction) { printer.showProgress(fraction); },
                     .waitCursor = {}});
    for (std::size_t i = 0; i < tasks.size() && !isInterrupted(); ++i) done(i, runHere(tasks[i]));
    setProgressSink({});
  }
  return printer.status();
}

int runConvertWorker(const ConvertArguments& arguments) {
  useSettings();
  const auto target = targetOf(arguments);
  if (!target || !applyReadingOptions(arguments)) return kUsage;
  const Path startFolder = currentFolder();
  for (std::string line; !isInterrupted() && std::getline(std::cin, line);) {
    const auto task = parseTaskLine(line);
    if (!task) return kUsage;
    sendReport(runTask(*task, *target, startFolder, arguments.json));
  }
  return kDone;
}

}  // namespace vemko::cli
