#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "core/parameters.h"
#include "io/fixup.h"
#include "io/fixup/channel_sources.h"
#include "io/fixup/region_links.h"

namespace vemko::io {
namespace {

std::shared_ptr<SampleBuffer> channelOf(const SampleBuffer& stereo, std::size_t channel) {
  auto mono = SampleBuffer::allocate(stereo.frames(), 1, stereo.rate());
  if (!mono) return nullptr;
  const auto from = stereo.samples();
  const auto to = mono->samples();
  for (std::size_t i = 0; i < to.size(); ++i) to[i] = from[i * 2 + channel];
  return mono;
}

/// Makes `left` the left side of what it was and returns the new right side; null when memory is short.
Waveform* splitWaveform(Waveform& left) {
  std::shared_ptr<SampleBuffer> leftSamples, rightSamples;
  const bool rewritten = left.buffer && !left.sourceIsIntact();
  if (rewritten) {
    leftSamples = channelOf(*left.buffer, 0);
    rightSamples = channelOf(*left.buffer, 1);
    if (!leftSamples || !rightSamples) return nullptr;
  }
  auto& right = static_cast<Waveform&>(copyItem(left, left.collection(), false));
  if (rewritten) {
    left.setSamples(std::move(leftSamples));
    right.setSamples(std::move(rightSamples));
  } else if (const auto stereo = left.source) {
    left.setSource(makeChannelSource(stereo, 0));
    right.setSource(makeChannelSource(stereo, 1));
  }
  left.channels = right.channels = 1;
  right.setName(left.name() + u" R");
  left.setName(left.name() + u" L");
  left.side = StereoSide::Left;
  right.side = StereoSide::Right;
  left.pairedWith = right.id();
  right.pairedWith = left.id();
  return &right;
}

Region& splitRegion(Region& left, const Waveform& rightWave) {
  const float pan = effective(left).get(slots::Pan);
  auto& right = static_cast<Region&>(copyItem(left, left.collection()));
  right.setWaveform(rightWave.id());
  right.parent = left.parent;
  left.articulation.set(slots::Pan, std::max(-1.0f, pan - 1));
  right.articulation.set(slots::Pan, std::min(1.0f, pan + 1));
  return right;
}

using Twins = std::unordered_map<ItemId, ItemId>;  // left side -> right side

void listTwinsAfterTheirLeftSides(Collection& collection, const Twins& twins) {
  collection.forEach<Layer>([&](Layer& layer) {
    std::vector<ItemId> children;
    for (ItemId child : layer.children) {
      children.push_back(child);
      if (auto twin = twins.find(child); twin != twins.end()) children.push_back(twin->second);
    }
    layer.children = std::move(children);
  });
  std::vector<Item*> order;
  for (Item* item : collection.allOf(ItemKind::Waveform)) {
    const auto left = twins.find(static_cast<Waveform*>(item)->pairedWith);
    if (left != twins.end() && left->second == item->id()) continue;
    order.push_back(item);
    if (auto twin = twins.find(item->id()); twin != twins.end())
      order.push_back(collection.find(twin->second));
  }
  collection.reorder(ItemKind::Waveform, order);
}

}  // namespace

// Each two-channel waveform becomes its left side, and a new waveform behind it the right one; they are
// linked as a pair and named "... L" and "... R". Records, root key and texts are the same on both. Each
// region that played it becomes two in the same place, panned hard left and hard right; a region that was
// panned moves both by its pan, as far as the ends allow, so that the width narrows towards that side.
// Samples in a file are not loaded.
bool splitStereo(Collection& collection) {
  std::vector<Waveform*> stereo = collection.all<Waveform>();
  std::erase_if(stereo, [](const Waveform* waveform) { return waveform->channels != 2; });
  if (stereo.empty()) return true;

  bool complete = true;
  RegionsByWaveform regions = regionsByWaveform(collection);
  Twins twins;
  for (Waveform* left : stereo) {
    const Waveform* right = splitWaveform(*left);
    if (!right) {
      complete = fail(u"Out of memory");
      continue;
    }
    twins[left->id()] = right->id();
    for (Region* region : regions[left->id()]) twins[region->id()] = splitRegion(*region, *right).id();
  }
  listTwinsAfterTheirLeftSides(collection, twins);
  return complete;
}

}  // namespace vemko::io
