#include "io/loss_report.h"

#include <algorithm>
#include <array>
#include <map>
#include <unordered_set>

#include "base/text.h"
#include "core/feature_use.h"
#include "io/companion_files.h"
#include "io/registry.h"
#include "io/sample_layout.h"

namespace vemko::io {
namespace {

// Encodings whose samples another encoding holds exactly. The companded ones decode to 14 and 13 bits, the
// compressed ones count as 16.
struct Precision {
  SampleEncoding encoding;
  std::u16string_view text;
  CapabilityMask heldBy;
};
constexpr CapabilityMask bits(std::initializer_list<SampleEncoding> encodings) {
  CapabilityMask mask = 0;
  for (SampleEncoding encoding : encodings) mask |= encodingBit(encoding);
  return mask;
}
using enum SampleEncoding;
constexpr CapabilityMask kHold32 = bits({Pcm32, Float64});
constexpr CapabilityMask kHold24 = kHold32 | bits({Pcm24, Float32});
constexpr CapabilityMask kHold20 = kHold24 | bits({Pcm20});
constexpr CapabilityMask kHold16 = kHold20 | bits({Pcm16, Alternative16});
constexpr CapabilityMask kHold12 = kHold16 | bits({Pcm12});
constexpr CapabilityMask kHold8 = kHold12 | bits({Pcm8, Alternative8});
// clang-format off
constexpr std::array kPrecisions = {  // in the order of the report
    Precision{Pcm8,          u"8-bit precision",            kHold8},
    Precision{Alternative8,  u"8-bit precision",            kHold8},
    Precision{Pcm12,         u"12-bit precision",           kHold12},
    Precision{ALaw,          u"13-bit A-law precision",     kHold16 | bits({ALaw})},
    Precision{MuLaw,         u"14-bit mu-law precision",    kHold16 | bits({MuLaw})},
    Precision{Pcm16,         u"16-bit precision",           kHold16},
    Precision{Alternative16, u"16-bit precision",           kHold16},
    Precision{Gsm610,        u"decoded 16-bit precision",   kHold16},
    Precision{Adpcm2,        u"decoded 16-bit precision",   kHold16},
    Precision{Adpcm3,        u"decoded 16-bit precision",   kHold16},
    Precision{Adpcm4,        u"decoded 16-bit precision",   kHold16},
    Precision{Adpcm5,        u"decoded 16-bit precision",   kHold16},
    Precision{Codec,         u"decoded 16-bit precision",   kHold16},
    Precision{Pcm20,         u"20-bit precision",           kHold20},
    Precision{Pcm24,         u"24-bit precision",           kHold24},
    Precision{Pcm32,         u"32-bit precision",           kHold32},
    Precision{Float32,       u"32-bit float precision",     bits({Float32, Float64})},
    Precision{Float64,       u"64-bit float precision",     bits({Float64})},
};
// clang-format on

// Samples that were edited count with the precision of their origin: nobody takes the rounding of an edited
// 16-bit wave to 16 bits for a loss.
SampleEncoding precisionOf(const Waveform& waveform) {
  if (waveform.sourceIsIntact()) return waveform.source->encoding();
  constexpr auto kWidest = static_cast<SourceFormat>(Float32);
  return waveform.sourceFormat <= kWidest ? static_cast<SampleEncoding>(waveform.sourceFormat) : Float32;
}

struct Tally {
  std::size_t count = 0;
  const Waveform* example = nullptr;

