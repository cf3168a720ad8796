#include "app/cli/worker_protocol.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "app/cli/arguments.h"
#include "app/cli/output.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

// Fields are separated by tabs; names may hold tabs and line ends themselves.
constexpr std::string_view kPlain = "\\\t\n\r", kEscaped = "\\tnr";

std::string joined(const std::vector<std::string>& fields) {
  std::string line;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) line += '\t';
    for (char c : fields[i]) {
      const std::size_t special = kPlain.find(c);
      if (special == kPlain.npos)
        line += c;
      else
        line.append(1, '\\').append(1, kEscaped[special]);
    }
  }
  return line;
}

std::vector<std::string> split(std::string_view line) {
  std::vector<std::string> fields(1);
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\t') {
      fields.emplace_back();
    } else if (line[i] == '\\' && i + 1 < line.size()) {
      const std::size_t special = kEscaped.find(line[++i]);
      fields.back() += special == kEscaped.npos ? line[i] : kPlain[special];
    } else {
      fields.back() += line[i];
    }
  }
  return fields;
}

std::string fieldOf(const Path& path) { return toUtf8(textOf(path)); }
Path pathOfField(const std::string& field) { return pathOf(toUtf16(field)); }

std::optional<std::size_t> numberOf(const std::string& field) {
  std::size_t number = 0;
  auto parsed = std::from_chars(field.data(), field.data() + field.size(), number);
  if (parsed.ec != std::errc() || parsed.ptr != field.data() + field.size()) return std::nullopt;
  return number;
}

}  // namespace

std::string taskLine(const app::BatchTask& task) {
  std::vector<std::string> fields = {fieldOf(task.output), fieldOf(task.severalOutput)};
  for (const Path& input : task.inputs) fields.push_back(fieldOf(input));
  return joined(fields);
}

std::optional<app::BatchTask> parseTaskLine(std::string_view line) {
  const std::vector<std::string> fields = split(line);
  if (fields.size() < 3) return std::nullopt;
  app::BatchTask task{
      .inputs = {}, .output = pathOfField(fields[0]), .severalOutput = pathOfField(fields[1])};
  for (std::size_t i = 2; i < fields.size(); ++i) task.inputs.push_back(pathOfField(fields[i]));
  return task;
}

void sendReport(const TaskReport& report) {
  std::vector<std::string> fields = {report.ok ? "ok" : "failed", report.error,
                                     std::to_string(report.failedInput), std::to_string(report.notes.size())};
  fields.insert(fields.end(), report.notes.begin(), report.notes.end());
  fields.insert(fields.end(), report.results.begin(), report.results.end());
  print(joined(fields) + "\n");
  if (std::fflush(stdout) != 0) std::_Exit(kSomeFailed);
}

std::optional<TaskReport> parseReportLine(std::string_view line) {
  const std::vector<std::string> fields = split(line);
  if (fields.size() < 4) return std::nullopt;
  const auto failedInput = numberOf(fields[2]), noteCount = numberOf(fields[3]);
  if (!failedInput || !noteCount || *noteCount > fields.size() - 4) return std::nullopt;
  const auto notesEnd = fields.begin() + 4 + static_cast<std::ptrdiff_t>(*noteCount);
  return TaskReport{.ok = fields[0] == "ok",
                    .error = fields[1],
                    .failedInput = *failedInput,
                    .notes = {fields.begin() + 4, notesEnd},
                    .results = {notesEnd, fields.end()}};
}

}  // namespace vemko::cli
