#pragma once
// What the writer puts below a header, one opcode a line.
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "formats/sfz/sfz_opcodes.h"

namespace vemko::sfz {

inline constexpr int kFewestDigits = 6, kMostDigits = 17;

/// A number's decimal form.
class NumberText {
 public:
  /// With at most so many digits.
  NumberText(double number, int digits) {
    keep(std::to_chars(text_, text_ + sizeof text_, number + 0.0, std::chars_format::general, digits).ptr);
  }
  /// The shortest one that tells the number from other floats.
  explicit NumberText(float number) {
    keep(std::to_chars(text_, text_ + sizeof text_, number + 0.0f, std::chars_format::general).ptr);
  }
  std::string_view text() const { return {text_, size_}; }
  /// What a reader sees.
  double value() const {
    double value = 0;
    std::from_chars(text_, text_ + size_, value);
    return value;
  }

 private:
  void keep(const char* end) { size_ = static_cast<std::size_t>(end - text_); }

  char text_[40];
  std::size_t size_ = 0;
};

/// "name=value" lines of one region.
class OpcodeLines {
 public:
  explicit OpcodeLines(Dialects dialect) : dialect_(dialect) {}

  bool isVersion2() const { return dialect_ == kV2; }
  bool uses(const OpcodeRow& row) const { return (row.dialects & dialect_) != 0; }

  /// The shortest decimal form of `number`, of six digits at least, for which `readsBack(value of the form)`
  /// holds; with six digits when none does. Returns what a reader will see.
  template <class ReadsBack>
  double putNumber(std::string_view name, double number, ReadsBack readsBack) {
    // Most numbers have few digits, and these are found soonest so.
    const NumberText shortest(static_cast<float>(number));
    if (shortest.text().size() <= kFewestDigits && readsBack(shortest.value())) return put(name, shortest);
    for (int digits = kFewestDigits; digits <= kMostDigits; ++digits) {
      const NumberText form(number, digits);
      if (readsBack(form.value())) return put(name, form);
    }
    return put(name, NumberText(number, kFewestDigits));
  }
  double put(std::string_view name, const NumberText& form) {
    putText(name, form.text());
    return form.value();
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
