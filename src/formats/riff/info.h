#pragma once
// Texts of a WAVE file and the properties of the waveform.
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"

namespace vemko::riff {

/// Takes the texts of a "LIST" of type INFO over; properties that are set already stay. What the model has no
/// place for is named in the log.
void readInfo(Bytes list, Item& item);

/// Description and originator of a "bext" chunk, for properties that are not set.
void readBroadcastText(Bytes body, Item& item);

/// The whole "LIST" chunk, with the software's name; empty when there is no text to write.
std::vector<std::byte> buildInfo(const Item& item, bool withName);

}  // namespace vemko::riff
