#include "core/waveform.h"

#include <algorithm>
#include <atomic>

#include "base/last_error.h"
#include "base/text.h"
#include "core/move_element.h"

namespace vemko {
namespace {

constexpr std::uint8_t kCodecParameterRewritten = 16;

class BufferStream final : public SampleStream {
 public:
  BufferStream(std::shared_ptr<const SampleBuffer> buffer, std::uint64_t firstFrame)
      : buffer_(std::move(buffer)), rest_(buffer_->samples()) {
    rest_ = rest_.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(firstFrame, buffer_->frames()) *
                                                   buffer_->channels()));
  }

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t channels = std::max<std::size_t>(buffer_->channels(), 1);
    const std::size_t frames = std::min(out.size(), rest_.size()) / channels;
    std::copy_n(rest_.begin(), frames * channels, out.begin());
    rest_ = rest_.subspan(frames * channels);
    return frames;
  }

 private:
  std::shared_ptr<const SampleBuffer> buffer_;
  std::span<const float> rest_;
};

template <class Records>
auto* recordOf(Records& records, std::uint32_t id) {
  auto at = std::ranges::find(records, id, &LoopRecord::id);
  return id == 0 || at == records.end() ? nullptr : &*at;
}

const LoopRecord* firstNamed(const Waveform& waveform, RecordType type, std::u16string_view name) {
  for (const LoopRecord& record : waveform.records)
    if (record.type == type && record.name == name) return &record;
  return nullptr;
}

}  // namespace

Waveform::Waveform(Collection& collection) : Item(collection) {
  static std::atomic<std::uint64_t> births = 0;
  birth = ++births;
}

void Waveform::setSource(std::shared_ptr<const SampleSource> newSource) {
  buffer.reset();
  source = std::move(newSource);
  flags[kSourceIntactFlag] = source != nullptr;
}

std::unique_ptr<Item> Waveform::clone(Collection& target, bool withData) const {
  auto copy = cloneOf(*this, target);
  if (!withData) {
    auto& waveform = static_cast<Waveform&>(*copy);
    waveform.buffer.reset();
    waveform.source.reset();
    waveform.flags[kSourceIntactFlag] = 0;
  }
  return copy;
}

void Waveform::setSamples(std::shared_ptr<SampleBuffer> newBuffer) {
  if (buffer || source) codecParameter = kCodecParameterRewritten;
  flags[kSourceIntactFlag] = 0;
  source.reset();
  buffer = std::move(newBuffer);
  frames = buffer ? buffer->frames() : 0;
  if (buffer) channels = buffer->channels();
}

std::span<float> Waveform::editableSamples() {
  if (!buffer) return {};
  if (buffer.use_count() > 1) {
    auto own = buffer->clone();
    if (!own) {
      setLastError(u"Out of memory");
      return {};
    }
    buffer = std::move(own);
  }
  codecParameter = kCodecParameterRewritten;
  flags[kSourceIntactFlag] = 0;
  source.reset();
  return buffer->samples();
}

LoopRecord* Waveform::findRecord(std::uint32_t id) { return recordOf(records, id); }
const LoopRecord* Waveform::findRecord(std::uint32_t id) const { return recordOf(records, id); }

const LoopRecord* Waveform::releaseLoop() const {
  const LoopRecord* main = mainLoop();
  if (!main || main->play == LoopPlay::Off) return nullptr;
  const LoopRecord* release = firstNamed(*this, RecordType::Loop, kReleaseLoopName);
  if (!release || release == main) return nullptr;
  const bool endsWithKey = release->play == LoopPlay::Off && release->count == LoopCount::UntilRelease;
  return endsWithKey ? nullptr : release;
}

std::uint32_t Waveform::addLoop(const LoopDescriptor& loop, std::u16string_view name, bool isMain,
                                bool mergeDuplicates) {
  return LoopAdder(*this).add(loop, name, isMain, mergeDuplicates);
}

std::uint32_t Waveform::findOrAddAltStart(std::uint32_t position) {
  for (LoopRecord& record : records) {
    if (record.type != RecordType::PositionMarker || record.start != position) continue;
    if (record.name.empty()) record.name = kAltStartName;
    if (record.name == kAltStartName) return record.id;
  }
  LoopRecord& record = records.emplace_back();
  record.start = record.end = position;
  record.id = nextRecordId();
  record.name = kAltStartName;
  return record.id;
}

void Waveform::removeRecord(std::uint32_t id) {
  std::erase_if(records, [id](const LoopRecord& record) { return record.id == id; });
  if (mainLoopId == id) mainLoopId = 0;
}

void Waveform::renameRecord(std::uint32_t id, std::u16string_view name) {
  if (LoopRecord* record = findRecord(id)) record->name = trimmed(name);
}

void Waveform::moveRecord(std::size_t from, std::size_t to) { moveElement(records, from, to); }

std::unique_ptr<SampleStream> openSamples(const Waveform& waveform, std::uint64_t firstFrame) {
  if (waveform.buffer) return std::make_unique<BufferStream>(waveform.buffer, firstFrame);
  if (waveform.source) return waveform.source->open(firstFrame);
  fail(u"No wave data import procedure");
  return nullptr;
}

PlaySection playSection(const Waveform& waveform) {
  if (const LoopRecord* play = firstNamed(waveform, RecordType::SectionMarker, kPlayName)) {
    const std::uint32_t end = std::min(play->end, waveform.frames);
    if (play->start < end) return {play->start, end};
  }
  const LoopRecord* start = firstNamed(waveform, RecordType::PositionMarker, kStartName);
  if (start && start->start < waveform.frames) return {start->start, waveform.frames};
  return {0, waveform.frames};
}

}  // namespace vemko
