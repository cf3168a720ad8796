#include "formats/audio/iff_texts.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace vemko::audio {
namespace {

struct TextRow {
  std::uint32_t id;
  std::string_view name;
  TextProperty property;
};
// clang-format off
constexpr TextRow kTextRows[] = {
  {fourCc("NAME"), "NAME", TextProperty::Name},
  {fourCc("AUTH"), "AUTH", TextProperty::Artist},
  {fourCc("(c) "), "(c) ", TextProperty::Copyright},
  {fourCc("ANNO"), "ANNO", TextProperty::Comments},
};
// clang-format on

static_assert(std::size(kTextRows) == std::tuple_size_v<decltype(IffTexts::texts)>);

}  // namespace

bool takeIffText(const IffChunk& chunk, IffTexts& texts) {
  const auto row = std::ranges::find(kTextRows, chunk.id, &TextRow::id);
  if (row == std::end(kTextRows)) return false;
  std::u16string& text = texts.texts[static_cast<std::size_t>(row - kTextRows)];
  const std::u16string decoded = decodeText(chunk.body);
  const std::u16string_view more = trimmed(decoded);
  if (more.empty() || (!text.empty() && row->property != TextProperty::Comments)) return true;
  text.append(text.empty() ? u"" : u"\n").append(more);
  return true;
}

void applyIffTexts(const IffTexts& texts, std::u16string_view comments, Waveform& waveform) {
  const auto set = [&](TextProperty property, std::u16string_view text) {
    if (waveform.text(property).empty()) waveform.setText(property, text);
  };
  for (std::size_t i = 0; i < std::size(kTextRows); ++i) set(kTextRows[i].property, texts.texts[i]);
  set(TextProperty::Comments, comments);
}

void putIffTexts(const Waveform& waveform, bool withName, ByteWriter& chunks) {
  for (const TextRow& row : kTextRows)
    if (row.property != TextProperty::Name || withName)
      putIffChunk(chunks, row.name, asBytes(toUtf8(waveform.text(row.property))));
}

}  // namespace vemko::audio
