#include "app/view/key_map_layout.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>

namespace vemko::view {
namespace {

constexpr int kValues = 128;

MidiRange ordered(MidiRange range) {
  range.low = std::min<std::uint8_t>(range.low, 127);
  range.high = std::min<std::uint8_t>(range.high, 127);
  if (range.low > range.high) std::swap(range.low, range.high);
  return range;
}

MapRegion mapRegion(const Region& region, std::size_t layer) {
  return {region.id(),
          ordered(region.keys),
          ordered(region.velocities),
          ordered(region.fadeInKeys),
          ordered(region.fadeOutKeys),
          ordered(region.fadeInVelocities),
          ordered(region.fadeOutVelocities),
          std::clamp(effectiveRootKey(region), 0, 127),
          layer};
}

// A fade that ends before the range begins, or begins after it ends, is not heard.
bool fadesIn(const MidiRange& fade, const MidiRange& range) {
  return fade.high > fade.low && fade.high > range.low;
}
bool fadesOut(const MidiRange& fade, const MidiRange& range) {
  return fade.high > fade.low && fade.low < range.high;
}

/// Keeps what lies at the right hand of the line from a to b, seen along it on a screen whose y grows
/// downwards.
void cut(std::vector<Point>& shape, Point a, Point b) {
  const auto side = [&](Point p) { return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x); };
  std::vector<Point> kept;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const Point from = shape[i], to = shape[(i + 1) % shape.size()];
    const double s = side(from), t = side(to);
    if (s >= 0) kept.push_back(from);
    if ((s > 0 && t < 0) || (s < 0 && t > 0)) {
      const double share = s / (s - t);
      kept.push_back({from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share});
    }
  }
  shape = std::move(kept);
}

double middle(const MidiRange& range) { return (range.low + range.high) / 2.0; }

/// Distance between two ranges, 0 when they overlap.
double gap(const MidiRange& a, const MidiRange& b) {
  return std::max({0, int{a.low} - b.high, int{b.low} - a.high});
}

auto orderOf(const MapRegion& region, std::size_t index) {
  return std::tuple(region.keys.low, region.velocities.low, index);
}

}  // namespace

std::vector<MapRegion> mapRegionsOf(const Item& item) {
  std::vector<MapRegion> regions;
  const auto append = [&](const Item& parent, std::size_t layer) {
    for (const Region* region : regionsOf(parent)) regions.push_back(mapRegion(*region, layer));
  };
  if (item.kind() == ItemKind::Instrument) {
    std::size_t layer = 0;
    for (ItemId id : item.children)
      if (const Item* child = item.collection().find(id)) append(*child, layer++);
  } else if (item.kind() == ItemKind::Layer || item.kind() == ItemKind::Region) {
    append(item, 0);
  }
  return regions;
}

double KeyMapLayout::xOfKey(int key) const { return area_.left + (area_.right - area_.left) * key / kKeys; }

double KeyMapLayout::yOfVelocity(int velocity) const {
  return area_.bottom - (area_.bottom - area_.top) * velocity / kValues;
}

int KeyMapLayout::keyAt(double x) const {
  const double key = std::floor((x - area_.left) / std::max(1.0, area_.right - area_.left) * kKeys);
  return static_cast<int>(std::clamp(key, 0.0, kKeys - 1.0));
}

int KeyMapLayout::velocityAt(double y) const {
  const double velocity = std::floor((area_.bottom - y) / std::max(1.0, area_.bottom - area_.top) * kValues);
  return static_cast<int>(std::clamp(velocity, 0.0, kValues - 1.0));
}

Box KeyMapLayout::boxOf(const MapRegion& region) const {
  return {xOfKey(region.keys.low), yOfVelocity(region.velocities.high + 1), xOfKey(region.keys.high + 1),
          yOfVelocity(region.velocities.low)};
}

bool KeyMapLayout::hasFades(const MapRegion& region) {
  return fadesIn(region.fadeInKeys, region.keys) || fadesOut(region.fadeOutKeys, region.keys) ||
         fadesIn(region.fadeInVelocities, region.velocities) ||
         fadesOut(region.fadeOutVelocities, region.velocities);
}

