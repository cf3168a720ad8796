#include "io/fixup/same_waveform.h"

#include <algorithm>
#include <functional>

namespace vemko::io {
namespace {

bool isSameRecord(const LoopRecord& a, const LoopRecord& b) {
  return a.type == b.type && a.start == b.start && a.startHundredths == b.startHundredths && a.end == b.end &&
         a.endHundredths == b.endHundredths && a.play == b.play && a.count == b.count &&
         a.tuneCents == b.tuneCents && a.name == b.name;
}

std::ptrdiff_t placeOfMainLoop(const Waveform& waveform) {
  const LoopRecord* loop = waveform.mainLoop();
  return loop ? loop - waveform.records.data() : -1;
}

}  // namespace

bool playsAlike(const Waveform& a, const Waveform& b) {
  return a.frames == b.frames && a.rate == b.rate && a.rootKey == b.rootKey &&
         a.fineTuneCents == b.fineTuneCents && a.volumeAdjustmentDb == b.volumeAdjustmentDb &&
         placeOfMainLoop(a) == placeOfMainLoop(b) && std::ranges::equal(a.records, b.records, isSameRecord);
}

std::size_t hashOfPlayback(const Waveform& waveform) {
  std::size_t hash = waveform.frames;
  auto mix = [&](std::size_t value) { hash = (hash ^ value) * 0x9E3779B1u + (hash >> 15); };
  mix(waveform.rate);
  mix(waveform.rootKey);
  mix(static_cast<std::size_t>(waveform.fineTuneCents));
  mix(std::hash<float>()(waveform.volumeAdjustmentDb));
  for (const LoopRecord& record : waveform.records) {
    mix(record.start);
    mix(record.end);
    mix(static_cast<std::size_t>(record.type) << 8 | static_cast<std::size_t>(record.play));
  }
  return hash;
}

}  // namespace vemko::io
