#include "app/view/wave_flags.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vemko::view {
namespace {

constexpr double kNowhere = 1e18;

void place(Flag& flag, std::uint32_t frames) {
  const double start = std::min<double>(flag.record.startFrames(), frames);
  const double end = flag.isSpan() ? std::min<double>(flag.record.endFrames(), frames) : start;
  flag.first = std::min(start, end);
  flag.end = std::max(start, end);
}

double frameOfPart(const Flag& flag, HandlePart part, double frames) {
  const double frame = part == HandlePart::End ? flag.record.endFrames() : flag.record.startFrames();
  return std::min(frame, frames);
}

/// The parts that a record has handles for.
std::span<const HandlePart> partsOf(const Flag& flag) {
  static constexpr HandlePart kParts[] = {HandlePart::Start, HandlePart::End};
  return std::span(kParts).first(flag.isSpan() ? 2 : 1);
}

struct Candidate {
  Handle handle;
  double distance = kNowhere;
};

/// Where in its lane a flag can be taken hold of; the middle of a band moves all of it.
std::optional<Candidate> hitInLane(const Flag& flag, const WaveScale& scale, const FlagMetrics& metrics,
                                   double x) {
  const double start = scale.xOf(flag.first), end = scale.xOf(flag.end);
  const double tab = metrics.handleWidth;
  const std::uint32_t id = flag.record.id;
  if (!flag.isSpan()) {
    const double labelEnd = std::min(scale.xOf(flag.labelEnd), start + 10 * tab);
    if (x < start - metrics.lineReach || x > std::max(labelEnd, start + tab)) return std::nullopt;
    return Candidate{{id, HandlePart::Start}, std::fabs(x - start)};
  }
  if (x < start - metrics.lineReach || x > end + metrics.lineReach) return std::nullopt;
  const double inner = std::min(tab, (end - start) / 2);
  const bool isSwapped = flag.record.startFrames() > flag.record.endFrames();
  const auto left = isSwapped ? HandlePart::End : HandlePart::Start;
  const auto right = isSwapped ? HandlePart::Start : HandlePart::End;
  if (x <= start + inner) return Candidate{{id, left}, std::fabs(x - start)};
  if (x >= end - inner) return Candidate{{id, right}, std::fabs(x - end)};
  return Candidate{{id, HandlePart::Whole}, tab};
}

std::optional<Candidate> hitOnLines(const Flag& flag, const WaveScale& scale, double reach, double x) {
  std::optional<Candidate> best;
  for (HandlePart part : partsOf(flag)) {
    const double distance = std::fabs(x - scale.xOf(frameOfPart(flag, part, scale.frames())));
    if (distance <= reach && (!best || distance < best->distance)) best = {{flag.record.id, part}, distance};
  }
  return best;
}

}  // namespace

WaveFlags::WaveFlags(const Waveform& waveform) : frames_(waveform.frames) {
  flags_.reserve(waveform.records.size());
  for (const LoopRecord& record : waveform.records) {
    Flag flag{record, record.id == waveform.mainLoopId};
    place(flag, frames_);
    flags_.push_back(std::move(flag));
  }
  std::ranges::stable_sort(flags_, {}, &Flag::first);
  assignLanes();
  listHandles();
}

void WaveFlags::assignLanes() {
  const bool hasMarkers = std::ranges::any_of(flags_, [](const Flag& flag) { return !flag.isSpan(); });
  const int firstSpanLane = hasMarkers ? 1 : 0;
  lanes_ = firstSpanLane;
  std::array<double, kMaxSpanLanes> laneEnds;
  laneEnds.fill(-1);
  for (Flag& flag : flags_) {
    if (!flag.isSpan()) continue;
    // Where all are taken, the lane that is free soonest.
    auto lane = std::ranges::find_if(laneEnds, [&](double end) { return end <= flag.first; });
    if (lane == laneEnds.end()) lane = std::ranges::min_element(laneEnds);
    *lane = std::max(*lane, flag.end);
    flag.lane = firstSpanLane + static_cast<int>(lane - laneEnds.begin());
    lanes_ = std::max(lanes_, flag.lane + 1);
  }
}

void WaveFlags::listHandles() {
  double nextMarker = kNowhere;
  for (auto flag = flags_.rbegin(); flag != flags_.rend(); ++flag)
    if (!flag->isSpan()) {
      flag->labelEnd = nextMarker;
      nextMarker = flag->first;
    }
  std::vector<std::pair<double, Handle>> handles;
  for (const Flag& flag : flags_)
    for (HandlePart part : partsOf(flag))
      handles.push_back({frameOfPart(flag, part, frames_), {flag.record.id, part}});
  std::ranges::stable_sort(handles, {}, &std::pair<double, Handle>::first);
  order_.clear();
  for (const auto& [frame, handle] : handles) order_.push_back(handle);
}

