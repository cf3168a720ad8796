#include "formats/riff/cues.h"

#include <algorithm>
#include <optional>

#include "base/log.h"
#include "base/memory.h"
#include "base/text.h"
#include "formats/riff/riff.h"

namespace vemko::riff {
namespace {

constexpr std::size_t kPointBytes = 24;
constexpr std::size_t kWarningsLogged = 4;

struct CuePoint {
  std::uint32_t id = 0;
  std::uint32_t position = 0;  // frame
};

std::vector<CuePoint> parsePoints(Bytes body) {
  ByteReader reader(body);
  std::size_t count = std::min<std::size_t>(reader.u32(), reader.remaining() / kPointBytes);
  std::vector<CuePoint> points;
  points.reserve(count);
  while (count-- > 0) {
    CuePoint point;
    point.id = reader.u32();
    point.position = reader.u32();
    std::uint32_t chunk = reader.u32();
    reader.skip(8);  // chunk start and block start, of lists of several data chunks
    point.position = std::max(point.position, reader.u32());
    if (chunk == 0 || chunk == fourCc("data")) points.push_back(point);
  }
  return points;
}

// The loop that points labelled "Loop Start" and "Loop End" stand for.
struct LabelledLoop {
  std::optional<std::uint32_t> start, end;
  bool isWhole() const { return start && end && *end > *start; }
};

class CueReader {
 public:
  CueReader(const CueContext& context, LoopAdder& adder, const Waveform& waveform)
      : context_(context), adder_(adder), frames_(waveform.frames) {}

  void read(const std::vector<CuePoint>& points) {
    for (const CuePoint& point : points) remember(point);
    for (const CuePoint& point : points)
      if (!context_.loopIds.contains(point.id)) add(point);
    if (!context_.hasSampler && loop_.isWhole()) addMainLoop(*loop_.start, *loop_.end);
  }

 private:
  void remember(const CuePoint& point) {
    if (context_.loopIds.contains(point.id)) return;
    std::u16string label = context_.notes.label(point.id);
    if (label == u"Loop Start") loop_.start = point.position;
    if (label == u"Loop End") loop_.end = point.position;
  }

  void add(const CuePoint& point) {
    std::u16string label = context_.notes.label(point.id);
    auto length = context_.notes.lengths.find(point.id);
    const std::uint64_t end =
        std::uint64_t{point.position} + (length == context_.notes.lengths.end() ? 0 : length->second);
    // Points that no loop comes of are not lost: they stay as markers.
    if (label == u"Loop Start" || label == u"Loop End") {
      if (context_.hasSampler || loop_.isWhole()) return;
    } else if (label == u"Loop Range" && end > point.position) {
      if (!context_.hasSampler) addMainLoop(point.position, end);
      return;
    }
    addRecord(point.position, end, std::move(label));
  }

  void addMainLoop(std::uint64_t start, std::uint64_t end) {
    if (end > frames_) clipped_.at(start);
    end = std::min<std::uint64_t>(end, frames_);
    if (start >= end) return outside_.at(start);
    LoopDescriptor loop;
    loop.startFrames = static_cast<double>(start);
    loop.endFrames = static_cast<double>(end);
    adder_.add(loop, {}, true, true);
  }

  void addRecord(std::uint64_t start, std::uint64_t end, std::u16string name) {
    if (start > frames_) return outside_.at(start);
    if (end > frames_) clipped_.at(start);
    LoopRecord record;
    record.start = static_cast<std::uint32_t>(start);
    record.end = static_cast<std::uint32_t>(std::min<std::uint64_t>(end, frames_));
    record.type = record.end > record.start ? RecordType::SectionMarker : RecordType::PositionMarker;
    record.name = std::move(name);
    adder_.addMarker(std::move(record));
  }

