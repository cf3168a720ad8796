#pragma once
// The text of a definition file as UTF-8.
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace vemko::sfz {

/// The file as UTF-8 without a byte order mark: a view of the bytes themselves where they are UTF-8, else of
/// `converted`, which is filled from UTF-16 with a mark or, for everything else, from Windows-1252.
std::string_view textOfFile(Bytes bytes, std::string& converted);

/// The same, but bytes without a mark stay as they are: ASCII can be looked for in them at no cost.
std::string_view plainTextOfFile(Bytes bytes, std::string& converted);

}  // namespace vemko::sfz