  void add(const Waveform& waveform) {
    if (count++ == 0) example = &waveform;
  }
  void appendTo(std::vector<Loss>& losses, std::u16string feature) const {
    if (count > 0) losses.push_back({std::move(feature), count, example->displayName()});
  }
};

/// Where a feature is lost, each place once.
struct Places {
  std::unordered_set<ItemId> all;
  std::u16string example;
};

void addFeatureLosses(std::span<const Item* const> items, FeatureMask held, std::vector<Loss>& losses) {
  std::map<int, Places> lostPlaces;
  for (const Item* item : items) {
    const std::vector<FeatureUse> uses = featuresUsed(*item);
    FeatureMask used;
    for (const FeatureUse& use : uses) used |= featureBit(use.feature);
    const FeatureMask lost = lostFeatures(used, held);
    for (const FeatureUse& use : uses) {
      if (!lost.has(use.feature)) continue;
      Places& places = lostPlaces[use.feature];
      const Item* example = item->collection().find(use.places.front());
      if (places.all.empty()) places.example = (example ? *example : item->collection()).displayName();
      places.all.insert(use.places.begin(), use.places.end());
    }
  }
  for (auto& [feature, places] : lostPlaces)
    losses.push_back({std::u16string(featureText(feature)), places.all.size(), std::move(places.example)});
}

std::vector<const Waveform*> waveformsOf(std::span<const Item* const> items) {
  std::vector<const Waveform*> all;
  std::unordered_set<const Waveform*> seen;
  for (const Item* item : items)
    for (const Waveform* waveform : vemko::waveformsOf(*item))
      if (seen.insert(waveform).second) all.push_back(waveform);
  return all;
}

// What the readers found in the files beyond what the model has. Rows that hold instruments alone keep their
// samples in files of their own.
void addNotedLosses(const std::vector<const Waveform*>& waveforms, const FormatEntry& entry,
                    const SaveOptions& options, std::vector<Loss>& losses) {
  constexpr std::size_t kMostNames = 20;
  const bool hasSampleFiles = entry.kinds == kindBit(ItemKind::Instrument);
  const std::u16string_view extension =
      hasSampleFiles ? extensionOf(static_cast<SampleFiles>(options.extra)) : entry.extension;
  std::vector<std::u16string> names;
  Tally tally;
  for (const Waveform* waveform : waveforms) {
    if (!waveform->notes) continue;
    const std::vector<std::u16string> lost = waveform->notes->lostIn(extension);
    if (!lost.empty()) tally.add(*waveform);
    for (const std::u16string& name : lost)
      if (names.size() < kMostNames && std::ranges::find(names, name) == names.end()) names.push_back(name);
  }
  std::u16string text = u"Waves:";
  for (const std::u16string& name : names) text += (text.back() == u':' ? u" " : u", ") + name;
  tally.appendTo(losses, std::move(text));
}

// Whole items that a file of a collection has no place for.
template <class T>
void addItemLosses(const Collection& collection, std::u16string_view text, std::vector<Loss>& losses) {
  const auto items = collection.all<T>();
  if (!items.empty()) losses.push_back({std::u16string(text), items.size(), items.front()->displayName()});
}

// A song's texts are read from its events, which stay; or from the file around it.
bool isInEvents(const Song& song, std::u16string_view text) {
  const std::string bytes = toUtf8(text);
  return std::ranges::any_of(song.children, [&](ItemId id) {
    const auto* track = song.collection().find<Track>(id);
    const Bytes events = track ? track->events() : Bytes();
    const Bytes wanted = std::as_bytes(std::span(bytes));
    return std::search(events.begin(), events.end(), wanted.begin(), wanted.end()) != events.end();
  });
}

bool losesTexts(const Song& song) {
  return std::ranges::any_of(kTextProperties, [&](TextProperty property) {
    const bool isOther = property != TextProperty::Name && property != TextProperty::SourceFile &&
                         property != TextProperty::Image;
    return isOther && !song.text(property).empty() && !isInEvents(song, song.text(property));
  });
}

bool holds(const FormatEntry& entry, ItemKind kind) { return (entry.kinds & kindBit(kind)) != 0; }

// Rows of songs write a bank beside the song where there are instruments.
bool writesBank(const Collection& collection, const FormatEntry& entry) {
  return entry.features && (!holds(entry, ItemKind::Song) || collection.count(ItemKind::Instrument) > 0);
}

// What is really written: a song's bank is its whole collection's.
std::vector<const Item*> writtenWith(std::span<const Item* const> items, const FormatEntry& entry) {
  std::vector<const Item*> written;
  for (const Item* item : items) {
    if (item->kind() == ItemKind::Song && holds(entry, ItemKind::Collection)) item = &item->collection();
    if (item->kind() == ItemKind::Collection && !writesBank(item->collection(), entry)) continue;
    if (written.empty() || written.back() != item) written.push_back(item);
  }
  return written;
}

void addItemLosses(std::span<const Item* const> items, const FormatEntry& entry, std::vector<Loss>& losses) {
  std::size_t songCount = 0;
  const Song* example = nullptr;
  for (const Item* item : items) {
    if (const auto* collection = dynamic_cast<const Collection*>(item)) {
      if (!writesBank(*collection, entry)) {
        addItemLosses<Instrument>(*collection, u"Items: Instruments", losses);
        addItemLosses<Waveform>(*collection, u"Items: Waveforms", losses);
        for (int feature = 0; feature < features::Count; ++feature)
          if (featuresOf(*collection).has(feature))
            losses.push_back({std::u16string(featureText(feature)), 1, collection->displayName()});
      }
      if (!holds(entry, ItemKind::Song)) addItemLosses<Song>(*collection, u"Items: Songs", losses);
    }
    const bool isPlain = !holds(entry, ItemKind::Collection);
    const auto* song = dynamic_cast<const Song*>(item);
    if (song && isPlain && losesTexts(*song) && songCount++ == 0) example = song;
  }
  if (example) losses.push_back({u"Songs: Texts", songCount, example->displayName()});
}

}  // namespace

std::vector<Loss> lossesOfSaving(const Item& item, int row, const SaveOptions& options) {
  const Item* const items[] = {&item};
  return lossesOfSaving(items, row, options);
}

std::vector<Loss> lossesOfSaving(std::span<const Item* const> items, int row, const SaveOptions& options) {
  const FormatEntry* entry = formatRow(row);
  if (!entry) return {};
  std::array<Tally, kPrecisions.size()> precisions;
  Tally channels, rates;
  std::vector<Loss> losses;
  addItemLosses(items, *entry, losses);
  if (!entry->features) return losses;
  const std::vector<const Item*> written = writtenWith(items, *entry);
  const std::vector<const Waveform*> waveforms = waveformsOf(written);
  for (const Waveform* waveform : waveforms) {
    const SampleLayout layout = chooseLayout(*waveform, options, entry->capabilities);
    const SampleEncoding source = precisionOf(*waveform);
    for (std::size_t i = 0; i < kPrecisions.size(); ++i)
      if (kPrecisions[i].encoding == source && !(kPrecisions[i].heldBy & encodingBit(layout.encoding)))
        precisions[i].add(*waveform);
    if (layout.channels < waveform->channels) channels.add(*waveform);
    if (entry->storedRate && entry->storedRate(waveform->rate) != waveform->rate) rates.add(*waveform);
  }
  for (std::size_t i = 0; i < kPrecisions.size(); ++i)
    precisions[i].appendTo(losses, u"Samples: " + std::u16string(kPrecisions[i].text));
  channels.appendTo(losses, u"Samples: Separate channels");
  rates.appendTo(losses, u"Samples: Sample rate");
  addFeatureLosses(written, entry->features, losses);
  addNotedLosses(waveforms, *entry, options, losses);
  return losses;
}

std::size_t kindsLost(std::span<const Loss> losses) {
  return static_cast<std::size_t>(std::ranges::count_if(
      losses, [](const Loss& loss) { return !loss.feature.starts_with(u"Architecture:"); }));
}

int rowThatKeepsMore(const Item& item, int row, const SaveOptions& options, std::span<const Loss> losses) {
  int best = kNoRow;
  std::size_t fewest = kindsLost(losses);
  for (int other = nextWritingRow(0); fewest > 0 && other != kNoRow; other = nextWritingRow(other + 1)) {
    if (other == row || extensionOf(other) != extensionOf(row) || !canHold(other, item.kind())) continue;
    SaveOptions others = options;
    others.variant = formatRow(other)->variant;
    const std::size_t count = kindsLost(lossesOfSaving(item, other, others));
    if (count >= fewest) continue;
    fewest = count;
    best = other;
  }
  return best;
}

std::u16string moreKeptText(int row) {
  return std::u16string(u"More is kept by \"").append(descriptionOf(row)).append(u"\"");
}

std::u16string lossText(const Loss& loss) {
  std::u16string text = loss.feature + u" (\"" + loss.example + u"\"";
  if (loss.count > 1) text += u" and " + toUtf16(std::to_string(loss.count - 1)) + u" more";
  return text + u")";
}

}  // namespace vemko::io
