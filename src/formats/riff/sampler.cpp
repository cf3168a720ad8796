#include "formats/riff/sampler.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/log.h"
#include "formats/riff/description.h"
#include "formats/riff/wsmp.h"

namespace vemko::riff {
namespace {

constexpr std::size_t kHeaderBytes = 36, kLoopBytes = 24;
constexpr double kFractionUnit = 4294967296.0;  // 2^32
constexpr int kDefaultRootKey = 60;

struct PlayRow {
  std::uint32_t type;
  LoopPlay play;
};
// clang-format off
// Loop types, both directions; any other type is Forward.
constexpr PlayRow kPlayRows[] = {
  {  0, LoopPlay::Forward},
  {  1, LoopPlay::Alternating},
  {  2, LoopPlay::Reverse},
  {255, LoopPlay::Off},
};
// clang-format on

LoopPlay playOfType(std::uint32_t type) {
  for (const PlayRow& row : kPlayRows)
    if (row.type == type) return row.play;
  return LoopPlay::Forward;
}

std::uint32_t typeOfPlay(LoopPlay play) {
  for (const PlayRow& row : kPlayRows)
    if (row.play == play) return row.type;
  return 0;
}

void setRootKey(std::uint32_t unityNote, Waveform& waveform) {
  std::uint32_t swapped = byteSwapped(unityNote);
  if (unityNote < 128)
    waveform.rootKey = static_cast<std::uint8_t>(unityNote);
  else if (swapped >= 1 && swapped <= 127)
    waveform.rootKey = static_cast<std::uint8_t>(swapped);
  else
    logWarning(u"The 'smpl' chunk has a unity note above 127, which is not used");
}

class SamplerLoops {
 public:
  SamplerLoops(const CueNotes& notes, LoopAdder& adder, const Waveform& waveform)
      : notes_(notes), adder_(adder), frames_(waveform.frames) {}

  void add(std::uint32_t cueId, LoopPlay play, double start, double end) {
    const bool isSecond = ++seen_ == 2;
    if (end > frames_) clipped_.at(static_cast<std::uint64_t>(start));
    end = std::min<double>(end, frames_);
    if (start >= end) return dropped_.at(static_cast<std::uint64_t>(start));
    LoopDescriptor loop;
    loop.play = play;
    loop.startFrames = start;
    loop.endFrames = end;
    std::u16string name = notes_.label(cueId);
    if (isSecond && name.empty()) name = kReleaseLoopName;
    adder_.add(loop, name, isFirst_, true);
    isFirst_ = false;
  }

