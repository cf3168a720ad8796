#pragma once
// What the commands print. Results go to standard output, errors and notes to standard error, one line each.
#include <chrono>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace vemko::cli {

/// Control characters, which names in files may hold, become "?": one line stays one line, and no file steers
/// the terminal.
std::string printable(std::string_view text);

/// As it is, without line end.
void print(std::string_view text);
void printLine(std::string_view line);
/// Whether everything printed has arrived; false, with an error line, when standard output is full or closed.
bool finishOutput();

/// "path: message"
void printError(std::string_view path, std::string_view message);
/// "path: note: message"
void printNote(std::string_view path, std::string_view message);
/// "vemko: message" and where to find help; returns the exit status for it.
int usageError(std::string_view message, std::string_view helpCommand);

/// The path as a user of this folder would write it: relative when it lies below, else absolute.
std::string shownPath(const Path& path, const Path& startFolder);

/// A bar on a terminal's last line; nothing when standard error is no terminal.
class ProgressBar {
 public:
  explicit ProgressBar(bool wanted);
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Redraws at most ten times a second.
  void show(double fraction, std::string_view text);
  /// To be called before anything else is printed.
  void clear();

 private:
  bool wanted_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point next_{};
};

}  // namespace vemko::cli
