#pragma once
// APE tags, version 2, as WavPack and some MP3 files end with.
#include <vector>

#include "core/item.h"

namespace vemko {

/// Takes the texts and the cover image of a tag that these bytes end with; properties that the item has
/// already stay. Bytes without one change nothing.
void readApe(Bytes bytes, Item& item);

/// The tag with header and footer; empty when the item has neither texts nor image.
std::vector<std::byte> buildApe(const Item& item, bool withName = true);

}  // namespace vemko
