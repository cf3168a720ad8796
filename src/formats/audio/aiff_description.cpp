#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <vector>

#include "base/log.h"
#include "base/text.h"
#include "codecs/id3.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/descriptions.h"
#include "formats/audio/iff_texts.h"
#include "formats/riff/kept_chunks.h"

namespace vemko::audio {
namespace {

constexpr std::size_t kFormHeaderBytes = 12;
constexpr std::u16string_view kEndSuffix = u" end";
constexpr std::size_t kMostMarkers = 0xFFFF;
constexpr int kMostDetuneCents = 50;

// Those that are read, here or with the samples, and those that say nothing of their own.
constexpr std::uint32_t kKnownChunks[] = {
    fourCc("COMM"), fourCc("SSND"), fourCc("FVER"), fourCc("MARK"), fourCc("INST"),
    fourCc("ID3 "), fourCc("COMT"), fourCc("CHAN"), fourCc("FLLR"), fourCc("PAD "),
    fourCc("JUNK"), fourCc("PEAK"), fourCc("AESD"), fourCc("LGWV"),
};

Bytes formContents(Bytes file) { return file.subspan(std::min(file.size(), kFormHeaderBytes)); }

struct Marker {
  std::uint16_t id = 0;
  std::uint32_t position = 0;  // before that frame
  std::u16string name;
};

std::vector<Marker> readMarkers(Bytes body) {
  std::vector<Marker> markers;
  ByteReader reader(body);
  for (unsigned count = reader.big<std::uint16_t>(); count > 0 && reader.ok; --count) {
    Marker marker;
    marker.id = reader.big<std::uint16_t>();
    marker.position = reader.big<std::uint32_t>();
    const std::uint8_t length = reader.u8();
    marker.name = trimmed(decodeText(reader.take(length)));
    if (reader.ok) markers.push_back(std::move(marker));
    if (length % 2 == 0 && reader.remaining() > 0) reader.skip(1);
  }
  return markers;
}

// The comments, each a line, whatever marker they belong to.
std::u16string readComments(Bytes body) {
  std::u16string all;
  ByteReader reader(body);
  for (unsigned count = reader.big<std::uint16_t>(); count > 0 && reader.ok; --count) {
    reader.skip(6);  // time, marker
    const auto length = reader.big<std::uint16_t>();
    const std::u16string text = decodeText(reader.take(length));
    if (length % 2 != 0 && reader.remaining() > 0) reader.skip(1);
    if (!trimmed(text).empty()) all.append(all.empty() ? u"" : u"\n").append(trimmed(text));
  }
  return all;
}

struct InstrumentLoop {
  std::uint16_t play = 0, begin = 0, end = 0;
};
struct Instrument {
  std::uint8_t rootKey = 60;
  std::int8_t detuneCents = 0;
  std::int16_t gainDb = 0;
  InstrumentLoop sustain, release;
};

bool readInstrument(Bytes body, Instrument& instrument) {
  ByteReader reader(body);
  instrument.rootKey = reader.u8();
  instrument.detuneCents = reader.i8();
  reader.skip(4);  // ranges of keys and velocities
  instrument.gainDb = reader.big<std::int16_t>();
  for (InstrumentLoop* loop : {&instrument.sustain, &instrument.release}) {
    loop->play = reader.big<std::uint16_t>();
    loop->begin = reader.big<std::uint16_t>();
    loop->end = reader.big<std::uint16_t>();
  }
  return reader.ok;
}

class RecordReader {
 public:
  RecordReader(std::vector<Marker> markers, Waveform& waveform)
      : markers_(std::move(markers)), waveform_(waveform), adder_(waveform), taken_(markers_.size()) {
    for (std::size_t i = 0; i < markers_.size(); ++i) byId_.emplace(markers_[i].id, i);
  }

