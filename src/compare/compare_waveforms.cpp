#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>

#include "base/last_error.h"
#include "base/text.h"
#include "compare/differences.h"
#include "compare/sample_difference.h"

namespace vemko::compare {
namespace {

constexpr double kFrameStep = 0.01, kCentStep = 1, kDecibelStep = 0.1, kSampleStep = 1 / 32768.0;

bool isOff(const LoopRecord& record) {
  return record.type == RecordType::Loop && record.play == LoopPlay::Off;
}

std::vector<const LoopRecord*> inOrder(std::vector<const LoopRecord*> records) {
  std::ranges::stable_sort(records, [](const LoopRecord* a, const LoopRecord* b) {
    return a->startFrames() != b->startFrames() ? a->startFrames() < b->startFrames()
                                                : a->endFrames() < b->endFrames();
  });
  return records;
}

std::vector<const LoopRecord*> otherLoopsOf(const Waveform& waveform) {
  std::vector<const LoopRecord*> loops;
  for (const LoopRecord& record : waveform.records)
    if (record.type == RecordType::Loop && !isOff(record) && record.id != waveform.mainLoopId)
      loops.push_back(&record);
  return inOrder(std::move(loops));
}

// Without sections that say what is an idle loop of the other one.
std::vector<const LoopRecord*> markersOf(const Waveform& waveform, const Waveform& other) {
  std::set<std::pair<std::uint32_t, std::uint32_t>> idleLoops;
  for (const LoopRecord& record : other.records)
    if (isOff(record)) idleLoops.emplace(record.start, record.end);
  std::vector<const LoopRecord*> markers;
  for (const LoopRecord& record : waveform.records)
    if (record.type != RecordType::Loop && !idleLoops.contains({record.start, record.end}))
      markers.push_back(&record);
  return inOrder(std::move(markers));
}

FeatureMask neededBy(const LoopRecord& first, const LoopRecord& second) {
  const auto isEither = [&](auto test) { return test(first) || test(second); };
  FeatureMask needed;
  if (isEither([](const LoopRecord& r) { return r.startHundredths != 0 || r.endHundredths != 0; }))
    needed |= featureBit(features::FractionalLoops);
  if (first.type == RecordType::SectionMarker) needed |= featureBit(features::SectionEnds);
  if (first.type != RecordType::Loop)
    return needed | featureBits({features::Markers, features::PlaySections});
  needed |= featureBit(features::Loops);
  if (isEither([](const LoopRecord& r) { return r.play > LoopPlay::Forward; }))
    needed |= featureBit(features::ReverseLoops);
  if (isEither([](const LoopRecord& r) { return r.count == LoopCount::UntilRelease; }))
    needed |= featureBit(features::SampledRelease);
  if (isEither([](const LoopRecord& r) { return r.tuneCents != 0; }))
    needed |= featureBit(features::LoopTuning);
  return needed;
}

/// Positions in frames of the second waveform's rate: where the rate was converted, they moved with it.
struct Scale {
  double factor = 1;
  double step = kFrameStep;
  double markerStep;  // a millisecond

