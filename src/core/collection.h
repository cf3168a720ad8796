#pragma once
// The tree of items and the kinds it is made of.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/articulation.h"
#include "core/item.h"
#include "core/midi_range.h"
#include "core/play_rules.h"
#include "core/sends.h"
#include "core/waveform.h"

namespace vemko {

/// The synthesizer's item; its settings block is opaque here.
struct Synth final : Item {
  explicit Synth(Collection& collection) : Item(collection) {}
  std::uint32_t mode = 2;  ///< 0 and 1 have a settings block of their own, 2 has none.
  /// Little-endian. Mode 0: number of voices (32 bits), master volume in dB (float). Mode 1: the same, then
  /// the levels 0..1 of the reverb and the chorus send (floats).
  std::vector<std::byte> settings;

  /// Takes the given block, or writes the mode's defaults when it is empty. Modes above 1 have no block.
  void setMode(std::uint32_t newMode, Bytes block);
  ItemKind kind() const override { return ItemKind::Synth; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;
};

enum class Trigger : std::uint8_t { Attack, Release, First, Legato };

/// Bits of Region::setFields: what the file gave explicitly.
namespace region_fields {
inline constexpr std::uint32_t Keys = 0x06, Velocities = 0x18, RootKey = 0x20;
}

struct Region final : Item {
  explicit Region(Collection& collection) : Item(collection) {}

  static constexpr std::uint8_t kNotSet = 255;

  MidiRange keys;
  MidiRange velocities;
  std::uint8_t rootKey = kNotSet;        ///< Overrides the waveform's root key.
  std::uint8_t exclusiveGroup = 0;       ///< Starting one region of a group stops the others; 0 is no group.
  std::uint8_t fixedKey = kNotSet;       ///< Every note sounds as if this key were played, ...
  std::uint8_t fixedVelocity = kNotSet;  ///< ... and with this velocity.
  Trigger trigger = Trigger::Attack;
  float delaySeconds = 0;
  MidiRange fadeInKeys{0, 0}, fadeOutKeys{127, 127};  ///< Cross-fades between regions: silent at the
  MidiRange fadeInVelocities{0, 0}, fadeOutVelocities{127, 127};  ///< outer end, full at the inner one.
  PlaySection section;                                            ///< {0, 0}: as the waveform says.
  std::shared_ptr<const PlayRules> rules;                         ///< Null: nothing beyond the defaults.
  std::uint32_t setFields = 0;
  ArticulationBlock articulation;
  ItemId waveformId = kNoItem;  ///< May lead nowhere; see waveform().

  /// The waveform that is played, null when the link leads nowhere.
  Waveform* waveform() const;
  void setWaveform(ItemId waveform) { waveformId = waveform; }

  ItemKind kind() const override { return ItemKind::Region; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;
};

/// What a region plays of its waveform: its own section, else the waveform's, within the waveform's length.
/// A section of its own with the end 0 runs to the end of the data. Nothing ({0, 0}) without a waveform.
PlaySection effectivePlaySection(const Region& region);
/// The region's root key, else its waveform's, else 60.
int effectiveRootKey(const Region& region);
/// The region's rules, the defaults where it has none.
const PlayRules& rulesOf(const Region& region);
/// Whether the start of a note can play a sample of it as long as no controller was moved and no other key is
/// held or was played before. regionsAtRest() also sees to what regions decide among each other.
bool soundsOnAttack(const Region& region);
/// Equal in everything that decides when and how a region plays its waveform; the waveform and the
/// articulation are not looked at. A field that Region gains belongs here too.
bool playsAlike(const Region& a, const Region& b);

struct Layer final : Item {
  explicit Layer(Collection& collection) : Item(collection) {}
  ArticulationBlock articulation;

  ItemKind kind() const override { return ItemKind::Layer; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;
};

/// Bits 0-6 program, 7-13 bank select LSB, 14-20 bank select MSB, 21 drum kit.
struct Patch {
  std::uint32_t word = 0;

  int program() const { return word & 127; }
  int bankLsb() const { return word >> 7 & 127; }
  int bankMsb() const { return word >> 14 & 127; }
  bool isDrumKit() const { return word >> 21 & 1; }
  static constexpr Patch of(int bankMsb, int bankLsb, int program, bool drums = false) {
    return {static_cast<std::uint32_t>((drums ? 1 << 21 : 0) | (bankMsb & 127) << 14 | (bankLsb & 127) << 7 |
                                       (program & 127))};
  }
};

struct Instrument final : Item {
  explicit Instrument(Collection& collection) : Item(collection) {}
  Patch patch;
  SendEffects sendEffects{};  ///< What the send channels of its regions lead to.
  ArticulationBlock articulation;

