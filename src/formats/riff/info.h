#pragma once
// Texts of files of the family, and the properties of the items that they describe.
#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"

namespace vemko::riff {

struct InfoText {
  std::uint32_t id = 0;
  std::string text;  ///< As bytes of the file, without the terminating zero.
};

/// Takes the texts of a "LIST" of type INFO over; properties that are set already stay. What the model has no
/// place for is appended to `others`, up to 256 texts of 64 KiB.
void readInfo(Bytes list, Item& item, std::vector<InfoText>& others);

/// Description and originator of a "bext" chunk, for properties that are not set.
void readBroadcastText(Bytes body, Item& item);

/// The whole "LIST" chunk, with the software's name and such other texts; empty when there is no text to
/// write.
std::vector<std::byte> buildInfo(const Item& item, bool withName, const std::vector<InfoText>& others);

// --- For banks, whose items have a list of their own each and keep what the model has no place for.

/// The texts of the list's contents, in their order; empty ones are left out.
std::vector<InfoText> parseInfoTexts(Bytes list);
/// Sets the properties that the texts stand for, the first of several. A collection's source is its file.
void applyInfoTexts(const std::vector<InfoText>& texts, Item& item);
/// What is to be written for the item without the software's name: `before`, which was read for it, with what
/// has changed since in its place.
std::vector<InfoText> infoTextsOf(const Item& item, const std::vector<InfoText>& before);
/// A whole "LIST" chunk; nothing without texts.
void appendInfoTexts(const std::vector<InfoText>& texts, ByteWriter& out);

}  // namespace vemko::riff
