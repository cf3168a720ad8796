#pragma once
// Samples for those who look at a waveform without owning it: a background thread, a view of a short stretch.
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <vector>

#include "core/waveform.h"

namespace vemko {

/// What a thread needs to read a waveform's samples while the waveform itself may be edited or removed. While
/// this lives, somebody who edits the samples gets a copy of them; hold it no longer than needed.
struct SampleAccess {
  std::shared_ptr<const SampleBuffer> buffer;  ///< Null for deferred samples.
  std::shared_ptr<const SampleSource> source;
  std::uint32_t frames = 0;
  std::uint8_t channels = 0;

  bool isEmpty() const { return frames == 0 || channels == 0 || (!buffer && !source); }
  /// Reading from a later frame on costs no more than from the first.
  bool canSeek() const { return buffer || (source && source->canSeek()); }
};

/// Empty for a waveform without samples.
SampleAccess accessTo(const Waveform& waveform);

/// Passes the frames [first, end) on in order, in interleaved blocks of `blockFrames` (the last may be
/// shorter) that are valid during the call. Where the data are shorter than the waveform, what is missing is
/// left out. False when stopped, or with the last error message set.
using TakeFrames = std::function<void(std::uint64_t frame, std::span<const float> samples)>;
bool readFrames(const SampleAccess& access, std::uint64_t first, std::uint64_t end, std::uint32_t blockFrames,
                const std::stop_token& stop, const TakeFrames& take);

/// A stretch of samples, interleaved.
struct SampleWindow {
  std::uint64_t first = 0;  ///< Frame of the waveform.
  std::uint8_t channels = 0;
  std::vector<float> samples;

  std::uint64_t frames() const { return channels ? samples.size() / channels : 0; }
  bool covers(std::uint64_t from, std::uint64_t to) const { return from >= first && to <= first + frames(); }
};

/// The frames [first, end), cut at the waveform's length; missing data are silence. Nothing when stopped, or
/// with the last error message set.
std::shared_ptr<const SampleWindow> readWindow(const SampleAccess& access, std::uint64_t first,
                                               std::uint64_t end, const std::stop_token& stop = {});

}  // namespace vemko
