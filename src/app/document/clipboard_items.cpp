#include <algorithm>
#include <new>
#include <stdexcept>

#include "app/document/clipboard.h"
#include "app/document/clipboard_fields.h"
#include "base/last_error.h"

namespace vemko::app {
namespace {

constexpr std::size_t kStreamedSamples = 1 << 16;

// --- Samples: their number, then floats.

bool writeSamples(ArchiveWriter& a, const Waveform& waveform) {
  const std::size_t at = a.out.size();
  a.out.u64(0);
  if (!waveform.buffer && !waveform.source) return true;
  const auto stream = openSamples(waveform);
  if (!stream) return false;
  std::vector<float> block(std::max<std::size_t>(kStreamedSamples / waveform.channels, 1) *
                           waveform.channels);
  std::uint64_t samples = 0;
  for (;;) {
    const auto frames = stream->read(block);
    if (!frames) return false;
    if (*frames == 0) break;
    const auto part = std::span(block).first(*frames * waveform.channels);
    samples += part.size();
    a.out.append(std::as_bytes(part));
  }
  std::memcpy(a.out.bytes.data() + at, &samples, sizeof samples);
  return true;
}

bool readSamples(ArchiveReader& a, Waveform& waveform) {
  const std::uint64_t samples = a.in.u64();
  if (!a.in.ok || waveform.channels == 0) return fail(kCorruptedClipboard);
  const std::uint64_t wanted = std::uint64_t{waveform.frames} * waveform.channels;
  if (samples > a.in.remaining() / sizeof(float) || samples > wanted) return fail(kCorruptedClipboard);
  if (samples == 0) return true;
  // Silence where the source was shorter than it said; never more than twice what is there.
  if (wanted / 2 > samples) waveform.frames = static_cast<std::uint32_t>(samples / waveform.channels);
  auto buffer = SampleBuffer::allocate(waveform.frames, waveform.channels, waveform.rate);
  if (!buffer) return fail(u"Out of memory");
  const Bytes bytes = a.in.take(samples * sizeof(float));
  const auto out = std::as_writable_bytes(buffer->samples());
  std::ranges::fill(out, std::byte{});
  std::ranges::copy(bytes.first(std::min(bytes.size(), out.size())), out.begin());
  waveform.buffer = std::move(buffer);
  return true;
}

// --- The tree: parents before their children, so that reading attaches each to what is there already.

bool writeItem(ArchiveWriter& a, Item& item) {
  a.out.u32(item.id());
  a.out.u32(item.parent);
  archiveFields(a, item);
  if (item.kind() == ItemKind::Waveform && !writeSamples(a, static_cast<Waveform&>(item))) return false;
  for (ItemId child : item.children)
    if (Item* below = item.collection().find(child); below && !writeItem(a, *below)) return false;
  return true;
}

std::unique_ptr<Item> newItem(Collection& collection, ItemKind kind) {
  switch (kind) {
    case ItemKind::Waveform:
      return std::make_unique<Waveform>(collection);
    case ItemKind::Synth:
      return std::make_unique<Synth>(collection);
    case ItemKind::Region:
      return std::make_unique<Region>(collection);
    case ItemKind::Layer:
      return std::make_unique<Layer>(collection);
    case ItemKind::Instrument:
      return std::make_unique<Instrument>(collection);
    case ItemKind::Track:
      return std::make_unique<Track>(collection);
    case ItemKind::Song:
      return std::make_unique<Song>(collection);
    default:
      return nullptr;
  }
}

bool mayHold(const Item& parent, ItemKind child) {
  switch (parent.kind()) {
    case ItemKind::Instrument:
      return child == ItemKind::Layer || child == ItemKind::Synth;
    case ItemKind::Layer:
      return child == ItemKind::Region;
    case ItemKind::Song:
      return child == ItemKind::Track;
    default:
      return false;
  }
}

bool readItem(ArchiveReader& a, Collection& collection) {
  const ItemId id = a.in.u32();
  const ItemId parent = a.in.u32();
  auto item = newItem(collection, kindOf(id));
  if (!a.in.ok || !item || collection.find(id)) return fail(kCorruptedClipboard);
  archiveFields(a, *item);
  if (!a.in.ok) return fail(kCorruptedClipboard);
  if (item->kind() == ItemKind::Waveform && !readSamples(a, static_cast<Waveform&>(*item))) return false;
  Item* above = collection.find(parent);
  if (above && !mayHold(*above, item->kind())) return fail(kCorruptedClipboard);
  Item& added = collection.add(std::move(item), serialOf(id));
  if (above) attach(*above, added);
  return true;
}

std::optional<CopiedItems> readItems(Bytes bytes) {
  ArchiveReader a{ByteReader(bytes)};
  CopiedItems copied;
  copied.items = std::make_unique<Collection>();
  a(copied.origin);
  a(copied.wasCut);
  const std::uint32_t tops = a.in.u32();
  for (std::uint32_t i = 0; i < tops && a.in.ok; ++i) copied.tops.push_back(a.in.u32());
  while (a.in.ok && a.in.remaining() > 0)
    if (!readItem(a, *copied.items)) return std::nullopt;
  const bool complete = std::ranges::all_of(copied.tops, [&](ItemId id) { return copied.items->find(id); });
  if (a.in.ok && complete && !copied.tops.empty()) return copied;
  setLastError(kCorruptedClipboard);
  return std::nullopt;
}

}  // namespace

bool appendItems(const CopiedItems& copied, std::vector<std::byte>& bytes) {
  try {
    ArchiveWriter a;
    a.out.u64(copied.origin);
    a.out.u8(copied.wasCut ? 1 : 0);
    a.out.u32(static_cast<std::uint32_t>(copied.tops.size()));
    for (ItemId id : copied.tops) a.out.u32(id);
    for (int kind = 0; kind < static_cast<int>(ItemKind::Collection); ++kind)
      for (Item* item : copied.items->allOf(static_cast<ItemKind>(kind)))
        if (!copied.items->find(item->parent) && !writeItem(a, *item)) return false;
    bytes.insert(bytes.end(), a.out.bytes.begin(), a.out.bytes.end());
    return true;
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  } catch (const std::length_error&) {
    return fail(u"Out of memory");
  }
}

std::optional<CopiedItems> itemsFrom(Bytes bytes) {
  try {
    return readItems(bytes);
  } catch (const std::bad_alloc&) {
    setLastError(u"Out of memory");
    return std::nullopt;
  }
}

std::vector<std::byte> bytesOf(const std::vector<LoopRecord>& records) {
  ArchiveWriter a;
  std::vector<LoopRecord> copy = records;
  archive(a, copy);
  return std::move(a.out.bytes);
}

std::optional<std::vector<LoopRecord>> recordsFrom(Bytes bytes) {
  ArchiveReader a{ByteReader(bytes)};
  std::vector<LoopRecord> records;
  archive(a, records);
  if (a.in.ok && !records.empty()) return records;
  setLastError(kCorruptedClipboard);
  return std::nullopt;
}

}  // namespace vemko::app
