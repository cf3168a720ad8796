#include "formats/soundfont/sf_sample_names.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/text.h"

namespace vemko::soundfont {
namespace {

constexpr std::size_t kNameBytes = std::tuple_size_v<Name>;

// "Piano" of "Piano 2"; the whole name where it ends otherwise.
std::u16string_view withoutNumber(std::u16string_view name) {
  const std::size_t digits = name.find_last_not_of(u"0123456789");
  if (digits == name.npos || digits + 1 == name.size() || name[digits] != u' ') return name;
  return name.substr(0, digits);
}

// The name of the other side: the last "L" of the left one's mark becomes an "R".
std::string rightName(std::string left, std::size_t markAt) {
  const std::string mark = left.substr(markAt);
  for (const auto& [from, to] : {std::pair<std::string_view, std::string_view>{"Left", "Right"},
                                 {"left", "right"},
                                 {"LEFT", "RIGHT"},
                                 {"L", "R"},
                                 {"l", "r"}})
    if (const std::size_t at = mark.rfind(from); at != mark.npos) {
      left.replace(markAt + at, from.size(), to);
      return left.substr(0, kNameBytes);
    }
  return {};
}

// The name that was read, or that with a number to tell it from another of that name.
bool hasNameOf(const Name* raw, std::u16string_view name) {
  return raw && (textOf(*raw) == name || textOf(*raw) == withoutNumber(name));
}

// The names that the sides had in their file, as long as the waveform has what they share.
std::optional<SampleNames> restoredSides(const Waveform& waveform, const SampleHeader& header) {
  const std::u16string raw = textOf(header.name);
  for (std::u16string_view common : {std::u16string_view(waveform.name()), withoutNumber(waveform.name())}) {
    if (common.empty() || !raw.starts_with(common) || common.size() == raw.size()) continue;
    const std::string left(charactersOf(header.name));
    const std::size_t markAt = std::min(toUtf8(common).size(), left.size() - 1);
    if (std::string right = rightName(left, markAt); !right.empty()) return SampleNames{left, right};
  }
  return std::nullopt;
}

// " L", "(R)", "-Left": where the name of one side of a pair ends with it, else nothing.
std::u16string_view sideMark(std::u16string_view name) {
  constexpr std::u16string_view kBrackets = u")]", kSeparators = u" _-.([";
  constexpr std::size_t kMostBytes = 10;
  std::u16string_view stem = name;
  if (!stem.empty() && kBrackets.find(stem.back()) != kBrackets.npos) stem.remove_suffix(1);
  for (std::u16string_view word : {u"Left", u"Right", u"L", u"R"}) {
    if (stem.size() <= word.size()) continue;
    const std::size_t at = stem.size() - word.size();
    if (!equalsIgnoringCase(stem.substr(at), word)) continue;
    const std::size_t end = stem.find_last_not_of(kSeparators, at - 1);
    const bool isMark = end != stem.npos && end + 1 < at && name.size() - end <= kMostBytes;
    if (isMark) return name.substr(end + 1);
  }
  return {};
}

// As much of the stem as leaves room for the rest.
std::string fitted(std::u16string_view stem, const std::string& rest) {
  std::string name = toUtf8(stem, kNameBytes - std::min(rest.size(), kNameBytes));
  if (!rest.empty()) name.erase(name.find_last_not_of(' ') + 1);
  return name + rest;
}

SampleNames cutNames(const Waveform& waveform, bool isStereo, const std::string& number) {
  const std::u16string name = waveform.displayName();
  if (isStereo) return {fitted(name, number + " L"), fitted(name, number + " R")};
  const std::u16string_view mark = sideMark(name);
  return {fitted(std::u16string_view(name).substr(0, name.size() - mark.size()), number + toUtf8(mark)), {}};
}

}  // namespace

std::string restoredName(std::u16string_view name, const Name* raw) {
  return hasNameOf(raw, name) ? std::string(charactersOf(*raw)) : toUtf8(name, kNameBytes);
}

SampleNames namesOf(const Waveform& waveform, const SampleHeader* header, bool isStereo) {
  const Name* raw = header ? &header->name : nullptr;
  if (!isStereo && hasNameOf(raw, waveform.name())) return {std::string(charactersOf(*raw)), {}};
  if (isStereo && header)
    if (auto names = restoredSides(waveform, *header)) return *names;
  const std::u16string name = isStereo ? waveform.displayName() : waveform.name();
  const std::string whole = toUtf8(name);
  if (!isStereo && whole.size() <= kNameBytes) return {whole, {}};
  SampleNames names = cutNames(waveform, isStereo, {});
  names.isCut = whole.size() > kNameBytes - (isStereo ? 2 : 0);
  return names;
}

SampleNames numberedNames(const Waveform& waveform, bool isStereo,
                          const std::unordered_set<std::string>& taken, unsigned& number) {
  for (;; ++number) {
    SampleNames names = cutNames(waveform, isStereo, " " + std::to_string(number));
    if (!taken.contains(names.left) && !taken.contains(names.right)) return names;
  }
}

}  // namespace vemko::soundfont
