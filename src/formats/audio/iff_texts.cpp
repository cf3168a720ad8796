#include "formats/audio/iff_texts.h"

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

}  // namespace

void takeIffText(const IffChunk& chunk, Waveform& waveform) {
  for (const TextRow& row : kTextRows)
    if (row.id == chunk.id && waveform.text(row.property).empty())
      waveform.setText(row.property, decodeText(chunk.body));
}

void putIffTexts(const Waveform& waveform, bool withName, ByteWriter& chunks) {
  for (const TextRow& row : kTextRows)
    if (row.property != TextProperty::Name || withName)
      putIffChunk(chunks, row.name, asBytes(toUtf8(waveform.text(row.property))));
}

}  // namespace vemko::audio
