#include "base/text.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <utf8.h>

namespace vemko {
namespace {

// Windows-1252 from 0x80 to 0x9F; the five unassigned codes stand for themselves, as browsers have it.
constexpr std::array<char16_t, 32> kWindows1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr bool isEscapedByte(char16_t c) { return c >= 0xDC80 && c <= 0xDCFF; }
constexpr bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
constexpr bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::size_t countDigits(std::u16string_view text) {
  std::size_t count = 0;
  while (count < text.size() && isDigit(text[count])) ++count;
  return count;
}

std::u16string_view withoutLeadingZeros(std::u16string_view digits) {
  while (digits.size() > 1 && digits.front() == u'0') digits.remove_prefix(1);
  return digits;
}

// Compares the numbers that both texts begin with and removes them.
int compareNumbers(std::u16string_view& a, std::u16string_view& b) {
  std::size_t lengthA = countDigits(a), lengthB = countDigits(b);
  auto numberA = withoutLeadingZeros(a.substr(0, lengthA)),
       numberB = withoutLeadingZeros(b.substr(0, lengthB));
  a.remove_prefix(lengthA);
  b.remove_prefix(lengthB);
  if (numberA.size() != numberB.size()) return numberA.size() < numberB.size() ? -1 : 1;
  return numberA.compare(numberB);
}

}  // namespace

std::u16string toUtf16(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  auto at = utf8.begin();
  while (at != utf8.end()) {
    auto bad = utf8::find_invalid(at, utf8.end());
    utf8::unchecked::utf8to16(at, bad, std::back_inserter(text));
    at = bad;
    if (at != utf8.end()) text += static_cast<char16_t>(0xDC00 | static_cast<unsigned char>(*at++));
  }
  return text;
}

std::string toUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (isEscapedByte(text[i])) {
      utf8 += static_cast<char>(code & 0xFF);
      continue;
    } else if (isHighSurrogate(text[i]) || isLowSurrogate(text[i])) {
      code = 0xFFFD;
    }
    utf8::unchecked::append(code, std::back_inserter(utf8));
  }
  return utf8;
}

std::string toUtf8(std::u16string_view text, std::size_t maxBytes) {
  std::string utf8 = toUtf8(text);
  if (utf8.size() <= maxBytes) return utf8;
  std::size_t cut = maxBytes;
  while (cut > 0 && (static_cast<unsigned char>(utf8[cut]) & 0xC0) == 0x80) --cut;
  utf8.resize(cut);
  return utf8;
}

std::u16string decodeText(Bytes field) {
  std::string_view chars(reinterpret_cast<const char*>(field.data()), field.size());
  chars = chars.substr(0, chars.find('\0'));
  if (utf8::is_valid(chars.begin(), chars.end())) return toUtf16(chars);
  std::u16string text;
  text.reserve(chars.size());
  for (char each : chars) {
    const auto c = static_cast<unsigned char>(each);
    text += c >= 0x80 && c < 0xA0 ? kWindows1252High[c - 0x80u] : char16_t{c};
  }
  return text;
}

std::u16string_view trimmed(std::u16string_view text) {
  while (!text.empty() && text.front() <= 32) text.remove_prefix(1);
  while (!text.empty() && text.back() <= 32) text.remove_suffix(1);
  return text;
}

char16_t foldCase(char16_t c) {
  auto shifted = [c](unsigned by) { return static_cast<char16_t>(c + by); };
  if (c >= u'A' && c <= u'Z') return shifted(32);
  if (c < 0xC0) return c;
  if (c <= 0xDE) return c == 0xD7 ? c : shifted(32);
  if (c >= 0x100 && c <= 0x137) return static_cast<char16_t>(c | 1);
  if (c >= 0x139 && c <= 0x148) return c & 1 ? shifted(1) : c;
  if (c >= 0x14A && c <= 0x177) return static_cast<char16_t>(c | 1);
  if (c >= 0x391 && c <= 0x3A9) return shifted(32);
  if (c >= 0x410 && c <= 0x42F) return shifted(32);
  if (c >= 0x400 && c <= 0x40F) return shifted(80);
  return c;
}

bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (foldCase(a[i]) != foldCase(b[i])) return false;
  return true;
}

int compareNatural(std::u16string_view a, std::u16string_view b) {
  const std::u16string_view wholeA = a, wholeB = b;
  while (!a.empty() && !b.empty()) {
    if (isDigit(a.front()) && isDigit(b.front())) {
      if (int order = compareNumbers(a, b)) return order;
      continue;
    }
    char16_t foldedA = foldCase(a.front()), foldedB = foldCase(b.front());
    if (foldedA != foldedB) return foldedA < foldedB ? -1 : 1;
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
  if (a.empty() != b.empty()) return a.empty() ? -1 : 1;
  return wholeA.compare(wholeB);
}

std::string formatted(const char* format, ...) {
  std::va_list args, again;
  va_start(args, format);
  va_copy(again, args);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, args)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(args);
  return text;
}

}  // namespace vemko
