#pragma once
#include <unordered_map>
#include <vector>

#include "core/collection.h"

namespace vemko::io {

using RegionsByWaveform = std::unordered_map<ItemId, std::vector<Region*>>;

/// The regions that play each waveform, in registration order.
inline RegionsByWaveform regionsByWaveform(const Collection& collection) {
  RegionsByWaveform regions;
  collection.forEach<Region>([&](Region& region) { regions[region.waveformId].push_back(&region); });
  return regions;
}

/// The other side of a left/right pair that is linked both ways; null for any other waveform.
inline Waveform* pairedSide(const Waveform& waveform) {
  auto* other = waveform.collection().find<Waveform>(waveform.pairedWith);
  if (!other || other->pairedWith != waveform.id() || waveform.side == StereoSide::None) return nullptr;
  const StereoSide opposite = waveform.side == StereoSide::Left ? StereoSide::Right : StereoSide::Left;
  return other->side == opposite ? other : nullptr;
}

}  // namespace vemko::io
