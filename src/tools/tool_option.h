#pragma once
// Options of a tool, described once: from these rows the command line reads them and the window makes its
// page. Their values live in the tool's own record and are kept for the run.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace vemko::tools {

struct ToolChoice {
  std::u16string_view label;
  std::string_view name;  ///< For the command line.
};

/// A check box, an entry of a list, or a number.
using OptionField = std::variant<bool*, int*, double*>;

struct ToolOption {
  std::u16string_view label;  ///< May be empty for a list whose entries explain themselves.
  std::string_view name;      ///< For the command line: "equal-loudness".
  OptionField (*field)();
  double initial;
  double minimum;
  double maximum;
  std::u16string_view unit;             ///< Behind a number; may be empty.
  const char* format;                   ///< Of a number as it is shown; null for the other types.
  std::span<const ToolChoice> choices;  ///< Of a list.
  double (*shown)(double) = nullptr;    ///< Rounds a number before it is shown.
  bool (*offered)() = nullptr;  ///< Whether the other options leave a meaning to this one; null: always.

  bool isOffered() const { return offered == nullptr || offered(); }
};

// Rows by type.
constexpr ToolOption checkOption(std::u16string_view label, std::string_view name, OptionField (*field)(),
                                 bool initial, bool (*offered)() = nullptr) {
  return {label, name, field, initial ? 1.0 : 0.0, 0, 1, {}, nullptr, {}, nullptr, offered};
}
constexpr ToolOption choiceOption(std::u16string_view label, std::string_view name, OptionField (*field)(),
                                  int initial, std::span<const ToolChoice> choices) {
  return {label, name,    field,  static_cast<double>(initial), 0, static_cast<double>(choices.size()) - 1,
          {},    nullptr, choices};
}

/// Checks are 0 or 1, lists the index of the entry.
double optionValue(const ToolOption& option);
/// Brings the value into the range; not-a-number is taken for the minimum.
void setOptionValue(const ToolOption& option, double value);

/// The value as the page shows it, without the unit: "0" or "1", an entry's label, the formatted number.
std::u16string optionText(const ToolOption& option);
/// Sets the value from text: a check also from true, false, on, off, yes and no, a list from an entry's label
/// or name (case ignored) or its index, a number brought into the range. Fails, leaving the value, with
/// "Expected 0 or 1", "Expected a number" or "Expected one of: ..." with the entries' names.
bool setOptionText(const ToolOption& option, std::u16string_view text);

/// The option of that label or name, case and a colon or full stop at the label's end ignored; null when
/// there is none.
const ToolOption* findOption(std::span<const ToolOption> options, std::u16string_view labelOrName);

void resetOptions(std::span<const ToolOption> options);

}  // namespace vemko::tools
