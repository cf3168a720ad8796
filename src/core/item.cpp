#include "core/item.h"

#include <algorithm>

#include "base/text.h"
#include "core/move_element.h"

namespace vemko {
namespace {

constexpr std::u16string_view kKindWords[kItemKindCount] = {
    u"waveform", u"synth", u"region", u"layer", u"instrument", u"track", u"song", u"collection", u"special"};

struct PropertyLabel {
  TextProperty property;
  std::u16string_view label;
  std::u16string_view alternative;
};
constexpr PropertyLabel kPropertyLabels[] = {
    {TextProperty::Name, u"Name", u""},
    {TextProperty::Artist, u"Artist", u""},
    {TextProperty::Comments, u"Comments", u""},
    {TextProperty::Copyright, u"Copyright", u""},
    {TextProperty::Engineer, u"Engineer", u""},
    {TextProperty::Product, u"Product", u"Album name"},
    {TextProperty::SourceFile, u"Source file on disk", u""},
    {TextProperty::Image, u"Image", u"Album cover"},
};

const std::u16string kNoText;

Bytes trimmedBytes(Bytes bytes) {
  auto blank = [](std::byte value) { return static_cast<unsigned>(value) <= 32; };
  while (!bytes.empty() && blank(bytes.front())) bytes = bytes.subspan(1);
  while (!bytes.empty() && blank(bytes.back())) bytes = bytes.first(bytes.size() - 1);
  return bytes;
}

bool startsWith(Bytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::ranges::equal(bytes.first(text.size()), asBytes(text));
}

}  // namespace

std::u16string_view displayWord(ItemKind kind) { return kKindWords[static_cast<std::size_t>(kind)]; }

std::u16string_view textPropertyLabel(TextProperty property, bool alternative) {
  for (const PropertyLabel& row : kPropertyLabels)
    if (row.property == property)
      return alternative && !row.alternative.empty() ? row.alternative : row.label;
  return {};
}

Item::~Item() = default;

std::u16string Item::displayName() const { return name_.empty() ? u"unnamed" : name_; }

const std::u16string& Item::text(TextProperty property) const {
  if (property == TextProperty::Name) return name_;
  for (const auto& [held, text] : texts_)
    if (held == property) return text;
  return kNoText;
}

void Item::setText(TextProperty property, std::u16string_view text) {
  std::u16string kept(trimmed(text));
  if (property == TextProperty::Name) {
    name_ = std::move(kept);
    return;
  }
  if (property == TextProperty::Image) return;
  auto at = std::ranges::find(texts_, property, &std::pair<TextProperty, std::u16string>::first);
  if (at == texts_.end()) {
    if (!kept.empty()) texts_.emplace_back(property, std::move(kept));
  } else if (kept.empty()) {
    texts_.erase(at);
  } else {
    at->second = std::move(kept);
  }
}

void Item::setText(TextProperty property, const char16_t* text, int length) {
  if (!text) return setText(property, std::u16string_view());
  setText(property, length < 0 ? std::u16string_view(text)
                               : std::u16string_view(text, static_cast<std::size_t>(length)));
}

void Item::setImage(Bytes image) {
  image = trimmedBytes(image);
  image_ =
      image.empty() ? nullptr : std::make_shared<const std::vector<std::byte>>(image.begin(), image.end());
}

std::string_view Item::imageMimeType(Bytes image) {
  if (startsWith(image, "\xFF\xD8\xFF")) return "image/jpeg";
  if (startsWith(image, "\x89PNG\r\n\x1A\n")) return "image/png";
  if (startsWith(image, "GIF87a") || startsWith(image, "GIF89a")) return "image/gif";
  return {};
}

void Item::removeChildAt(std::size_t index) {
  if (index < children.size()) children.erase(children.begin() + static_cast<std::ptrdiff_t>(index));
}

void Item::moveChild(std::size_t from, std::size_t to) { moveElement(children, from, to); }

}  // namespace vemko
