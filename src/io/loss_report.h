#pragma once
// What a save drops: each feature that the items use and the target row cannot hold.
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "core/feature_use.h"
#include "io/format_entry.h"

namespace vemko::io {

struct Loss {
  std::u16string feature;  ///< "Waves: Fractional loop-points", "Samples: 24-bit precision", ...
  std::size_t count = 0;   ///< How many items use it.
  std::u16string example;  ///< Name of one of them.
};

/// The losses of saving this item with that row and these options, in a fixed order; empty when nothing is
/// lost.
std::vector<Loss> lossesOfSaving(const Item& item, int row, const SaveOptions& options);
/// The same for several items, each saved to a file of its own: what they share is counted once.
std::vector<Loss> lossesOfSaving(std::span<const Item* const> items, int row, const SaveOptions& options);
/// How many kinds of things are lost, for comparing rows. At which level articulation stands does not count:
/// of rows that write the same files, none leaves it out for that.
std::size_t kindsLost(std::span<const Loss> losses);
/// The row of the same extension that drops the fewest kinds of things of the item, and fewer than `losses`,
/// which are those of `row`; kNoRow where none does.
int rowThatKeepsMore(const Item& item, int row, const SaveOptions& options, std::span<const Loss> losses);
/// "More is kept by "DownLoadable Sounds level 2""
std::u16string moreKeptText(int row);
/// "Samples: 24-bit precision ("Kick" and 2 more)".
std::u16string lossText(const Loss& loss);

}  // namespace vemko::io
