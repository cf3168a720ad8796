#include "core/peak_pyramid.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <thread>

#include "base/last_error.h"
#include "base/text.h"
#include "core/collection.h"

namespace vemko {
namespace {

enum class Kept { InBuffer, InSeekableSource, InOrderOnly };

/// Deferred samples in memory; `available` of them, whatever the waveform claims.
struct MemorySource final : SampleSource {
  std::vector<float> samples;
  unsigned channels = 1;
  bool seekable = true;
  bool failsToRead = false;

  struct Stream final : SampleStream {
    const MemorySource* source;
    std::size_t at;
    std::optional<std::size_t> read(std::span<float> out) override {
      if (source->failsToRead) {
        setLastError(u"broken");
        return std::nullopt;
      }
      const std::size_t count = std::min(out.size(), source->samples.size() - at);
      std::copy_n(source->samples.begin() + static_cast<std::ptrdiff_t>(at), count, out.begin());
      at += count;
      return count / source->channels;
    }
  };
  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    auto stream = std::make_unique<Stream>();
    stream->source = this;
    stream->at = std::min<std::size_t>(samples.size(), static_cast<std::size_t>(firstFrame) * channels);
    return stream;
  }
  bool canSeek() const override { return seekable; }
};

std::vector<float> noise(std::size_t count) {
  std::mt19937 random(1);
  std::vector<float> samples(count);
  for (float& x : samples) x = static_cast<float>(random() >> 8) / float(1 << 23) - 1;
  return samples;
}

SampleAccess accessTo(std::vector<float> samples, std::uint32_t frames, std::uint8_t channels, Kept kept) {
  SampleAccess access{nullptr, nullptr, frames, channels};
  if (kept == Kept::InBuffer) {
    auto buffer = SampleBuffer::allocate(frames, channels, 44100);
    std::ranges::copy(samples, buffer->samples().begin());
    access.buffer = buffer;
  } else {
    auto source = std::make_shared<MemorySource>();
    source->samples = std::move(samples);
    source->channels = channels;
    source->seekable = kept == Kept::InSeekableSource;
    access.source = source;
  }
  return access;
}

/// What peak() has to say of whole blocks, by going through every sample.
void expectPeak(const PeakPyramid& pyramid, const std::vector<float>& samples, std::uint64_t first,
                std::uint64_t end) {
  const unsigned channels = pyramid.channels();
  const std::uint64_t from = first / PeakPyramid::kBlockFrames * PeakPyramid::kBlockFrames;
  const std::uint64_t to =
      std::min<std::uint64_t>(pyramid.frames(), (end + PeakPyramid::kBlockFrames - 1) /
                                                    PeakPyramid::kBlockFrames * PeakPyramid::kBlockFrames);
  for (unsigned channel = 0; channel < channels; ++channel) {
    float low = INFINITY, high = -INFINITY;
    double squares = 0;
    for (std::uint64_t frame = from; frame < to; ++frame) {
      const std::size_t i = static_cast<std::size_t>(frame) * channels + channel;
      const float x = i < samples.size() ? samples[i] : 0;
      low = std::min(low, x);
      high = std::max(high, x);
      squares += double{x} * x;
    }
    const auto peak = pyramid.peak(channel, first, end);
    ASSERT_TRUE(peak) << first << ".." << end;
    ASSERT_EQ(peak->low, low) << first << ".." << end << " channel " << channel;
    ASSERT_EQ(peak->high, high) << first << ".." << end << " channel " << channel;
    ASSERT_NEAR(peak->power, squares / static_cast<double>(to - from), 1e-4);
  }
}

TEST(PeakPyramid, AnswersAsIfEverySampleWereLookedAt) {
  struct Case {
    const char* name;
    std::uint32_t frames;
    std::uint8_t channels;
    Kept kept;
    std::uint32_t missing = 0;  // frames that the source does not have
  };
  const Case cases[] = {
      {"one frame", 1, 1, Kept::InBuffer},
      {"a block", 256, 2, Kept::InBuffer},
      {"a block and a frame", 257, 2, Kept::InSeekableSource},
      {"levels that are not full", 70001, 1, Kept::InOrderOnly},
      {"three channels", 70001, 3, Kept::InBuffer},
      {"a page", 1 << 20, 1, Kept::InSeekableSource},
      {"several pages", (2 << 20) + 4097, 2, Kept::InBuffer},
      {"several pages in order", (2 << 20) + 4097, 2, Kept::InOrderOnly},
      {"probed", (5 << 20) + 300, 1, Kept::InSeekableSource},
      {"less than claimed", 3 << 20, 1, Kept::InSeekableSource, (1 << 20) + 1000},
      {"less than claimed, in order", 3 << 20, 1, Kept::InOrderOnly, (1 << 20) + 1000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto samples = noise(std::size_t{c.frames - c.missing} * c.channels);
    const SampleAccess access = accessTo(samples, c.frames, c.channels, c.kept);
    PeakPyramid pyramid(c.frames, c.channels);
    EXPECT_FALSE(pyramid.isComplete());
    EXPECT_FALSE(pyramid.peak(0, 0, c.frames));
    ASSERT_TRUE(pyramid.build(access, {})) << toUtf8(lastError());
    EXPECT_TRUE(pyramid.isComplete());
    std::mt19937 random(2);
    expectPeak(pyramid, samples, 0, c.frames);
    expectPeak(pyramid, samples, c.frames - 1, c.frames);
    for (int i = 0; i < 40; ++i) {
      const std::uint64_t first = random() % c.frames;
      const std::uint64_t length = 1 + (random() % c.frames >> random() % 16);
      expectPeak(pyramid, samples, first, std::min<std::uint64_t>(first + length, c.frames));
      if (testing::Test::HasFatalFailure()) return;
    }
    EXPECT_FALSE(pyramid.peak(c.channels, 0, 1)) << "no such channel";
    EXPECT_FALSE(pyramid.peak(0, c.frames, c.frames + 1)) << "behind the end";
  }
}

TEST(PeakPyramid, PassesOverWhatIsNoNumber) {
  for (std::uint8_t channels : std::initializer_list<std::uint8_t>{1, 2, 3}) {
    SCOPED_TRACE(int{channels});
    std::vector<float> samples(std::size_t{1000} * channels, 0.5f);
    for (std::size_t i = 0; i < samples.size(); i += 7) samples[i] = NAN;
    samples[channels * 300u] = -INFINITY;
    PeakPyramid pyramid(1000, channels);
    ASSERT_TRUE(pyramid.build(accessTo(samples, 1000, channels, Kept::InBuffer), {}));
    const auto clean = pyramid.peak(0, 0, 256), infinite = pyramid.peak(0, 256, 512);
    ASSERT_TRUE(clean && infinite);
    EXPECT_EQ(clean->low, 0.5f);
    EXPECT_EQ(clean->high, 0.5f);
    EXPECT_EQ(infinite->low, -INFINITY);
    EXPECT_TRUE(std::isfinite(infinite->power));
  }
}

TEST(PeakPyramid, ShowsAllOfALongWaveformBeforeItIsBuilt) {
  const std::uint32_t frames = 20 << 20;
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = static_cast<float>(i) / static_cast<float>(frames);
  const SampleAccess access = accessTo(std::move(samples), frames, 1, Kept::InSeekableSource);
  PeakPyramid pyramid(frames, 1);
  std::stop_source stop;
  ASSERT_FALSE(pyramid.build(access, stop.get_token(), [&] { stop.request_stop(); }));
  ASSERT_LT(pyramid.share(), 1) << "stopped too late to show anything";
  for (int tenth = 0; tenth < 10; ++tenth) {
    const auto peak = pyramid.peak(0, frames / 10 * static_cast<unsigned>(tenth),
                                   frames / 10 * static_cast<unsigned>(tenth + 1));
    ASSERT_TRUE(peak) << tenth;
    EXPECT_NEAR(peak->high, (tenth + 1) * 0.1, 0.05);
  }
}

TEST(PeakPyramid, CanBeReadWhileItIsBuilt) {
  const std::uint32_t frames = 8 << 20;
  const SampleAccess access = accessTo(std::vector<float>(frames, 0.25f), frames, 1, Kept::InOrderOnly);
  PeakPyramid pyramid(frames, 1);
  bool isBuilt = false;
  std::jthread builder([&] { isBuilt = pyramid.build(access, {}); });
  while (!pyramid.isComplete())
    for (std::uint32_t first = 0; first < frames; first += 1 << 18)
      if (const auto peak = pyramid.peak(0, first, first + 5000)) {
        ASSERT_EQ(peak->high, 0.25f) << first;
      }
  builder.join();
  EXPECT_TRUE(isBuilt);
}

TEST(PeakPyramid, TellsWhySamplesCannotBeRead) {
  auto source = std::make_shared<MemorySource>();
  source->failsToRead = true;
  for (bool seekable : {true, false}) {
    source->seekable = seekable;
    PeakPyramid pyramid(1000, 1);
    EXPECT_FALSE(pyramid.build({nullptr, source, 1000, 1}, {}));
    EXPECT_EQ(lastError(), u"broken");
    EXPECT_FALSE(pyramid.peak(0, 0, 1000));
  }
}

TEST(SampleWindow, HoldsTheFramesAsked) {
  const auto samples = noise(40000 * 2);
  for (Kept kept : {Kept::InBuffer, Kept::InSeekableSource, Kept::InOrderOnly}) {
    SCOPED_TRACE(static_cast<int>(kept));
    const SampleAccess access = accessTo(samples, 40000, 2, kept);
    const auto window = readWindow(access, 19999, 50000);
    ASSERT_TRUE(window) << toUtf8(lastError());
    EXPECT_TRUE(window->covers(19999, 40000));
    EXPECT_FALSE(window->covers(19998, 20000));
    EXPECT_FALSE(window->covers(39999, 40001));
    EXPECT_TRUE(std::equal(window->samples.begin(), window->samples.end(), samples.begin() + 19999 * 2));
    const Peak peak = peakOf(std::span(window->samples).first(2 * 10), 2, 1);
    EXPECT_GE(peak.high, samples[20000 * 2 + 1]);
    EXPECT_LE(peak.low, samples[20000 * 2 + 1]);
  }
}

}  // namespace
}  // namespace vemko
