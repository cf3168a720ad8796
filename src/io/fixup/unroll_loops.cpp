#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

#include "base/last_error.h"
#include "base/log.h"
#include "io/fixup.h"
#include "io/fixup/region_links.h"
#include "io/samples.h"

namespace vemko::io {
namespace {

/// The loops of a waveform that are unrolled, by their starts; they do not overlap.
using Unrolled = std::map<std::uint32_t, std::uint32_t>;  // start -> end

struct Span {
  std::uint32_t start, end;
};

/// The loop's points to the nearest frame: half a frame cannot be mirrored.
Span spanOf(const LoopRecord& loop) {
  return {loop.start + (loop.startHundredths >= 50), loop.end + (loop.endHundredths >= 50)};
}

bool isAlternating(const LoopRecord& record) {
  return record.type == RecordType::Loop && record.play == LoopPlay::Alternating;
}

bool isAmong(const Unrolled& unrolled, const Span& span) {
  const auto at = unrolled.find(span.start);
  return at != unrolled.end() && at->second == span.end;
}

/// Adds the span unless it overlaps one that is there.
void addIfFree(Unrolled& unrolled, const Span& span) {
  const auto next = unrolled.lower_bound(span.start);
  if (next != unrolled.end() && next->first < span.end) return;
  if (next != unrolled.begin() && std::prev(next)->second > span.start) return;
  unrolled.emplace(span.start, span.end);
}

Unrolled chooseLoops(const Waveform& waveform) {
  Unrolled unrolled;
  auto consider = [&](const LoopRecord* loop) {
    if (!loop || !isAlternating(*loop)) return;
    const Span span = spanOf(*loop);
    if (span.start < span.end && span.end <= waveform.frames) addIfFree(unrolled, span);
  };
  consider(waveform.mainLoop());
  consider(waveform.releaseLoop());
  for (const LoopRecord& record : waveform.records) consider(&record);
  return unrolled;
}

/// Where positions of the old data lie in the new ones.
class PositionMap {
 public:
  explicit PositionMap(const Unrolled& unrolled) {
    for (const auto& [start, end] : unrolled) {
      loops_.push_back({{start, end}, inserted_});
      inserted_ += end - start;
    }
  }
  std::uint32_t inserted() const { return static_cast<std::uint32_t>(inserted_); }

  /// Of the frame itself.
  std::uint32_t ofFrame(std::uint32_t frame) const { return frame + insertedBefore(frame, true); }
  /// Of an end, exclusive, that belongs to `start`. An end at that of an unrolled loop takes what was
  /// inserted there in, when the whole loop lies within and `withLoop` is set.
  std::uint32_t ofEnd(std::uint32_t end, std::uint32_t start, bool withLoop) const {
    const auto at = std::ranges::lower_bound(loops_, end, {}, [](const Loop& loop) { return loop.span.end; });
    const bool within = at != loops_.end() && at->span.end == end && at->span.start >= start;
    return end + insertedBefore(end, withLoop && within);
  }

 private:
  struct Loop {
    Span span;
    std::uint64_t insertedBefore;
  };

  /// How many frames were inserted at places before `position`, or also at it.
  std::uint32_t insertedBefore(std::uint32_t position, bool orAt) const {
    const auto end = [](const Loop& loop) { return loop.span.end; };
    const auto at = orAt ? std::ranges::upper_bound(loops_, position, {}, end)
                         : std::ranges::lower_bound(loops_, position, {}, end);
    return static_cast<std::uint32_t>(at == loops_.end() ? inserted_ : at->insertedBefore);
  }

  std::vector<Loop> loops_;  // in the order of their places
  std::uint64_t inserted_ = 0;
};

void insertReversedLoops(std::span<const float> from, std::span<float> to, const Unrolled& unrolled,
                         std::size_t channels) {
  auto out = to.begin();
  std::size_t copied = 0;
  for (const auto& [start, end] : unrolled) {
    out = std::ranges::copy(from.subspan(copied, end * channels - copied), out).out;
    copied = end * channels;
    for (std::size_t frame = end; frame-- > start;)
      out = std::ranges::copy(from.subspan(frame * channels, channels), out).out;
  }
  std::ranges::copy(from.subspan(copied), out);
}

bool growSamples(Waveform& waveform, const Unrolled& unrolled, std::uint32_t inserted) {
  const std::uint64_t frames = std::uint64_t{waveform.frames} + inserted;
  if (!mayGrowTo(frames, waveform.channels) || !loadSamples(waveform, true)) return false;
  auto longer =
      SampleBuffer::allocate(static_cast<std::uint32_t>(frames), waveform.channels, waveform.buffer->rate());
  if (!longer) return fail(u"Out of memory");
  insertReversedLoops(waveform.buffer->samples(), longer->samples(), unrolled, waveform.channels);
  waveform.setSamples(std::move(longer));
  return true;
}

void moveRecord(LoopRecord& record, const Unrolled& unrolled, const PositionMap& map) {
  const Span span = spanOf(record);
  if (isAlternating(record) && isAmong(unrolled, span)) {
    record.play = LoopPlay::Forward;
    record.startHundredths = record.endHundredths = 0;
    record.start = map.ofFrame(span.start);
    record.end = record.start + (span.end - span.start) * 2;
    return;
  }
  const std::uint32_t start = record.start;
  record.start = map.ofFrame(start);
  if (record.type == RecordType::PositionMarker)
    record.end = record.end == 0 ? 0 : record.start;
  else
    record.end = map.ofEnd(record.end, start, record.type == RecordType::SectionMarker);
}

bool unroll(Waveform& waveform, const Unrolled& unrolled, std::span<Region* const> regions) {
  const PositionMap map(unrolled);
  if (!growSamples(waveform, unrolled, map.inserted())) return false;
  for (LoopRecord& record : waveform.records) moveRecord(record, unrolled, map);
  if (std::ranges::any_of(waveform.records, isAlternating))
    logWarning(waveform.displayName() + u": loops that overlap another one stay bidirectional");
  for (Region* region : regions) {
    PlaySection& section = region->section;
    const std::uint32_t start = section.start;
    if (start != 0) section.start = map.ofFrame(start);
    if (section.end != 0) section.end = map.ofEnd(section.end, start, true);
  }
  return true;
}

}  // namespace

// Each alternating loop becomes a forward loop of twice the length: its frames follow once more, reversed,
// behind its end, and records and play sections move along. Loop points between frames are rounded first. Of
// loops that overlap, one is unrolled: the main loop, then the release loop, then the first in the list; the
// others stay as they are. No waveform without such a loop is loaded.
bool bidirectionalToForward(Collection& collection) {
  bool complete = true;
  RegionsByWaveform regions;
  collection.forEach<Waveform>([&](Waveform& waveform) {
    if (std::ranges::none_of(waveform.records, isAlternating)) return;
    const Unrolled unrolled = chooseLoops(waveform);
    if (unrolled.empty()) return;
    if (regions.empty()) regions = regionsByWaveform(collection);
    if (!unroll(waveform, unrolled, regions[waveform.id()])) complete = false;
  });
  return complete;
}

}  // namespace vemko::io
