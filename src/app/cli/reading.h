#pragma once
// What the commands that open files share.
#include <mutex>
#include <string>
#include <vector>

#include "app/cli/arguments.h"
#include "base/log.h"
#include "platform/files.h"

namespace vemko::cli {

/// Collects the warnings that are logged while it lives, the first few of them; a damaged file can cause
/// thousands.
class NoteCollector {
 public:
  NoteCollector();
  ~NoteCollector();
  NoteCollector(const NoteCollector&) = delete;
  NoteCollector& operator=(const NoteCollector&) = delete;

  /// What came since the last call, with a line about those left out.
  std::vector<std::string> take();
  /// How many there were in all.
  std::size_t count() const { return count_; }

 private:
  static constexpr std::size_t kMost = 20;
  std::mutex guard_;
  std::vector<std::string> notes_;
  std::size_t leftOut_ = 0;
  std::size_t count_ = 0;
  LogSink before_;
};

/// Puts the flags about raw import, ROM samples, answers and tidying into force. False after a usage error
/// was printed.
bool applyReadingOptions(const ConvertArguments& arguments);

}  // namespace vemko::cli
