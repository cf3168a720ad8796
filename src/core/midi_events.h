#pragma once
// Walking the events of a Standard MIDI File track.
#include <cstdint>

#include "base/bytes.h"

namespace vemko {

struct MidiEvent {
  std::uint32_t delta = 0;    ///< Ticks since the event before.
  std::uint8_t status = 0;    ///< The running status where the bytes leave it out.
  std::uint8_t metaType = 0;  ///< For status 0xFF.
  Bytes data;   ///< Data bytes; for meta and system exclusive events the body without its length.
  Bytes whole;  ///< All bytes of the event, delta time included.
};

/// Reads one event after another. Hostile data never reads past the end: an event that does not fit ends the
/// walk.
class MidiEventWalker {
 public:
  explicit MidiEventWalker(Bytes events) : rest_(events) {}
  /// False at the end, or at the first event that does not fit.
  bool next(MidiEvent& event);
  /// What was not walked: empty after a sound track.
  Bytes rest() const { return rest_; }

 private:
  Bytes rest_;
  std::uint8_t runningStatus_ = 0;
};

std::uint32_t countMidiEvents(Bytes events);

}  // namespace vemko