  const CueContext& context_;
  LoopAdder& adder_;
  std::uint32_t frames_;
  LabelledLoop loop_;
  RepeatedWarning outside_{u"A cue point lies behind the data and is dropped, at frame "};
  RepeatedWarning clipped_{u"A section reaches behind the data and is cut, at frame "};
};

// The frames that a record covers, as its cue point tells them.
std::uint32_t cueLength(const LoopRecord& record) {
  if (record.type == RecordType::PositionMarker) return 0;
  if (record.type == RecordType::SectionMarker)
    return record.end > record.start ? record.end - record.start : 0;
  double length = record.endFrames() - record.startFrames() + 0.5;
  return length >= 1 ? static_cast<std::uint32_t>(length) : 0;
}

}  // namespace

// Left out where there is no memory for it.
RepeatedWarning::~RepeatedWarning() {
  if (count_ <= kWarningsLogged) return;
  const LastErrorKeeper message;
  withinMemory([this] {
    logWarning(what_ + u"... and " + toUtf16(formatted("%zu more", count_ - kWarningsLogged)));
    return true;
  });
}

void RepeatedWarning::at(std::uint64_t position) {
  if (++count_ <= kWarningsLogged) logWarning(what_ + toUtf16(std::to_string(position)));
}

std::u16string CueNotes::label(std::uint32_t cueId) const {
  auto found = labels.find(cueId);
  return found == labels.end() ? std::u16string() : std::u16string(trimmed(decodeText(found->second)));
}

void readCueNotes(Bytes list, CueNotes& notes) {
  ChunkWalker walker(list);
  for (Chunk chunk; walker.next(chunk);) {
    if (chunk.id == kExactChunk && notes.exact.empty()) {
      notes.exact = chunk.body;
      notes.published = list.first(static_cast<std::size_t>(chunk.offset) - 8);
      continue;
    }
    ByteReader reader(chunk.body);
    std::uint32_t cueId = reader.u32();
    if (chunk.id == fourCc("labl") && reader.ok) {
      notes.labels.try_emplace(cueId, reader.rest());
    } else if (chunk.id == fourCc("ltxt")) {
      std::uint32_t length = reader.u32();
      if (reader.ok && length != 0) notes.lengths.try_emplace(cueId, length);
    }
  }
}

std::vector<std::uint32_t> cueIds(Bytes body) {
  std::vector<std::uint32_t> ids;
  for (const CuePoint& point : parsePoints(body)) ids.push_back(point.id);
  return ids;
}

void readCues(Bytes body, const CueContext& context, LoopAdder& adder, const Waveform& waveform) {
  CueReader(context, adder, waveform).read(parsePoints(body));
}

std::vector<std::byte> buildCues(const Waveform& waveform) {
  ByteWriter body;
  if (waveform.records.empty()) return {};
  body.u32(static_cast<std::uint32_t>(waveform.records.size()));
  std::uint32_t id = 0;
  for (const LoopRecord& record : waveform.records) {
    std::uint32_t position = record.start + (record.startHundredths >= 50 ? 1 : 0);
    body.u32(++id);
    body.u32(position);
    body.u32(fourCc("data"));
    body.u32(0);
    body.u32(0);
    body.u32(position);
  }
  return std::move(body.bytes);
}

std::vector<std::byte> buildCueNotes(const Waveform& waveform) {
  ChunkBuilder builder;
  std::uint32_t id = 0;
  for (const LoopRecord& record : waveform.records) {
    ++id;
    if (!record.name.empty()) {
      builder.open(fourCc("labl"));
      builder.out.u32(id);
      builder.out.text(toUtf8(record.name, kLongestLabel));
      builder.out.u8(0);
      builder.close();
    }
    if (std::uint32_t length = cueLength(record)) {
      builder.open(fourCc("ltxt"));
      builder.out.u32(id);
      builder.out.u32(length);
      builder.out.zeros(12);  // purpose, country, language, dialect, code page
      builder.close();
    }
  }
  return std::move(builder.out.bytes);
}

}  // namespace vemko::riff
