// The kinds of items: their copies, their creation, and questions about the tree.
#include <algorithm>
#include <tuple>
#include <unordered_set>

#include "base/text.h"
#include "core/collection.h"
#include "core/midi_events.h"

namespace vemko {
namespace {

constexpr std::uint8_t kLastMidiValue = 127;
constexpr std::uint32_t kDefaultVoices = 64;
constexpr int kDefaultRootKey = 60;

std::vector<std::byte> defaultSettings(std::uint32_t mode) {
  ByteWriter block;
  if (mode > 1) return {};
  block.u32(kDefaultVoices);
  block.little(0.0f);
  if (mode == 1) {
    block.little(0.0f);
    block.little(0.0f);
  }
  return std::move(block.bytes);
}

template <class T>
T& addNew(Collection& collection, std::u16string_view name, std::u16string_view defaultName,
          ItemSerial serial) {
  auto item = std::make_unique<T>(collection);
  item->setName(name);
  if (item->name().empty()) item->setName(defaultName);
  return static_cast<T&>(collection.add(std::move(item), serial));
}

template <class T>
T& addBelow(Item& parent, std::u16string_view name, std::u16string_view defaultName, ItemSerial serial) {
  T& item = addNew<T>(parent.collection(), name, defaultName, serial);
  item.parent = parent.id();
  parent.appendChild(item.id());
  return item;
}

bool isGiven(MidiRange range) { return range.low < Region::kNotSet && range.high < Region::kNotSet; }

MidiRange boundedRange(MidiRange range) {
  return {std::min(range.low, kLastMidiValue), std::min(range.high, kLastMidiValue)};
}

// Sources from kNoteSources on belong to the note, and wheel positions have their rest in the middle: either
// is met by some notes at least. The random ones among them begin at 0.
bool isMovedByNotes(std::uint8_t source) {
  constexpr std::uint8_t kPitchWheel = 128, kNoteSources = 131, kRandom = 135, kRandomBothWays = 136,
                         kAlternating = 137;
  const bool isOfNote = source >= kNoteSources && source != kRandom && source != kAlternating;
  return isOfNote || source == kPitchWheel || source == kRandomBothWays;
}

bool isMetAtRest(const ControllerRange& range) {
  return isMovedByNotes(range.controller) || (range.low <= range.atRest && range.atRest <= range.high);
}

bool isFadedOutAtRest(const PlayRules& rules) {
  const auto isAtStart = [](const ControllerRange& fade) {
    return !isMovedByNotes(fade.controller) && fade.atRest <= fade.low && fade.atRest < fade.high;
  };
  const auto isAtEnd = [](const ControllerRange& fade) {
    return !isMovedByNotes(fade.controller) && fade.atRest >= fade.high && fade.atRest > fade.low;
  };
  return std::ranges::any_of(rules.fadeIns, isAtStart) || std::ranges::any_of(rules.fadeOuts, isAtEnd);
}

void giveNewRecordIds(Waveform& waveform) {
  std::uint32_t mainLoopId = 0;
  for (LoopRecord& record : waveform.records) {
    const std::uint32_t id = nextRecordId();
    if (record.id == waveform.mainLoopId) mainLoopId = id;
    record.id = id;
  }
  waveform.mainLoopId = mainLoopId;
}

Item& copyBelow(const Item& source, Collection& target, Item* parent, bool withData) {
  Item& copy = target.add(source.clone(target, withData));
  copy.children.clear();
  copy.parent = kNoItem;
  if (parent) {
    copy.parent = parent->id();
    parent->appendChild(copy.id());
  }
  if (copy.kind() == ItemKind::Waveform) {
    auto& waveform = static_cast<Waveform&>(copy);
    waveform.pairedWith = kNoItem;
    waveform.side = StereoSide::None;
    giveNewRecordIds(waveform);
  }
  for (ItemId child : source.children) {
    const Item* below = source.collection().find(child);
    if (below && below->parent == source.id()) copyBelow(*below, target, &copy, withData);
  }
  return copy;
}

Item& copyCollection(const Collection& source, Collection& target, bool withData) {
  auto copy = source.clone(target, withData);
  auto& items = static_cast<Collection&>(*copy);
  items.forEach<Waveform>(giveNewRecordIds);
  target.absorb(items);
  return target;
}

void collectRegions(const Item& item, std::vector<Region*>& regions) {
  for (ItemId id : item.children) {
    Item* child = item.collection().find(id);
    if (!child || child->parent != item.id()) continue;
    if (child->kind() == ItemKind::Region) regions.push_back(static_cast<Region*>(child));
    collectRegions(*child, regions);
  }
}

std::u16string informationLine(std::size_t count, const std::string& details) {
  if (count == 0) return u"none";
  return toUtf16(formatted("%zu", count) + details);
}

}  // namespace

void Synth::setMode(std::uint32_t newMode, Bytes block) {
  mode = newMode;
  if (mode > 1 || block.empty())
    settings = defaultSettings(mode);
  else
    settings.assign(block.begin(), block.end());
}

void Track::setEvents(Bytes events) {
  events_.assign(events.begin(), events.end());
  eventCount_ = countMidiEvents(events_);
}

std::unique_ptr<Item> Synth::clone(Collection& target, bool) const { return cloneOf(*this, target); }
std::unique_ptr<Item> Region::clone(Collection& target, bool) const { return cloneOf(*this, target); }
std::unique_ptr<Item> Layer::clone(Collection& target, bool) const { return cloneOf(*this, target); }
std::unique_ptr<Item> Instrument::clone(Collection& target, bool) const { return cloneOf(*this, target); }
std::unique_ptr<Item> Track::clone(Collection& target, bool) const { return cloneOf(*this, target); }
std::unique_ptr<Item> Song::clone(Collection& target, bool) const { return cloneOf(*this, target); }

Waveform* Region::waveform() const { return collection().find<Waveform>(waveformId); }

PlaySection effectivePlaySection(const Region& region) {
  const Waveform* waveform = region.waveform();
  if (!waveform) return {};
  if (region.section == PlaySection{}) return playSection(*waveform);
  const std::uint32_t end =
      region.section.end == 0 ? waveform->frames : std::min(region.section.end, waveform->frames);
  return {std::min(region.section.start, end), end};
}

const Instrument* instrumentOf(const Region& region) {
  const auto* layer = region.collection().find<Layer>(region.parent);
  return layer ? region.collection().find<Instrument>(layer->parent) : nullptr;
}

SendEffects sendEffectsOf(const Region& region) {
  const Instrument* instrument = instrumentOf(region);
  return instrument ? instrument->sendEffects : SendEffects{};
}

int effectiveRootKey(const Region& region) {
  if (region.rootKey != Region::kNotSet) return region.rootKey;
  const Waveform* waveform = region.waveform();
  return waveform ? waveform->rootKey : kDefaultRootKey;
}

const PlayRules& rulesOf(const Region& region) {
  static const PlayRules none;
  return region.rules ? *region.rules : none;
}

bool soundsOnAttack(const Region& region) {
  if (!region.waveform() || region.trigger == Trigger::Release || region.trigger == Trigger::Legato)
    return false;
  if (!region.rules) return true;
  const KeySwitches& switches = region.rules->switches;
  return !region.rules->ignoresKeys && switches.down == KeySwitches::kNone &&
         switches.previous == KeySwitches::kNone &&
         std::ranges::all_of(region.rules->controllers, isMetAtRest) && !isFadedOutAtRest(*region.rules);
}

bool playsAlike(const Region& a, const Region& b) {
  auto played = [](const Region& r) {
    return std::tie(r.keys, r.velocities, r.rootKey, r.exclusiveGroup, r.trigger, r.delaySeconds,
                    r.fadeInKeys, r.fadeOutKeys, r.fadeInVelocities, r.fadeOutVelocities, r.section,
                    r.fixedKey, r.fixedVelocity, rulesOf(r));
  };
  return played(a) == played(b);
}

Waveform& createWaveform(Collection& collection, std::u16string_view name, ItemSerial serial) {
  return addNew<Waveform>(collection, name, u"", serial);
}

Synth& createSynth(Collection& collection, std::u16string_view name, ItemSerial serial) {
  return addNew<Synth>(collection, name, u"", serial);
}

Instrument& createInstrument(Collection& collection, std::u16string_view name, Patch patch,
                             ItemSerial serial) {
  auto& instrument = addNew<Instrument>(collection, name, u"New instrument", serial);
  instrument.patch = patch;
  return instrument;
}

Layer& createLayer(Instrument& instrument, std::u16string_view name, ItemSerial serial) {
  return addBelow<Layer>(instrument, name, u"New layer", serial);
}

Song& createSong(Collection& collection, std::u16string_view name, ItemSerial serial) {
  return addNew<Song>(collection, name, u"New song", serial);
}

Track& createTrack(Song& song, std::u16string_view name, ItemSerial serial) {
  return addBelow<Track>(song, name, u"", serial);
}

Region& createRegion(Layer& layer, std::u16string_view name, const RegionRequest& request) {
  auto& region = addBelow<Region>(layer, name, u"New region in layer", request.serial);
  if (request.waveform != kNoWaveform) region.waveformId = makeItemId(ItemKind::Waveform, request.waveform);
  if (isGiven(request.keys)) {
    region.keys = boundedRange(request.keys);
    region.setFields |= region_fields::Keys;
  }
  if (isGiven(request.velocities)) {
    region.velocities = boundedRange(request.velocities);
    region.setFields |= region_fields::Velocities;
  }
  if (request.rootKey != Region::kNotSet) {
    region.rootKey = std::min(request.rootKey, kLastMidiValue);
    region.setFields |= region_fields::RootKey;
  }
  return region;
}

void attach(Item& parent, Item& child) {
  if (Item* former = parent.collection().find(child.parent)) std::erase(former->children, child.id());
  child.parent = parent.id();
  parent.appendChild(child.id());
}

Item& copyItem(const Item& source, Collection& target, bool withData, bool namedAsCopy) {
  if (source.kind() == ItemKind::Collection)
    return copyCollection(static_cast<const Collection&>(source), target, withData);
  Item& copy = copyBelow(source, target, nullptr, withData);
  if (namedAsCopy) copy.setName(u"Copy of " + source.displayName());
  return copy;
}

std::vector<Waveform*> waveformsOf(const Item& item) {
  if (item.kind() == ItemKind::Collection) return static_cast<const Collection&>(item).all<Waveform>();
  if (item.kind() == ItemKind::Waveform) return {item.collection().find<Waveform>(item.id())};
  std::vector<Waveform*> waveforms;
  std::unordered_set<const Waveform*> seen;
  for (const Region* region : regionsOf(item)) {
    Waveform* waveform = region->waveform();
    if (waveform && seen.insert(waveform).second) waveforms.push_back(waveform);
  }
  return waveforms;
}

std::vector<Region*> regionsOf(const Item& item) {
  std::vector<Region*> regions;
  if (item.kind() == ItemKind::Region) return {item.collection().find<Region>(item.id())};
  if (item.kind() != ItemKind::Collection) {
    collectRegions(item, regions);
    return regions;
  }
  const auto& collection = static_cast<const Collection&>(item);
  collection.forEach<Instrument>([&](Instrument& instrument) { collectRegions(instrument, regions); });
  // Layers and regions that lost what was above them.
  collection.forEach<Layer>([&](Layer& layer) {
    if (layer.parent == kNoItem) collectRegions(layer, regions);
  });
  collection.forEach<Region>([&](Region& region) {
    if (region.parent == kNoItem) regions.push_back(&region);
  });
  return regions;
}

std::array<std::u16string, 4> collectionInformation(const Collection& collection) {
  std::uint64_t frames = 0;
  collection.forEach<Waveform>([&](const Waveform& waveform) { frames += waveform.frames; });
  auto count = [&](ItemKind kind) { return collection.count(kind); };
  return {informationLine(
              count(ItemKind::Instrument),
              formatted("\t(%zu layers, %zu regions)", count(ItemKind::Layer), count(ItemKind::Region))),
          informationLine(count(ItemKind::Waveform),
                          formatted("\t(total %sK samples)", std::to_string((frames + 500) / 1000).c_str())),
          informationLine(count(ItemKind::Synth), {}),
          informationLine(count(ItemKind::Song), formatted("\t(%zu tracks)", count(ItemKind::Track)))};
}

}  // namespace vemko
