#include "formats/riff/info.h"

#include <algorithm>
#include <string>

#include "base/text.h"
#include "formats/riff/riff.h"

namespace vemko::riff {
namespace {

constexpr std::string_view kSoftware = "Vemko Studio v12.13";

struct InfoRow {
  std::uint32_t id;
  TextProperty property;
};

// clang-format off
// Both directions, in the order of writing.
constexpr InfoRow kInfoRows[] = {
  {fourCc("INAM"), TextProperty::Name},
  {fourCc("IART"), TextProperty::Artist},
  {fourCc("ICMT"), TextProperty::Comments},
  {fourCc("ICOP"), TextProperty::Copyright},
  {fourCc("IENG"), TextProperty::Engineer},
  {fourCc("IPRD"), TextProperty::Product},
  {fourCc("ISRC"), TextProperty::SourceFile},
};
// clang-format on
constexpr std::uint32_t kSoftwareId = fourCc("ISFT");

void setWhereEmpty(Item& item, TextProperty property, Bytes field) {
  if (item.text(property).empty()) item.setText(property, decodeText(field));
}

// As bytes, up to the terminating zero.
std::string textIn(Bytes body) {
  const auto* begin = reinterpret_cast<const char*>(body.data());
  return {begin, std::find(begin, begin + body.size(), '\0')};
}

// The row of a text that describes items of this kind.
const InfoRow* rowFor(std::uint32_t id, const Item& item) {
  const auto row = std::ranges::find(kInfoRows, id, &InfoRow::id);
  const bool isOwnFile = item.kind() == ItemKind::Collection;
  if (row == std::end(kInfoRows) || (isOwnFile && row->property == TextProperty::SourceFile)) return nullptr;
  return &*row;
}

void addTextChunk(ChunkBuilder& builder, std::uint32_t id, std::string_view text) {
  builder.open(id);
  builder.out.text(text);
  builder.out.u8(0);
  builder.close();
}

}  // namespace

void readInfo(Bytes list, Item& item, std::vector<InfoText>& others) {
  constexpr std::size_t kMostTexts = 256, kMostBytes = 1 << 16;
  ChunkWalker walker(list);
  for (Chunk chunk; walker.next(chunk);) {
    const auto row = std::ranges::find(kInfoRows, chunk.id, &InfoRow::id);
    if (row != std::end(kInfoRows)) {
      setWhereEmpty(item, row->property, chunk.body);
      continue;
    }
    if (chunk.id == kSoftwareId || others.size() == kMostTexts || chunk.body.size() > kMostBytes) continue;
    if (std::string text = textIn(chunk.body); !text.empty()) others.push_back({chunk.id, std::move(text)});
  }
}

void readBroadcastText(Bytes body, Item& item) {
  ByteReader reader(body);
  Bytes description = reader.take(256), originator = reader.take(32);
  if (!reader.ok) return;
  setWhereEmpty(item, TextProperty::Comments, description);
  setWhereEmpty(item, TextProperty::Product, originator);
}

std::vector<std::byte> buildInfo(const Item& item, bool withName, const std::vector<InfoText>& others) {
  ChunkBuilder builder;
  builder.openList(fourCc("INFO"));
  bool isEmpty = true;
  for (const InfoRow& row : kInfoRows) {
    const std::u16string& text = item.text(row.property);
    if (text.empty() || (row.property == TextProperty::Name && !withName)) continue;
    addTextChunk(builder, row.id, toUtf8(text));
    isEmpty = false;
  }
  for (const InfoText& text : others) addTextChunk(builder, text.id, text.text);
  if (isEmpty && others.empty()) return {};
  addTextChunk(builder, kSoftwareId, kSoftware);
  builder.close();
  return std::move(builder.out.bytes);
}

std::vector<InfoText> parseInfoTexts(Bytes list) {
  std::vector<InfoText> texts;
  ChunkWalker walker(list);
  for (Chunk chunk; walker.next(chunk);)
    if (std::string text = textIn(chunk.body); !text.empty()) texts.push_back({chunk.id, std::move(text)});
  return texts;
}

void applyInfoTexts(const std::vector<InfoText>& texts, Item& item) {
  for (auto text = texts.rbegin(); text != texts.rend(); ++text)
    if (const InfoRow* row = rowFor(text->id, item))
      item.setText(row->property, decodeText(asBytes(text->text)));
}

std::vector<InfoText> infoTextsOf(const Item& item, const std::vector<InfoText>& before) {
  std::vector<InfoText> texts;
  for (const InfoRow& row : kInfoRows) {
    if (!rowFor(row.id, item)) continue;
    const std::u16string& now = item.text(row.property);
    const auto known = std::ranges::find(before, row.id, &InfoText::id);
    if (known != before.end() && trimmed(decodeText(asBytes(known->text))) == now)
      texts.push_back(*known);
    else if (!now.empty())
      texts.push_back({row.id, toUtf8(now)});
  }
  for (const InfoText& text : before)
    if (text.id != kSoftwareId && std::ranges::find(kInfoRows, text.id, &InfoRow::id) == std::end(kInfoRows))
      texts.push_back(text);
  return texts;
}

void appendInfoTexts(const std::vector<InfoText>& texts, ByteWriter& out) {
  if (texts.empty()) return;
  ChunkBuilder builder;
  builder.openList(fourCc("INFO"));
  for (const InfoText& text : texts) addTextChunk(builder, text.id, text.text);
  builder.close();
  out.append(builder.out.bytes);
}

}  // namespace vemko::riff
