#include <algorithm>

#include "io/fixup.h"
#include "io/fixup/region_links.h"

namespace vemko::io {
namespace {

bool hasPlayRecord(const Waveform& waveform) {
  return std::ranges::any_of(waveform.records, [](const LoopRecord& record) {
    return record.name == kPlayName || record.name == kStartName;
  });
}

void addPlayRecord(Waveform& waveform, const PlaySection& section) {
  LoopRecord record;
  record.id = nextRecordId();
  record.start = record.end = section.start;
  record.name = kStartName;
  if (section.end < waveform.frames) {
    record.type = RecordType::SectionMarker;
    record.end = section.end;
    record.name = kPlayName;
  }
  waveform.records.push_back(std::move(record));
}

}  // namespace

// The trigger parameter that regions and waveforms share is the section that is played. When all regions that
// play a waveform give the same section of their own, and the waveform has none, it moves to the waveform: as
// a section marker "Play" when it ends before the data do, as a position marker "Start" when it runs to their
// end, and without a record when it is everything. The regions then play what the waveform says.
bool moveTriggerParameters(Collection& collection) {
  for (auto& [id, regions] : regionsByWaveform(collection)) {
    auto* waveform = collection.find<Waveform>(id);
    const PlaySection own = regions.front()->section;
    const auto givesOther = [&](const Region* region) { return region->section != own; };
    if (!waveform || own == PlaySection{} || hasPlayRecord(*waveform)) continue;
    if (std::ranges::any_of(regions, givesOther)) continue;
    const PlaySection played = effectivePlaySection(*regions.front());
    if (played.start >= played.end) continue;
    if (played != PlaySection{0, waveform->frames}) addPlayRecord(*waveform, played);
    for (Region* region : regions) region->section = {};
  }
  return true;
}

}  // namespace vemko::io
