#pragma once
// Look-ups over the one table of formats. A row is named by its index; an index outside the table is "none".
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "io/format_entry.h"

namespace vemko::io {

/// The table. Its rows are listed in formats/format_table.cpp; row 0 is the catch-all, rows of one extension
/// stand together, the reading row before the writing ones.
using FormatRows = std::span<const FormatEntry>;
FormatRows formatTable();
inline constexpr int kNoRow = -1;

// Every look-up works on the table unless it is given other rows.

/// The row, null for none.
const FormatEntry* formatRow(int row, FormatRows rows = formatTable());

/// "<none>" for no row.
std::u16string_view descriptionOf(int row, FormatRows rows = formatTable());
/// Empty for no row.
std::u16string_view extensionOf(int row, FormatRows rows = formatTable());

/// The first row at or after `from` that has a reader, or a writer; kNoRow when none is left.
int nextReadingRow(int from, FormatRows rows = formatTable());
int nextWritingRow(int from, FormatRows rows = formatTable());

struct RowCapabilities {
  CapabilityMask capabilities = 0;
  std::uint32_t variant = 0;
};
/// Of a row without a writer: those of the first following row of exactly the same extension that has one.
RowCapabilities capabilitiesOf(int row, FormatRows rows = formatTable());

/// The first writing row of that extension (a leading dot is skipped, case ignored) whose kinds share a bit
/// with `kinds`; kNoRow when none.
int findWritingRow(std::u16string_view extension, KindMask kinds, FormatRows rows = formatTable());
/// The writing row of that description, case ignored.
int findWritingRowByDescription(std::u16string_view description, FormatRows rows = formatTable());
bool canHold(int row, ItemKind kind, FormatRows rows = formatTable());

/// Whether a file extension fits a row's pattern, case ignored.
bool matchesExtension(std::u16string_view pattern, std::u16string_view extension);

/// Checked when the table is compiled: a probe exactly where there is a reader, no unknown capability bits,
/// features where waveforms or instruments are written,
/// the catch-all first, rows of one extension together with the reader first.
constexpr bool rowsAreSound(FormatRows rows) {
  if (rows.empty() || rows[0].extension != u"*") return false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if ((rows[i].probe != nullptr) != (rows[i].reader != nullptr)) return false;
    if (rows[i].reader == nullptr && rows[i].writer == nullptr) return false;
    if (rows[i].capabilities >> 23 != 0) return false;
    constexpr KindMask kSounding = kindBit(ItemKind::Waveform) | kindBit(ItemKind::Instrument);
    if (rows[i].writer && (rows[i].kinds & kSounding) && !rows[i].features) return false;
    bool newExtension = i == 0 || rows[i].extension != rows[i - 1].extension;
    for (std::size_t j = 0; newExtension && j + 1 < i; ++j)
      if (rows[j].extension == rows[i].extension) return false;
  }
  return true;
}

}  // namespace vemko::io
