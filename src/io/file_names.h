#pragma once
// Names of the files that are written without the user naming each one.
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "core/collection.h"
#include "platform/files.h"

namespace vemko::io {

/// Bytes of UTF-8 that a name without its extension takes at most, so that ".bak" and a number still fit.
inline constexpr std::size_t kMaxStemBytes = 200;

/// The text as a file name without extension that every system accepts and that stays in its folder: no
/// slashes, control or wildcard characters, no dots or blanks at the ends, no device names, at most
/// kMaxStemBytes. "unnamed" when nothing remains.
std::u16string safeStem(std::u16string_view text);

/// "BaseName - ItemName.ext", each part made safe; "BaseName.ext" without an item name and "ItemName.ext"
/// without a base name. Of names that are too long the base gives way first.
Path autoFileName(std::u16string_view baseName, std::u16string_view itemName, std::u16string_view extension);

/// "name (number).ext".
Path numberedFileName(const Path& path, std::size_t number);
/// The first of "name.ext", "name (2).ext", "name (3).ext" ... for which `taken` answers false.
Path freeFileName(const Path& path, const std::function<bool(const Path&)>& taken);

/// Hands out names of which no two are equal, case ignored. Remembers the last number of each name, so that
/// thousands of equal names cost no search.
class NameReserve {
 public:
  /// `name`, or with a number the first one after it that is free here and that `taken` does not refuse.
  Path claim(const Path& name, const std::function<bool(const Path&)>& taken = {});
  /// Makes a name unavailable; false when it was so already.
  bool add(const Path& name);
  bool contains(const Path& name) const;

 private:
  std::unordered_set<std::u16string> used_;
  std::unordered_map<std::u16string, std::size_t> lastNumber_;
};

/// What a bank is called that is written to the file: as its collection, or as the file where nobody has
/// given the collection a name.
std::u16string bankName(const Collection& collection, const Path& file);

}  // namespace vemko::io
