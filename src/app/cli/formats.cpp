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

Cells cellsOf(const io::FormatEntry& entry) {
  return {toUtf8(entry.extension),    entry.reader ? "yes" : "-", entry.writer ? "yes" : "-",
          kindList(entry.kinds, ","), toUtf8(entry.description),  encodingList(entry.capabilities, " ")};
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
  return kDone;
}

}  // namespace vemko::cli
