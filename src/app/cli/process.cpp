#include <charconv>
#include <iostream>
#include <optional>

#include "app/cli/commands.h"
#include "app/cli/json.h"
#include "app/cli/output.h"
#include "app/cli/paths.h"
#include "app/cli/reading.h"
#include "app/cli/task_printer.h"
#include "app/cli/workers.h"
#include "app/process_files.h"
#include "base/last_error.h"
#include "base/progress.h"
#include "base/text.h"
#include "platform/interruption.h"

namespace vemko::cli {
namespace {

using tools::ToolEntry;
using tools::ToolList;
using tools::ToolOption;
using Files = std::vector<app::ProcessFile>;

constexpr ToolList kLists[] = {ToolList::Waveform, ToolList::Midi, ToolList::Instrument};
constexpr char kHelp[] = "vemko process --help", kListHelp[] = "vemko process --list";

bool refuse(const std::string& message, const char* help = kHelp) {
  usageError(message, help);
  return false;
}

std::string inQuotes(std::string_view text) { return std::string("\"").append(text).append("\""); }

/// The tool of that name; null after a usage error was printed.
const ToolEntry* toolNamed(const std::string& name) {
  bool isListed = false;
  for (ToolList list : kLists) {
    const ToolEntry* tool = tools::findTool(list, trimmed(toUtf16(name)));
    if (tool && tool->apply) return tool;
    isListed = isListed || tool;
  }
  refuse(isListed ? "the tool " + inQuotes(name) + " is not available yet"
                  : "there is no tool " + inQuotes(name),
         kListHelp);
  return nullptr;
}

std::string namesOf(const ToolEntry& tool) {
  std::string names;
  for (const ToolOption& option : tool.options) names.append(names.empty() ? "" : ", ").append(option.name);
  return names;
}

bool applySetting(const ToolEntry& tool, const std::string& setting, std::vector<const ToolOption*>& set) {
  const std::size_t equals = setting.find('=');
  if (equals == setting.npos) return refuse("--set: " + inQuotes(setting) + " is not OPTION=VALUE");
  const std::string name = setting.substr(0, equals);
  const ToolOption* option = tools::findOption(tool.options, toUtf16(name));
  if (!option)
    return refuse("--set: " + inQuotes(toUtf8(tool.name)) + " has no option " + inQuotes(name) +
                      (tool.options.empty() ? "" : "; it has " + namesOf(tool)),
                  kListHelp);
  if (!tools::setOptionText(*option, toUtf16(setting.substr(equals + 1))))
    return refuse("--set: " + name + ": " + toUtf8(lastError()), kListHelp);
  set.push_back(option);
  return true;
}

bool applySettings(const ToolEntry& tool, const std::vector<std::string>& settings) {
  std::vector<const ToolOption*> set;
  for (const std::string& setting : settings)
    if (!applySetting(tool, setting, set)) return false;
  for (const ToolOption* option : set)
    if (!option->isOffered() && tools::optionValue(*option) != option->initial)
      return refuse("--set: " + std::string(option->name) + " has no meaning with the other options",
                    kListHelp);
  return true;
}

/// Takes the range into `range`. Only tools that work within a selection have a use for one.
bool parseRange(const ToolEntry& tool, const std::string& text, std::optional<tools::FrameRange>& range) {
  if (text.empty()) return true;
  if (!(tool.optionsByte & tools::kUsesSelection))
    return refuse("--range: " + inQuotes(toUtf8(tool.name)) + " works on whole waveforms");
  tools::FrameRange frames;
  const char* const end = text.data() + text.size();
  const auto start = std::from_chars(text.data(), end, frames.start);
  if (start.ec != std::errc() || start.ptr == end || *start.ptr != ':')
    return refuse("--range: " + inQuotes(text) + " is not START:END");
  const auto stop = std::from_chars(start.ptr + 1, end, frames.end);
  if (stop.ec != std::errc() || stop.ptr != end || frames.end <= frames.start)
    return refuse("--range: " + inQuotes(text) + " is not START:END with END behind START");
  range = frames;
  return true;
}

bool checkDestination(const ToolEntry& tool, const ProcessArguments& arguments) {
  const std::string& output = arguments.output;
  if (arguments.inputs.empty()) return refuse("INPUT is required");
  if (output.empty() && arguments.folder.empty() && !arguments.inPlace)
    return tool.reports || refuse("no target: give -o FILE, -d DIR or --in-place");
  if (output == "-") return refuse("-o -: standard output can not be written to, give a file");
  if (!output.empty() && arguments.inputs.size() > 1)
    return refuse("one output file for several inputs: give -d DIR or --in-place");
  if (!output.empty() && folderExists(pathOf(toUtf16(output))))
    return refuse("-o " + output + ": this is a folder, give it with -d");
  return true;
}

Files filesOf(const ProcessArguments& arguments) {
  std::vector<Path> inputs;
  for (const std::string& input : arguments.inputs) inputs.push_back(absolutePath(input));
  if (!arguments.folder.empty()) return app::planFolder(inputs, absolutePath(arguments.folder));
  Files files;
  for (const Path& input : inputs)
    files.push_back({input, arguments.inPlace          ? input
                            : arguments.output.empty() ? Path()
                                                       : absolutePath(arguments.output)});
  return files;
}

/// What one run of the tool has to tell, as lines for standard output.
std::vector<std::string> resultLines(const ToolEntry& tool, const std::vector<std::string>& paths,
                                     const app::ProcessResult& result, const ProcessArguments& arguments) {
  std::vector<std::string> lines;
  const std::string path = paths.size() == 1 ? printable(paths.front()) + ": " : "";
  if (arguments.json) {
    if (result.ok) lines.push_back(processJson(tool, paths, result));
    return lines;
  }
  for (const tools::MeasuredVolume& volume : result.volumes)
    lines.push_back(path + inQuotes(printable(toUtf8(volume.name))) +
                    formatted(": %.2f dB", volume.decibels));
  if (result.statistics)
    for (const tools::StatisticsRow& row : tools::statisticsRows(*result.statistics))
      lines.push_back(path + formatted("%-17s", toUtf8(row.label).c_str()) + toUtf8(row.value));
  if (lines.empty() && result.ok && !arguments.quiet) lines.push_back(path + toUtf8(result.report));
  return lines;
}

struct Job {
  const ToolEntry* tool = nullptr;
  std::optional<tools::FrameRange> range;
};

TaskReport runTask(const Job& job, const Files& files, const ProcessArguments& arguments) {
  const ToolEntry& tool = *job.tool;
  NoteCollector notes;
  const app::ProcessResult result = app::processFiles(tool, files, job.range);
  const Path startFolder = currentFolder();
  std::vector<std::string> paths;
  for (const app::ProcessFile& file : files) paths.push_back(shownPath(file.input, startFolder));
  TaskReport report{.ok = result.ok,
                    .error = toUtf8(result.error),
                    .failedInput = result.failedFile,
                    .notes = notes.take(),
                    .results = resultLines(tool, paths, result, arguments)};
  if (!result.failedOutput.empty()) report.error += " (" + shownPath(result.failedOutput, startFolder) + ")";
  return report;
}

std::vector<std::string> workerArguments(const ProcessArguments& arguments) {
  std::vector<std::string> words = {"process-worker", arguments.tool};
  for (const std::string& setting : arguments.settings) words.push_back("--set=" + setting);
  if (!arguments.range.empty()) words.push_back("--range=" + arguments.range);
  if (arguments.json) words.emplace_back("--json");
  if (arguments.quiet) words.emplace_back("--quiet");
  return words;
}

int runAlone(const Job& job, const std::vector<Files>& groups, const ProcessArguments& arguments) {
  TaskPrinter printer(arguments.inputs, groups.size(), arguments.quiet);
  setProgressSink(
      {.status = {}, .advance = [&](double fraction) { printer.showProgress(fraction); }, .waitCursor = {}});
  for (std::size_t i = 0; i < groups.size() && !isInterrupted(); ++i)
    printer.add(i, runTask(job, groups[i], arguments));
  setProgressSink({});
  return printer.status();
}

int runWithWorkers(const Job& job, const Files& files, std::size_t jobs, const ProcessArguments& arguments) {
  std::vector<app::BatchTask> tasks;
  for (const app::ProcessFile& file : files)
    tasks.push_back({.inputs = {file.input}, .output = file.output, .severalOutput = {}});
  TaskPrinter printer(arguments.inputs, tasks.size(), arguments.quiet);
  runOnWorkers(
      tasks, jobs, workerArguments(arguments),
      [&](const app::BatchTask& task) {
        return runTask(job, {{task.inputs.front(), task.output}}, arguments);
      },
      [&](std::size_t index, TaskReport report) { printer.add(index, std::move(report)); });
  return printer.status();
}

// "level=89.00        Desired peak volume: (0 to 200 dB SPL)"
std::string optionLine(const ToolOption& option) {
  std::string value = toUtf8(tools::optionText(option));
  std::string remark;
  if (!option.choices.empty()) {
    value = option.choices[static_cast<std::size_t>(tools::optionValue(option))].name;
    for (const tools::ToolChoice& choice : option.choices)
      remark.append(remark.empty() ? "" : ", ").append(choice.name);
  } else if (option.format != nullptr) {
    remark = formatted("%g to %g ", option.minimum, option.maximum) + toUtf8(option.unit);
  }
  const std::string label = toUtf8(option.label);
  return formatted("  %-24s %s%s", std::string(option.name).append("=").append(value).c_str(), label.c_str(),
                   remark.empty() ? "" : ((label.empty() ? "(" : " (") + remark + ")").c_str());
}

int listTools(bool asJson) {
  std::vector<const ToolEntry*> offered;
  for (ToolList list : kLists)
    for (const ToolEntry& tool : tools::toolCatalogue(list))
      if (tool.apply) offered.push_back(&tool);
  if (asJson) {
    print(toolsJson(offered));
    return kDone;
  }
  for (const ToolEntry* tool : offered) {
    printLine(toUtf8(tool->name));
    if (!tool->description.empty()) printLine("  " + toUtf8(tool->description));
    for (const ToolOption& option : tool->options) printLine(optionLine(option));
  }
  return kDone;
}

/// The tool with its options set; nothing after a usage error was printed.
std::optional<Job> jobFor(const ProcessArguments& arguments) {
  Job job{toolNamed(arguments.tool), {}};
  if (!job.tool || !applySettings(*job.tool, arguments.settings) ||
      !parseRange(*job.tool, arguments.range, job.range))
    return {};
  return job;
}

}  // namespace

int runProcess(const ProcessArguments& arguments) {
  useSettings();
  if (arguments.list) return listTools(arguments.json);
  if (arguments.tool.empty()) return usageError("TOOL is required", kHelp);
  const auto job = jobFor(arguments);
  if (!job || !checkDestination(*job->tool, arguments)) return kUsage;
  if (!arguments.folder.empty() && !createFolder(absolutePath(arguments.folder))) return kSomeFailed;
  const Files files = filesOf(arguments);
  if (const app::ProcessFile* twice = app::findOutputTwice(files)) {
    refuse(shownPath(twice->input, currentFolder()) + ": this file is listed twice");
    return kUsage;
  }
  if (job->tool->relatesItems && job->tool->relatesItems()) return runAlone(*job, {files}, arguments);
  const std::size_t jobs = jobCount(arguments.jobs, files.size(), true);
  if (jobs > 1 && files.size() > 1) return runWithWorkers(*job, files, jobs, arguments);
  std::vector<Files> groups;
  for (const app::ProcessFile& file : files) groups.push_back({file});
  return runAlone(*job, groups, arguments);
}

int runProcessWorker(const ProcessArguments& arguments) {
  useSettings();
  const auto job = jobFor(arguments);
  if (!job) return kUsage;
  for (std::string line; !isInterrupted() && std::getline(std::cin, line);) {
    const auto task = parseTaskLine(line);
    if (!task) return kUsage;
    sendReport(runTask(*job, {{task->inputs.front(), task->output}}, arguments));
  }
  return kDone;
}

}  // namespace vemko::cli
