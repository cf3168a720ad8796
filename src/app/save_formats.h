#pragma once
// The formats that items are saved in unless the user says otherwise. Rows of the format table move as
// formats are added, so settings hold keys made from a row's description instead of its index.
#include <cstdint>

#include "core/item.h"

namespace vemko::app {

/// Never 0, and different for any two writing rows of the table.
std::uint16_t formatKey(int row);
/// The writing row of that key that can hold the kind; io::kNoRow when there is none.
int rowForFormatKey(std::uint16_t key, ItemKind kind);

/// The row to save items of that kind in: the chosen one, or the first that writes ".wav" for waveforms,
/// ".sfz" for instruments, ".mid" for songs and ".sf2" for collections. io::kNoRow where nothing writes that,
/// and for other kinds.
int saveFormatRow(ItemKind kind);
/// Chooses a row for one of the four kinds; io::kNoRow goes back to the built-in choice.
void setSaveFormatRow(ItemKind kind, int row);

}  // namespace vemko::app
