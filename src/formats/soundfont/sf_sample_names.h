#pragma once
// Names of samples for a bank's headers, which have room for 20 bytes.
#include <string>
#include <string_view>
#include <unordered_set>

#include "core/waveform.h"
#include "formats/soundfont/sf_records.h"

namespace vemko::soundfont {

/// The name for the file of an item whose header was called `raw` when it was read (null: it was not): `raw`
/// again, also where the item only got a number since, to tell it from another of that name.
std::string restoredName(std::u16string_view name, const Name* raw);

/// What a waveform is called as it will stand in the bank: one name, or those of its sides.
struct SampleNames {
  std::string left, right;  ///< `right` is empty for one sample.
  bool isCut = false;       ///< Not all of the waveform's name is there.
};
/// The names that the samples had in their file, where the waveform still has its own; else as much of the
/// waveform's as there is room for, a mark of the side at its end not counted.
SampleNames namesOf(const Waveform& waveform, const SampleHeader* header, bool isStereo);

/// Numbers a name that another sample has already; the end of the stem makes way for the number, the marks of
/// the sides stay. `number` is the first to be tried, and then the one that was free.
SampleNames numberedNames(const Waveform& waveform, bool isStereo,
                          const std::unordered_set<std::string>& taken, unsigned& number);

}  // namespace vemko::soundfont
