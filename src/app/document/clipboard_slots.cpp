#include "app/document/clipboard.h"
#include "app/document/clipboard_archive.h"
#include "base/last_error.h"
#include "core/parameters.h"

namespace vemko::app {
namespace {

// LFOs, and envelopes, are alike among themselves: theirs are counted from the group's first slot.
bool isRelative(ClipboardFormat format) {
  return format == ClipboardFormat::Lfo || format == ClipboardFormat::Eg;
}

}  // namespace

ClipboardFormat formatOf(SlotGroup group) {
  switch (group) {
    case SlotGroup::PLfo:
    case SlotGroup::VLfo:
    case SlotGroup::FLfo:
    case SlotGroup::XLfo:
      return ClipboardFormat::Lfo;
    case SlotGroup::VEnvelope:
    case SlotGroup::PEnvelope:
    case SlotGroup::FEnvelope:
    case SlotGroup::XEnvelope:
      return ClipboardFormat::Eg;
    case SlotGroup::Eq:
      return ClipboardFormat::Eqs;
    case SlotGroup::Filter:
      return ClipboardFormat::Filter;
    default:
      return ClipboardFormat::Art;
  }
}

CopiedSlots copyOfGroup(const ArticulationBlock& block, SlotGroup group) {
  CopiedSlots copied{formatOf(group), {}};
  const SlotRange range = slotsOf(group);
  const Slot first = isRelative(copied.format) ? range.first : Slot{0};
  block.forEach([&](Slot slot, float value) {
    if (slot >= range.first && slot <= range.last)
      copied.entries.push_back({static_cast<Slot>(slot - first), value});
  });
  return copied;
}

CopiedSlots copyOfAll(const ArticulationBlock& block) {
  CopiedSlots copied;
  block.forEach([&](Slot slot, float value) { copied.entries.push_back({slot, value}); });
  return copied;
}

void pasteGroup(const CopiedSlots& copied, ArticulationBlock& block, SlotGroup group) {
  resetGroup(block, group);
  const SlotRange range = slotsOf(group);
  const int first = isRelative(copied.format) ? range.first : 0;
  for (const auto& [slot, value] : copied.entries) {
    const int target = slot + first;
    if (target < range.first || target > range.last || parameter(static_cast<Slot>(target)).reserved())
      continue;
    block.set(static_cast<Slot>(target), boundedValue(static_cast<Slot>(target), value));
  }
}

void pasteAll(const CopiedSlots& copied, ArticulationBlock& block) {
  block.clear();
  for (const auto& [slot, value] : copied.entries)
    if (slot < kSlotCount && !parameter(slot).reserved()) block.set(slot, boundedValue(slot, value));
}

std::vector<std::byte> bytesOf(const CopiedSlots& copied) {
  ByteWriter out;
  out.u32(static_cast<std::uint32_t>(copied.entries.size()));
  for (const auto& [slot, value] : copied.entries) {
    out.u8(slot);
    out.little(value);
  }
  return std::move(out.bytes);
}

std::optional<CopiedSlots> slotsFrom(Bytes bytes, ClipboardFormat format) {
  ByteReader in(bytes);
  CopiedSlots copied{format, {}};
  const std::uint32_t count = in.u32();
  for (std::uint32_t i = 0; i < count && in.ok; ++i) {
    const Slot slot = in.u8();
    copied.entries.push_back({slot, in.little<float>()});
  }
  if (in.ok && count <= kSlotCount) return copied;
  setLastError(kCorruptedClipboard);
  return std::nullopt;
}

}  // namespace vemko::app
