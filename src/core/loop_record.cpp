#include "core/loop_record.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>

#include "base/text.h"
#include "core/waveform.h"

namespace vemko {
namespace {

constexpr std::u16string_view kTypeWords[] = {u"Position marker", u"Section marker", u"Loop points"};
constexpr std::u16string_view kPlayWords[] = {u"Off", u"Forward", u"Reverse", u"Alternating"};
constexpr std::u16string_view kCountWords[] = {u"Infinite", u"Until Release"};

constexpr std::uint32_t kRecordIdEnd = 0x800000;
constexpr double kLastFrame = 4294967295.0;
constexpr float kMaxTuneCents = 1200;
// The fields of a section marker's shape; no loop has them.
constexpr std::uint64_t kSectionFields = ~std::uint64_t{0};

std::atomic<std::uint32_t> lastRecordId = 0;  // writers make records for comparison in several threads

constexpr std::uint64_t spanOf(std::uint32_t start, std::uint32_t end) {
  return std::uint64_t{start} << 32 | end;
}

// Within the frame numbers; 0 for NaN.
double boundedFrames(double frames) { return frames > 0 ? std::min(frames, kLastFrame) : 0; }

void splitFrames(double frames, std::uint32_t& whole, std::uint8_t& hundredths) {
  frames = boundedFrames(frames);
  whole = static_cast<std::uint32_t>(frames);
  const auto rounded = static_cast<std::uint8_t>(std::lround((frames - whole) * 100));
  whole += rounded / 100u;
  hundredths = rounded % 100;
}

// In single precision, where half a cent that was computed from a float is still half a cent.
std::int16_t tuneCents(double semitones) {
  const float cents = std::round(static_cast<float>(semitones) * 100.0f);
  if (std::isnan(cents)) return 0;
  return static_cast<std::int16_t>(std::clamp(cents, -kMaxTuneCents, kMaxTuneCents));
}

LoopRecord recordOf(const LoopDescriptor& loop) {
  LoopRecord record;
  record.type = RecordType::Loop;
  record.play = loop.play;
  record.count = loop.count;
  splitFrames(loop.startFrames, record.start, record.startHundredths);
  splitFrames(loop.endFrames, record.end, record.endHundredths);
  record.tuneCents = tuneCents(loop.tuneSemitones);
  return record;
}

void push(std::vector<std::size_t>& positions, std::size_t at) {
  positions.push_back(at);
  std::ranges::push_heap(positions, std::greater());
}

void pop(std::vector<std::size_t>& positions) {
  std::ranges::pop_heap(positions, std::greater());
  positions.pop_back();
}

}  // namespace

std::u16string_view displayWord(RecordType type) { return kTypeWords[static_cast<std::size_t>(type)]; }
std::u16string_view displayWord(LoopPlay play) { return kPlayWords[static_cast<std::size_t>(play)]; }
std::u16string_view displayWord(LoopCount count) { return kCountWords[static_cast<std::size_t>(count)]; }

std::uint32_t nextRecordId() {
  std::uint32_t last = lastRecordId, next;
  do next = last + 1 < kRecordIdEnd ? last + 1 : 1;
  while (!lastRecordId.compare_exchange_weak(last, next));
  return next;
}

std::size_t LoopAdder::ShapeHash::operator()(const Shape& shape) const {
  std::uint64_t mixed = (shape.span ^ shape.fields * 0x9E3779B97F4A7C15u) * 0xD6E8FEB86659FD93u;
  return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

LoopAdder::LoopAdder(Waveform& waveform) : waveform_(waveform) {
  for (std::size_t at = 0; at < waveform.records.size(); ++at) {
    indexShape(at);
    indexName(at);
    if (!mainLoop_ && waveform.mainLoopId != 0 && waveform.records[at].id == waveform.mainLoopId)
      mainLoop_ = at;
  }
}

std::uint32_t LoopAdder::add(const LoopDescriptor& loop, std::u16string_view name, bool isMain,
                             bool mergeDuplicates) {
  name = trimmed(name);
  LoopRecord record = recordOf(loop);
  record.name = !name.empty() ? name : isMain ? kMainLoopName : kAltLoopName;

  if (isMain && mainLoop_) {
    replace(*mainLoop_, std::move(record));
    return waveform_.mainLoopId;
  }
  if (mergeDuplicates)
    if (auto equal = firstOfShape(shapeOf(record))) return waveform_.records[*equal].id;

  std::optional<std::size_t> at = sectionOfSpan(loop);
  if (at) {
    const std::u16string& present = waveform_.records[*at].name;
    if (name.empty() && !present.empty()) record.name = present;
    if (record.name != present) record.name = withoutClash(std::move(record.name));
    replace(*at, std::move(record));
  } else {
    record.name = withoutClash(std::move(record.name));
    append(std::move(record));
    at = waveform_.records.size() - 1;
  }
  const std::uint32_t id = waveform_.records[*at].id;
  if (isMain || !mainLoop_) {
    mainLoop_ = at;
    waveform_.mainLoopId = id;
  }
  return id;
}

std::uint32_t LoopAdder::addMarker(LoopRecord record) {
  record.name = trimmed(record.name);
  return append(std::move(record));
}

LoopAdder::Shape LoopAdder::shapeOf(const LoopRecord& record) {
  const std::uint64_t span = spanOf(record.start, record.end);
  if (record.type != RecordType::Loop) return {span, kSectionFields};
  auto byte = [](auto value, int place) { return std::uint64_t{static_cast<std::uint8_t>(value)} << place; };
  return {span, byte(record.startHundredths, 0) | byte(record.endHundredths, 8) | byte(record.play, 16) |
                    byte(record.count, 24) |
                    std::uint64_t{static_cast<std::uint16_t>(record.tuneCents)} << 32};
}

void LoopAdder::indexShape(std::size_t at) {
  const LoopRecord& record = waveform_.records[at];
  if (record.type != RecordType::PositionMarker) push(byShape_[shapeOf(record)], at);
}

void LoopAdder::indexName(std::size_t at) { push(byName_[waveform_.records[at].name], at); }

std::optional<std::size_t> LoopAdder::firstOfShape(const Shape& shape) {
  auto found = byShape_.find(shape);
  if (found == byShape_.end()) return {};
  Positions& positions = found->second;
  while (!positions.empty() && shapeOf(waveform_.records[positions.front()]) != shape) pop(positions);
  return positions.empty() ? std::nullopt : std::optional(positions.front());
}

// The section marker from the loop's rounded start over its rounded length.
std::optional<std::size_t> LoopAdder::sectionOfSpan(const LoopDescriptor& loop) {
  const double start = boundedFrames(loop.startFrames), length = boundedFrames(loop.endFrames) - start;
  const double roundedStart = std::round(start), roundedEnd = roundedStart + std::round(length);
  if (roundedEnd < 0 || roundedEnd > kLastFrame) return {};
  return firstOfShape(
      {spanOf(static_cast<std::uint32_t>(roundedStart), static_cast<std::uint32_t>(roundedEnd)),
       kSectionFields});
}

std::optional<std::size_t> LoopAdder::firstNamed(const std::u16string& name) {
  auto found = byName_.find(name);
  if (found == byName_.end()) return {};
  Positions& positions = found->second;
  while (!positions.empty() && waveform_.records[positions.front()].name != name) pop(positions);
  return positions.empty() ? std::nullopt : std::optional(positions.front());
}

std::uint32_t LoopAdder::append(LoopRecord record) {
  const std::uint32_t id = record.id = nextRecordId();
  waveform_.records.push_back(std::move(record));
  indexShape(waveform_.records.size() - 1);
  indexName(waveform_.records.size() - 1);
  return id;
}

// Puts a record in the place of another, whose id stays.
void LoopAdder::replace(std::size_t at, LoopRecord record) {
  LoopRecord& present = waveform_.records[at];
  record.id = present.id;
  const bool newShape = present.type != RecordType::Loop || shapeOf(present) != shapeOf(record);
  const bool newName = present.name != record.name;
  present = std::move(record);
  if (newShape) indexShape(at);
  if (newName) indexName(at);
}

// The name that a new record takes beside those that are there.
std::u16string LoopAdder::withoutClash(std::u16string name) {
  auto older = firstNamed(name);
  if (!older) return name;
  waveform_.records[*older].name = name + u" 1";
  indexName(*older);
  return name + u" 2";
}

}  // namespace vemko
