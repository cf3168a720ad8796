#include <algorithm>
#include <tuple>

#include "base/text.h"
#include "compare/differences.h"
#include "core/midi_events.h"

namespace vemko::compare {
namespace {

constexpr std::uint8_t kMeta = 0xFF, kEndOfTrack = 0x2F;
constexpr std::uint32_t kIndependentTracks = 2;

struct Event {
  std::uint64_t tick = 0;
  std::uint8_t status = 0, metaType = 0;
  Bytes data;

  friend bool operator==(const Event& a, const Event& b) {
    return a.tick == b.tick && a.status == b.status && a.metaType == b.metaType &&
           std::ranges::equal(a.data, b.data);
  }
  friend bool operator<(const Event& a, const Event& b) {
    const auto left = std::tie(a.tick, a.status, a.metaType), right = std::tie(b.tick, b.status, b.metaType);
    return left != right ? left < right : std::ranges::lexicographical_compare(a.data, b.data);
  }
};

/// The events of all tracks by time; those of one moment in an order that does not depend on the tracks.
std::vector<Event> eventsOf(const Song& song) {
  std::vector<Event> events;
  for (ItemId id : song.children) {
    const auto* track = song.collection().find<Track>(id);
    if (!track) continue;
    MidiEventWalker walker(track->events());
    std::uint64_t tick = 0;
    for (MidiEvent event; walker.next(event);) {
      tick += event.delta;
      if (event.status != kMeta || event.metaType != kEndOfTrack)
        events.push_back({tick, event.status, event.metaType, event.data});
    }
  }
  std::ranges::sort(events, std::less());
  return events;
}

void compareEvents(const Song& first, const Song& second, Differences& differences) {
  const std::vector<Event> a = eventsOf(first), b = eventsOf(second);
  const auto [inFirst, inSecond] = std::ranges::mismatch(a, b);
  if (inFirst == a.end() && inSecond == b.end()) return;
  const std::uint64_t tick = inFirst == a.end()    ? inSecond->tick
                             : inSecond == b.end() ? inFirst->tick
                                                   : std::min(inFirst->tick, inSecond->tick);
  differences.add(
      u"events", toUtf16(std::to_string(a.size())),
      toUtf16(std::to_string(b.size()) + ", the first other one at tick " + std::to_string(tick)));
}

void compareTrackNames(const Song& first, const Song& second, Differences& differences) {
  if (first.children.size() != second.children.size()) return;
  for (std::size_t i = 0; i < first.children.size(); ++i) {
    const Item* a = first.collection().find(first.children[i]);
    const Item* b = second.collection().find(second.children[i]);
    if (a && b) differences.text(u"track name", a->name(), b->name());
  }
}

}  // namespace

void compareMusic(const Song& first, const Song& second, Differences& differences) {
  differences.whole(u"division", first.settings >> 16, second.settings >> 16);
  const std::uint32_t a = first.settings & 0xFFFF, b = second.settings & 0xFFFF;
  if (a != b && (a == kIndependentTracks || b == kIndependentTracks)) differences.whole(u"format", a, b);
  compareEvents(first, second, differences);
  compareTrackNames(first, second, differences);
}

}  // namespace vemko::compare
