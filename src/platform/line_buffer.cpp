#include "platform/line_buffer.h"

namespace vemko {

bool LineBuffer::hasLine() {
  const std::size_t end = pending_.find('\n', searched_);
  searched_ = end == std::string::npos ? pending_.size() : end;
  return end != std::string::npos;
}

std::optional<std::string> LineBuffer::takeLine() {
  if (!hasLine() && pending_.empty()) return std::nullopt;
  std::string line = pending_.substr(0, searched_);
  pending_.erase(0, searched_ + 1);
  searched_ = 0;
  return line;
}

void LineBuffer::clear() {
  pending_.clear();
  searched_ = 0;
}

}  // namespace vemko
