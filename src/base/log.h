#pragma once
// The log: particulars of what happened, one line each. Messages to the user are fixed texts; which chunk, at
// which offset, what was mended or dropped goes here. The window shows the log in a pane, the command line
// prints it to standard error, tests collect it.
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace vemko {

enum class LogLevel { Info, Warning };

using LogSink = std::function<void(LogLevel, std::u16string_view line)>;

/// Installs the receiver and returns the one before. An empty sink drops all lines, as at start.
LogSink setLogSink(LogSink sink);

void logInfo(std::u16string_view line);

/// Something in a file was mended, dropped or could not be held.
void logWarning(std::u16string_view line);

/// Warnings that a reader may meet thousands of times: each text is logged once, with the number of times it
/// happened, when this object goes.
class Complaints {
 public:
  Complaints() = default;
  ~Complaints();
  Complaints(const Complaints&) = delete;
  Complaints& operator=(const Complaints&) = delete;
  /// `text` must outlive this object.
  void add(std::u16string_view text);

 private:
  std::vector<std::pair<std::u16string_view, std::size_t>> counts_;
};

}  // namespace vemko
