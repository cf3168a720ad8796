#include "app/save_formats.h"

#include "app/app_settings.h"
#include "io/registry.h"

namespace vemko::app {
namespace {

struct BuiltIn {
  ItemKind kind;
  std::u16string_view extension;
};

// In the order of the stored keys.
constexpr BuiltIn kBuiltIn[] = {{ItemKind::Waveform, u"wav"},
                                {ItemKind::Instrument, u"sfz"},
                                {ItemKind::Song, u"mid"},
                                {ItemKind::Collection, u"sf2"}};

}  // namespace

std::uint16_t formatKey(int row) {
  std::uint32_t hash = 0x811C9DC5;  // FNV-1a
  for (char16_t c : io::descriptionOf(row)) hash = (hash ^ c) * 0x01000193;
  const auto key = static_cast<std::uint16_t>(hash >> 16 ^ hash);
  return key == 0 ? 1 : key;
}

int rowForFormatKey(std::uint16_t key, ItemKind kind) {
  int row = key == 0 ? io::kNoRow : io::nextWritingRow(0);
  while (row != io::kNoRow && !(formatKey(row) == key && io::canHold(row, kind)))
    row = io::nextWritingRow(row + 1);
  return row;
}

int saveFormatRow(ItemKind kind) {
  for (std::size_t i = 0; i < std::size(kBuiltIn); ++i) {
    if (kBuiltIn[i].kind != kind) continue;
    const int chosen = rowForFormatKey(appSettings().shell.saveFormats[i], kind);
    return chosen != io::kNoRow ? chosen : io::findWritingRow(kBuiltIn[i].extension, kindBit(kind));
  }
  return io::kNoRow;
}

void setSaveFormatRow(ItemKind kind, int row) {
  for (std::size_t i = 0; i < std::size(kBuiltIn); ++i)
    if (kBuiltIn[i].kind == kind)
      appSettings().shell.saveFormats[i] = row == io::kNoRow ? std::uint16_t{0} : formatKey(row);
}

}  // namespace vemko::app
