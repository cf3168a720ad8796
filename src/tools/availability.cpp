#include "tools/availability.h"

#include <algorithm>

#include "tools/waveform_selection.h"

namespace vemko::tools {
namespace {

template <class Test>
bool anyItem(const ToolContext& context, Test test) {
  return std::ranges::any_of(context.selection, [&](const Item* item) { return item && test(*item); });
}

template <class Test>
bool anyWaveform(const ToolContext& context, Test test) {
  return anyItem(context, [&](const Item& item) {
    return item.kind() == ItemKind::Waveform && test(static_cast<const Waveform&>(item));
  });
}

bool anyRecord(const ToolContext& context, bool (*test)(RecordType)) {
  return anyWaveform(context, [test](const Waveform& waveform) {
    return std::ranges::any_of(waveform.records,
                               [test](const LoopRecord& record) { return test(record.type); });
  });
}

std::ptrdiff_t countItems(const ToolContext& context) {
  return std::ranges::count_if(context.selection, [](const Item* item) { return item != nullptr; });
}

std::size_t countOf(const ToolContext& context, ItemKind kind) {
  std::size_t count = 0;
  for (const Item* item : context.selection) {
    if (!item) continue;
    if (item->kind() == kind) ++count;
    if (item->kind() == ItemKind::Collection) count += item->collection().count(kind);
  }
  return count;
}

/// An item of that kind or, within an instrument, of a kind that contains it.
bool reaches(const ToolContext& context, ItemKind kind) {
  return countOf(context, kind) > 0 || anyItem(context, [kind](const Item& item) {
           const bool contains = item.kind() > kind && item.kind() <= ItemKind::Instrument;
           return contains && !item.children.empty();
         });
}

}  // namespace

bool always(const ToolContext&) { return true; }

bool hasPlayingLoop(const ToolContext& context) {
  return anyWaveform(context, [](const Waveform& waveform) {
    const LoopRecord* loop = waveform.mainLoop();
    return loop && loop->play != LoopPlay::Off;
  });
}

bool hasSection(const ToolContext& context) {
  return anyRecord(context, [](RecordType type) { return type == RecordType::SectionMarker; });
}

bool hasMarker(const ToolContext& context) {
  return anyRecord(context, [](RecordType type) { return type != RecordType::Loop; });
}

bool isOne(const ToolContext& context) { return countItems(context) == 1; }
bool isSeveral(const ToolContext& context) { return countItems(context) >= 2; }

bool hasMono(const ToolContext& context) {
  return anyWaveform(context, [](const Waveform& waveform) { return waveform.channels == 1; });
}
bool hasStereo(const ToolContext& context) {
  return anyWaveform(context, [](const Waveform& waveform) { return waveform.channels == 2; });
}

bool hasMidi(const ToolContext& context) {
  return countOf(context, ItemKind::Song) > 0 ||
         anyItem(context, [](const Item& item) { return item.kind() == ItemKind::Track; });
}

bool hasSeveralTracks(const ToolContext& context) { return countOf(context, ItemKind::Track) >= 2; }

bool hasInstrument(const ToolContext& context) { return countOf(context, ItemKind::Instrument) > 0; }
bool hasSeveralInstruments(const ToolContext& context) { return countOf(context, ItemKind::Instrument) >= 2; }
bool hasLayer(const ToolContext& context) { return reaches(context, ItemKind::Layer); }
bool hasRegion(const ToolContext& context) { return reaches(context, ItemKind::Region); }

}  // namespace vemko::tools
