#include <algorithm>

#include "base/last_error.h"
#include "io/fixup.h"
#include "io/samples.h"

namespace vemko::io {
namespace {

constexpr std::uint32_t kFramesAfterLoop = 32;

struct Span {
  std::uint32_t start, end;
  std::uint32_t length() const { return end - start; }
};

/// The frame that a player meets `steps` frames behind the loop's end.
std::uint32_t frameBehind(const Span& loop, std::uint32_t steps, bool alternating) {
  if (!alternating) return loop.start + steps % loop.length();
  const auto step = static_cast<std::uint32_t>(steps % (std::uint64_t{loop.length()} * 2));
  return step < loop.length() ? loop.end - 1 - step : loop.start + (step - loop.length());
}

bool append(Waveform& waveform, const Span& loop, bool alternating) {
  const std::uint64_t frames = std::uint64_t{loop.end} + kFramesAfterLoop;
  if (!mayGrowTo(frames, waveform.channels) || !loadSamples(waveform, true)) return false;
  auto longer =
      SampleBuffer::allocate(static_cast<std::uint32_t>(frames), waveform.channels, waveform.buffer->rate());
  if (!longer) return fail(u"Out of memory");
  const auto from = waveform.buffer->samples();
  const auto to = longer->samples();
  std::ranges::copy(from, to.begin());
  for (std::uint64_t frame = waveform.frames; frame < frames; ++frame) {
    const auto steps = static_cast<std::uint32_t>(frame - loop.end);
    const std::size_t copied = frameBehind(loop, steps, alternating);
    std::ranges::copy(from.subspan(copied * waveform.channels, waveform.channels),
                      to.begin() + static_cast<std::ptrdiff_t>(frame * waveform.channels));
  }
  waveform.setSamples(std::move(longer));
  return true;
}

}  // namespace

// A waveform whose main loop plays and ends less than 32 frames before the data do gets the frames appended
// that a player would go on with, so that 32 follow the loop: some hardware interpolates past the loop's end.
// No other waveform is loaded.
bool append32(Collection& collection) {
  bool complete = true;
  collection.forEach<Waveform>([&](Waveform& waveform) {
    const LoopRecord* loop = waveform.mainLoop();
    if (!loop || loop->type != RecordType::Loop || loop->play == LoopPlay::Off || waveform.channels == 0)
      return;
    const Span span{loop->start, std::min(loop->end, waveform.frames)};
    if (span.start >= span.end || waveform.frames - span.end >= kFramesAfterLoop) return;
    if (!append(waveform, span, loop->play == LoopPlay::Alternating)) complete = false;
  });
  return complete;
}

}  // namespace vemko::io
