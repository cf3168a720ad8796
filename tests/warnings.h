#pragma once
#include <string>
#include <vector>

#include "base/log.h"
#include "base/text.h"

namespace vemko::test {

/// The warnings that are logged while it lives.
struct Warnings {
  std::vector<std::string> lines;
  LogSink before = setLogSink([this](LogLevel level, std::u16string_view line) {
    if (level == LogLevel::Warning) lines.push_back(toUtf8(line));
  });
  ~Warnings() { setLogSink(before); }
};

}  // namespace vemko::test
