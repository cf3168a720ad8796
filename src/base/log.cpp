#include "base/log.h"

#include <mutex>
#include <utility>

namespace vemko {
namespace {

std::mutex guard;
LogSink sink;

void log(LogLevel level, std::u16string_view line) {
  std::lock_guard lock(guard);
  if (sink) sink(level, line);
}

}  // namespace

LogSink setLogSink(LogSink newSink) {
  std::lock_guard lock(guard);
  return std::exchange(sink, std::move(newSink));
}

void logInfo(std::u16string_view line) { log(LogLevel::Info, line); }
void logWarning(std::u16string_view line) { log(LogLevel::Warning, line); }

}  // namespace vemko
