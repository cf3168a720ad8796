#include "io/loss_report.h"

#include <array>

#include "base/text.h"
#include "core/feature_matrix.h"
#include "io/registry.h"
#include "io/sample_layout.h"

namespace vemko::io {
namespace {

using FeatureBits = std::uint32_t;
enum Feature : FeatureBits {
  kLoops = 1 << 0,
  kMoreLoops = 1 << 1,
  kFractions = 1 << 2,
  kReverse = 1 << 3,
  kUntilRelease = 1 << 4,
  kLoopTune = 1 << 5,
  kMarkers = 1 << 6,
  kSectionEnds = 1 << 7,
};
constexpr FeatureBits kAllFeatures = (1 << 8) - 1;
// What is no news to somebody who was told that no loop is kept.
constexpr FeatureBits kPartsOfLoops = kMoreLoops | kFractions | kReverse | kUntilRelease | kLoopTune;

struct FeatureRow {
  FeatureBits bit;
  int matrixFeature;  // -1: none of the matrix
  std::u16string_view text;
};
constexpr FeatureRow kFeatureRows[] = {
    {kLoops, -1, u"Waves: Loops"},
    {kMoreLoops, -1, u"Waves: Loops besides the main loop"},
    {kFractions, 7, {}},
    {kReverse, 8, {}},
    {kUntilRelease, 9, {}},
    {kLoopTune, 11, {}},
    {kMarkers, -1, u"Waves: Markers"},
    {kSectionEnds, -1, u"Waves: Ends of sections"},
};

struct Holding {
  std::u16string_view description;
  FeatureBits features;
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
    {u"Microsoft wave", kAllFeatures},
    {u"WavPack", kAllFeatures},
};

const Holding* holdingOf(int row) {
  for (const Holding& holding : kHoldings)
    if (holding.description == descriptionOf(row)) return &holding;
  return nullptr;
}

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

FeatureBits featuresOf(const Waveform& waveform) {
  FeatureBits used = 0;
  std::size_t loops = 0;
  for (const LoopRecord& record : waveform.records) {
    if (record.startHundredths != 0 || record.endHundredths != 0) used |= kFractions;
    if (record.type != RecordType::Loop) used |= kMarkers;
    if (record.type == RecordType::SectionMarker) used |= kSectionEnds;
    if (record.type != RecordType::Loop || record.play == LoopPlay::Off) continue;
    used |= ++loops > 1 ? kLoops | kMoreLoops : kLoops;
    if (record.play != LoopPlay::Forward) used |= kReverse;
    if (record.count == LoopCount::UntilRelease) used |= kUntilRelease;
    if (record.tuneCents != 0) used |= kLoopTune;
  }
  return used;
}

FeatureBits lostFeatures(const Waveform& waveform, FeatureBits held) {
  const FeatureBits lost = featuresOf(waveform) & ~held;
  return lost & kLoops ? lost & ~kPartsOfLoops : lost;
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

}  // namespace

bool holdingsAreKnown(int row) { return holdingOf(row) != nullptr; }

std::vector<Loss> lossesOfSaving(const Item& item, int row, const SaveOptions& options) {
  const FormatEntry* entry = formatRow(row);
  if (!entry) return {};
  const Holding* holding = holdingOf(row);
  const FeatureBits held = holding ? holding->features : kAllFeatures;
  std::array<Tally, kPrecisions.size()> precisions;
  std::array<Tally, std::size(kFeatureRows)> features;
  Tally channels;
  for (const Waveform* waveform : waveformsOf(item)) {
    const SampleLayout layout = chooseLayout(*waveform, options, entry->capabilities);
    const SampleEncoding source = precisionOf(*waveform);
    for (std::size_t i = 0; i < kPrecisions.size(); ++i)
      if (kPrecisions[i].encoding == source && !(kPrecisions[i].heldBy & encodingBit(layout.encoding)))
        precisions[i].add(*waveform);
    if (layout.channels < waveform->channels) channels.add(*waveform);
    const FeatureBits lost = lostFeatures(*waveform, held);
    for (std::size_t i = 0; i < features.size(); ++i)
      if (lost & kFeatureRows[i].bit) features[i].add(*waveform);
  }
  std::vector<Loss> losses;
  for (std::size_t i = 0; i < kPrecisions.size(); ++i)
    precisions[i].appendTo(losses, u"Samples: " + std::u16string(kPrecisions[i].text));
  channels.appendTo(losses, u"Samples: Separate channels");
  for (std::size_t i = 0; i < features.size(); ++i) {
    const FeatureRow& row = kFeatureRows[i];
    features[i].appendTo(losses,
                         std::u16string(row.text.empty() ? featureName(row.matrixFeature) : row.text));
  }
  return losses;
}

std::u16string lossText(const Loss& loss) {
  std::u16string text = loss.feature + u" (\"" + loss.example + u"\"";
  if (loss.count > 1) text += u" and " + toUtf16(std::to_string(loss.count - 1)) + u" more";
  return text + u")";
}

}  // namespace vemko::io
