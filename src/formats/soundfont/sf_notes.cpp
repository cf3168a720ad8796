#include "formats/soundfont/sf_notes.h"

#include <algorithm>

namespace vemko::soundfont {
namespace {

constexpr int kCoarseFrames = 32768;

// Sample modes.
constexpr int kLoop = 1, kLoopUntilRelease = 3;

bool isLooping(const Generators& generators) {
  const int mode = generators[gen::SampleModes] & 3;
  return mode == kLoop || mode == kLoopUntilRelease;
}

// From the sample's first frame on, wherever that leads.
struct LoopPoints {
  std::int64_t start = 0, end = 0;
};
LoopPoints pointsOf(const SampleHeader& header, const Generators& generators) {
  const bool isRelative = (header.type & sample_type::Compressed) != 0;
  const std::int64_t origin = isRelative ? 0 : header.start;
  LoopPoints points{header.loopStart - origin, header.loopEnd - origin};
  if (isLooping(generators)) {
    points.start += generators[gen::LoopStartOffset] + generators[gen::LoopStartCoarseOffset] * kCoarseFrames;
    points.end += generators[gen::LoopEndOffset] + generators[gen::LoopEndCoarseOffset] * kCoarseFrames;
  }
  return points;
}

}  // namespace

ZoneLoop loopOf(const SampleHeader& header, std::uint32_t frames, const Generators& generators) {
  const LoopPoints points = pointsOf(header, generators);
  const std::int64_t end = std::min<std::int64_t>(points.end, frames);
  if (points.start < 0 || points.start >= end) return {};
  const bool isUntilRelease = (generators[gen::SampleModes] & 3) == kLoopUntilRelease;
  return {true, isLooping(generators) ? LoopPlay::Forward : LoopPlay::Off,
          isUntilRelease ? LoopCount::UntilRelease : LoopCount::Infinite,
          static_cast<std::uint32_t>(points.start), static_cast<std::uint32_t>(end)};
}

bool isLoopDamaged(const SampleHeader& header, std::uint32_t frames, const Generators& generators) {
  const auto [start, end] = pointsOf(header, generators);
  return isLooping(generators) && start != end && (start < 0 || start > end || end > frames);
}

ZoneLoop loopOf(const Waveform& waveform) {
  const LoopRecord* loop = waveform.mainLoop();
  if (!loop) return {};
  return {true, loop->play, loop->count, loop->start, loop->end};
}

PlaySection sectionOf(const Generators& generators, std::uint32_t frames) {
  const std::int64_t start = std::max<std::int64_t>(
      0, generators[gen::StartOffset] + std::int64_t{generators[gen::StartCoarseOffset]} * kCoarseFrames);
  const std::int64_t end =
      std::min<std::int64_t>(frames, std::int64_t{frames} + generators[gen::EndOffset] +
                                         std::int64_t{generators[gen::EndCoarseOffset]} * kCoarseFrames);
  if (start >= end || (start == 0 && end == frames)) return {};
  return {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end)};
}

std::uint8_t midiNumber(std::int16_t amount) {
  return amount >= 0 && amount <= 127 ? static_cast<std::uint8_t>(amount) : Region::kNotSet;
}

std::uint8_t exclusiveGroupOf(const Generators& generators) {
  return static_cast<std::uint8_t>(std::clamp<int>(generators[gen::ExclusiveClass], 0, 255));
}

Patch patchOf(const PresetHeader& header) {
  return Patch::of(header.bank & 127, header.bank >> 8 & 127, header.preset, (header.bank & 0xFF) == 128);
}

std::uint16_t bankNumberOf(const Patch& patch) {
  const int low = patch.isDrumKit() ? 128 : patch.bankMsb();
  return static_cast<std::uint16_t>(patch.bankLsb() << 8 | low);
}

std::uint32_t rateOf(const SampleHeader& header) { return header.rate == 0 ? 44100 : header.rate; }

std::uint8_t rootKeyOf(const SampleHeader& header) {
  return header.key > 127 ? std::uint8_t{60} : header.key;
}

}  // namespace vemko::soundfont
