#pragma once
// What has arrived from a child process and is taken line by line.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vemko {

/// A long line that arrives in many pieces is looked through once.
class LineBuffer {
 public:
  void append(std::string_view text) { pending_ += text; }
  bool hasLine();
  /// The first line, without its newline. Without a newline all there is, which is the unfinished last line
  /// of what has ended; nothing when there is none.
  std::optional<std::string> takeLine();
  void clear();

 private:
  std::string pending_;
  std::size_t searched_ = 0;  // Bytes of it that hold no newline.
};

}  // namespace vemko