  Scale(const Waveform& first, const Waveform& second) : markerStep(second.rate / 1000.0) {
    if (first.rate == second.rate || first.rate == 0) return;
    factor = static_cast<double>(second.rate) / first.rate;
    step = 1;
  }
};

void comparePosition(std::u16string_view what, double first, double second, double step, const Scale& scale,
                     Differences& differences) {
  differences.number(what, first * scale.factor, second, std::max(step, scale.step), u"frames");
}

void compareRecords(std::u16string_view what, const LoopRecord& first, const LoopRecord& second,
                    const Scale& scale, Differences& differences) {
  const std::u16string word = std::u16string(what) + u" ";
  const double step = first.type == RecordType::Loop ? kFrameStep : scale.markerStep;
  differences.need(neededBy(first, second));
  comparePosition(word + u"start", first.startFrames(), second.startFrames(), step, scale, differences);
  if (first.type != RecordType::PositionMarker || second.type != RecordType::PositionMarker)
    comparePosition(word + u"end", first.endFrames(), second.endFrames(), step, scale, differences);
  if (first.type != second.type)
    differences.add(word + u"type", std::u16string(displayWord(first.type)),
                    std::u16string(displayWord(second.type)));
  if (first.type == RecordType::Loop && second.type == RecordType::Loop) {
    if (first.play != second.play)
      differences.add(word + u"mode", std::u16string(displayWord(first.play)),
                      std::u16string(displayWord(second.play)));
    if (first.count != second.count)
      differences.add(word + u"count", std::u16string(displayWord(first.count)),
                      std::u16string(displayWord(second.count)));
    differences.number(word + u"tuning", first.tuneCents, second.tuneCents, kCentStep, u"cents");
  } else {
    differences.text(word + u"name", first.name, second.name);
  }
  differences.need(0);
}

void compareLists(std::u16string_view what, const std::vector<const LoopRecord*>& first,
                  const std::vector<const LoopRecord*>& second, FeatureMask needed, const Scale& scale,
                  Differences& differences) {
  if (first.size() != second.size()) {
    differences.need(needed);
    differences.whole(std::u16string(what) + u"s", std::ssize(first), std::ssize(second));
    return differences.need(0);
  }
  for (std::size_t i = 0; i < first.size(); ++i)
    compareRecords(what, *first[i], *second[i], scale, differences);
}

bool plays(const LoopRecord* loop) { return loop && loop->play != LoopPlay::Off; }

// Where zones say whether a loop is on, a waveform that none plays has its place alone.
bool isOfZones(bool isPlayed, const LoopRecord* first, const LoopRecord* second) {
  return !isPlayed && first && second && first->start == second->start && first->end == second->end;
}

void compareLoops(const Waveform& first, const Waveform& second, bool isPlayed, Differences& differences) {
  const LoopRecord *a = first.mainLoop(), *b = second.mainLoop();
  if (plays(a) && plays(b)) {
    compareRecords(u"loop", *a, *b, {first, second}, differences);
  } else if (plays(a) != plays(b) && !isOfZones(isPlayed, a, b)) {
    differences.need(featureBit(features::Loops));
    differences.add(u"loop", plays(a) ? u"yes" : u"no", plays(b) ? u"yes" : u"no");
  }
  const Scale scale(first, second);
  compareLists(u"other loop", otherLoopsOf(first), otherLoopsOf(second),
               featureBits({features::MoreLoops, features::Loops}), scale, differences);
  // What a format keeps no loop for may come back as marks.
  constexpr FeatureMask kMarks =
      featureBits({features::Markers, features::PlaySections, features::MoreLoops});
  compareLists(u"marker", markersOf(first, second), markersOf(second, first), kMarks, scale, differences);
}

// The same stored bytes need no decoding.
bool isSameSource(const Waveform& first, const Waveform& second) {
  return first.source && first.source == second.source && first.sourceIsIntact() && second.sourceIsIntact();
}

void compareSamples(const Waveform& first, const Waveform& second, Differences& differences) {
  if (first.frames == 0 || second.frames == 0 || isSameSource(first, second)) return;
  if (first.rate != second.rate) return;  // nothing lies at the same place
  const auto found = differenceOf(first, second);
  if (!found) return differences.add(u"samples", u"unreadable: " + lastError(), u"");
  const double step = kSampleStep * differences.options().tolerance;
  if (found->largest <= step && found->shift == 0) return;
  std::u16string text =
      found->largest == 0
          ? u"equal"
          : toUtf16(formatted("SNR %.1f dB, up to %.3g apart", found->snrDecibels, found->largest));
  if (found->largest > found->largestInside && found->largestInside <= std::max(step, kSampleStep))
    text += u", clipped at full scale";
  if (found->shift != 0) text += u", shifted by " + toUtf16(std::to_string(found->shift)) + u" frames";
  differences.add(u"samples", u"", std::move(text));
}

}  // namespace

void compareWaveforms(const Waveform& first, const Waveform& second, bool isPlayed,
                      Differences& differences) {
  compareTexts(first, second, differences);
  if (first.rate == second.rate) differences.whole(u"frames", first.frames, second.frames);
  differences.whole(u"sample rate", first.rate, second.rate);
  differences.need(first.channels != second.channels ? featureBit(features::PannedStereo) : FeatureMask());
  differences.whole(u"channels", first.channels, second.channels);
  differences.need(0);
  compareLoops(first, second, isPlayed, differences);
  if (differences.options().samples) compareSamples(first, second, differences);
}

void compareRootKeys(const Waveform& first, const Waveform& second, Differences& differences) {
  differences.need(featureBit(features::RootKeys));
  auto cents = [](const Waveform& w) { return w.fineTuneCents - 100.0 * w.rootKey; };
  if (std::fabs(cents(first) - cents(second)) > kCentStep * differences.options().tolerance) {
    differences.whole(u"root key", first.rootKey, second.rootKey);
    differences.number(u"fine tune", first.fineTuneCents, second.fineTuneCents, 0, u"cents");
  }
  differences.number(u"volume adjustment", first.volumeAdjustmentDb, second.volumeAdjustmentDb, kDecibelStep,
                     u"dB");
  differences.need(0);
}

}  // namespace vemko::compare
