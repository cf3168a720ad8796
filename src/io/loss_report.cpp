#include "io/loss_report.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <unordered_set>

#include "base/text.h"
#include "core/feature_use.h"
#include "io/registry.h"
#include "io/sample_layout.h"

namespace vemko::io {
namespace {

constexpr FeatureMask kLoops = featureBit(features::Loops), kMoreLoops = featureBit(features::MoreLoops),
                      kMarkers = featureBit(features::Markers),
                      kSectionEnds = featureBit(features::SectionEnds),
                      kFractions = featureBit(features::FractionalLoops),
                      kReverse = featureBit(features::ReverseLoops),
                      kUntilRelease = featureBit(features::SampledRelease),
                      kLoopTune = featureBit(features::LoopTuning);
constexpr FeatureMask kAboutLoops =
    kLoops | kMoreLoops | kFractions | kReverse | kUntilRelease | kLoopTune | kMarkers | kSectionEnds;

struct Holding {
  std::u16string_view description;
  FeatureMask features;  // Of loops and markers; nobody asks a waveform's row for more.
};
// Every row that writes waveforms, by its description.
constexpr Holding kHoldings[] = {
    {u"Audio interchange", kLoops | kMarkers | kSectionEnds},
    {u"Audio interchange (aiff)", kLoops | kMarkers | kSectionEnds},
    {u"Audio interchange, compressed", kLoops | kMarkers | kSectionEnds},
    {u"Sun/NeXT/DEC audio", 0},
    {u"Audio Visual Research", kLoops},
    {u"Apple CoreAudio", kLoops | kMoreLoops | kFractions | kReverse | kMarkers | kSectionEnds},
    {u"Apple CoreAudio (caff)", kLoops | kMoreLoops | kFractions | kReverse | kMarkers | kSectionEnds},
    {u"Free lossless audio codec (default)", kAllFeatures},
    {u"Free lossless audio codec (max comp)", kAllFeatures},
    {u"Raw GSM 06.10", 0},
    {u"Amiga IFF", kLoops},
    {u"MPEG layer III - CBR", 0},
    {u"MPEG layer III - ABR", 0},
    {u"MPEG layer III - VBR", 0},
    {u"NIST Sphere", 0},
    {u"Ogg Vorbis", kLoops | kMarkers},
    {u"Opus", kLoops | kMarkers},
    {u"Ensoniq PARIS", 0},
    {u"IRCAM sound", 0},
    {u"Sun/NeXT/DEC audio (snd)", 0},
    {u"Amiga 8SVX", kLoops},
    {u"Creative voice", 0},
    {u"Wave-64", 0},
    {u"Microsoft wave", kAboutLoops},
    {u"WavPack", kAllFeatures},
};

struct BankHolding {
  std::u16string_view description;
  std::u16string_view profile;  // of the matrix
  FeatureMask more;             // what the matrix does not speak of, or what our writer says all the same
  FeatureMask less = 0;         // what the writer leaves out
};
constexpr FeatureMask kInBanks =
    kLoops | featureBit(features::KeyToDecay) | featureBit(features::ExclusiveGroups) |
    featureBit(features::VolumeAdjustment) | featureBit(features::Patches) | featureBit(features::Texts);
// What both versions of SFZ hold: separate LFOs and envelopes, random pan, and what the sample files take.
constexpr FeatureMask kInSfz = (kInBanks & ~featureBit(features::Patches) & ~featureBit(features::Texts)) |
                               kMoreLoops | kMarkers | kSectionEnds | featureBit(features::FixedKey) |
                               featureBit(features::PlayRules) | featureBit(features::SeparateLfos) |
                               featureBit(features::SeparateEnvelopes) | featureBit(features::RandomPan);
constexpr FeatureMask kKeyToTimes =
    featureBit(features::KeyToAttackRelease) | featureBit(features::KeyToDecay);
// Every row that writes instruments.
constexpr BankHolding kBankHoldings[] = {
    {u"DownLoadable Sounds level 1", u"DLS level 1 melodic (.DLS)", kInBanks},
    {u"DownLoadable Sounds level 2", u"DLS level 2 (.DLS)", kInBanks},
    {u"DownLoadable Sounds level 2+", u"DLS level 2+ (.DLS)", kInBanks},
    {u"DownLoadable Sounds level 2++", u"DLS level 2++ (.DLS)", kInBanks},
    {u"RIFF-MIDI w DLS level 1 instruments", u"DLS level 1 melodic (.DLS)", kInBanks},
    {u"RIFF-MIDI w DLS level 2 instruments", u"DLS level 2 (.DLS)", kInBanks},
    {u"SoundFont v2 bank", u"SoundFont 2.01 (.SF2)", kInBanks | featureBit(features::FixedKey)},
    {u"Compressed SoundFont", u"SoundFont 2.01 (.SF2)", kInBanks | featureBit(features::FixedKey)},
    {u"rgc:audio SFZ v1 (waves in same folder)", u"SFZ v1 (.SFZ)", kInSfz, kKeyToTimes},
    {u"rgc:audio SFZ v1 (waves in sub-folder)", u"SFZ v1 (.SFZ)", kInSfz, kKeyToTimes},
    {u"Cakewalk SFZ v2 (waves in same folder)", u"SFZ v2 (.SFZ)",
     kInSfz | featureBit(features::ChannelDepths)},
    {u"Cakewalk SFZ v2 (waves in sub-folder)", u"SFZ v2 (.SFZ)",
     kInSfz | featureBit(features::ChannelDepths)},
};

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
    FeatureMask used = 0;
    for (const FeatureUse& use : uses) used |= featureBit(use.feature);
    const FeatureMask lost = lostFeatures(used, held);
    for (const FeatureUse& use : uses) {
      if (!(lost & featureBit(use.feature))) continue;
      Places& places = lostPlaces[use.feature];
      const Item* example = item->collection().find(use.places.front());
      if (places.all.empty()) places.example = (example ? *example : *item).displayName();
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

}  // namespace

std::optional<FeatureMask> heldFeatures(int row) {
  const std::u16string_view description = descriptionOf(row);
  if (const auto* found = std::ranges::find(kHoldings, description, &Holding::description);
      found != std::end(kHoldings)) {
    // What is played is a marker there, or a section.
    constexpr FeatureMask kMarks = kMarkers | kSectionEnds;
    const bool holdsMarks = (found->features & kMarks) == kMarks;
    return (found->features | ~kAboutLoops) & ~(holdsMarks ? 0 : featureBit(features::PlaySections));
  }
  const auto* bank = std::ranges::find(kBankHoldings, description, &BankHolding::description);
  if (bank == std::end(kBankHoldings)) return std::nullopt;
  for (const FeatureProfile& profile : featureProfiles())
    if (profile.name == bank->profile) return (profile.features | bank->more) & ~bank->less;
  return std::nullopt;
}

std::vector<Loss> lossesOfSaving(const Item& item, int row, const SaveOptions& options) {
  const Item* const items[] = {&item};
  return lossesOfSaving(items, row, options);
}

std::vector<Loss> lossesOfSaving(std::span<const Item* const> items, int row, const SaveOptions& options) {
  const FormatEntry* entry = formatRow(row);
  if (!entry) return {};
  std::array<Tally, kPrecisions.size()> precisions;
  Tally channels;
  for (const Waveform* waveform : waveformsOf(items)) {
    const SampleLayout layout = chooseLayout(*waveform, options, entry->capabilities);
    const SampleEncoding source = precisionOf(*waveform);
    for (std::size_t i = 0; i < kPrecisions.size(); ++i)
      if (kPrecisions[i].encoding == source && !(kPrecisions[i].heldBy & encodingBit(layout.encoding)))
        precisions[i].add(*waveform);
    if (layout.channels < waveform->channels) channels.add(*waveform);
  }
  std::vector<Loss> losses;
  for (std::size_t i = 0; i < kPrecisions.size(); ++i)
    precisions[i].appendTo(losses, u"Samples: " + std::u16string(kPrecisions[i].text));
  channels.appendTo(losses, u"Samples: Separate channels");
  const auto held = heldFeatures(row);
  if (held) addFeatureLosses(items, *held, losses);
  return losses;
}

std::u16string lossText(const Loss& loss) {
  std::u16string text = loss.feature + u" (\"" + loss.example + u"\"";
  if (loss.count > 1) text += u" and " + toUtf16(std::to_string(loss.count - 1)) + u" more";
  return text + u")";
}

}  // namespace vemko::io
