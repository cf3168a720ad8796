#include "core/midi_events.h"

#include <optional>

namespace vemko {
namespace {

constexpr std::uint8_t kMetaEvent = 0xFF;

// 7 bits a byte, high bit set on every byte but the last, at most 4 bytes; clears ok for a longer one.
std::uint32_t readVariableLength(ByteReader& reader) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) {
    const std::uint8_t byte = reader.u8();
    value = value << 7 | (byte & 0x7Fu);
    if (byte < 0x80) return value;
  }
  reader.ok = false;
  return 0;
}

// Data bytes of an event whose length its status tells; nothing for those that carry a length.
std::optional<std::uint32_t> fixedLength(std::uint8_t status) {
  if (status < 0xC0) return 2;
  if (status < 0xE0) return 1;
  if (status < 0xF0) return 2;
  switch (status) {
    case 0xF0:
    case 0xF7:
    case kMetaEvent:
      return std::nullopt;
    case 0xF1:
    case 0xF3:
      return 1;
    case 0xF2:
      return 2;
    default:
      return 0;
  }
}

}  // namespace

bool MidiEventWalker::next(MidiEvent& event) {
  if (rest_.empty()) return false;
  ByteReader reader(rest_);
  event = {};
  event.delta = readVariableLength(reader);
  event.status = reader.u8();
  if (event.status < 0x80) {
    if (!reader.ok || runningStatus_ == 0) return false;
    --reader.pos;
    event.status = runningStatus_;
  }
  if (event.status == kMetaEvent) event.metaType = reader.u8();
  const auto length = fixedLength(event.status);
  event.data = reader.take(length ? *length : readVariableLength(reader));
  if (!reader.ok) return false;

  if (event.status < 0xF0) runningStatus_ = event.status;
  event.whole = rest_.first(reader.pos);
  rest_ = rest_.subspan(reader.pos);
  return true;
}

std::uint32_t countMidiEvents(Bytes events) {
  MidiEventWalker walker(events);
  MidiEvent event;
  std::uint32_t count = 0;
  while (walker.next(event)) ++count;
  return count;
}

}  // namespace vemko
