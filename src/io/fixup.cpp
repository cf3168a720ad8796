#include "io/fixup.h"

#include <new>

#include "base/last_error.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"

namespace vemko::io {
namespace {

constexpr KindMask kWaveforms = kindBit(ItemKind::Waveform);
constexpr KindMask kInstruments = kindBit(ItemKind::Instrument);
constexpr KindMask kSongs = kindBit(ItemKind::Song);

using O = FixupOptions;

// The order matters: names are settled before anything is sorted by them.
// clang-format off
constexpr FixupStep kSteps[] = {
  {"classify-sources", u"Note the sample format of each waveform's source", u"", nullptr, kWaveforms, classifySources},
  {"unique-names", u"Make item names unique", u"", &O::ensureUniqueNames, kWaveforms | kInstruments | kSongs, ensureUniqueNames},
  {"sort-collection", u"Sort instruments by patch and songs by name", u"", &O::sortCollection, kInstruments | kSongs, sortCollection},
  {"sort-waves", u"Sort waveforms by name", u"", &O::sortWaves, kWaveforms, sortWaves},
};
// clang-format on

bool isSwitchedOn(const FixupStep& step, KindMask kinds) {
  return (step.kinds & ~kinds) == 0 && (step.option == nullptr || fixupOptions().*step.option);
}

bool run(const FixupStep& step, Collection& collection) {
  try {
    return step.apply(collection);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }
}

}  // namespace

std::span<const FixupStep> fixupSteps() { return kSteps; }

FixupOptions& fixupOptions() {
  static FixupOptions options;
  return options;
}

void fixUp(Collection& collection, KindMask kinds, bool withProgress) {
  constexpr std::u16string_view kStatus = u"Fixing up items";
  std::u16string_view shown;
  double done = 0;
  for (const FixupStep& step : kSteps) {
    if (!isSwitchedOn(step, kinds)) continue;
    const std::u16string_view status = step.status.empty() ? kStatus : step.status;
    if (withProgress && status != shown) showStatus(shown = status);
    if (!run(step, collection)) logWarning(toUtf16(step.name) + u": " + lastError());
    done += 1;
    if (withProgress) showProgress(done / static_cast<double>(std::size(kSteps)));
  }
}

}  // namespace vemko::io
