#pragma once
// The steps of a save, for save_all and tests.
#include <memory>

#include "io/save.h"

namespace vemko::io {

struct PreparedItem {
  Item* item = nullptr;
  std::unique_ptr<Collection> temporary;  ///< Owns what was made for this save only.
};

/// Finds the item that the row stores, tidies what is below it unless `tidy` is false, makes sure that its
/// samples can be had, renders and splits stereo where the row needs it. False with the last error message
/// set.
bool prepareItem(Item* item, int row, const SaveOptions& options, bool tidy, FormatRows rows,
                 PreparedItem& prepared);

/// A copy of the item with all that it holds and plays, under the same ids, whose stereo waveforms are split
/// into linked pairs of mono ones; its collection has the texts and notes of the item's.
bool splitForWriting(const Item& item, PreparedItem& prepared);

/// The tidying that a save of an item of that kind begins with; false when memory ran out.
bool tidyBelow(Collection& collection, ItemKind kind);

/// Calls a row's writer; what a hostile item could make it throw becomes "Out of memory".
bool callWriter(Item& item, OutputFile& file, FormatWriter writer, const SaveOptions& options);

/// saveWithBackup; without `tidy` for callers that have tidied once for many items.
bool saveReported(Item* item, const Path& path, int row, const SaveOptions& options, bool report, bool tidy,
                  FormatRows rows);

}  // namespace vemko::io