  // Both loops name their ends by marker ids.
  void addLoop(const InstrumentLoop& stored, std::u16string_view name, bool isMain) {
    const auto begin = byId_.find(stored.begin), end = byId_.find(stored.end);
    if (begin == byId_.end() || end == byId_.end()) return;
    const Marker &first = markers_[begin->second], &last = markers_[end->second];
    LoopDescriptor loop;
    loop.play = stored.play == 0   ? LoopPlay::Off
                : stored.play == 2 ? LoopPlay::Alternating
                                   : LoopPlay::Forward;
    loop.startFrames = first.position;
    loop.endFrames = std::min(last.position, waveform_.frames);
    if (loop.startFrames >= loop.endFrames) {
      if (loop.play != LoopPlay::Off) logWarning(u"An empty loop is dropped");
      return;
    }
    taken_[begin->second] = taken_[end->second] = true;
    // A name on the first marker alone is the loop's own.
    const bool isNamed = last.name.empty() && !first.name.empty();
    adder_.add(loop, isNamed ? std::u16string_view(first.name) : name, isMain, false);
  }

  void addMarkers() {
    for (std::size_t i = 0; i < markers_.size(); ++i) {
      if (taken_[i]) continue;
      LoopRecord record;
      record.start = record.end = std::min(markers_[i].position, waveform_.frames);
      record.name = markers_[i].name;
      const bool isSection = i + 1 < markers_.size() && !taken_[i + 1] && !record.name.empty() &&
                             markers_[i + 1].name == std::u16string(record.name).append(kEndSuffix) &&
                             markers_[i + 1].position > record.start;
      if (isSection) {
        record.type = RecordType::SectionMarker;
        record.end = std::min(markers_[++i].position, waveform_.frames);
      }
      adder_.addMarker(std::move(record));
    }
  }

 private:
  std::vector<Marker> markers_;
  Waveform& waveform_;
  LoopAdder adder_;
  std::unordered_map<std::uint16_t, std::size_t> byId_;
  std::vector<bool> taken_;
};

std::uint32_t roundedStart(const LoopRecord& record) { return record.start + (record.startHundredths >= 50); }
std::uint32_t roundedEnd(const LoopRecord& record) { return record.end + (record.endHundredths >= 50); }

class MarkerWriter {
 public:
  /// The id that refers to it; 0 when there is no room for more.
  std::uint16_t add(std::uint32_t position, std::u16string_view name) {
    if (count_ == kMostMarkers) return 0;
    const std::string text = toUtf8(name, 255);
    putBig(body_, ++count_);
    putBig(body_, position);
    body_.u8(static_cast<std::uint8_t>(text.size()));
    body_.text(text);
    if (text.size() % 2 == 0) body_.u8(0);
    return count_;
  }

  InstrumentLoop addLoop(const LoopRecord& record, std::u16string_view standardName) {
    InstrumentLoop loop;
    loop.play = record.play == LoopPlay::Off ? 0 : record.play == LoopPlay::Alternating ? 2 : 1;
    if (record.play == LoopPlay::Reverse) logWarning(u"AIFF has no reverse loops: written as a forward loop");
    loop.begin = add(roundedStart(record), record.name == standardName ? std::u16string_view() : record.name);
    loop.end = add(roundedEnd(record), {});
    return loop;
  }

  void addSection(const LoopRecord& record) {
    const std::u16string name = record.name.empty() ? u"Section" : record.name;
    add(roundedStart(record), name);
    add(roundedEnd(record), name + std::u16string(kEndSuffix));
  }

  std::vector<std::byte> chunk() const {
    ByteWriter whole;
    if (count_ == 0) return {};
    putBig(whole, count_);
    whole.append(body_.bytes);
    return std::move(whole.bytes);
  }

