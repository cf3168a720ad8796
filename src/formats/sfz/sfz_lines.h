#pragma once
// What the writer puts below a header, one opcode a line.
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/sfz/sfz_opcodes.h"

namespace vemko::sfz {

/// "name=value" lines of one region.
class OpcodeLines {
 public:
  explicit OpcodeLines(Dialects dialect) : dialect_(dialect) {}

  bool isVersion2() const { return dialect_ == kV2; }
  bool uses(const OpcodeRow& row) const { return (row.dialects & dialect_) != 0; }

  /// The shortest decimal form of `number` for which `readsBack(value of the form)` holds; with six digits
  /// when none of nine digits does, which a second trip then keeps. Returns what a reader will see.
  template <class ReadsBack>
  double putNumber(std::string_view name, double number, ReadsBack readsBack) {
    char text[40];
    double value = 0;
    auto print = [&](int digits) {
      const char* end =
          std::to_chars(text, text + sizeof text, number + 0.0, std::chars_format::general, digits).ptr;
      std::from_chars(text, end, value);
      return std::string_view(text, static_cast<std::size_t>(end - text));
    };
    for (int digits = 6; digits <= 9; ++digits) {
      const std::string_view form = print(digits);
      if (!readsBack(value)) continue;
      putText(name, form);
      return value;
    }
    putText(name, print(6));
    return value;
  }
  void putWhole(std::string_view name, std::int64_t number) { putText(name, std::to_string(number)); }
  void putText(std::string_view name, std::string_view value) {
    text_.append(name).append("=").append(value);
    ends_.push_back(text_.size());
  }

  std::size_t size() const { return ends_.size(); }
  std::string_view operator[](std::size_t index) const {
    const std::size_t start = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(text_).substr(start, ends_[index] - start);
  }

 private:
  Dialects dialect_;
  std::string text_;  // one after the other
  std::vector<std::size_t> ends_;
};

}  // namespace vemko::sfz
