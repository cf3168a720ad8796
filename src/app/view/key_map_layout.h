#pragma once
// An instrument's regions as rectangles: keys from left to right over a keyboard, velocities upwards.
#include <cstddef>
#include <optional>
#include <vector>

#include "core/collection.h"

namespace vemko::view {

struct Point {
  double x = 0, y = 0;
};

struct Box {
  double left = 0, top = 0, right = 0, bottom = 0;
  bool contains(double x, double y) const { return x >= left && x < right && y >= top && y < bottom; }
};

struct MapRegion {
  ItemId id = kNoItem;
  MidiRange keys, velocities;                         ///< `low` not above `high`.
  MidiRange fadeInKeys{0, 0}, fadeOutKeys{127, 127};  ///< As in Region.
  MidiRange fadeInVelocities{0, 0}, fadeOutVelocities{127, 127};
  int rootKey = 60;
  std::size_t layer = 0;  ///< Index among the instrument's layers.
};

/// The regions of an instrument, of a layer, or of a region alone, in tree order; none for other items.
std::vector<MapRegion> mapRegionsOf(const Item& item);

enum class Direction : std::uint8_t { Left, Right, Up, Down };

class KeyMapLayout {
 public:
  static constexpr int kKeys = 128;

  void setRegions(std::vector<MapRegion> regions) { regions_ = std::move(regions); }
  const std::vector<MapRegion>& regions() const { return regions_; }
  /// The area of the rectangles; the keyboard below has the same left and right edge.
  void setArea(const Box& area) { area_ = area; }
  const Box& area() const { return area_; }

  double xOfKey(int key) const;            ///< Left edge; of key 128 the right edge of all.
  double yOfVelocity(int velocity) const;  ///< Lower edge; of velocity 128 the upper edge of all.
  int keyAt(double x) const;               ///< 0 to 127 also beside the area.
  int velocityAt(double y) const;

  Box boxOf(const MapRegion& region) const;
  /// The part of the box in which the region sounds fully or rises to it: the box cut along the slopes of its
  /// cross-fades. Clockwise; empty when the fades leave
  /// nothing.
  std::vector<Point> outlineOf(const MapRegion& region) const;
  static bool hasFades(const MapRegion& region);

  /// Indexes of the regions whose box is there, those drawn last first.
  std::vector<std::size_t> regionsAt(double x, double y) const;
  /// What a click selects: the region on top, or the one under the selected one when that is there as well.
  std::optional<std::size_t> pick(double x, double y, std::optional<std::size_t> selected) const;
  /// The nearest region whose middle lies in that direction, rather straight ahead than aside.
  std::optional<std::size_t> neighbour(std::size_t from, Direction direction) const;
  /// The region behind (before) that one when ordered by key, velocity and place in the tree.
  std::optional<std::size_t> next(std::optional<std::size_t> from, bool forward) const;
  std::optional<std::size_t> indexOf(ItemId region) const;
  /// How many regions lie over each other, on an average of the places where there is one; at least 1.
  double meanOverlap() const;

 private:
  std::vector<MapRegion> regions_;
  Box area_;
};

/// Of the twelve keys of an octave, 1, 3, 6, 8 and 10.
constexpr bool isBlackKey(int key) {
  constexpr unsigned kBlack = 1u << 1 | 1u << 3 | 1u << 6 | 1u << 8 | 1u << 10;
  return kBlack >> key % 12 & 1;
}

}  // namespace vemko::view