 private:
  std::uint16_t count_ = 0;
  ByteWriter body_;
};

Instrument buildInstrument(const Waveform& waveform, MarkerWriter& markers) {
  Instrument instrument;
  int detune = waveform.fineTuneCents, key = waveform.rootKey;
  if (detune > kMostDetuneCents) detune -= 100, --key;
  if (detune < -kMostDetuneCents) detune += 100, ++key;
  instrument.rootKey = static_cast<std::uint8_t>(std::clamp(key, 0, 127));
  instrument.detuneCents = static_cast<std::int8_t>(detune);
  instrument.gainDb =
      static_cast<std::int16_t>(std::clamp(std::round(waveform.volumeAdjustmentDb), -32768.0f, 32767.0f));
  const LoopRecord* main = waveform.mainLoop();
  const LoopRecord* release = waveform.releaseLoop();
  if (main) instrument.sustain = markers.addLoop(*main, kMainLoopName);
  if (release) instrument.release = markers.addLoop(*release, kReleaseLoopName);
  for (const LoopRecord& record : waveform.records) {
    if (&record == main || &record == release) continue;
    if (record.type == RecordType::PositionMarker)
      markers.add(roundedStart(record), record.name);
    else
      markers.addSection(record);
  }
  return instrument;
}

// What AIFF has no chunk for: two texts, the image, and letters beyond ASCII, for which programs take
// different encodings.
bool needsId3(const Waveform& waveform) {
  if (!waveform.image().empty()) return true;
  for (TextProperty property : {TextProperty::Engineer, TextProperty::Product})
    if (!waveform.text(property).empty()) return true;
  for (TextProperty property :
       {TextProperty::Name, TextProperty::Artist, TextProperty::Copyright, TextProperty::Comments})
    if (std::ranges::any_of(waveform.text(property), [](char16_t c) { return c > 127; })) return true;
  return false;
}

std::vector<std::byte> instrumentChunk(const Instrument& instrument) {
  ByteWriter body;
  body.u8(instrument.rootKey);
  body.little(instrument.detuneCents);
  putFullRanges(body);
  putBig(body, instrument.gainDb);
  for (const InstrumentLoop& loop : {instrument.sustain, instrument.release})
    for (std::uint16_t word : {loop.play, loop.begin, loop.end}) putBig(body, word);
  return std::move(body.bytes);
}

}  // namespace

void readAiffDescription(Bytes file, Waveform& waveform) {
  std::vector<Marker> markers;
  Instrument instrument;
  bool hasInstrument = false;
  IffTexts texts;
  std::u16string comments;
  Bytes tag;
  std::vector<std::uint32_t> left;
  IffWalker walker(formContents(file));
  for (IffChunk chunk; walker.next(chunk);) {
    if (takeIffText(chunk, texts)) continue;
    if (chunk.id == fourCc("ID3 ") && tag.empty()) tag = chunk.body;
    if (chunk.id == fourCc("COMT") && comments.empty()) comments = readComments(chunk.body);
    if (chunk.id == fourCc("MARK") && markers.empty()) markers = readMarkers(chunk.body);
    if (chunk.id == fourCc("INST") && !hasInstrument) hasInstrument = readInstrument(chunk.body, instrument);
    const bool isKnown = std::ranges::find(kKnownChunks, chunk.id) != std::end(kKnownChunks);
    if (!isKnown && !chunk.overruns && !chunk.body.empty()) riff::addNotKept(chunk.id, left);
  }
  applyIffTexts(texts, comments, waveform);
  readId3(tag, waveform);
  if (!comments.empty() && waveform.text(TextProperty::Comments) != comments)
    riff::addNotKept(fourCc("COMT"), left);
  riff::tellChunksNotKept(left);
  RecordReader records(std::move(markers), waveform);
  if (hasInstrument) {
    waveform.rootKey = std::min<std::uint8_t>(instrument.rootKey, 127);
    waveform.fineTuneCents = instrument.detuneCents;
    waveform.volumeAdjustmentDb = instrument.gainDb;
    records.addLoop(instrument.sustain, {}, true);
    records.addLoop(instrument.release, kReleaseLoopName, false);
  }
  records.addMarkers();
}

std::vector<std::byte> buildAiffDescription(const DescriptionToWrite& what) {
  MarkerWriter markers;
  const Instrument instrument = buildInstrument(what.waveform, markers);
  ByteWriter chunks;
  putIffChunk(chunks, "MARK", markers.chunk());
  putIffChunk(chunks, "INST", instrumentChunk(instrument));
  putIffTexts(what.waveform, what.name, chunks);
  if (needsId3(what.waveform)) putIffChunk(chunks, "ID3 ", buildId3(what.waveform));
  return std::move(chunks.bytes);
}

}  // namespace vemko::audio
