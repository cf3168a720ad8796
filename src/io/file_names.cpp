#include "io/file_names.h"

#include <algorithm>

#include "base/text.h"

namespace vemko::io {
namespace {

constexpr std::u16string_view kRefused = u"\"*/:<>?\\|";
// Names that Windows gives to devices, with any extension; "COM" and "LPT" take a digit.
constexpr std::u16string_view kDevices[] = {u"con", u"prn", u"aux", u"nul", u"conin$", u"conout$"};
constexpr std::u16string_view kNumberedDevices[] = {u"com", u"lpt"};
constexpr std::u16string_view kDeviceDigits = u"0123456789\u00B9\u00B2\u00B3";

bool isSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDFFF; }

bool isPairAt(std::u16string_view text, std::size_t at) {
  return text[at] < 0xDC00 && at + 1 < text.size() && isSurrogate(text[at + 1]) && text[at + 1] >= 0xDC00;
}

std::u16string withoutRefusedCharacters(std::u16string_view text) {
  std::u16string safe;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isSurrogate(text[i]) && isPairAt(text, i)) {
      safe += text.substr(i++, 2);
      continue;
    }
    bool refused = text[i] < 0x20 || (text[i] >= 0x7F && text[i] < 0xA0) || isSurrogate(text[i]) ||
                   kRefused.find(text[i]) != kRefused.npos;
    safe += refused ? u'_' : text[i];
  }
  return safe;
}

void trimEnds(std::u16string& stem) {
  while (!stem.empty() && (stem.back() == u'.' || stem.back() == u' ')) stem.pop_back();
  stem.erase(0, std::min(stem.size(), stem.find_first_not_of(u' ')));
}

bool isDeviceName(std::u16string_view stem) {
  auto device = trimmed(stem.substr(0, stem.find(u'.')));
  auto equalsDevice = [device](std::u16string_view name) { return equalsIgnoringCase(device, name); };
  if (std::ranges::any_of(kDevices, equalsDevice)) return true;
  return device.size() == 4 && kDeviceDigits.find(device[3]) != kDeviceDigits.npos &&
         std::ranges::any_of(kNumberedDevices, [device](std::u16string_view name) {
           return equalsIgnoringCase(device.substr(0, 3), name);
         });
}

std::u16string cut(std::u16string_view text, std::size_t maxBytes) {
  std::u16string part = toUtf16(toUtf8(text, maxBytes));
  trimEnds(part);
  return part;
}

std::u16string foldedName(const Path& name) {
  std::u16string text = textOf(name);
  std::ranges::transform(text, text.begin(), foldCase);
  return text;
}

}  // namespace

std::u16string safeStem(std::u16string_view text) {
  std::u16string stem = withoutRefusedCharacters(text);
  trimEnds(stem);
  stem = cut(stem, kMaxStemBytes);
  if (stem.empty()) return u"unnamed";
  // A leading dot hides a file on some systems.
  if (stem.front() == u'.') stem.front() = u'_';
  if (isDeviceName(stem)) stem.insert(0, 1, u'_');
  return stem;
}

Path autoFileName(std::u16string_view baseName, std::u16string_view itemName, std::u16string_view extension) {
  constexpr std::u16string_view kJoint = u" - ";
  std::u16string stem;
  if (baseName.empty() || itemName.empty()) {
    stem = safeStem(baseName.empty() ? itemName : baseName);
  } else {
    std::u16string base = safeStem(baseName), item = safeStem(itemName);
    if (toUtf8(base + item).size() + kJoint.size() > kMaxStemBytes) base = cut(base, kMaxStemBytes / 2);
    stem = safeStem(base + std::u16string(kJoint) + item);
  }
  return pathOf(stem + u'.' + std::u16string(extension));
}

Path numberedFileName(const Path& path, std::size_t number) {
  Path name = path.stem();
  name += formatted(" (%zu)", number);
  name += path.extension();
  return path.parent_path() / name;
}

Path freeFileName(const Path& path, const std::function<bool(const Path&)>& taken) {
  Path candidate = path;
  for (std::size_t number = 2; taken(candidate); ++number) candidate = numberedFileName(path, number);
  return candidate;
}

Path NameReserve::claim(const Path& name, const std::function<bool(const Path&)>& taken) {
  auto isFree = [&](const Path& candidate) { return !contains(candidate) && !(taken && taken(candidate)); };
  Path candidate = name;
  if (!isFree(candidate)) {
    std::size_t& number = lastNumber_.try_emplace(foldedName(name), 1).first->second;
    do candidate = numberedFileName(name, ++number);
    while (!isFree(candidate));
  }
  add(candidate);
  return candidate;
}

std::u16string bankName(const Collection& collection, const Path& file) {
  return collection.name() == kNewCollectionName ? textOf(file.stem()) : collection.name();
}

bool NameReserve::add(const Path& name) { return used_.insert(foldedName(name)).second; }
bool NameReserve::contains(const Path& name) const { return used_.contains(foldedName(name)); }

}  // namespace vemko::io
