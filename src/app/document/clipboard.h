#pragma once
// What goes over the clipboard between windows and instances: items and parts of their articulation, as
// records of plain bytes. The version stands in the format's name, so only instances of one build exchange
// them, and the records need none.
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "core/collection.h"

namespace vemko::app {

/// The private formats, in the order of kClipboardFormatNames.
enum class ClipboardFormat : std::uint8_t { Item, Art, Lfo, Eg, Loop, Eqs, Filter, Markers };
inline constexpr const char* kClipboardFormatNames[] = {
    "12.13.0.8 Item", "12.13.0.8 Art", "12.13.0.8 LFO",    "12.13.0.8 EG",
    "12.13.0.8 Loop", "12.13.0.8 EQs", "12.13.0.8 Filter", "12.13.0.8 Markers"};
constexpr const char* clipboardFormatName(ClipboardFormat format) {
  return kClipboardFormatNames[static_cast<std::size_t>(format)];
}

inline constexpr std::u16string_view kCorruptedClipboard = u"Paste failed - Clipboard data corrupted!";
inline constexpr std::u16string_view kNothingOnClipboard = u"No compatible data on the clipboard";

/// Copied items with everything below them and the waveforms that they play, under the ids that they had.
struct CopiedItems {
  std::uint64_t origin = 0;  ///< The document that they come from, see Document::identity().
  bool wasCut = false;
  std::vector<ItemId> tops;
  std::unique_ptr<Collection> items;
};
/// Samples that are still deferred are read; false with the last error message when they cannot be.
bool appendItems(const CopiedItems& copied, std::vector<std::byte>& bytes);
/// Fails with kCorruptedClipboard, or "Out of memory".
std::optional<CopiedItems> itemsFrom(Bytes bytes);

/// Some slots with their values: a group's, an LFO's or envelope's, or all that a level sets.
struct CopiedSlots {
  ClipboardFormat format = ClipboardFormat::Art;
  struct Entry {
    Slot slot;  ///< Of an LFO or envelope counted from the group's first, so that it fits any of them.
    float value;
  };
  std::vector<Entry> entries;
};
/// The format that a group of slots travels in.
ClipboardFormat formatOf(SlotGroup group);
CopiedSlots copyOfGroup(const ArticulationBlock& block, SlotGroup group);
CopiedSlots copyOfAll(const ArticulationBlock& block);
/// Replaces the group by what was copied; values are brought into bounds, what the group lacks is dropped.
void pasteGroup(const CopiedSlots& copied, ArticulationBlock& block, SlotGroup group);
void pasteAll(const CopiedSlots& copied, ArticulationBlock& block);
std::vector<std::byte> bytesOf(const CopiedSlots& copied);
std::optional<CopiedSlots> slotsFrom(Bytes bytes, ClipboardFormat format);

/// One loop, or all markers, of a waveform.
std::vector<std::byte> bytesOf(const std::vector<LoopRecord>& records);
std::optional<std::vector<LoopRecord>> recordsFrom(Bytes bytes);

}  // namespace vemko::app
