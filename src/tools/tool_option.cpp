#include "tools/tool_option.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "base/last_error.h"
#include "base/text.h"

namespace vemko::tools {
namespace {

// Values go in and out as doubles, whatever the field's type.
struct Reader {
  double operator()(const bool* field) const { return *field ? 1 : 0; }
  double operator()(const int* field) const { return *field; }
  double operator()(const double* field) const { return *field; }
};
struct Writer {
  double value;
  void operator()(bool* field) const { *field = value != 0; }
  void operator()(int* field) const { *field = static_cast<int>(value); }
  void operator()(double* field) const { *field = value; }
};

bool parseNumber(std::u16string_view text, double& value) {
  const std::string digits = toUtf8(trimmed(text));
  const char* first = digits.data();
  const char* const last = first + digits.size();
  if (first != last && *first == '+') ++first;
  const auto parsed = std::from_chars(first, last, value);
  return parsed.ec == std::errc() && parsed.ptr == last && std::isfinite(value);
}

bool setCheck(const ToolOption& option, std::u16string_view text) {
  for (std::u16string_view on : {u"1", u"true", u"on", u"yes"})
    if (equalsIgnoringCase(text, on)) return setOptionValue(option, 1), true;
  for (std::u16string_view off : {u"0", u"false", u"off", u"no"})
    if (equalsIgnoringCase(text, off)) return setOptionValue(option, 0), true;
  return fail(u"Expected 0 or 1");
}

bool setChoice(const ToolOption& option, std::u16string_view text) {
  std::u16string names;
  for (std::size_t i = 0; i < option.choices.size(); ++i) {
    const ToolChoice& choice = option.choices[i];
    const std::u16string name = toUtf16(choice.name);
    if (equalsIgnoringCase(text, choice.label) || equalsIgnoringCase(text, name) ||
        text == toUtf16(std::to_string(i))) {
      setOptionValue(option, static_cast<double>(i));
      return true;
    }
    names += (i == 0 ? u"" : u", ") + name;
  }
  return fail(u"Expected one of: " + names);
}

bool isLabel(std::u16string_view label, std::u16string_view text) {
  auto bare = [](std::u16string_view t) {
    return !t.empty() && (t.back() == u':' || t.back() == u'.') ? t.substr(0, t.size() - 1) : t;
  };
  return !label.empty() && equalsIgnoringCase(bare(label), bare(text));
}

}  // namespace

double optionValue(const ToolOption& option) { return std::visit(Reader(), option.field()); }

void setOptionValue(const ToolOption& option, double value) {
  if (!(value > option.minimum)) value = option.minimum;
  std::visit(Writer{std::min(value, option.maximum)}, option.field());
}

std::u16string optionText(const ToolOption& option) {
  const double value = optionValue(option);
  if (!option.choices.empty()) return std::u16string(option.choices[static_cast<std::size_t>(value)].label);
  if (option.format == nullptr) return value != 0 ? u"1" : u"0";
  char text[400];  // the longest double has 309 digits before the point
  std::snprintf(text, sizeof text, option.format, option.shown ? option.shown(value) : value);
  return toUtf16(text);
}

bool setOptionText(const ToolOption& option, std::u16string_view text) {
  if (!option.choices.empty()) return setChoice(option, trimmed(text));
  if (option.format == nullptr) return setCheck(option, trimmed(text));
  double value = 0;
  if (!parseNumber(text, value)) return fail(u"Expected a number");
  setOptionValue(option, value);
  return true;
}

const ToolOption* findOption(std::span<const ToolOption> options, std::u16string_view labelOrName) {
  const auto text = trimmed(labelOrName);
  const auto found = std::ranges::find_if(options, [text](const ToolOption& option) {
    return isLabel(option.label, text) || equalsIgnoringCase(toUtf16(option.name), text);
  });
  return found == options.end() ? nullptr : &*found;
}

void resetOptions(std::span<const ToolOption> options) {
  for (const ToolOption& option : options) setOptionValue(option, option.initial);
}

}  // namespace vemko::tools
