#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_text.h"

namespace vemko::sfz {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kHeaders[] = {"<region>", "<group>",  "<global>", "<master>", "<control>",
                                         "<curve>",  "<effect>", "<sample>", "<midi>"};

// Behind comments, from the first character of the text proper.
std::string_view withoutComments(std::string_view text) {
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (!text.starts_with('/')) return text;
    const bool isBlock = text.starts_with("/*");
    const std::size_t end = isBlock ? text.find("*/") : text.find_first_of("\r\n");
    if (end == text.npos) return {};
    text.remove_prefix(end + (isBlock ? 2 : 0));
  }
}

bool beginsWithHeader(std::string_view text) {
  for (std::string_view header : kHeaders)
    if (text.starts_with(header)) return true;
  return false;
}

// As programs in C may begin too.
bool beginsWithDirective(std::string_view text) {
  return text.starts_with("#define") || text.starts_with("#include");
}

// "name=", as the fragments begin that other files include.
bool beginsWithOpcode(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && (std::isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_')) ++at;
  return at > 0 && at < text.size() && text[at] == '=';
}

}  // namespace

int probeSfz(Bytes head, std::uint32_t, std::uint64_t) {
  std::string converted;
  const std::string_view text = plainTextOfFile(head, converted);
  const std::string_view first = withoutComments(text);
  const auto hasRegion = [text] { return text.find("<region>") != text.npos; };
  if (beginsWithHeader(first) || (beginsWithDirective(first) && hasRegion())) return 6;
  // Everything but text has zeros.
  if (text.find('\0') != text.npos) return 0;
  // Only together with the name; a comment may be longer than the head.
  return first.empty() || beginsWithDirective(first) || beginsWithOpcode(first) || hasRegion() ? 2 : 0;
}

}  // namespace vemko::sfz
