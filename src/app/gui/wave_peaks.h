#pragma once
// What a waveform's picture is drawn from, fetched in the background.
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "core/peak_pyramid.h"

namespace vemko::gui {

/// Samples at hand, interleaved; valid until the waveform or WavePeaks changes.
struct FrameSpan {
  std::uint64_t first = 0;
  unsigned channels = 0;
  std::span<const float> samples;

  std::uint64_t frames() const { return channels ? samples.size() / channels : 0; }
  bool covers(std::uint64_t from, std::uint64_t to) const { return from >= first && to <= first + frames(); }
};

/// Used by one thread. Threads of its own read the samples; while they do, they hold them.
class WavePeaks {
 public:
  /// `onMore` is called on any thread when there is more to draw.
  explicit WavePeaks(std::function<void()> onMore);
  ~WavePeaks();

  /// Begins anew for this waveform; returns after a first picture is there or a moment has passed. With
  /// `keepPicture` the old picture of the same length is shown until the new one is complete.
  void start(const Waveform& waveform, bool keepPicture);
  void clear();  ///< Waits for no thread.

  /// Null without a waveform.
  const PeakPyramid* pyramid();
  /// Why the samples could not be read; empty otherwise.
  const std::u16string& error() const { return error_; }
  /// The samples of [first, end), when they are in memory. Otherwise empty, and they are fetched.
  FrameSpan samples(const Waveform& waveform, std::uint64_t first, std::uint64_t end);

 private:
  struct Job;

  void launch(const std::shared_ptr<Job>& job, std::function<bool(Job&)> work);
  void retire(std::shared_ptr<Job>& job);
  void fetch(const Waveform& waveform, std::uint64_t first, std::uint64_t end);

  std::function<void()> onMore_;
  std::u16string error_;
  std::shared_ptr<PeakPyramid> shown_;
  std::shared_ptr<PeakPyramid> coming_;
  std::shared_ptr<Job> building_;
  std::shared_ptr<Job> fetching_;
  std::shared_ptr<const SampleWindow> window_;
  std::vector<std::shared_ptr<Job>> retired_;  // told to stop, and not looked at again
};

}  // namespace vemko::gui
