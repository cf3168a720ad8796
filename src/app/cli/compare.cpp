#include "compare/compare.h"

#include <algorithm>
#include <map>

#include "app/cli/commands.h"
#include "app/cli/json.h"
#include "app/cli/output.h"
#include "app/cli/reading.h"
#include "app/merge.h"
#include "base/last_error.h"
#include "base/text.h"
#include "io/fixup.h"
#include "io/open.h"

namespace vemko::cli {
namespace {

constexpr int kEqual = 0, kDifferent = 1, kTrouble = 2;
constexpr std::size_t kMostLines = 100;

bool open(Collection& collection, const std::string& file) {
  NoteCollector notes;
  const Path path = pathOf(toUtf16(file));
  const bool ok = folderExists(path) ? fail(u"This is a folder") : io::openFile(collection, path, false);
  for (const std::string& note : notes.take()) printNote(file, note);
  if (!ok) printError(file, toUtf8(lastError()));
  return ok;
}

// Each file is tidied by itself and once more with the others: what several of them hold becomes one.
bool openAll(Collection& collection, const std::vector<std::string>& files) {
  if (files.size() == 1) return open(collection, files.front());
  app::Merge merge(collection);
  for (const std::string& file : files) {
    Collection source;
    if (!open(source, file)) return false;
    merge.add(source);
  }
  merge.finish();
  if (io::fixUp(collection, io::kAllKinds, false)) return true;
  printError(files.front(), toUtf8(lastError()));
  return false;
}

std::u16string stemOf(const std::string& file) { return textOf(pathOf(toUtf16(file)).stem()); }

std::string textOf(const compare::Difference& difference) {
  std::string line = toUtf8(difference.where) + ": " + toUtf8(difference.what);
  if (!difference.first.empty()) line += ": " + toUtf8(difference.first);
  if (!difference.second.empty())
    line += (difference.first.empty() ? ": " : " | ") + toUtf8(difference.second);
  return printable(line);
}

void printReport(const compare::Report& report) {
  const auto& differences = report.differences;
  for (std::size_t i = 0; i < std::min(differences.size(), kMostLines); ++i)
    printLine(textOf(differences[i]));
  if (differences.size() > kMostLines) {
    printLine(formatted("... and %zu more. In all:", differences.size() - kMostLines));
    std::map<std::u16string, std::size_t> kinds;
    for (const compare::Difference& difference : differences) ++kinds[difference.what];
    for (const auto& [what, count] : kinds) printLine(formatted("%8zu  %s", count, toUtf8(what).c_str()));
  }
  printLine(formatted(
      "Compared %zu instruments, %zu regions, %zu waveforms, %zu songs: %s", report.instruments,
      report.regions, report.waveforms, report.songs,
      differences.empty() ? "no difference" : formatted("%zu differences", differences.size()).c_str()));
}

}  // namespace

int runCompare(const CompareArguments& arguments) {
  useSettings();
  Collection first, second;
  if (!open(first, arguments.first) || !openAll(second, arguments.second)) return kTrouble;
  compare::Options options{.tolerance = arguments.tolerance, .samples = !arguments.noSamples};
  options.fileNames.push_back(stemOf(arguments.first));
  for (const std::string& file : arguments.second) options.fileNames.push_back(stemOf(file));
  const compare::Report report = compare::compareCollections(first, second, options);
  if (arguments.json)
    print(comparisonJson(report));
  else if (!arguments.quiet)
    printReport(report);
  return report.differences.empty() ? kEqual : kDifferent;
}

}  // namespace vemko::cli
