#include "core/peak_pyramid.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <new>

#include "base/last_error.h"
#include "base/parallel_for.h"
#include "base/wider_vectors.h"

namespace vemko {

/// One channel of one block. The sum of squares instead of their mean, so that blocks of any length add up.
struct PeakBlock {
  float low = std::numeric_limits<float>::infinity();
  float high = -std::numeric_limits<float>::infinity();
  float squares = 0;

  void add(const PeakBlock& other) {
    low = std::min(low, other.low);
    high = std::max(high, other.high);
    squares += other.squares;
  }
};

namespace {

constexpr std::uint32_t kFanOut = 16;
constexpr std::size_t kLevels = 4;
constexpr std::uint32_t kPageBlocks = kFanOut * kFanOut * kFanOut;
constexpr std::uint64_t kPageFrames = std::uint64_t{kPageBlocks} * PeakPyramid::kBlockFrames;
constexpr std::uint32_t kReadFrames = 64 * PeakPyramid::kBlockFrames;

constexpr std::uint32_t kProbes = 1024;
constexpr std::size_t kPagesWorthProbing = 4;
constexpr std::chrono::milliseconds kProbingTime{120};  // for all; what is not done by then is left out

constexpr std::size_t kLanes = 16;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Every comparison with not-a-number is false: such samples and infinite squares change nothing.
inline void take(float x, float& low, float& high, float& squares) {
  low = x < low ? x : low;
  high = x > high ? x : high;
  const float square = x * x;
  squares += square < kInfinity ? square : 0.0f;
}

/// For channel counts that divide kLanes: lane l holds channel l % channels. Written so that the compiler
/// keeps the lanes in vector registers.
VEMKO_WIDER void scanInLanes(const float* samples, std::size_t count, unsigned channels, PeakBlock* out) {
  float low[kLanes], high[kLanes], squares[kLanes];
  std::fill_n(low, kLanes, kInfinity);
  std::fill_n(high, kLanes, -kInfinity);
  std::fill_n(squares, kLanes, 0.0f);
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes)
    for (std::size_t l = 0; l < kLanes; ++l) take(samples[i + l], low[l], high[l], squares[l]);
  for (std::size_t l = 0; i < count; ++i, ++l) take(samples[i], low[l], high[l], squares[l]);
  for (std::size_t l = 0; l < kLanes; ++l) out[l % channels].add({low[l], high[l], squares[l]});
}

PeakBlock scanChannel(std::span<const float> samples, unsigned channels, unsigned channel) {
  PeakBlock block;
  for (std::size_t i = channel; i < samples.size(); i += channels)
    take(samples[i], block.low, block.high, block.squares);
  return block;
}

/// Adds whole frames to the `channels` blocks at `out`.
void scan(std::span<const float> samples, unsigned channels, PeakBlock* out) {
  if (kLanes % channels == 0) return scanInLanes(samples.data(), samples.size(), channels, out);
  for (unsigned channel = 0; channel < channels; ++channel)
    out[channel].add(scanChannel(samples, channels, channel));
}

std::uint32_t reversedProbe(std::uint32_t index) {
  std::uint32_t reversed = 0;
  for (std::uint32_t bit = 1; bit < kProbes; bit <<= 1, index >>= 1) reversed = reversed << 1 | (index & 1);
  return reversed;
}

}  // namespace

/// What peak() has gathered.
struct PeakPyramid::Sum {
  float low = kInfinity;
  float high = -kInfinity;
  double squares = 0;
  double frames = 0;

  void add(const PeakBlock& block, std::uint64_t blockFrames) {
    low = std::min(low, block.low);
    high = std::max(high, block.high);
    squares += block.squares;
    frames += static_cast<double>(blockFrames);
  }
};

/// The levels of a million frames. Each level holds its blocks in order, the channels of a block side by
/// side.
struct PeakPyramid::Page {
  std::array<std::vector<PeakBlock>, kLevels> levels;

