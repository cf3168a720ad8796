#include "compare/sample_difference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "base/last_error.h"

namespace vemko::compare {
namespace {

constexpr std::size_t kBlockFrames = 8192;
constexpr std::int64_t kMostShift = 4096;
constexpr double kFarApartDecibels = 30;

/// A waveform's frames in order, cut or filled up with nothing to `channels` channels.
class Frames {
 public:
  Frames(const Waveform& waveform, std::size_t channels, std::uint64_t firstFrame)
      : stream_(openSamples(waveform, firstFrame)), own_(waveform.channels), channels_(channels) {}
  bool isOpen() const { return stream_ != nullptr; }

  std::optional<std::size_t> read(std::span<float> out) {
    if (own_ == channels_) return stream_->read(out);
    const std::size_t frames = out.size() / channels_;
    wide_.resize(frames * own_);
    const auto got = stream_->read(wide_);
    for (std::size_t i = 0; got && i < *got; ++i)
      std::copy_n(wide_.begin() + static_cast<std::ptrdiff_t>(i * own_), channels_,
                  out.begin() + static_cast<std::ptrdiff_t>(i * channels_));
    return got;
  }

 private:
  std::unique_ptr<SampleStream> stream_;
  std::size_t own_, channels_;
  std::vector<float> wide_;
};

struct Sums {
  double largest = 0, largestInside = 0, signal = 0, noise = 0;
};

bool isClipped(float a, float b) {
  constexpr float kFullScale = 1 - 1 / 128.0f;  // of 8 bits
  return (a >= kFullScale && b >= kFullScale) || (a <= -kFullScale && b <= -kFullScale);
}

void addBlock(std::span<const float> a, std::span<const float> b, Sums& sums) {
  if (std::equal(a.begin(), a.end(), b.begin())) {
    for (float x : a) sums.signal += double{x} * x;
    return;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = double{a[i]} - b[i];
    sums.largest = std::max(sums.largest, std::fabs(difference));
    if (!isClipped(a[i], b[i])) sums.largestInside = std::max(sums.largestInside, std::fabs(difference));
    sums.signal += double{a[i]} * a[i];
    sums.noise += difference * difference;
  }
}

std::size_t commonChannels(const Waveform& first, const Waveform& second) {
  return std::min(first.channels, second.channels);
}

// Reads by `frames` wherever the stream stops short before its end.
std::optional<std::size_t> readFully(Frames& frames, std::span<float> out, std::size_t channels) {
  std::size_t done = 0;
  while (done < out.size()) {
    const auto got = frames.read(out.subspan(done));
    if (!got) return std::nullopt;
    if (*got == 0) break;
    done += *got * channels;
  }
  return done;
}

std::optional<SampleDifference> differenceAt(const Waveform& first, const Waveform& second,
                                             std::int64_t shift) {
  const std::size_t channels = commonChannels(first, second);
  Frames a(first, channels, static_cast<std::uint64_t>(std::max<std::int64_t>(-shift, 0)));
  Frames b(second, channels, static_cast<std::uint64_t>(std::max<std::int64_t>(shift, 0)));
  if (!a.isOpen() || !b.isOpen()) return std::nullopt;
  std::vector<float> left(kBlockFrames * channels), right(left.size());
  Sums sums;
  for (;;) {
    const auto gotLeft = readFully(a, left, channels), gotRight = readFully(b, right, channels);
    if (!gotLeft || !gotRight) return std::nullopt;
    const std::size_t count = std::min(*gotLeft, *gotRight);
    addBlock({left.data(), count}, {right.data(), count}, sums);
    if (count < left.size()) break;
  }
  const double snr = sums.noise > 0 ? 10 * std::log10(std::max(sums.signal, 1e-30) / sums.noise)
                                    : std::numeric_limits<double>::infinity();
  return SampleDifference{sums.largest, sums.largestInside, snr, shift};
}

/// Some frames of the first channel; shorter at the end, empty when they cannot be read.
std::vector<float> excerpt(const Waveform& waveform, std::uint64_t start, std::size_t frames) {
  Frames source(waveform, 1, start);
  std::vector<float> samples(frames);
  const auto got = source.isOpen() ? readFully(source, samples, 1) : std::nullopt;
  samples.resize(got.value_or(0));
  return samples;
}

/// Where in the waveform there is most to be compared: the loudest of some windows.
std::uint64_t loudestWindow(const Waveform& waveform, std::size_t frames) {
  constexpr std::uint64_t kWindows = 16;
  double loudest = -1;
  std::uint64_t best = 0;
  for (std::uint64_t i = 0; i < kWindows; ++i) {
    const std::uint64_t start = waveform.frames > frames ? (waveform.frames - frames) * i / kWindows : 0;
    double energy = 0;
    for (float x : excerpt(waveform, start, frames)) energy += double{x} * x;
    if (energy > loudest) loudest = energy, best = start;
    if (start == 0 && i > 0) break;
  }
  return best;
}

/// By how much the second has to be moved to resemble the first best.
std::int64_t findShift(const Waveform& first, const Waveform& second) {
  const std::size_t window = std::min<std::size_t>(8192, first.frames);
  const std::uint64_t at = loudestWindow(first, window);
  const std::uint64_t from = at > kMostShift ? at - kMostShift : 0;
  const std::vector<float> a = excerpt(first, at, window);
  const std::vector<float> b = excerpt(second, from, window + 2 * kMostShift);
  double best = 0;
  std::int64_t shift = 0;
  for (std::size_t offset = 0; a.size() + offset <= b.size(); ++offset) {
    constexpr std::size_t kLanes = 16;
    std::array<float, kLanes> products{}, squares{};
    std::size_t i = 0;
    for (; i + kLanes <= a.size(); i += kLanes)
      for (std::size_t lane = 0; lane < kLanes; ++lane) {
        products[lane] += a[i + lane] * b[offset + i + lane];
        squares[lane] += b[offset + i + lane] * b[offset + i + lane];
      }
    double product = 0, energy = 1e-30;
    for (std::size_t lane = 0; lane < kLanes; ++lane) product += products[lane], energy += squares[lane];
    const double likeness = product / std::sqrt(energy);
    if (likeness > best)
      best = likeness, shift = static_cast<std::int64_t>(from + offset) - static_cast<std::int64_t>(at);
  }
  return shift;
}

}  // namespace

std::optional<SampleDifference> differenceOf(const Waveform& first, const Waveform& second) {
  if (commonChannels(first, second) == 0 || std::min(first.frames, second.frames) == 0)
    return SampleDifference{};
  auto difference = differenceAt(first, second, 0);
  if (!difference || difference->largest == 0 || difference->snrDecibels >= kFarApartDecibels)
    return difference;
  const std::int64_t shift = findShift(first, second);
  if (shift == 0) return difference;
  auto aligned = differenceAt(first, second, shift);
  return aligned && aligned->snrDecibels > difference->snrDecibels + 6 ? aligned : difference;
}

}  // namespace vemko::compare