 private:
  const CueNotes& notes_;
  LoopAdder& adder_;
  std::uint32_t frames_;
  std::size_t seen_ = 0;
  bool isFirst_ = true;
  RepeatedWarning clipped_{u"A loop reaches behind the data and is cut, at frame "};
  RepeatedWarning dropped_{u"A loop is empty or lies behind the data and is dropped, at frame "};
};

// The sample's own pitch is the unity note plus the fraction; the fine tune is what is added to it in
// playing.
struct UnityPitch {
  std::uint32_t note = 0;
  std::uint32_t fraction = 0;  // of a semitone, in 1/2^32
};
UnityPitch unityPitchOf(const Waveform& waveform) {
  int cents = waveform.rootKey * 100 - waveform.fineTuneCents;
  int note = std::clamp((cents >= 0 ? cents : cents - 99) / 100, 0, 127);
  // A full semitone down stays a fraction of the same note: reading rounds it back to 100 cents.
  if (waveform.fineTuneCents == -100) note = waveform.rootKey;
  double fraction = std::clamp((cents - note * 100) / 100.0, 0.0, 1.0);
  return {static_cast<std::uint32_t>(note),
          static_cast<std::uint32_t>(std::min(std::round(fraction * kFractionUnit), kFractionUnit - 1))};
}

bool isWrittenLoop(const LoopRecord& record) {
  return record.type == RecordType::Loop && record.end > record.start &&
         (record.play != LoopPlay::Off || !options().noLoopOff);
}

void writeLoop(ByteWriter& body, std::size_t index, const LoopRecord& record) {
  const std::uint64_t end = std::uint64_t{record.end} * 100 + record.endHundredths - record.startHundredths;
  body.u32(static_cast<std::uint32_t>(index + 1));
  body.u32(typeOfPlay(record.play));
  body.u32(record.start);
  body.u32(std::max(static_cast<std::uint32_t>(end / 100 - 1), record.start));
  body.u32(static_cast<std::uint32_t>(std::llround(static_cast<double>(end % 100) / 100 * kFractionUnit)));
  body.u32(0);  // play count: endless
}

std::vector<std::size_t> writtenLoops(const Waveform& waveform) {
  std::vector<std::size_t> loops;
  for (std::size_t i = 0; i < waveform.records.size(); ++i)
    if (isWrittenLoop(waveform.records[i])) loops.push_back(i);
  std::stable_partition(loops.begin(), loops.end(),
                        [&](std::size_t i) { return waveform.records[i].id == waveform.mainLoopId; });
  return loops;
}

}  // namespace

bool readSampler(Bytes body, const CueNotes& notes, LoopAdder& adder, Waveform& waveform,
                 std::unordered_set<std::uint32_t>& loopIds) {
  ByteReader reader(body);
  if (!reader.need(kHeaderBytes)) return false;
  reader.skip(12);  // manufacturer, product, sample period
  setRootKey(reader.u32(), waveform);
  const double cents = reader.u32() * 100.0 / kFractionUnit;
  waveform.fineTuneCents = static_cast<std::int8_t>(-static_cast<int>(cents + 0.499));
  reader.skip(8);  // SMPTE format and offset
  std::size_t count = reader.u32();
  reader.u32();  // length of other programs' data behind the loops
  if (count > reader.remaining() / kLoopBytes)
    logWarning(u"The 'smpl' chunk announces more loops than it holds");

  SamplerLoops loops(notes, adder, waveform);
  for (count = std::min(count, reader.remaining() / kLoopBytes); count > 0; --count) {
    std::uint32_t cueId = reader.u32();
    LoopPlay play = playOfType(reader.u32());
    double start = reader.u32(), lastFrame = reader.u32(), fraction = reader.u32() / kFractionUnit;
    reader.u32();  // play count
    loopIds.insert(cueId);
    loops.add(cueId, play, start, lastFrame + 1 + fraction);
  }
  return true;
}

void readInstrument(Bytes body, Waveform& waveform) {
  ByteReader reader(body);
  std::uint8_t note = reader.u8();
  std::int8_t fineTune = reader.i8(), gain = reader.i8();
  if (!reader.ok) return;
  waveform.volumeAdjustmentDb = gain;
  if (waveform.rootKey != kDefaultRootKey || waveform.fineTuneCents != 0) return;
  if (note < 128) waveform.rootKey = note;
  waveform.fineTuneCents = fineTune;
}

void readWaveSample(Bytes body, bool hasSampler, LoopAdder& adder, Waveform& waveform) {
  WaveSample sample;
  if (!parseWaveSample(body, sample)) return;
  waveform.volumeAdjustmentDb = static_cast<float>(sample.gainDb);
  if (hasSampler) return;
  if (sample.unityNote < 128) waveform.rootKey = static_cast<std::uint8_t>(sample.unityNote);
  waveform.fineTuneCents = static_cast<std::int8_t>(std::clamp<int>(sample.fineTuneCents, -128, 127));
  CueNotes noNotes;
  bool isMain = true;
  for (const WaveSampleLoop& each : sample.loops) {
    std::uint64_t end = std::min<std::uint64_t>(std::uint64_t{each.start} + each.length, waveform.frames);
    if (each.start >= end) continue;
    LoopDescriptor loop;
    loop.count = each.untilRelease ? LoopCount::UntilRelease : LoopCount::Infinite;
    loop.startFrames = each.start;
    loop.endFrames = static_cast<double>(end);
    adder.add(loop, {}, isMain, true);
    isMain = false;
  }
}

bool needsSampler(const Waveform& waveform) {
  return waveform.rootKey != kDefaultRootKey || waveform.fineTuneCents != 0 ||
         std::any_of(waveform.records.begin(), waveform.records.end(), isWrittenLoop);
}

std::vector<std::byte> buildSampler(const Waveform& waveform) {
  const std::vector<std::size_t> loops = writtenLoops(waveform);
  const UnityPitch pitch = unityPitchOf(waveform);
  ByteWriter body;
  body.u32(0);  // manufacturer and product: for any sampler
  body.u32(0);
  body.u32(static_cast<std::uint32_t>(std::llround(1e9 / std::max(waveform.rate, 1u))));
  body.u32(pitch.note);
  body.u32(pitch.fraction);
  body.u32(0);  // SMPTE format and offset: none
  body.u32(0);
  body.u32(static_cast<std::uint32_t>(loops.size()));
  body.u32(0);
  for (std::size_t index : loops) writeLoop(body, index, waveform.records[index]);
  return std::move(body.bytes);
}

std::vector<std::byte> buildInstrument(const Waveform& waveform) {
  if (waveform.volumeAdjustmentDb == 0) return {};
  const int cents = waveform.rootKey * 100 - waveform.fineTuneCents;
  const int note = std::clamp((cents + 50) / 100, 0, 127);
  const float gain = std::clamp(std::round(waveform.volumeAdjustmentDb), -128.0f, 127.0f);
  ByteWriter body;
  body.u8(static_cast<std::uint8_t>(note));
  body.little(static_cast<std::int8_t>(std::clamp(note * 100 - cents, -50, 50)));
  body.little(static_cast<std::int8_t>(gain));
  body.u8(0);  // all keys and velocities
  body.u8(127);
  body.u8(1);
  body.u8(127);
  return std::move(body.bytes);
}

}  // namespace vemko::riff
