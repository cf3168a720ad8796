#pragma once
#include <cstdint>

namespace vemko {

/// Inclusive bounds 0..127 of MIDI keys or velocities.
struct MidiRange {
  std::uint8_t low = 0;
  std::uint8_t high = 127;
  bool contains(int value) const { return value >= low && value <= high; }
  bool overlaps(const MidiRange& other) const { return low <= other.high && other.low <= high; }
  friend bool operator==(const MidiRange&, const MidiRange&) = default;
};

}  // namespace vemko
