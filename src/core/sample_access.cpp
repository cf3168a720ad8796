#include "core/sample_access.h"

#include <algorithm>
#include <functional>
#include <new>

#include "base/last_error.h"

namespace vemko {
namespace {

constexpr std::uint32_t kWindowBlock = 16384;  // frames between two looks at the stop token

bool passOn(std::span<const float> samples, std::uint64_t first, std::size_t blockSamples, unsigned channels,
            const std::stop_token& stop, const TakeFrames& take) {
  while (!samples.empty()) {
    if (stop.stop_requested()) return false;
    const auto block = samples.first(std::min(samples.size(), blockSamples));
    take(first, block);
    first += block.size() / channels;
    samples = samples.subspan(block.size());
  }
  return true;
}

bool streamOn(const SampleAccess& access, std::uint64_t first, std::uint64_t end, std::size_t blockSamples,
              const std::stop_token& stop, const TakeFrames& take) {
  const auto stream = access.source->open(first);
  if (!stream) return false;
  std::vector<float> block(blockSamples);
  while (first < end) {
    if (stop.stop_requested()) return false;
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(end - first, blockSamples / access.channels));
    const auto got = stream->read(std::span(block).first(wanted * access.channels));
    if (!got) return false;
    if (*got == 0) return true;
    const std::size_t frames = std::min(*got, wanted);
    take(first, std::span(block).first(frames * access.channels));
    first += frames;
  }
  return true;
}

}  // namespace

SampleAccess accessTo(const Waveform& waveform) {
  SampleAccess access{waveform.buffer, waveform.source, waveform.frames, waveform.channels};
  if (access.buffer) {
    access.source = nullptr;
    access.frames = access.buffer->frames();
    access.channels = access.buffer->channels();
  }
  if (access.isEmpty()) return {};
  return access;
}

bool readFrames(const SampleAccess& access, std::uint64_t first, std::uint64_t end, std::uint32_t blockFrames,
                const std::stop_token& stop, const TakeFrames& take) {
  end = std::min<std::uint64_t>(end, access.frames);
  if (access.isEmpty() || first >= end) return true;
  const std::size_t blockSamples = std::size_t{blockFrames} * access.channels;
  try {
    if (!access.buffer) return streamOn(access, first, end, blockSamples, stop, take);
    const auto samples =
        access.buffer->samples().subspan(static_cast<std::size_t>(first) * access.channels,
                                         static_cast<std::size_t>(end - first) * access.channels);
    return passOn(samples, first, blockSamples, access.channels, stop, take);
  } catch (const std::bad_alloc&) {
    return fail(u"Out of memory");
  }
}

std::shared_ptr<const SampleWindow> readWindow(const SampleAccess& access, std::uint64_t first,
                                               std::uint64_t end, const std::stop_token& stop) {
  end = std::min<std::uint64_t>(end, access.frames);
  first = std::min(first, end);
  try {
    auto window = std::make_shared<SampleWindow>();
    window->first = first;
    window->channels = access.channels;
    window->samples.resize(static_cast<std::size_t>(end - first) * access.channels);
    const bool isRead = readFrames(access, first, end, kWindowBlock, stop, [&](std::uint64_t at, auto block) {
      std::ranges::copy(
          block, window->samples.begin() + static_cast<std::ptrdiff_t>((at - first) * access.channels));
    });
    if (!isRead) return nullptr;
    return window;
  } catch (const std::bad_alloc&) {
    fail(u"Out of memory");
    return nullptr;
  }
}

}  // namespace vemko
