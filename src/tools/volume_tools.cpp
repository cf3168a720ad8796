#include "tools/volume_tools.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "base/parallel_for.h"
#include "base/text.h"
#include "tools/levels.h"
#include "tools/loudness.h"
#include "tools/sample_blocks.h"
#include "tools/waveform_selection.h"

namespace vemko::tools {
namespace {

// The mean square of as many floats as the waveform has frames: of stereo data the first half only, as rms()
// does it.
float rmsOfWhole(const Waveform& waveform) { return rms(waveform, 0, waveform.frames); }

// A quarter of a second, or a sixth of a short waveform, on either side of the peak. A peak closer to the
// start wraps around and counts as silence.
float rmsAroundPeak(const Waveform& waveform) {
  const std::uint32_t at = peak(waveform).frame;
  const std::uint32_t reach = std::min(waveform.rate / 4, waveform.frames / 6);
  const std::uint64_t end = std::uint64_t{at} + reach;
  return rms(waveform, at - reach, static_cast<std::uint32_t>(std::min<std::uint64_t>(waveform.frames, end)));
}

// `change` gives false for a waveform that needs none, and for one that failed.
void changeAll(ToolContext& context, bool (*change)(Waveform&)) {
  for (Waveform* waveform : selectedWaveforms(context)) {
    setLastError({});
    if (change(*waveform))
      ++context.processedCount;
    else if (!lastError().empty())
      reportFailure(context, waveform);
  }
}

}  // namespace

FindVolumeOptions& findVolumeOptions() {
  static FindVolumeOptions options;
  return options;
}

AdjustVolumeOptions& adjustVolumeOptions() {
  static AdjustVolumeOptions options;
  return options;
}

float measureVolume(const Waveform& waveform, VolumeMeasure measure) {
  switch (measure) {
    case kPeakMeasure:
      return toDecibels(peak(waveform).level);
    case kLoudnessMeasure:
      return loudness(waveform, true);
    case kRmsMeasure:
      return toDecibels(rmsOfWhole(waveform));
    case kRmsAroundPeakMeasure:
      return toDecibels(rmsAroundPeak(waveform));
  }
  return 0;
}

void applyFindVolume(ToolContext& context) {
  const FindVolumeOptions options = findVolumeOptions();
  const std::vector<Waveform*> waveforms = selectedWaveforms(context);
  std::vector<float> volumes(waveforms.size());
  parallelFor(waveforms.size(), [&](std::size_t i) {
    volumes[i] = measureVolume(*waveforms[i], static_cast<VolumeMeasure>(options.measure));
    return true;
  });
  for (std::size_t i = 0; i < waveforms.size(); ++i) {
    Waveform& waveform = *waveforms[i];
    const float volume = volumes[i];
    context.volumes.push_back({waveform.id(), waveform.displayName(), volume});
    if (options.appendToName)
      waveform.setName(waveform.name() + u" " + toUtf16(formatted("%.2f dB", volume)));
    if (options.subtractFromAdjustment) waveform.volumeAdjustmentDb -= volume;
    if (options.normalize && !applyGain(waveform, -volume, 0, 0)) reportFailure(context, &waveform);
    ++context.processedCount;
  }
}

void applyAdjustVolume(ToolContext& context) {
  const AdjustVolumeOptions options = adjustVolumeOptions();
  const auto decibels = static_cast<float>(options.decibels);
  for (Waveform* waveform : selectedWaveforms(context)) {
    const FrameRange range = context.range.value_or(FrameRange{0, waveform->frames});
    if (options.metaDataOnly) {
      waveform->volumeAdjustmentDb += decibels;
    } else if (decibels != 0 && range.start >= std::min(range.end, waveform->frames)) {
      continue;  // the selection holds nothing of this waveform
    } else if (!applyGain(*waveform, decibels, range.start, range.end)) {
      reportFailure(context, waveform);
      continue;
    }
    ++context.processedCount;
  }
}

void applyMaximize(ToolContext& context) {
  changeAll(context, [](Waveform& waveform) { return maximize(waveform, MaximizeMode::FixedZero); });
}

void applyRemoveOffset(ToolContext& context) { changeAll(context, removeOffset); }

void applyStatistics(ToolContext& context) { context.statistics = statisticsOf(selectedWaveforms(context)); }

}  // namespace vemko::tools
