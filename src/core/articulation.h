#pragma once
// Sound shaping: tuning, volume, filter, EQ, pan, sends, four LFOs and four envelopes, as numbered slots.
#include <array>
#include <bit>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vemko {

struct Region;

/// Number of an articulation parameter, 0..207; parameters.h lists them with names, units and bounds.
using Slot = std::uint8_t;
inline constexpr int kSlotCount = 208;

/// The slots that one level (instrument, layer or region) sets, with their values; every other slot stands at
/// its default. Only what is set takes memory.
class ArticulationBlock {
 public:
  /// The value, the parameter's default when the slot is not set.
  float get(Slot slot) const;
  void set(Slot slot, float value);
  void add(Slot slot, float value) { set(slot, get(slot) + value); }
  bool isSet(Slot slot) const { return bits_[slot / 64u] >> (slot % 64u) & 1u; }
  /// Sets all at once: the slots whose value differs from the other list's. Clears what was set.
  void setDifferences(const std::array<float, kSlotCount>& values, const std::array<float, kSlotCount>& from);
  /// Back to the default, no longer set.
  void reset(Slot slot);
  void clear() { *this = {}; }

  bool empty() const { return values_.empty(); }
  std::size_t count() const { return values_.size(); }
  /// Calls visit(slot, value) for every set slot, in slot order.
  template <class Visit>
  void forEach(Visit visit) const {
    std::size_t at = 0;
    for (std::size_t word = 0; word < bits_.size(); ++word)
      for (std::uint64_t left = bits_[word]; left != 0; left &= left - 1)
        visit(static_cast<Slot>(word * 64 + static_cast<std::size_t>(std::countr_zero(left))), values_[at++]);
  }

  /// Same slots set to the same values.
  friend bool operator==(const ArticulationBlock&, const ArticulationBlock&) = default;
  /// Equal blocks have equal hashes.
  std::size_t hash() const;

 private:
  std::size_t rank(Slot slot) const;  // set slots below this one

  std::array<std::uint64_t, 4> bits_{};
  std::vector<float> values_;  // of the set slots, in slot order
};

/// Slots that belong together for the editor's "Copy ..." and "Reset ...".
enum class SlotGroup : std::uint8_t {
  Pitch,
  Volume,
  Filter,
  Eq,
  Pan,
  Sends,
  PLfo,
  VLfo,
  FLfo,
  XLfo,
  VEnvelope,
  PEnvelope,
  FEnvelope,
  XEnvelope,
};
inline constexpr int kSlotGroupCount = 14;

struct SlotRange {
  Slot first;
  Slot last;  ///< Inclusive.
};
/// Groups are runs of slots and together cover slots 0 to 206.
SlotRange slotsOf(SlotGroup group);
std::u16string_view displayWord(SlotGroup group);

/// Makes the group in `to` equal to that in `from`, set bits included.
void copyGroup(const ArticulationBlock& from, ArticulationBlock& to, SlotGroup group);
/// Writes the defaults back.
void resetGroup(ArticulationBlock& block, SlotGroup group);

/// The block that a region plays with. Per slot the nearest level that sets it wins: the region, else its
/// layer, else its instrument, else the default. So a level states what differs from the level above, moving
/// a slot that all children share up to their parent changes no sound, and every writer sees one block a
/// region.
ArticulationBlock effective(const Region& region);

}  // namespace vemko
