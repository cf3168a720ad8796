#pragma once
// What differs between two collections, in a musician's terms. Instruments are matched by patch and name,
// regions by keys, velocities and what they play, waveforms by name and content, so that another order or
// other level of articulation is no difference.
#include <cstddef>
#include <string>
#include <vector>

#include "core/collection.h"
#include "core/feature_use.h"

namespace vemko::compare {

struct Options {
  /// How far apart values may be, in the smallest steps that a listener could tell: a cent, a tenth of a
  /// decibel, 1 % of a frequency or multiplier, 1 % of a time but at least 1 ms, 0.01 of a fraction, a
  /// hundredth of a frame of a loop, a millisecond of a marker, one step of 16 bits of a sample. 0: exactly
  /// equal.
  double tolerance = 0;
  bool samples = true;  ///< Compare the sample data too, of waveforms that kept their sample rate.
  /// What the files of either side are called, without folder and extension: an item whose only name this is
  /// has none of its own, and another one on the other side is no difference.
  std::vector<std::u16string> fileNames = {};
};

struct Difference {
  std::u16string where;  ///< "Instrument "Piano", keys 0-60, velocities 0-127"
  std::u16string what;   ///< "Filter Cutoff frequency", "loop start", "missing", ...
  std::u16string first;  ///< The value in the first collection, with its unit; may be empty.
  std::u16string second;
  /// Features that a format must have to keep what differs here; 0 where every format should.
  FeatureMask features = {};
};

struct Report {
  std::size_t instruments = 0, regions = 0, waveforms = 0, songs = 0;  ///< Pairs that were compared.
  std::vector<Difference> differences;
};

/// Reads deferred samples through small buffers; a waveform whose samples cannot be read is a difference.
Report compareCollections(const Collection& first, const Collection& second, const Options& options = {});

}  // namespace vemko::compare
