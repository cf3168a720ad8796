#pragma once
// Pairs of items that are to be compared, and those without a partner.
#include <cstdint>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/collection.h"

namespace vemko::compare {

template <class T>
struct Matched {
  std::vector<std::pair<const T*, const T*>> pairs;  ///< In the order of the first collection.
  std::vector<const T*> onlyFirst, onlySecond;
};

/// By name, size and main loop; then without a number behind the name; then by content, with the main loop
/// and without; then by name, whole or its last part; then by size; what is left in order.
Matched<Waveform> matchWaveforms(std::span<const Waveform* const> first,
                                 std::span<const Waveform* const> second);
Matched<Song> matchSongs(std::span<const Song* const> first, std::span<const Song* const> second);

/// Numbers for waveforms that are each other's partners; 0 for none.
class WaveformClasses {
 public:
  /// What is left without a partner joins a pair that has the same content on its side, and makes another
  /// pair with the other one of that: one that is stored twice is no difference by itself.
  explicit WaveformClasses(Matched<Waveform>& matched);
  std::size_t of(const Region& region, bool isFirst) const;

 private:
  std::unordered_map<ItemId, std::size_t> first_, second_;
};

/// By patch and name; then by name; by the last part of the name ("Bank - Piano" is what a file of an
/// instrument is called) and what their regions play; by that alone; by patch; what is left in order.
Matched<Instrument> matchInstruments(std::span<const Instrument* const> first,
                                     std::span<const Instrument* const> second,
                                     const WaveformClasses& classes);
/// By keys, velocities, waveform and articulation; then without articulation; then
/// without the waveform; then by the waveform alone; what is left in order.
Matched<Region> matchRegions(const Instrument& first, const Instrument& second,
                             const WaveformClasses& classes);

}  // namespace vemko::compare
