#pragma once
// Saving: items to files, without ever losing the file that was there.
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/format_entry.h"
#include "io/registry.h"

namespace vemko::io {

/// True while a save runs.
bool isSaving();

/// Writes the item, or the one that owns it and that the row stores. No file remains after a failure.
bool saveItem(Item* item, int row, const Path& path, const SaveOptions& options);

/// saveItem, keeping an existing file under its backup name until the new one is complete and on the disk.
/// After a failure the old file is back in place; a crash at any moment leaves it there or under the backup
/// name.
bool saveWithBackup(Item* item, const Path& path, int row, const SaveOptions& options, bool report);

/// The path with ".bak" appended to its whole name.
Path backupPath(const Path& path);

/// "(12 KB)" style size: "1023 Bytes", "1 KB", "2 MB"; rounded to nearest.
std::u16string sizeText(std::uint64_t bytes);

/// The instrument, song or item itself that a format stores for this item; null when it has no owner.
Item* storedItemFor(Item& item);

/// Entries of the dialog's "Channel format:" list.
std::vector<std::u16string> channelFormats(CapabilityMask capabilities, std::span<Waveform* const> waveforms);

// --- Saving all items of a kind.

enum class CollisionAnswer { Overwrite, Rename, Skip, CancelAll };

struct SaveAllRequest {
  Collection* collection = nullptr;
  ItemKind kind = ItemKind::Waveform;  ///< Waveform, Instrument, Song or Collection.
  int row = kNoRow;
  Path folder;
  std::u16string baseName;  ///< Empty: files are named after their items alone.
  SaveOptions options;
  /// Asked for each auto-named file that exists already; `forAll` set: not asked again.
  std::function<CollisionAnswer(const Path& file, bool& forAll)> onCollision;
  /// Called with each file after it was saved, skipped or failed.
  std::function<void(const Item& item, const Path& file, bool saved)> onFile;
};

struct SaveAllResult {
  bool ok = false;  ///< Everything asked for was written or skipped by choice.
  std::size_t saved = 0;
  bool cancelled = false;
};

/// The last error message tells why nothing was saved ("No waveforms to save!", ...); files that fail do not
/// stop the others. The outcome is logged: "Done: Saved ...", "Failed: Cancelled after ... files.".
SaveAllResult saveAll(const SaveAllRequest& request);

/// "BaseName - ItemName.ext" without characters that a file system could refuse and of bearable length;
/// "BaseName.ext" without an item name and "ItemName.ext" without a base name.
Path autoFileName(std::u16string_view baseName, std::u16string_view itemName, std::u16string_view extension);
/// The first of "name.ext", "name (2).ext", "name (3).ext" ... for which `taken` answers false.
Path freeFileName(const Path& path, const std::function<bool(const Path&)>& taken);

// --- Rendering, filled in by the synthesizer once there is one.

struct RenderHooks {
  /// A new waveform holding the sound of a synth or song; null with the last error message set.
  std::function<Waveform*(Item& item)> toWaveform;
};
void setRenderHooks(RenderHooks hooks);

}  // namespace vemko::io