std::vector<Point> KeyMapLayout::outlineOf(const MapRegion& region) const {
  const Box box = boxOf(region);
  std::vector<Point> shape{
      {box.left, box.top}, {box.right, box.top}, {box.right, box.bottom}, {box.left, box.bottom}};
  if (!hasFades(region)) return shape;
  const auto x = [&](int key) { return xOfKey(key); };
  const auto y = [&](int velocity) { return yOfVelocity(velocity); };
  // Over keys the slopes rise from the box's bottom to its top, over velocities they lean to its right edge.
  if (fadesIn(region.fadeInKeys, region.keys))
    cut(shape, {x(region.fadeInKeys.low), box.bottom}, {x(region.fadeInKeys.high), box.top});
  if (fadesOut(region.fadeOutKeys, region.keys))
    cut(shape, {x(region.fadeOutKeys.low + 1), box.top}, {x(region.fadeOutKeys.high + 1), box.bottom});
  if (fadesIn(region.fadeInVelocities, region.velocities))
    cut(shape, {box.right, y(region.fadeInVelocities.high)}, {box.left, y(region.fadeInVelocities.low)});
  if (fadesOut(region.fadeOutVelocities, region.velocities))
    cut(shape, {box.left, y(region.fadeOutVelocities.high + 1)},
        {box.right, y(region.fadeOutVelocities.low + 1)});
  return shape;
}

std::vector<std::size_t> KeyMapLayout::regionsAt(double x, double y) const {
  std::vector<std::size_t> found;
  for (std::size_t i = regions_.size(); i-- > 0;)
    if (boxOf(regions_[i]).contains(x, y)) found.push_back(i);
  return found;
}

std::optional<std::size_t> KeyMapLayout::pick(double x, double y, std::optional<std::size_t> selected) const {
  const auto found = regionsAt(x, y);
  if (found.empty()) return std::nullopt;
  const auto at = selected ? std::ranges::find(found, *selected) : found.end();
  return at == found.end() || at + 1 == found.end() ? found.front() : at[1];
}

std::optional<std::size_t> KeyMapLayout::neighbour(std::size_t from, Direction direction) const {
  if (from >= regions_.size()) return std::nullopt;
  const MapRegion& origin = regions_[from];
  const bool isAcross = direction == Direction::Left || direction == Direction::Right;
  const int sign = direction == Direction::Right || direction == Direction::Up ? 1 : -1;
  std::optional<std::size_t> best;
  double bestCost = 0;
  for (std::size_t i = 0; i < regions_.size(); ++i) {
    const MapRegion& region = regions_[i];
    const auto& [along, originAlong] =
        isAcross ? std::tie(region.keys, origin.keys) : std::tie(region.velocities, origin.velocities);
    const auto& [aside, originAside] =
        isAcross ? std::tie(region.velocities, origin.velocities) : std::tie(region.keys, origin.keys);
    const double ahead = sign * (middle(along) - middle(originAlong));
    if (ahead <= 0) continue;
    const double cost =
        ahead + 4 * gap(aside, originAside) + 0.01 * std::fabs(middle(aside) - middle(originAside));
    if (best && cost >= bestCost) continue;
    best = i;
    bestCost = cost;
  }
  return best;
}

std::optional<std::size_t> KeyMapLayout::next(std::optional<std::size_t> from, bool forward) const {
  const std::size_t none = regions_.size(), start = std::min(from.value_or(none), none);
  std::size_t best = none;
  for (std::size_t i = 0; i < regions_.size(); ++i) {
    const auto isBefore = [&](std::size_t a, std::size_t b) {
      const auto first = orderOf(regions_[a], a), second = orderOf(regions_[b], b);
      return forward ? first < second : second < first;
    };
    if (start != none && !isBefore(start, i)) continue;
    if (best == none || isBefore(i, best)) best = i;
  }
  return best == none ? std::nullopt : std::optional(best);
}

std::optional<std::size_t> KeyMapLayout::indexOf(ItemId region) const {
  const auto at = std::ranges::find(regions_, region, &MapRegion::id);
  if (at == regions_.end()) return std::nullopt;
  return static_cast<std::size_t>(at - regions_.begin());
}

double KeyMapLayout::meanOverlap() const {
  // Corners counted up and down, then summed along both axes, give the number of regions at every place.
  constexpr std::size_t kWidth = kKeys + 1;
  std::vector<int> corners(kWidth * (kValues + 1));
  const auto corner = [&](int key, int velocity) -> int& {
    return corners[static_cast<std::size_t>(velocity) * kWidth + static_cast<std::size_t>(key)];
  };
  for (const MapRegion& region : regions_) {
    ++corner(region.keys.low, region.velocities.low);
    --corner(region.keys.high + 1, region.velocities.low);
    --corner(region.keys.low, region.velocities.high + 1);
    ++corner(region.keys.high + 1, region.velocities.high + 1);
  }
  double covered = 0, total = 0;
  for (int velocity = 0; velocity < kValues; ++velocity)
    for (int key = 0; key < kKeys; ++key) {
      if (key > 0) corner(key, velocity) += corner(key - 1, velocity);
      if (velocity > 0) corner(key, velocity) += corner(key, velocity - 1);
      if (key > 0 && velocity > 0) corner(key, velocity) -= corner(key - 1, velocity - 1);
      covered += corner(key, velocity) > 0;
      total += corner(key, velocity);
    }
  return covered > 0 ? std::max(1.0, total / covered) : 1;
}

}  // namespace vemko::view
