#pragma once
// Saving: items to files, without ever losing the file that was there.
//
// A file that is replaced is renamed to its backup name first. The new file is written under its own name,
// brought to the disk, and only then does the backup go; after a failure it is moved back. So whenever the
// program dies, the old bytes are whole under one of the two names. A symbolic link is followed: the file it
// leads to is replaced and the link stays. Devices are written to directly, without backup, and never
// deleted. The new file takes over the permissions of the old one; an old one that nobody may write is not
// replaced.
#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/file_names.h"
#include "io/format_entry.h"
#include "io/registry.h"

namespace vemko::io {

/// True while a save runs.
bool isSaving();

/// The row's own variant with what is asked for.
SaveOptions saveOptionsFor(int row, CapabilityMask requested, FormatRows rows = formatTable());

/// Writes the item, or the one that owns it and that the row stores. After a failure no part of the new file
/// remains, and an existing one is as it was. Messages: "No item selected", "Invalid export format selected",
/// "The file format can not save this item", "Save aborted!", "Failed to render synth to wave", "Empty item -
/// nothing to save", "Could not create file", "Out of memory", and those of reading samples, of writing and
/// of the writer.
bool saveItem(Item* item, int row, const Path& path, const SaveOptions& options,
              FormatRows rows = formatTable());

/// saveItem; after it a saved collection takes the path and the row as its own. With `report`: "Saving" and
/// then "Saved: " with the path in the status line, also with the size in the log, and an entry in the recent
/// files. A failure shows "Failed to Save.". What the file does not keep of the item is told in the log.
bool saveWithBackup(Item* item, const Path& path, int row, const SaveOptions& options, bool report,
                    FormatRows rows = formatTable());

/// The path with ".bak" appended to its whole name.
Path backupPath(const Path& path);
/// Where an existing file is kept meanwhile: its backup path, or when something of that name is there already
/// (the user's own, or left by a crash) the first of ".bak2", ".bak3" ... that is free. Nothing of anybody's
/// is overwritten or deleted.
Path freeBackupPath(const Path& path);

/// "1023 Bytes", "1 KB", "2 MB"; rounded to nearest.
std::u16string sizeText(std::uint64_t bytes);

/// The instrument of a layer, region or synth, the song of a track, else the item itself; a synth that no
/// instrument owns stands for itself. Null for a layer, region or track that nobody owns.
Item* storedItemFor(Item& item);

/// Entries of the dialog's "Channel format:" list.
std::vector<std::u16string> channelFormats(CapabilityMask capabilities, std::span<Waveform* const> waveforms);

// --- Saving all items of a kind.

enum class CollisionAnswer { Overwrite, Rename, Skip, CancelAll };
inline constexpr std::array<std::u16string_view, 4> kCollisionButtons = {u"Overwrite", u"Rename it",
                                                                         u"Skip this", u"Cancel all"};
inline constexpr std::u16string_view kCollisionForAll = u"Don't ask again?";
inline constexpr std::u16string_view kCollisionForAllHint =
    u"Do you want to do the same thing for any additional name collisions?";
/// The question that goes with the buttons.
std::u16string collisionQuestion(const Path& file);

struct SaveAllRequest {
  Collection* collection = nullptr;
  ItemKind kind = ItemKind::Waveform;  ///< Waveform, Instrument, Song or Collection.
  int row = kNoRow;
  FormatRows rows = formatTable();
  Path folder;
  std::u16string baseName;  ///< Empty: files are named after their items alone.
  SaveOptions options;
  /// Asked for each auto-named file that exists already; `forAll` set: not asked again. Without it files are
  /// renamed. Items of equal names get numbers in any case and never meet each other's file.
  std::function<CollisionAnswer(const Path& file, bool& forAll)> onCollision;
  /// Called with each file after it was saved, skipped or failed.
  std::function<void(const Item& item, const Path& file, bool saved)> onFile;
};

struct SaveAllResult {
  bool ok = false;  ///< Everything asked for was written or skipped by choice.
  std::size_t saved = 0;
  bool cancelled = false;
};

/// The last error message tells why nothing was saved ("No waveforms to save!", ...) or why the last of the
/// failed files failed; files that fail do not stop the others. The outcome is logged: "Done: Saved ...",
/// "Failed: Cancelled after ... files.", "Saved 1 collection!".
SaveAllResult saveAll(const SaveAllRequest& request);

// --- Rendering, filled in by the synthesizer once there is one.

struct RenderHooks {
  /// Fills `result` with the sound of a synth or song; false with the last error message set. Without a hook
  /// nothing can be rendered.
  std::function<bool(Item& item, Waveform& result)> toWaveform;
};
void setRenderHooks(RenderHooks hooks);
const RenderHooks& renderHooks();

}  // namespace vemko::io