  ItemKind kind() const override { return ItemKind::Instrument; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;
};

/// The instrument that the region's layer belongs to, null when there is none.
const Instrument* instrumentOf(const Region& region);
/// What the send channels of the region's instrument lead to.
SendEffects sendEffectsOf(const Region& region);

struct Track final : Item {
  explicit Track(Collection& collection) : Item(collection) {}
  std::uint32_t channel = 0xFF00;  ///< High byte 0xFF: no channel assigned.

  /// The body of a Standard MIDI File track chunk, and the number of events in it.
  Bytes events() const { return events_; }
  std::uint32_t eventCount() const { return eventCount_; }
  void setEvents(Bytes events);

  ItemKind kind() const override { return ItemKind::Track; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;

 private:
  std::vector<std::byte> events_;
  std::uint32_t eventCount_ = 0;
};

struct Song final : Item {
  explicit Song(Collection& collection) : Item(collection) {}
  /// As in a Standard MIDI File header: the low half is the format, the high half the division in ticks per
  /// quarter note (0x0018 = 24) or, negative, frames and ticks of a second.
  std::uint32_t settings = 0x00180001;

  ItemKind kind() const override { return ItemKind::Song; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;
};

/// What a collection is called that neither a file nor its user named.
inline constexpr std::u16string_view kNewCollectionName = u"New collection";

/// Owns all items. Enumerations run in registration order until reorder() gives another one.
class Collection final : public Item {
 public:
  Collection();  ///< Named kNewCollectionName.
  ~Collection() override;
  Collection(const Collection&) = delete;

