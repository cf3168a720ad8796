#pragma once
// Where long work says how far it is: a bar on a terminal, the status line and a gauge in the window, nothing
// in tests. One record for the program, called from the main thread only.
#include <functional>
#include <string_view>

namespace vemko {

struct ProgressSink {
  std::function<void(std::u16string_view text)> status;  // "Reading: <path>", "Saving", ...
  std::function<void(double fraction)> advance;          // 0..1 of the work that the status names
  std::function<void(bool waiting)> waitCursor;          // nested calls are balanced by WaitCursor
};

/// Installs the receiver and returns the one before; empty members are skipped.
ProgressSink setProgressSink(ProgressSink sink);

void showStatus(std::u16string_view text);
/// Of the thread that installed the receiver; the fractions of worker threads, each of a part of the work,
/// are dropped.
void showProgress(double fraction);

/// Shows the wait cursor while it lives.
class WaitCursor {
 public:
  explicit WaitCursor(bool shown = true);
  ~WaitCursor();
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  bool shown_;
};

}  // namespace vemko
