#pragma once
#include <vector>

#include "core/item.h"

namespace vemko {

/// Takes the texts and the cover image of an ID3v2 tag over; properties that the item has already stay.
/// Damaged tags give what can be read.
void readId3(Bytes tag, Item& item);

/// A file, or its head, without the ID3v2 tags that many programs put before any kind of stream.
struct Id3Head {
  Bytes rest;
  bool isLongerThanHead = false;  ///< What follows the tag cannot be seen; `rest` is empty.
};
Id3Head skipId3(Bytes head);

/// An ID3v2.4 tag with the item's texts and image, and the program that wrote them; empty when it has none.
std::vector<std::byte> buildId3(const Item& item);

}  // namespace vemko
