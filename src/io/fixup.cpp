#include "io/fixup.h"

#include "base/log.h"
#include "base/memory.h"
#include "base/progress.h"
#include "base/text.h"

namespace vemko::io {
namespace {

constexpr KindMask kWaveforms = kindBit(ItemKind::Waveform);
constexpr KindMask kRegions = kindBit(ItemKind::Region);
constexpr KindMask kLayers = kindBit(ItemKind::Layer);
constexpr KindMask kInstruments = kindBit(ItemKind::Instrument);
constexpr KindMask kSongs = kindBit(ItemKind::Song);

using O = FixupOptions;

// The order matters:
//  - sources are classified before a step turns deferred samples into rewritten ones;
//  - pairs are merged before stereo is split, so that with both switched on everything ends up mono, and
//    before duplicates go, because the sides of a pair may well hold the same sound;
//  - with the duplicates gone, all regions that play a sound are seen together;
//  - layers are joined before articulation moves up to them, which would make them differ;
//  - loops are unrolled before what follows them is appended;
//  - names are settled before anything is sorted by them.
// clang-format off
constexpr FixupStep kSteps[] = {
  {"classify-sources", u"Note the sample format of each waveform's source", u"", nullptr, kWaveforms, classifySources},
  {"merge-stereo", u"Merge left/right pairs of mono waveforms into stereo ones", u"Merging dual mono waveforms", &O::mergeStereo, kWaveforms | kRegions, mergeStereo},
  {"split-stereo", u"Split stereo waveforms into left/right pairs", u"Splitting stereo waveforms", &O::splitStereo, kWaveforms | kRegions, splitStereo},
  {"remove-duplicate-waves", u"Keep one of several equal waveforms", u"", &O::removeDuplicateWaves, kWaveforms | kRegions, removeDuplicateWaves},
  {"move-trigger-parameters", u"Move play sections from regions to their waveforms", u"", &O::moveTriggerParameters, kWaveforms | kRegions, moveTriggerParameters},
  {"compact-layers", u"Join layers that do not overlap", u"", &O::compactLayers, kLayers, compactLayers},
  {"move-articulation", u"Move shared articulation to the highest level", u"", &O::moveArticulation, kRegions | kLayers | kInstruments, moveArticulation},
  {"bidirectional-to-forward", u"Turn bidirectional loops into forward loops", u"", &O::bidirectionalToForward, kWaveforms | kRegions, bidirectionalToForward},
  {"append-32", u"Append 32 samples after loops at the end", u"", &O::append32, kWaveforms, append32},
  {"unique-names", u"Make item names unique", u"", &O::ensureUniqueNames, kWaveforms | kInstruments | kSongs, ensureUniqueNames},
  {"sort-collection", u"Sort instruments by patch and songs by name", u"", &O::sortCollection, kInstruments | kSongs, sortCollection},
  {"sort-waves", u"Sort waveforms by name", u"", &O::sortWaves, kWaveforms, sortWaves},
};
// clang-format on

bool isSwitchedOn(const FixupStep& step, KindMask kinds) {
  return (step.kinds & ~kinds) == 0 && (step.option == nullptr || fixupOptions().*step.option);
}

// False when memory ran out, after which nobody knows how far the step has come.
bool run(const FixupStep& step, Collection& collection) {
  return withinMemory([&] {
    if (!step.apply(collection)) logWarning(toUtf16(step.name) + u": " + lastError());
    return true;
  });
}

}  // namespace

std::span<const FixupStep> fixupSteps() { return kSteps; }

FixupOptions& fixupOptions() {
  static FixupOptions options;
  return options;
}

bool fixUp(Collection& collection, KindMask kinds, bool withProgress) {
  constexpr std::u16string_view kStatus = u"Fixing up items";
  std::u16string_view shown;
  double done = 0;
  for (const FixupStep& step : kSteps) {
    if (!isSwitchedOn(step, kinds)) continue;
    const std::u16string_view status = step.status.empty() ? kStatus : step.status;
    if (withProgress && status != shown) showStatus(shown = status);
    if (!run(step, collection)) return false;
    done += 1;
    if (withProgress) showProgress(done / static_cast<double>(std::size(kSteps)));
  }
  return true;
}

}  // namespace vemko::io
