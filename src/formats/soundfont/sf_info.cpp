#include "formats/soundfont/sf_info.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "base/log.h"
#include "base/text.h"
#include "base/version.h"
#include "formats/soundfont/sf_notes.h"
#include "io/file_names.h"

namespace vemko::soundfont {
namespace {

struct TextRow {
  std::uint32_t id;
  TextProperty property;
};
// In the order in which they are written. The last one is only read: the published format does not have it,
// and players refuse banks with texts that they do not know.
constexpr TextRow kTextRows[] = {
    {fourCc("INAM"), TextProperty::Name},     {fourCc("IENG"), TextProperty::Engineer},
    {fourCc("IPRD"), TextProperty::Product},  {fourCc("ICOP"), TextProperty::Copyright},
    {fourCc("ICMT"), TextProperty::Comments}, {fourCc("IART"), TextProperty::Artist},
};
constexpr std::span kWrittenRows(kTextRows, std::size(kTextRows) - 1);

// Sizes with the terminating zero that the published format allows.
constexpr std::size_t kTextBytes = 255, kCommentBytes = 65535;

// An artist takes the engineer's place where that is free.
std::u16string writtenText(const Collection& collection, TextProperty property, const Path& file) {
  if (property == TextProperty::Name) return io::bankName(collection, file);
  const std::u16string& text = collection.text(property);
  return property == TextProperty::Engineer && text.empty() ? collection.text(TextProperty::Artist) : text;
}

}  // namespace

void readInfoTexts(const std::vector<InfoText>& info, const Path& path, Collection& collection) {
  for (const TextRow& row : kTextRows) {
    const auto text = std::ranges::find(info, row.id, &InfoText::id);
    if (text != info.end()) collection.setText(row.property, decodeText(asBytes(text->text)));
  }
  if (std::ranges::find(info, fourCc("INAM"), &InfoText::id) == info.end())
    collection.setName(vemko::textOf(path.stem()));
}

std::vector<InfoText> infoTextsOf(const Item& item, const Path& file) {
  const Collection& collection = item.collection();
  std::vector<InfoText> texts;
  if (!collection.text(TextProperty::Artist).empty() && !collection.text(TextProperty::Engineer).empty())
    logWarning(u"The artist is left out: banks have a place for the engineer only");
  for (const TextRow& row : kWrittenRows) {
    const std::size_t limit = row.property == TextProperty::Comments ? kCommentBytes : kTextBytes;
    const std::u16string whole = writtenText(collection, row.property, file);
    std::string text = toUtf8(whole, limit);
    if (toUtf16(text).size() < whole.size())
      logWarning(u"A text is longer than banks allow and is cut: " +
                 std::u16string(textPropertyLabel(row.property)));
    if (!text.empty()) texts.push_back({row.id, std::move(text)});
  }
  if (const auto* notes = notesOf<BankNotes>(collection))
    for (const InfoText& text : notes->tables.info)
      if (text.id == fourCc("ICRD")) texts.push_back(text);
  return texts;
}

std::optional<SoftwareVersion> softwareVersion(const std::vector<InfoText>& info) {
  constexpr std::size_t kNumberAt = 14, kShortest = 17;  // "Vemko Studio v"
  const auto software = std::ranges::find(info, fourCc("ISFT"), &InfoText::id);
  if (software == info.end() || software->text.size() < kShortest ||
      !software->text.starts_with(kProductName))
    return std::nullopt;
  SoftwareVersion version;
  if (std::sscanf(software->text.c_str() + kNumberAt, "%d.%d", &version.major, &version.minor) != 2)
    return std::nullopt;
  return version;
}

}  // namespace vemko::soundfont
