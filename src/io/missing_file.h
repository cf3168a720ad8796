#pragma once
#include <optional>
#include <string_view>

#include "platform/files.h"

namespace vemko::io {

/// The file that an instrument's reference means; never a folder, pipe or device. `stored` is the path as it
/// stands in the file (either kind of slash), `folder` that of the referencing file. Tried in turn: the path
/// as stored, a relative one from the folder; its file name in the folder; each of these with upper and lower
/// case ignored; the folder where the last missing file was found; the folder's sub-folders, to a bounded
/// depth and number of entries; the user, who is not asked again before the next opening after having
/// cancelled. Nothing when all fail.
std::optional<Path> locateMissingFile(std::u16string_view stored, const Path& folder);

/// The file where the reference says, seen from the folder, with upper and lower case ignored; nothing else
/// is searched and nobody asked.
std::optional<Path> findReferredFile(std::u16string_view stored, const Path& folder);

/// Forgets the remembered folder and the listings of folders; called when an opening begins.
void resetMissingFileSearch();

}  // namespace vemko::io
