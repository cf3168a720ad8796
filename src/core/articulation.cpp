#include "core/articulation.h"

#include <bit>
#include <functional>

#include "core/collection.h"
#include "core/parameters.h"

namespace vemko {
namespace {

struct Group {
  SlotRange slots;
  std::u16string_view word;
};
// One row a SlotGroup, in its order.
constexpr Group kGroups[] = {
    {{0, 13}, u"pitch"},    {{14, 23}, u"volume"},  {{24, 41}, u"filter"}, {{42, 53}, u"EQ"},
    {{54, 59}, u"pan"},     {{60, 67}, u"sends"},   {{68, 71}, u"P-LFO"},  {{72, 75}, u"V-LFO"},
    {{76, 79}, u"F-LFO"},   {{80, 83}, u"X-LFO"},   {{84, 114}, u"V-ENV"}, {{115, 145}, u"P-ENV"},
    {{146, 176}, u"F-ENV"}, {{177, 206}, u"X-ENV"},
};

constexpr bool groupsFollowEachOther() {
  int next = 0;
  for (const Group& group : kGroups) {
    if (group.slots.first != next || group.slots.last < group.slots.first) return false;
    next = group.slots.last + 1;
  }
  return next == kSlotCount - 1;
}
static_assert(std::size(kGroups) == kSlotGroupCount && groupsFollowEachOther());

void overlay(const ArticulationBlock& from, ArticulationBlock& to) {
  if (to.empty())
    to = from;
  else
    from.forEach([&](Slot slot, float value) { to.set(slot, value); });
}

}  // namespace

float ArticulationBlock::get(Slot slot) const {
  if (slot >= kSlotCount) return 0;
  return isSet(slot) ? values_[rank(slot)] : parameter(slot).initial;
}

void ArticulationBlock::set(Slot slot, float value) {
  if (slot >= kSlotCount) return;
  const std::size_t at = rank(slot);
  if (isSet(slot)) {
    values_[at] = value;
  } else {
    values_.insert(values_.begin() + static_cast<std::ptrdiff_t>(at), value);
    bits_[slot / 64u] |= std::uint64_t{1} << (slot % 64u);
  }
}

void ArticulationBlock::setDifferences(const std::array<float, kSlotCount>& values,
                                       const std::array<float, kSlotCount>& from) {
  std::array<float, kSlotCount> different;
  std::size_t count = 0;
  bits_ = {};
  for (std::size_t slot = 0; slot < kSlotCount; ++slot) {
    if (values[slot] == from[slot]) continue;
    bits_[slot / 64] |= std::uint64_t{1} << (slot % 64);
    different[count++] = values[slot];
  }
  values_.assign(different.begin(), different.begin() + static_cast<std::ptrdiff_t>(count));
}

void ArticulationBlock::reset(Slot slot) {
  if (!isSet(slot)) return;
  values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(rank(slot)));
  bits_[slot / 64u] &= ~(std::uint64_t{1} << (slot % 64u));
}

std::size_t ArticulationBlock::rank(Slot slot) const {
  int below = 0;
  for (std::size_t word = 0; word < slot / 64u; ++word) below += std::popcount(bits_[word]);
  below += std::popcount(bits_[slot / 64u] & ((std::uint64_t{1} << (slot % 64u)) - 1));
  return static_cast<std::size_t>(below);
}

std::size_t ArticulationBlock::hash() const {
  std::uint64_t mixed = 0;
  auto mix = [&](std::uint64_t value) {
    mixed = (mixed ^ value) * 0x9E3779B97F4A7C15u;
    mixed ^= mixed >> 32;
  };
  for (std::uint64_t word : bits_) mix(word);
  // Adding zero makes the two zeros one, as they compare equal.
  for (float value : values_) mix(std::bit_cast<std::uint32_t>(value + 0.0f));
  return static_cast<std::size_t>(mixed);
}

SlotRange slotsOf(SlotGroup group) { return kGroups[static_cast<std::size_t>(group)].slots; }
std::u16string_view displayWord(SlotGroup group) { return kGroups[static_cast<std::size_t>(group)].word; }

void copyGroup(const ArticulationBlock& from, ArticulationBlock& to, SlotGroup group) {
  const SlotRange range = slotsOf(group);
  for (int slot = range.first; slot <= range.last; ++slot) {
    const auto at = static_cast<Slot>(slot);
    if (from.isSet(at))
      to.set(at, from.get(at));
    else
      to.reset(at);
  }
}

void resetGroup(ArticulationBlock& block, SlotGroup group) { copyGroup({}, block, group); }

ArticulationBlock effective(const Region& region) {
  ArticulationBlock block;
  const Collection& collection = region.collection();
  if (const auto* layer = collection.find<Layer>(region.parent)) {
    if (const auto* instrument = collection.find<Instrument>(layer->parent)) block = instrument->articulation;
    overlay(layer->articulation, block);
  }
  overlay(region.articulation, block);
  return block;
}

}  // namespace vemko