  // Writes frames that begin at `frame` of this page.
  void write(std::uint64_t frame, std::span<const float> samples, unsigned channels) {
    while (!samples.empty()) {
      const std::uint64_t room = kBlockFrames - frame % kBlockFrames;
      const auto part =
          samples.first(static_cast<std::size_t>(std::min<std::uint64_t>(room * channels, samples.size())));
      scan(part, channels, &levels[0][static_cast<std::size_t>(frame / kBlockFrames) * channels]);
      samples = samples.subspan(part.size());
      frame += part.size() / channels;
    }
  }

  // Missing data are silence.
  void finish(unsigned channels) {
    for (PeakBlock& block : levels[0])
      if (!(block.low <= block.high)) block = {0, 0, 0};
    for (std::size_t level = 1; level < kLevels; ++level)
      for (std::size_t i = 0; i < levels[level - 1].size(); ++i)
        levels[level][i / channels / kFanOut * channels + i % channels].add(levels[level - 1][i]);
  }

  // Blocks [from, to) of the lowest level.
  PeakBlock sum(std::size_t from, std::size_t to, unsigned channels, unsigned channel) const {
    PeakBlock block;
    for (const auto& level : levels) {
      while (from < to && (from % kFanOut != 0 || &level == &levels.back()))
        block.add(level[from++ * channels + channel]);
      while (from < to && to % kFanOut != 0) block.add(level[--to * channels + channel]);
      from /= kFanOut;
      to /= kFanOut;
    }
    return block;
  }
};

Peak peakOf(std::span<const float> samples, unsigned channels, unsigned channel) {
  const PeakBlock block = scanChannel(samples, channels, channel);
  const std::size_t frames = samples.size() / channels;
  return {block.low, block.high, frames > 0 ? block.squares / static_cast<float>(frames) : 0};
}

PeakPyramid::PeakPyramid(std::uint32_t frames, std::uint8_t channels)
    : frames_(channels ? frames : 0),
      channels_(channels),
      pages_(static_cast<std::size_t>((frames_ + kPageFrames - 1) / kPageFrames)),
      isBuilt_(pages_.size()),
      probes_(pages_.size() < kPagesWorthProbing ? 0 : kProbes * std::size_t{channels}),
      isProbed_(kProbes) {}

PeakPyramid::~PeakPyramid() = default;

bool PeakPyramid::build(const SampleAccess& samples, const std::stop_token& stop,
                        const std::function<void()>& onProgress) {
  try {
    const auto tell = [&] {
      if (onProgress) onProgress();
    };
    if (!samples.canSeek()) return buildInOrder(samples, stop, tell);
    if (!probes_.empty()) {
      if (!buildProbes(samples, stop)) return false;
      tell();
    }
    return buildPages(samples, stop, tell);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }
}

bool PeakPyramid::buildPages(const SampleAccess& samples, const std::stop_token& stop,
                             const std::function<void()>& onProgress) {
  return parallelFor(pages_.size(), [&](std::size_t index) {
    try {
      const std::uint64_t first = index * kPageFrames;
      auto page = emptyPage(index);
      const bool isRead = readFrames(samples, first, first + kPageFrames, kReadFrames, stop,
                                     [&](std::uint64_t frame, std::span<const float> block) {
                                       page->write(frame - first, block, channels_);
                                     });
      if (!isRead) return false;
      publish(index, std::move(page));
      onProgress();
      return true;
    } catch (const std::bad_alloc&) {
      return fail(u"Out of memory");
    }
  });
}

bool PeakPyramid::buildInOrder(const SampleAccess& samples, const std::stop_token& stop,
                               const std::function<void()>& onProgress) {
  std::size_t index = 0;
  std::unique_ptr<Page> page;
  const auto finishPage = [&] {
    if (!page) page = emptyPage(index);
    publish(index++, std::move(page));
    onProgress();
  };
  // A read never crosses a page, because pages are whole reads long.
  const bool isRead =
      readFrames(samples, 0, frames_, kReadFrames, stop, [&](std::uint64_t frame, auto block) {
        while (frame / kPageFrames > index) finishPage();
        if (!page) page = emptyPage(index);
        page->write(frame % kPageFrames, block, channels_);
      });
  if (!isRead) return false;
  while (index < pages_.size()) finishPage();
  return true;
}