  ItemKind kind() const override { return ItemKind::Collection; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;

  /// Registry row that the collection was read from or last saved with, -1 when none.
  int formatRow = -1;
  /// How sure the detection was, in percent.
  int formatConfidence = 0;
  /// The file it was read from or last saved to; also held as the text SourceFile.
  Path file;

  /// Takes the item over under the requested serial of its kind, or a new one: the next after the last that
  /// any collection issued for the kind, wrapping at 2^28 and skipping those in use here. A requested serial
  /// that is in use here is logged and gives way to a new one, so that no item is lost; look at the id of
  /// what comes back.
  Item& add(std::unique_ptr<Item> item, ItemSerial serial = kNewSerial);
  Item* find(ItemId id) const;
  template <class T>
  T* find(ItemId id) const {
    return dynamic_cast<T*>(find(id));
  }
  /// Takes the item out of its parent's child list and the collection. Its children stay, without a parent;
  /// what comes back has neither a parent nor children.
  [[nodiscard]] std::unique_ptr<Item> take(Item& item);
  /// Destroys the item and everything below it. Waveforms stay.
  void remove(Item& item);
  /// The same for many items, in linear time also when they share a parent.
  void remove(std::span<Item* const> items);
  /// Back to a new collection: no items, no texts, no file.
  void clear();

  std::size_t count(ItemKind kind) const { return counts_[static_cast<std::size_t>(kind)]; }

  /// Calls visit(T&) for every item of the kind. Items may be removed meanwhile; those added are not visited.
  template <class T, class Visit>
  void forEach(Visit visit) const;
  template <class T>
  std::vector<T*> all() const;
  std::vector<Item*> allOf(ItemKind kind) const;
  /// The new order of a kind's enumeration: exactly its items, each once. Anything else changes nothing. Not
  /// to be called while the kind is being enumerated.
  void reorder(ItemKind kind, std::span<Item* const> order);

  /// Moves all items of `other` here. Ids that are taken get new serials, and every reference follows; a
  /// reference that led nowhere still does. `other` is left empty, its texts and file as they were.
  void absorb(Collection& other);

 private:
  friend class Snapshot;

  struct Place {
    std::uint64_t rank;
    Item* item;  // null where an item was removed
  };
  // Keeps places from being moved while somebody walks over them.
  struct Walk {
    explicit Walk(std::atomic<int>& walks) : walks_(walks) { ++walks_; }
    ~Walk() { --walks_; }
    Walk(const Walk&) = delete;
    std::atomic<int>& walks_;
  };

  std::vector<Place>& placesOf(ItemKind kind) { return places_[static_cast<std::size_t>(kind)]; }
  Place& placeOf(const Item& item);
  void insert(std::unique_ptr<Item> item, ItemId id, std::uint64_t rank);
  std::unique_ptr<Item> extract(Item& item);
  std::unique_ptr<Item> replace(Item& item, std::unique_ptr<Item> replacement);
  void setRanks(const std::unordered_map<ItemId, std::uint64_t>& ranks);
  void sortPlaces();
  using Removed = std::vector<std::unique_ptr<Item>>;
  void extractBelow(Removed& removed);

  std::unordered_map<ItemId, std::unique_ptr<Item>> items_;
  std::array<std::vector<Place>, kItemKindCount> places_;  // ascending by rank
  std::array<std::size_t, kItemKindCount> counts_{};
  std::uint64_t nextRank_ = 0;
  mutable std::atomic<int> walks_ = 0;
};

template <class T>
constexpr ItemKind kKindOf = ItemKind::Special;
template <>
inline constexpr ItemKind kKindOf<Waveform> = ItemKind::Waveform;
template <>
inline constexpr ItemKind kKindOf<Synth> = ItemKind::Synth;
template <>
inline constexpr ItemKind kKindOf<Region> = ItemKind::Region;
template <>
inline constexpr ItemKind kKindOf<Layer> = ItemKind::Layer;
template <>
inline constexpr ItemKind kKindOf<Instrument> = ItemKind::Instrument;
template <>
inline constexpr ItemKind kKindOf<Track> = ItemKind::Track;
template <>
inline constexpr ItemKind kKindOf<Song> = ItemKind::Song;

template <class T, class Visit>
void Collection::forEach(Visit visit) const {
  const auto& places = places_[static_cast<std::size_t>(kKindOf<T>)];
  Walk walk(walks_);
  for (std::size_t i = 0, end = places.size(); i < end; ++i)
    if (places[i].item) visit(static_cast<T&>(*places[i].item));
}

template <class T>
std::vector<T*> Collection::all() const {
  std::vector<T*> items;
  items.reserve(count(kKindOf<T>));
  forEach<T>([&](T& item) { items.push_back(&item); });
  return items;
}

// Creation. Each is registered and, where it has a parent, appended to the parent's children. An empty name
// becomes "New instrument", "New song", "New layer" or "New region in layer".
Waveform& createWaveform(Collection& collection, std::u16string_view name, ItemSerial serial = kNewSerial);
Synth& createSynth(Collection& collection, std::u16string_view name, ItemSerial serial = kNewSerial);
Instrument& createInstrument(Collection& collection, std::u16string_view name, Patch patch = {},
                             ItemSerial serial = kNewSerial);
Layer& createLayer(Instrument& instrument, std::u16string_view name, ItemSerial serial = kNewSerial);
Song& createSong(Collection& collection, std::u16string_view name, ItemSerial serial = kNewSerial);
Track& createTrack(Song& song, std::u16string_view name, ItemSerial serial = kNewSerial);

struct RegionRequest {
  ItemSerial serial = kNewSerial;
  ItemSerial waveform = kNoWaveform;
  MidiRange keys{255, 255};  ///< Taken, with bounds of at most 127, only when both are below 255.
  MidiRange velocities{255, 255};
  std::uint8_t rootKey = Region::kNotSet;
};
Region& createRegion(Layer& layer, std::u16string_view name, const RegionRequest& request = {});

/// Makes `child` the last child of `parent`, out of the list that held it before.
void attach(Item& parent, Item& child);

/// The registered copy of an item and of everything below it, under new serials. A region's copy plays the
/// same waveform id; a waveform's copy has record ids of its own and is not paired. A user's copy is named
/// "Copy of ..." at its top. The top has no parent yet. The copy of a collection is `target` with copies of
/// its items absorbed.
Item& copyItem(const Item& source, Collection& target, bool withData = true, bool namedAsCopy = false);

/// Every waveform that the item plays: itself, those of its regions, or all of a collection; each once.
std::vector<Waveform*> waveformsOf(const Item& item);

/// The regions below an instrument or layer, or of the whole collection, in tree order; a region itself.
std::vector<Region*> regionsOf(const Item& item);

/// The four lines of the collection-information dialog: instruments, waveforms, synths, songs.
std::array<std::u16string, 4> collectionInformation(const Collection& collection);

}  // namespace vemko
