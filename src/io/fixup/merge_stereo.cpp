#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "base/text.h"
#include "core/parameters.h"
#include "io/fixup.h"
#include "io/fixup/channel_sources.h"
#include "io/fixup/region_links.h"
#include "io/fixup/same_waveform.h"
#include "io/samples.h"

namespace vemko::io {
namespace {

// --- Names

struct Mark {
  std::u16string_view ending;
  StereoSide side;
  int style;  // the marks of a pair are of one style
};
constexpr Mark kMarks[] = {
    {u" l", StereoSide::Left, 0},     {u" r", StereoSide::Right, 0},  {u"_l", StereoSide::Left, 1},
    {u"_r", StereoSide::Right, 1},    {u"-l", StereoSide::Left, 2},   {u"-r", StereoSide::Right, 2},
    {u"(l)", StereoSide::Left, 3},    {u"(r)", StereoSide::Right, 3}, {u"left", StereoSide::Left, 4},
    {u"right", StereoSide::Right, 4},
};

struct MarkedName {
  std::u16string_view common;  // without the mark and the separators before it; never empty
  StereoSide side;
  int style;
};

std::optional<MarkedName> splitName(std::u16string_view name) {
  for (const Mark& mark : kMarks) {
    if (name.size() <= mark.ending.size()) continue;
    std::u16string_view common = name.substr(0, name.size() - mark.ending.size());
    if (!equalsIgnoringCase(name.substr(common.size()), mark.ending)) continue;
    common = common.substr(0, common.find_last_not_of(u" _-.") + 1);
    if (!common.empty()) return MarkedName{common, mark.side, mark.style};
  }
  return std::nullopt;
}

/// The name of what was two: without the mark, where the left one bears one.
std::u16string commonName(const Item& left) {
  const auto marked = splitName(left.name());
  return std::u16string(marked && marked->side == StereoSide::Left ? marked->common : left.name());
}

// --- Pairs of waveforms

struct Pair {
  Waveform* left;
  Waveform* right;
};

bool canBeSides(const Waveform& left, const Waveform& right) {
  return left.channels == 1 && right.channels == 1 && playsAlike(left, right);
}

/// Waveforms of one key and opposite sides are a pair, if their loops agree.
std::u16string keyOf(const Waveform& waveform, const MarkedName& name) {
  std::u16string key(name.common);
  std::ranges::transform(key, key.begin(), foldCase);
  key += toUtf16(formatted("|%d|%zu", name.style, hashOfPlayback(waveform)));
  return key;
}

std::vector<Pair> findPairs(Collection& collection) {
  std::vector<Pair> pairs;
  struct Waiting {
    std::deque<Waveform*> lefts, rights;
  };
  std::unordered_map<std::u16string, Waiting> waiting;
  collection.forEach<Waveform>([&](Waveform& waveform) {
    if (waveform.channels != 1) return;
    if (Waveform* other = pairedSide(waveform)) {
      if (waveform.side == StereoSide::Left && canBeSides(waveform, *other))
        pairs.push_back({&waveform, other});
      return;
    }
    const auto name = splitName(waveform.name());
    if (!name) return;
    Waiting& same = waiting[keyOf(waveform, *name)];
    const bool isLeft = name->side == StereoSide::Left;
    auto& mine = isLeft ? same.lefts : same.rights;
    auto& others = isLeft ? same.rights : same.lefts;
    if (others.empty() || !canBeSides(waveform, *others.front())) {
      mine.push_back(&waveform);
      return;
    }
    pairs.push_back(isLeft ? Pair{&waveform, others.front()} : Pair{others.front(), &waveform});
    others.pop_front();
  });
  return pairs;
}

// --- Pairs of regions

/// A region with all that its counterpart must have in common with it.
struct Voice {
  Region* region;
  ItemId instrument;
  ArticulationBlock articulation;  // without the pan
  float pan;

  explicit Voice(Region& source)
      : region(&source), instrument(source.parent), articulation(effective(source)) {
    if (const auto* layer = source.collection().find<Layer>(source.parent); layer && layer->parent != kNoItem)
      instrument = layer->parent;
    pan = articulation.get(slots::Pan);
    articulation.reset(slots::Pan);
  }

