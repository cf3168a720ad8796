#include "io/registry.h"

#include "base/text.h"

namespace vemko::io {
namespace {

template <class Fits>
int firstRow(int from, FormatRows rows, Fits fits) {
  for (int row = from; const FormatEntry* entry = formatRow(row, rows); ++row)
    if (fits(*entry)) return row;
  return kNoRow;
}

}  // namespace

const FormatEntry* formatRow(int row, FormatRows rows) {
  return row >= 0 && static_cast<std::size_t>(row) < rows.size() ? &rows[static_cast<std::size_t>(row)]
                                                                 : nullptr;
}

std::u16string_view descriptionOf(int row, FormatRows rows) {
  const FormatEntry* entry = formatRow(row, rows);
  return entry ? entry->description : u"<none>";
}

std::u16string_view extensionOf(int row, FormatRows rows) {
  const FormatEntry* entry = formatRow(row, rows);
  return entry ? entry->extension : std::u16string_view();
}

int nextReadingRow(int from, FormatRows rows) {
  return firstRow(from, rows, [](const FormatEntry& entry) { return entry.reader != nullptr; });
}

int nextWritingRow(int from, FormatRows rows) {
  return firstRow(from, rows, [](const FormatEntry& entry) { return entry.writer != nullptr; });
}

RowCapabilities capabilitiesOf(int row, FormatRows rows) {
  const FormatEntry* entry = formatRow(row, rows);
  if (!entry) return {};
  const std::u16string_view extension = entry->extension;
  for (; entry && entry->extension == extension; entry = formatRow(++row, rows))
    if (entry->writer) return {entry->capabilities, entry->variant};
  return {};
}

int findWritingRow(std::u16string_view extension, KindMask kinds, FormatRows rows) {
  if (extension.starts_with(u'.')) extension.remove_prefix(1);
  return firstRow(0, rows, [&](const FormatEntry& entry) {
    return entry.writer && (entry.kinds & kinds) != 0 && equalsIgnoringCase(entry.extension, extension);
  });
}

int findWritingRowByDescription(std::u16string_view description, FormatRows rows) {
  return firstRow(0, rows, [&](const FormatEntry& entry) {
    return entry.writer && equalsIgnoringCase(entry.description, description);
  });
}

bool canHold(int row, ItemKind kind, FormatRows rows) {
  const FormatEntry* entry = formatRow(row, rows);
  return entry && (entry->kinds & kindBit(kind)) != 0;
}

bool matchesExtension(std::u16string_view pattern, std::u16string_view extension) {
  std::size_t at = 0;
  for (char16_t c : pattern) {
    if (c == u'*') return true;
    if (at == extension.size()) return false;
    if (c != u'?' && foldCase(c) != foldCase(extension[at])) return false;
    ++at;
  }
  return at == extension.size();
}

}  // namespace vemko::io
