#pragma once

namespace vemko {

/// Drops what the calling thread logs while it lives; other threads' lines reach the sink.
class LogMute {
 public:
  LogMute();
  ~LogMute();
  LogMute(const LogMute&) = delete;
  LogMute& operator=(const LogMute&) = delete;
};

}  // namespace vemko