  friend bool operator==(const Voice& a, const Voice& b) {
    return a.instrument == b.instrument && a.articulation == b.articulation &&
           playsAlike(*a.region, *b.region);
  }
};

struct VoiceHash {
  std::size_t operator()(const Voice& voice) const {
    const Region& region = *voice.region;
    std::size_t hash = voice.articulation.hash() ^ voice.instrument * std::size_t{0x9E3779B1};
    for (std::uint8_t value :
         {region.keys.low, region.keys.high, region.velocities.low, region.velocities.high})
      hash = hash * 131 + value;
    return hash;
  }
};

using RegionPairs = std::vector<std::pair<Region*, Region*>>;

/// Each left region with its counterpart; nothing when one of either side is left over.
std::optional<RegionPairs> matchRegions(const std::vector<Region*>& lefts,
                                        const std::vector<Region*>& rights) {
  if (lefts.size() != rights.size()) return std::nullopt;
  std::unordered_map<Voice, std::deque<Region*>, VoiceHash> open;
  for (Region* region : rights) {
    Voice voice(*region);
    if (voice.pan != 1) return std::nullopt;
    open[std::move(voice)].push_back(region);
  }
  RegionPairs pairs;
  for (Region* region : lefts) {
    const Voice voice(*region);
    const auto match = open.find(voice);
    if (voice.pan != -1 || match == open.end() || match->second.empty()) return std::nullopt;
    pairs.emplace_back(region, match->second.front());
    match->second.pop_front();
  }
  return pairs;
}

// --- Merging

std::shared_ptr<SampleBuffer> interleave(const SampleBuffer& left, const SampleBuffer& right) {
  const std::uint32_t frames = std::min(left.frames(), right.frames());
  auto stereo = SampleBuffer::allocate(frames, 2, left.rate());
  if (!stereo) {
    fail(u"Out of memory");
    return nullptr;
  }
  const auto to = stereo->samples();
  for (std::size_t i = 0; i < frames; ++i) {
    to[i * 2] = left.samples()[i];
    to[i * 2 + 1] = right.samples()[i];
  }
  return stereo;
}

/// Gives the left waveform both sides. Samples that both lie in files stay there.
bool mergeSamples(Waveform& left, Waveform& right) {
  if (left.sourceIsIntact() && right.sourceIsIntact()) {
    left.setSource(makeInterleavedSource(left.source, right.source));
  } else if (left.buffer || left.source || right.buffer || right.source) {
    Waveform* const sides[] = {&left, &right};
    if (!loadSamples(sides)) return false;
    auto stereo = interleave(*left.buffer, *right.buffer);
    if (!stereo) return false;
    left.setSamples(std::move(stereo));
  }
  left.channels = 2;
  if (left.sourceFormat != right.sourceFormat)
    left.sourceFormat = static_cast<SourceFormat>(SampleEncoding::Float32);
  left.setName(commonName(left));
  left.side = StereoSide::None;
  left.pairedWith = kNoItem;
  return true;
}

void mergeRegions(Region& left) {
  left.articulation.reset(slots::Pan);
  if (effective(left).get(slots::Pan) != 0) left.articulation.set(slots::Pan, 0);
  left.setName(commonName(left));
}

}  // namespace

// Two mono waveforms are a pair when the reader linked them as sides, or else when their names differ only in
// a left/right mark at the end; their lengths, rates, tunings, volumes and records must agree. They are
// merged when each region of the left one, panned hard left, has a counterpart of the right one, panned hard
// right, that is equal in all else and belongs to the same instrument, and none is left over; or when no
// region plays either. The left waveform and its regions become the stereo ones, named without the mark and
// with the pan centred; the right ones go. Samples in files are not loaded. Splitting the result gives the
// same sound again.
bool mergeStereo(Collection& collection) {
  const std::vector<Pair> pairs = findPairs(collection);
  if (pairs.empty()) return true;
  bool complete = true;
  RegionsByWaveform regions = regionsByWaveform(collection);
  std::vector<Item*> merged;
  for (const Pair& pair : pairs) {
    const auto regionPairs = matchRegions(regions[pair.left->id()], regions[pair.right->id()]);
    if (!regionPairs) continue;
    if (!mergeSamples(*pair.left, *pair.right)) {
      complete = false;
      continue;
    }
    merged.push_back(pair.right);
    for (const auto& [left, right] : *regionPairs) {
      mergeRegions(*left);
      merged.push_back(right);
    }
  }
  collection.remove(merged);
  return complete;
}

}  // namespace vemko::io
