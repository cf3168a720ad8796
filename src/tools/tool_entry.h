#pragma once
// "Process items": named tools in three lists, each applied to the items that the user has selected.
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/collection.h"
#include "core/history.h"
#include "tools/statistics.h"
#include "tools/tool_option.h"

namespace vemko::tools {

enum class ToolList : std::uint8_t { Waveform, Midi, Instrument };

/// Frames selected in a waveform editor; `end` is exclusive.
struct FrameRange {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
};

struct MeasuredVolume {
  ItemId waveform = kNoItem;
  std::u16string name;  ///< As shown before the tool renamed it.
  float decibels = 0;
};

inline constexpr std::u16string_view kErrorTitle = u"Error!";

/// One use of "Process items".
struct ToolContext {
  std::vector<Item*> selection = {};  ///< In the user's order; empty entries are skipped.
  ToolList list = ToolList::Waveform;
  std::u16string_view toolName = {};
  /// Set when the page was opened from a waveform editor with an active selection: tools that work within a
  /// selection use it, others and those without it the whole waveform.
  std::optional<FrameRange> range = {};

  /// Shows a failure in a box titled kErrorTitle; the item may be null. Without it failures are logged.
  std::function<void(const Item* item, std::u16string_view message)> showError = {};
  /// Gets the undo step; null where nothing will be undone.
  History* history = nullptr;

  // --- What came of it.
  std::uint32_t processedCount = 0;          ///< Items that the tool changed.
  std::vector<MeasuredVolume> volumes = {};  ///< Of "Find volume".
  std::optional<Statistics> statistics = {};
};

/// Shows the last error message with context.showError.
void reportFailure(ToolContext& context, const Item* item);

// Bits of a row's options byte.
inline constexpr std::uint8_t kUsesSelection = 1;   ///< Works within the editor's selection, or at its place.
inline constexpr std::uint8_t kNeedsSelection = 2;  ///< Has nothing to do without a selection.
inline constexpr std::uint8_t kHasNoOptions = 4;    ///< The page shows the description only.

struct ToolEntry {
  std::u16string_view name;
  bool (*available)(const ToolContext&);
  std::uint8_t optionsByte;
  /// Walks the selection, changes the items that it handles, counts them, and reports those that fail. Null
  /// for a tool that stands in its list but cannot be used yet.
  void (*apply)(ToolContext&) = nullptr;
  std::u16string_view description = {};  ///< Shown on the page; may be empty.
  std::span<const ToolOption> options = {};
  /// Whether, with the options as they are, what is done to an item depends on the others; null: never.
  bool (*relatesItems)() = nullptr;
  /// Leaves something to be told in the context, so that it is of use also when no change is kept.
  bool reports = false;
};

/// A list in the order in which it is shown.
std::span<const ToolEntry> toolCatalogue(ToolList list);
/// The tool of that name, case ignored; null when there is none.
const ToolEntry* findTool(ToolList list, std::u16string_view name);
/// Whether the list shows the tool for this selection.
bool isOffered(const ToolEntry& tool, const ToolContext& context);

/// What OK does: loads the samples of waveforms to be processed, remembers the state for undo, applies the
/// tool, and tells the count in the status line. An undo step is left only when some item was processed.
/// False with the last error message, which was shown too, when samples could not be loaded, and nothing was
/// applied then, or when memory ran out; the step takes back what was changed by then.
bool applyTool(const ToolEntry& tool, ToolContext& context);

/// "No items were modified by ...", "Processed 1 item using ...", "Processed 2 items using ...".
std::u16string applyReport(std::uint32_t processedCount, std::u16string_view toolName);

}  // namespace vemko::tools
