#include <algorithm>
#include <array>

#include "app/cli/commands.h"
#include "app/cli/json.h"
#include "app/cli/names.h"
#include "app/cli/output.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

constexpr std::size_t kColumns = 6;
using Cells = std::array<std::string, kColumns>;

std::vector<int> chosenRows(const FormatsArguments& arguments) {
  std::vector<int> rows;
  for (int row = 0; const io::FormatEntry* entry = io::formatRow(row); ++row)
    if ((entry->reader || !arguments.readable) && (entry->writer || !arguments.writable)) rows.push_back(row);
  return rows;
}

constexpr std::string_view kUnavailable = "unavailable";

std::string_view statusOf(bool exists, bool writing, const io::FormatEntry& entry) {
  if (!exists) return "-";
  return io::missingLibrary(entry, writing).empty() ? "yes" : kUnavailable;
}

Cells cellsOf(const io::FormatEntry& entry) {
  return {toUtf8(entry.extension),
          std::string(statusOf(entry.reader, false, entry)),
          std::string(statusOf(entry.writer, true, entry)),
          kindList(entry.kinds, ","),
          toUtf8(entry.description),
          encodingList(entry.capabilities, " ")};
}

// Each library once, in the order of the rows.
void printMissingLibraries(std::span<const int> rows) {
  std::vector<std::string> told;
  for (int row : rows)
    for (bool writing : {false, true}) {
      std::string library = toUtf8(io::missingLibrary(*io::formatRow(row), writing));
      if (library.empty() || std::ranges::find(told, library) != told.end()) continue;
      if (told.empty()) printLine("\nUnavailable until these codec libraries are installed:");
      printLine(library);
      told.push_back(std::move(library));
    }
}

void printTable(const std::vector<Cells>& table) {
  std::array<std::size_t, kColumns> widths{};
  for (const Cells& cells : table)
    for (std::size_t i = 0; i < kColumns; ++i) widths[i] = std::max(widths[i], cells[i].size());
  for (const Cells& cells : table) {
    std::string line;
    for (std::size_t i = 0; i < kColumns; ++i) {
      line += cells[i];
      line.append(widths[i] - cells[i].size() + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    printLine(line);
  }
}

}  // namespace

int runFormats(const FormatsArguments& arguments) {
  const std::vector<int> rows = chosenRows(arguments);
  if (arguments.json) {
    print(formatsJson(rows));
    return kDone;
  }
  std::vector<Cells> table = {{"EXTENSION", "READ", "WRITE", "KINDS", "DESCRIPTION", "ENCODINGS"}};
  for (int row : rows) table.push_back(cellsOf(*io::formatRow(row)));
  printTable(table);
  printMissingLibraries(rows);
  return kDone;
}

}  // namespace vemko::cli
