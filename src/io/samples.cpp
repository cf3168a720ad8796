#include "io/samples.h"

#include <algorithm>
#include <unordered_set>

#include "base/log.h"
#include "base/memory.h"
#include "base/parallel_for.h"
#include "base/progress.h"

namespace vemko::io {
namespace {

constexpr std::uint32_t kSilentFrames = 250000;  // a load of up to this many shows nothing
constexpr std::uint32_t kSliceFrames = 1 << 18;  // what one thread decodes at a time

/// Fills `out` with the frames from `first` on. Where the data are shorter than the waveform, the rest is
/// silence.
bool readFrames(const Waveform& waveform, std::uint32_t first, std::span<float> out) {
  auto stream = waveform.source->open(first);
  if (!stream) return false;
  while (!out.empty()) {
    const auto frames = stream->read(out);
    if (!frames) return false;
    if (*frames == 0) break;
    out = out.subspan(std::min(out.size(), *frames * waveform.channels));
  }
  std::fill(out.begin(), out.end(), 0.0f);
  return true;
}

bool readInSlices(const Waveform& waveform, std::span<float> samples) {
  const std::size_t sliceSamples = std::size_t{kSliceFrames} * waveform.channels;
  const std::size_t slices = (samples.size() + sliceSamples - 1) / sliceSamples;
  return parallelFor(slices, [&](std::size_t slice) {
    auto part = samples.subspan(slice * sliceSamples);
    part = part.first(std::min(part.size(), sliceSamples));
    return readFrames(waveform, static_cast<std::uint32_t>(slice * kSliceFrames), part);
  });
}

enum class Threads { One, All };

bool load(Waveform& waveform, Threads threads) {
  if (waveform.buffer) return true;
  if (!waveform.source) return fail(u"No wave data import procedure");
  if (!mayLoad(waveform.frames, waveform.channels)) return false;
  auto buffer = SampleBuffer::allocate(waveform.frames, waveform.channels, waveform.rate);
  if (!buffer) return fail(u"Out of memory");
  const bool sliced = threads == Threads::All && waveform.frames > kSliceFrames && waveform.source->canSeek();
  if (!(sliced ? readInSlices(waveform, buffer->samples()) : readFrames(waveform, 0, buffer->samples())))
    return false;
  waveform.buffer = std::move(buffer);
  return true;
}

}  // namespace

bool loadSamples(Waveform& waveform, bool quiet) {
  const bool shown = !quiet && !waveform.buffer && waveform.source && waveform.frames > kSilentFrames;
  WaitCursor cursor(shown);
  if (shown) showStatus(u"Reading: " + waveform.displayName());
  return withinMemory([&] { return load(waveform, Threads::All); });
}

bool loadSamples(std::span<Waveform* const> waveforms) {
  if (waveforms.size() == 1) return loadSamples(*waveforms[0], true);
  return withinMemory([&] {
    return parallelFor(waveforms.size(),
                       [&](std::size_t index) { return load(*waveforms[index], Threads::One); });
  });
}

bool checkSamples(std::span<Waveform* const> waveforms) {
  std::unordered_set<const SourceFile*> opened;
  for (const Waveform* waveform : waveforms) {
    if (waveform->buffer) continue;
    if (!waveform->source) return fail(u"No wave data import procedure");
    const auto file = waveform->source->file();
    if (file && !opened.insert(file.get()).second) continue;
    if (file ? !file->open() : !waveform->source->open()) return false;
  }
  return true;
}

void dropSamples(Waveform& waveform) {
  if (waveform.sourceIsIntact()) waveform.buffer.reset();
}

}  // namespace vemko::io
