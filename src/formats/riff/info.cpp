#include "formats/riff/info.h"

#include <algorithm>
#include <string>

#include "base/log.h"
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

void addTextChunk(ChunkBuilder& builder, std::uint32_t id, std::string_view text) {
  builder.open(id);
  builder.out.text(text);
  builder.out.u8(0);
  builder.close();
}

}  // namespace

void readInfo(Bytes list, Item& item) {
  constexpr std::size_t kNamesLogged = 20;
  std::vector<std::uint32_t> unknown;
  ChunkWalker walker(list);
  for (Chunk chunk; walker.next(chunk);) {
    auto row = std::find_if(std::begin(kInfoRows), std::end(kInfoRows),
                            [&](const InfoRow& each) { return each.id == chunk.id; });
    if (row != std::end(kInfoRows))
      setWhereEmpty(item, row->property, chunk.body);
    else if (chunk.id != kSoftwareId && unknown.size() < kNamesLogged &&
             std::find(unknown.begin(), unknown.end(), chunk.id) == unknown.end())
      unknown.push_back(chunk.id);
  }
  if (unknown.empty()) return;
  std::u16string line = u"INFO fields not kept: ";
  for (std::size_t i = 0; i < unknown.size(); ++i)
    line.append(i == 0 ? u"" : u", ").append(idText(unknown[i]));
  logWarning(line);
}

void readBroadcastText(Bytes body, Item& item) {
  ByteReader reader(body);
  Bytes description = reader.take(256), originator = reader.take(32);
  if (!reader.ok) return;
  setWhereEmpty(item, TextProperty::Comments, description);
  setWhereEmpty(item, TextProperty::Product, originator);
}

std::vector<std::byte> buildInfo(const Item& item, bool withName) {
  ChunkBuilder builder;
  builder.openList(fourCc("INFO"));
  bool isEmpty = true;
  for (const InfoRow& row : kInfoRows) {
    const std::u16string& text = item.text(row.property);
    if (text.empty() || (row.property == TextProperty::Name && !withName)) continue;
    addTextChunk(builder, row.id, toUtf8(text));
    isEmpty = false;
  }
  if (isEmpty) return {};
  addTextChunk(builder, kSoftwareId, kSoftware);
  builder.close();
  return std::move(builder.out.bytes);
}

}  // namespace vemko::riff