const Flag* WaveFlags::find(std::uint32_t recordId) const {
  const auto flag =
      std::ranges::find_if(flags_, [&](const Flag& each) { return each.record.id == recordId; });
  return flag == flags_.end() ? nullptr : &*flag;
}

std::optional<double> WaveFlags::frameOf(Handle handle) const {
  const Flag* flag = find(handle.recordId);
  if (!flag) return std::nullopt;
  return frameOfPart(*flag, handle.part, frames_);
}

void WaveFlags::replace(const LoopRecord& record) {
  for (Flag& flag : flags_)
    if (flag.record.id == record.id) {
      flag.record = record;
      place(flag, frames_);
    }
}

std::optional<Handle> WaveFlags::hit(const WaveScale& scale, const FlagMetrics& metrics, double x, double y,
                                     std::optional<Handle> preferred) const {
  const double bottom = metrics.top + lanes_ * metrics.laneHeight;
  if (y < metrics.top) return std::nullopt;
  const bool isInLanes = y < bottom;
  const int lane = static_cast<int>((y - metrics.top) / metrics.laneHeight);
  std::optional<Candidate> best;
  for (const Flag& flag : flags_) {
    if (isInLanes && flag.lane != lane) continue;
    const auto found =
        isInLanes ? hitInLane(flag, scale, metrics, x) : hitOnLines(flag, scale, metrics.lineReach, x);
    if (!found) continue;
    if (preferred && found->handle == *preferred) return preferred;
    if (!best || found->distance < best->distance) best = found;
  }
  if (!best) return std::nullopt;
  return best->handle;
}

std::optional<Handle> WaveFlags::next(std::optional<Handle> handle, bool forward) const {
  if (order_.empty()) return std::nullopt;
  if (!handle) return forward ? order_.front() : order_.back();
  if (handle->part == HandlePart::Whole) handle->part = HandlePart::Start;
  const auto at = std::ranges::find(order_, *handle);
  if (at == order_.end()) return forward ? order_.front() : order_.back();
  if (forward) return at + 1 == order_.end() ? std::nullopt : std::optional(at[1]);
  return at == order_.begin() ? std::nullopt : std::optional(at[-1]);
}

LoopRecord movedRecord(const LoopRecord& record, HandlePart part, std::int64_t frame, std::uint32_t frames) {
  LoopRecord moved = record;
  const std::int64_t last = frames;
  const auto bounded = [](std::int64_t value, std::int64_t low, std::int64_t high) {
    return static_cast<std::uint32_t>(std::clamp(value, low, std::max(low, high)));
  };
  if (record.type == RecordType::PositionMarker) {
    moved.start = bounded(frame, 0, last);
    moved.startHundredths = 0;
    if (record.end != 0) moved.end = moved.start;
  } else if (part == HandlePart::Start) {
    const std::int64_t end = std::min<std::int64_t>(record.end, last);
    moved.start = bounded(frame, 0, end - 1);
    moved.startHundredths = 0;
  } else if (part == HandlePart::End) {
    const std::int64_t firstEnd = std::int64_t{record.start} + (record.startHundredths ? 2 : 1);
    moved.end = bounded(frame, std::min(firstEnd, last), last);
    moved.endHundredths = 0;
  } else {
    const std::int64_t length = std::int64_t{record.end} - record.start;
    const std::int64_t latest = last - length - (record.endHundredths ? 1 : 0);
    if (length < 0 || latest < 0) return moved;
    moved.start = bounded(frame, 0, latest);
    moved.end = static_cast<std::uint32_t>(moved.start + length);
  }
  return moved;
}

std::u16string_view moveStepName(RecordType type) {
  static constexpr std::u16string_view kNames[] = {u"Move marker", u"Move section", u"Move loop"};
  return kNames[static_cast<std::size_t>(type)];
}

std::optional<std::uint32_t> nearestZeroCrossing(const SampleWindow& window, std::uint32_t frame) {
  const auto mixAt = [&](std::uint64_t at) {
    float mix = 0;
    for (unsigned channel = 0; channel < window.channels; ++channel)
      mix += window.samples[static_cast<std::size_t>(at) * window.channels + channel];
    return mix;
  };
  std::optional<std::uint32_t> nearest;
  std::uint64_t nearestDistance = ~std::uint64_t{0};
  for (std::uint64_t i = 1; i < window.frames(); ++i) {
    if ((mixAt(i - 1) < 0) == (mixAt(i) < 0)) continue;
    const std::uint64_t at = window.first + i;
    const std::uint64_t distance = at > frame ? at - frame : frame - at;
    if (distance >= nearestDistance) continue;
    nearestDistance = distance;
    nearest = static_cast<std::uint32_t>(at);
  }
  return nearest;
}

}  // namespace vemko::view
