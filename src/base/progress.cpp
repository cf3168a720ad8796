#include "base/progress.h"

#include <thread>
#include <utility>

namespace vemko {
namespace {

ProgressSink sink;
std::thread::id owner;

}  // namespace

ProgressSink setProgressSink(ProgressSink newSink) {
  owner = std::this_thread::get_id();
  return std::exchange(sink, std::move(newSink));
}

void showStatus(std::u16string_view text) {
  if (sink.status) sink.status(text);
}

void showProgress(double fraction) {
  if (sink.advance && std::this_thread::get_id() == owner) sink.advance(fraction);
}

WaitCursor::WaitCursor(bool shown) : shown_(shown && sink.waitCursor) {
  if (shown_) sink.waitCursor(true);
}

WaitCursor::~WaitCursor() {
  if (shown_ && sink.waitCursor) sink.waitCursor(false);
}

}  // namespace vemko
