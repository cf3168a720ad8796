#include "base/last_error.h"
#include "base/parallel_for.h"
#include "io/samples.h"
#include "tools/levels.h"
#include "tools/loudness.h"
#include "tools/volume_tools.h"
#include "tools/waveform_selection.h"

namespace vemko::tools {
namespace {

constexpr double kReferenceDecibels = 83;  // the level to which the loudness measure refers

float gainFor(const NormalizeOptions& options, float loudness) {
  return static_cast<float>(options.desiredDecibels - kReferenceDecibels + loudness);
}

/// The gain of each waveform.
std::vector<float> gainsFor(const NormalizeOptions& options, const std::vector<Waveform*>& waveforms) {
  std::vector<float> gains(waveforms.size());
  if (options.singleRecording) {
    LoudnessAnalyser analyser(options.equalLoudness);
    for (const Waveform* waveform : waveforms) analyser.feed(*waveform);
    std::fill(gains.begin(), gains.end(), gainFor(options, analyser.finish()));
  } else {
    parallelFor(waveforms.size(), [&](std::size_t i) {
      gains[i] = gainFor(options, loudness(*waveforms[i], options.equalLoudness));
      return true;
    });
  }
  return gains;
}

/// A channel's samples to and from a waveform of its own.
void copyChannel(std::span<float> interleaved, std::size_t channels, std::size_t channel,
                 std::span<float> mono, bool back) {
  for (std::size_t i = 0; i < mono.size(); ++i) {
    float& sample = interleaved[i * channels + channel];
    (back ? sample : mono[i]) = back ? mono[i] : sample;
  }
}

/// Each channel by its own loudness. False with the last error message set when there is no room for one, or
/// there are no samples.
bool normalizeChannels(const NormalizeOptions& options, Waveform& waveform) {
  if (!io::loadSamples(waveform, true)) return false;
  if (waveform.frames == 0) return true;
  Collection temporary;
  Waveform& mono = createWaveform(temporary, u"");
  mono.rate = waveform.rate;
  mono.setSamples(SampleBuffer::allocate(waveform.frames, 1, waveform.rate));
  if (!mono.buffer) return fail(u"Out of memory");
  const std::span<float> samples = waveform.editableSamples();
  if (samples.empty()) return false;
  for (std::size_t channel = 0; channel < waveform.channels; ++channel) {
    copyChannel(samples, waveform.channels, channel, mono.editableSamples(), false);
    if (!applyGain(mono, gainFor(options, loudness(mono, options.equalLoudness)), 0, 0)) return false;
    copyChannel(samples, waveform.channels, channel, mono.editableSamples(), true);
  }
  return true;
}

bool normalizeWhole(const NormalizeOptions& options, Waveform& waveform, float gain) {
  if (options.target == kSetAdjustment) {
    waveform.volumeAdjustmentDb = gain;
    return true;
  }
  if (!applyGain(waveform, gain, 0, 0)) return false;
  waveform.volumeAdjustmentDb = 0;
  return true;
}

}  // namespace

NormalizeOptions& normalizeOptions() {
  static NormalizeOptions options;
  return options;
}

bool normalizeRelatesItems() { return normalizeOptions().singleRecording; }

void applyNormalize(ToolContext& context) {
  const NormalizeOptions options = normalizeOptions();
  const bool separately =
      options.channelsSeparately && options.target == kModifyAudio && !options.singleRecording;
  std::vector<Waveform*> whole = selectedWaveforms(context);
  std::vector<Waveform*> split;
  if (separately)
    std::erase_if(whole, [&](Waveform* waveform) {
      return waveform->channels >= 2 && (split.push_back(waveform), true);
    });

  const std::vector<float> gains = gainsFor(options, whole);
  auto finish = [&context](bool ok, const Waveform& waveform) {
    if (ok)
      ++context.processedCount;
    else
      reportFailure(context, &waveform);
  };
  for (std::size_t i = 0; i < whole.size(); ++i)
    finish(normalizeWhole(options, *whole[i], gains[i]), *whole[i]);
  for (Waveform* waveform : split) finish(normalizeChannels(options, *waveform), *waveform);
}

}  // namespace vemko::tools
