#include "base/log.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#include "base/log_mute.h"
#include "base/memory.h"
#include "base/text.h"

namespace vemko {
namespace {

std::mutex guard;
LogSink sink;
thread_local int mutes = 0;

void log(LogLevel level, std::u16string_view line) {
  if (mutes > 0) return;
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

LogMute::LogMute() { ++mutes; }
LogMute::~LogMute() { --mutes; }

// A line that there is no memory for is left out.
Complaints::~Complaints() {
  const LastErrorKeeper message;
  withinMemory([this] {
    for (const auto& [text, count] : counts_)
      logWarning(std::u16string(text) + (count > 1 ? toUtf16(formatted(" (%zu times)", count)) : u""));
    return true;
  });
}

void Complaints::add(std::u16string_view text) {
  const auto known = std::ranges::find(counts_, text, [](const auto& entry) { return entry.first; });
  if (known == counts_.end())
    counts_.emplace_back(text, 1);
  else
    ++known->second;
}

}  // namespace vemko
