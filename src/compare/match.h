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

/// By name, size and main loop; then by content, with the main loop and without; then by size; then by name;
/// what is left in order.
Matched<Waveform> matchWaveforms(std::span<const Waveform* const> first,
                                 std::span<const Waveform* const> second);
/// By patch and name; then by patch; then by name; what is left in order.
Matched<Instrument> matchInstruments(std::span<const Instrument* const> first,
                                     std::span<const Instrument* const> second);
Matched<Song> matchSongs(std::span<const Song* const> first, std::span<const Song* const> second);

/// The id in the second collection of each matched waveform of the first one.
using WaveformPartners = std::unordered_map<ItemId, ItemId>;

/// By keys, velocities, waveform and articulation; then without articulation; then without the waveform; then
/// by the waveform alone; what is left in order.
Matched<Region> matchRegions(const Instrument& first, const Instrument& second,
                             const WaveformPartners& partners);

}  // namespace vemko::compare
