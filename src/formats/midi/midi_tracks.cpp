#include <algorithm>
#include <array>
#include <map>

#include "base/log.h"
#include "core/midi_events.h"
#include "formats/midi/midi_file.h"

namespace vemko::midi {
namespace {

struct TimedEvent {
  std::uint64_t ticks;
  MidiEvent event;
};

void appendVariableLength(std::uint32_t value, ByteWriter& out) {
  for (int shift = 21; shift > 0; shift -= 7)
    if (value >> shift != 0) out.u8(static_cast<std::uint8_t>(0x80 | (value >> shift & 0x7F)));
  out.u8(value & 0x7F);
}

// Events of one track that is being built.
class TrackBuilder {
 public:
  void add(const TimedEvent& timed) {
    const MidiEvent& event = timed.event;
    addTime(timed.ticks);
    out_.u8(event.status);
    if (event.status == kMetaStatus) out_.u8(event.metaType);
    if (event.status == kMetaStatus || event.status == 0xF0 || event.status == 0xF7)
      appendVariableLength(static_cast<std::uint32_t>(event.data.size()), out_);
    out_.append(event.data);
  }
  std::vector<std::byte> end(std::uint64_t ticks) {
    addTime(ticks);
    for (std::uint8_t byte : {kMetaStatus, kEndOfTrackMeta, std::uint8_t{0}}) out_.u8(byte);
    return std::move(out_.bytes);
  }

 private:
  // No gap is longer than the longest one of the tracks that the events come from.
  void addTime(std::uint64_t ticks) {
    appendVariableLength(static_cast<std::uint32_t>(ticks - now_), out_);
    now_ = ticks;
  }

  ByteWriter out_;
  std::uint64_t now_ = 0;
};

// The events without the end of the track; the time when it comes.
std::uint64_t listEvents(Bytes track, std::vector<TimedEvent>& events) {
  MidiEventWalker walker(track);
  std::uint64_t ticks = 0;
  for (MidiEvent event; walker.next(event);) {
    ticks += event.delta;
    if (event.status == kMetaStatus && event.metaType == kEndOfTrackMeta) break;
    events.push_back({ticks, event});
  }
  return ticks;
}

}  // namespace

std::vector<std::byte> mergeTracks(const std::vector<Bytes>& tracks) {
  std::vector<TimedEvent> events;
  std::uint64_t end = 0;
  for (Bytes track : tracks) end = std::max(end, listEvents(track, events));
  std::ranges::stable_sort(events, {}, &TimedEvent::ticks);
  TrackBuilder builder;
  for (const TimedEvent& each : events) builder.add(each);
  return builder.end(end);
}

std::vector<std::vector<std::byte>> splitByChannel(Bytes track) {
  std::vector<TimedEvent> events;
  const std::uint64_t end = listEvents(track, events);
  constexpr std::size_t kNoChannel = 0;  // the channels follow
  std::array<TrackBuilder, 17> builders;
  std::array<bool, 17> isUsed{true};
  for (const TimedEvent& each : events) {
    const std::size_t at = each.event.status < 0xF0 ? 1u + (each.event.status & 0xFu) : kNoChannel;
    builders[at].add(each);
    isUsed[at] = true;
  }
  std::vector<std::vector<std::byte>> tracks;
  for (std::size_t i = 0; i < builders.size(); ++i)
    if (isUsed[i]) tracks.push_back(builders[i].end(end));
  return tracks;
}

}  // namespace vemko::midi
