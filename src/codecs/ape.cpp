#include "codecs/ape.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/text.h"
#include "base/version.h"

namespace vemko {
namespace {

constexpr std::string_view kPreamble = "APETAGEX";
constexpr std::size_t kEndBytes = 32;  // of header and footer
constexpr std::uint32_t kVersion = 2000;
constexpr std::uint32_t kHasHeader = 1u << 31, kIsHeader = 1u << 29;
constexpr std::uint32_t kTypeMask = 6, kBinary = 2;
constexpr std::string_view kCoverKey = "Cover Art (Front)";

struct KeyRow {
  std::string_view key;
  TextProperty property;
};
// clang-format off
constexpr KeyRow kKeyRows[] = {
  {"Title",     TextProperty::Name},
  {"Artist",    TextProperty::Artist},
  {"Comment",   TextProperty::Comments},
  {"Copyright", TextProperty::Copyright},
  {"Engineer",  TextProperty::Engineer},
  {"Album",     TextProperty::Product},
  {"Source",    TextProperty::SourceFile},
};
// clang-format on

std::string_view asText(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// Up to a zero, which is passed over.
Bytes takeZeroTerminated(ByteReader& reader) {
  const Bytes rest = reader.bytes.subspan(reader.pos);
  const auto zero = std::ranges::find(rest, std::byte{0});
  const Bytes text = reader.take(static_cast<std::uint64_t>(zero - rest.begin()));
  reader.skip(1);
  return text;
}

// The items of the tag at the end; empty when there is none.
Bytes itemsIn(Bytes bytes, std::uint32_t& count) {
  if (bytes.size() < kEndBytes) return {};
  ByteReader footer(bytes.last(kEndBytes));
  const bool isTag = asText(footer.take(kPreamble.size())) == kPreamble;
  footer.u32();  // version: 1000 differs in the texts' encoding only
  const std::uint32_t size = footer.u32();
  count = footer.u32();
  if (!isTag || size < kEndBytes || size > bytes.size()) return {};
  return bytes.last(size).first(size - kEndBytes);
}

void takeItem(std::string_view key, std::uint32_t flags, Bytes value, Item& item) {
  const auto isKey = [&](std::string_view name) { return equalsIgnoringCase(toUtf16(key), toUtf16(name)); };
  if ((flags & kTypeMask) == kBinary) {
    ByteReader reader(value);
    takeZeroTerminated(reader);  // file name
    if (isKey(kCoverKey) && item.image().empty()) item.setImage(reader.rest());
    return;
  }
  for (const KeyRow& row : kKeyRows)
    if (isKey(row.key) && item.text(row.property).empty()) item.setText(row.property, decodeText(value));
}

void appendItem(ByteWriter& items, std::string_view key, std::uint32_t flags, Bytes value) {
  items.u32(static_cast<std::uint32_t>(value.size()));
  items.u32(flags);
  items.text(key);
  items.u8(0);
  items.append(value);
}

void appendEnd(ByteWriter& tag, std::size_t itemBytes, std::uint32_t count, std::uint32_t flags) {
  tag.text(kPreamble);
  tag.u32(kVersion);
  tag.u32(static_cast<std::uint32_t>(itemBytes + kEndBytes));
  tag.u32(count);
  tag.u32(flags);
  tag.zeros(8);
}

}  // namespace

void readApe(Bytes bytes, Item& item) {
  std::uint32_t count = 0;
  ByteReader reader(itemsIn(bytes, count));
  for (; count > 0 && reader.ok && reader.remaining() > 0; --count) {
    const std::uint32_t size = reader.u32(), flags = reader.u32();
    const Bytes key = takeZeroTerminated(reader);
    const Bytes value = reader.take(size);
    if (reader.ok) takeItem(asText(key), flags, value, item);
  }
}

std::vector<std::byte> buildApe(const Item& item, bool withName) {
  ByteWriter items;
  std::uint32_t count = 0;
  for (const KeyRow& row : kKeyRows) {
    const std::u16string& text = item.text(row.property);
    if (text.empty() || (row.property == TextProperty::Name && !withName)) continue;
    appendItem(items, row.key, 0, asBytes(toUtf8(text)));
    ++count;
  }
  if (const Bytes image = item.image(); !image.empty()) {
    const std::string_view type = Item::imageMimeType(image);
    ByteWriter value;
    value.text(type == "image/png" ? "cover.png" : type == "image/gif" ? "cover.gif" : "cover.jpg");
    value.u8(0);
    value.append(image);
    appendItem(items, kCoverKey, kBinary, value.bytes);
    ++count;
  }
  if (count == 0) return {};
  appendItem(items, "Encoder", 0, asBytes(kSoftwareName));
  ++count;
  ByteWriter tag;
  appendEnd(tag, items.size(), count, kHasHeader | kIsHeader);
  tag.append(items.bytes);
  appendEnd(tag, items.size(), count, kHasHeader);
  return std::move(tag.bytes);
}

}  // namespace vemko