// In an order that spreads over the whole waveform soon.
bool PeakPyramid::buildProbes(const SampleAccess& samples, const std::stop_token& stop) {
  const auto end = std::chrono::steady_clock::now() + kProbingTime;
  return parallelFor(kProbes, [&](std::size_t index) {
    if (std::chrono::steady_clock::now() > end) return true;
    const std::uint32_t probe = reversedProbe(static_cast<std::uint32_t>(index));
    const std::uint64_t first = firstFrameOfProbe(probe);
    PeakBlock* blocks = &probes_[std::size_t{probe} * channels_];
    const bool isRead =
        readFrames(samples, first, first + kBlockFrames, kBlockFrames, stop,
                   [&](std::uint64_t, std::span<const float> block) { scan(block, channels_, blocks); });
    if (!isRead) return false;
    if (blocks->low <= blocks->high) isProbed_[probe].store(true, std::memory_order_release);
    return true;
  });
}

std::unique_ptr<PeakPyramid::Page> PeakPyramid::emptyPage(std::size_t page) const {
  const std::uint64_t frames = std::min<std::uint64_t>(kPageFrames, frames_ - page * kPageFrames);
  auto made = std::make_unique<Page>();
  std::uint64_t span = kBlockFrames;
  for (auto& level : made->levels) {
    level.resize(static_cast<std::size_t>((frames + span - 1) / span) * channels_);
    span *= kFanOut;
  }
  return made;
}

void PeakPyramid::publish(std::size_t index, std::unique_ptr<Page> page) {
  page->finish(channels_);
  pages_[index] = std::move(page);
  isBuilt_[index].store(true, std::memory_order_release);
  ++builtCount_;
}

std::optional<Peak> PeakPyramid::peak(unsigned channel, std::uint64_t first, std::uint64_t end) const {
  end = std::min<std::uint64_t>(end, frames_);
  if (channel >= channels_ || first >= end) return std::nullopt;
  Sum sum;
  while (first < end) {
    const auto index = static_cast<std::size_t>(first / kPageFrames);
    const std::uint64_t pageStart = index * kPageFrames;
    const std::uint64_t pageEnd = std::min<std::uint64_t>(pageStart + kPageFrames, frames_);
    const std::uint64_t partEnd = std::min(end, pageEnd);
    if (isBuilt_[index].load(std::memory_order_acquire)) {
      const std::uint64_t from = (first - pageStart) / kBlockFrames;
      const std::uint64_t to = (partEnd - pageStart + kBlockFrames - 1) / kBlockFrames;
      const std::uint64_t covered = std::min(to * kBlockFrames, pageEnd - pageStart) - from * kBlockFrames;
      sum.add(pages_[index]->sum(static_cast<std::size_t>(from), static_cast<std::size_t>(to), channels_,
                                 channel),
              covered);
    } else if (!probes_.empty()) {
      addProbes(sum, channel, first, partEnd);
    }
    first = partEnd;
  }
  if (sum.frames <= 0) return std::nullopt;
  return Peak{sum.low, sum.high, static_cast<float>(sum.squares / sum.frames)};
}

// The probes within the frames or, where there is none, one before them.
void PeakPyramid::addProbes(Sum& sum, unsigned channel, std::uint64_t first, std::uint64_t end) const {
  const auto probeAt = [&](std::uint64_t frame) {
    return static_cast<std::uint32_t>(frame * kProbes / frames_);
  };
  const std::uint32_t from = probeAt(first), to = probeAt(end - 1);
  std::uint32_t found = 0;
  const auto addProbe = [&](std::uint32_t probe) {
    if (!isProbed_[probe].load(std::memory_order_acquire)) return false;
    sum.add(probes_[std::size_t{probe} * channels_ + channel], kBlockFrames);
    return true;
  };
  for (std::uint32_t probe = from; probe <= to; ++probe) found += addProbe(probe);
  for (std::uint32_t probe = from; found == 0; probe &= probe - 1) {
    found += addProbe(probe);
    if (probe == 0) break;
  }
}

std::uint64_t PeakPyramid::firstFrameOfProbe(std::uint32_t probe) const {
  return std::uint64_t{probe} * frames_ / kProbes;
}

double PeakPyramid::share() const {
  return pages_.empty() ? 1 : static_cast<double>(builtCount_) / static_cast<double>(pages_.size());
}

}  // namespace vemko
