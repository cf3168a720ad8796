#include "app/cli/output.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/text.h"
#include "platform/terminal.h"

namespace vemko::cli {
namespace {

void write(std::FILE* stream, std::string_view text) { std::fwrite(text.data(), 1, text.size(), stream); }

// A bar, its brackets and the text fit a terminal of 80 columns.
constexpr std::size_t kLineWidth = 78, kTextWidth = 44;

void printToError(std::string line) {
  line += '\n';
  write(stderr, line);
}

}  // namespace

std::string printable(std::string_view text) {
  std::string safe(text);
  for (std::size_t i = 0; i < safe.size(); ++i) {
    const auto c = static_cast<unsigned char>(safe[i]);
    if (c < 0x20 || c == 0x7F) safe[i] = '?';
    // U+0080 to U+009F in UTF-8
    if (c == 0xC2 && i + 1 < safe.size() && (static_cast<unsigned char>(safe[i + 1]) & 0xE0) == 0x80)
      safe.replace(i, 2, "?");
  }
  return safe;
}

void print(std::string_view text) { write(stdout, text); }

void printLine(std::string_view line) {
  write(stdout, line);
  write(stdout, "\n");
}

bool finishOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
  printError("standard output", "Writing to file failed");
  return false;
}

void printError(std::string_view path, std::string_view message) {
  printToError(printable(path) + ": " + printable(message));
}

void printNote(std::string_view path, std::string_view message) {
  printToError(printable(path) + ": note: " + printable(message));
}

int usageError(std::string_view message, std::string_view helpCommand) {
  printToError("vemko: " + printable(message));
  printToError("Try '" + std::string(helpCommand) + "'.");
  return 2;
}

std::string shownPath(const Path& path, const Path& startFolder) {
  const Path relative = path.lexically_relative(startFolder);
  const bool below = !relative.empty() && *relative.begin() != "..";
  return toUtf8(textOf(below ? relative : path));
}

ProgressBar::ProgressBar(bool wanted) : wanted_(wanted && isErrorTerminal()) {}

void ProgressBar::show(double fraction, std::string_view text) {
  const auto now = std::chrono::steady_clock::now();
  if (!wanted_ || now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  constexpr int kCells = 30;
  const int filled = std::clamp(static_cast<int>(fraction * kCells), 0, kCells);
  std::string line = "\r[" + std::string(static_cast<std::size_t>(filled), '#') +
                     std::string(static_cast<std::size_t>(kCells - filled), '.') + "] ";
  line += toUtf8(toUtf16(printable(text)), kTextWidth);
  line.resize(std::max(line.size(), kLineWidth), ' ');
  write(stderr, line);
  std::fflush(stderr);
  shown_ = true;
}

void ProgressBar::clear() {
  if (std::exchange(shown_, false)) write(stderr, "\r" + std::string(kLineWidth, ' ') + "\r");
}

}  // namespace vemko::cli
