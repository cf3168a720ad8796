#pragma once
// The system's clipboard. What is copied stays as records; bytes are made when somebody pastes. All fail with
// "Couldn't open the clipboard", "Couldn't get data from the clipboard", "No compatible data on the
// clipboard" or "Paste failed - Clipboard data corrupted!".
#include <optional>
#include <vector>

#include "app/document/clipboard.h"

namespace vemko::gui {

/// One waveform goes there as RIFF WAVE data too, for other programs.
bool putOnClipboard(app::CopiedItems items);
bool putOnClipboard(const app::CopiedSlots& slots);
/// A single loop, or markers.
bool putOnClipboard(const std::vector<LoopRecord>& records, app::ClipboardFormat format);

/// The studio's own items, else RIFF WAVE data of another program as a waveform.
std::optional<app::CopiedItems> itemsFromClipboard();
std::optional<app::CopiedSlots> slotsFromClipboard(app::ClipboardFormat format);
std::optional<std::vector<LoopRecord>> recordsFromClipboard(app::ClipboardFormat format);

/// Whether there is something that "Paste" could take.
bool clipboardHasItems();

}  // namespace vemko::gui
