#include <algorithm>
#include <string>

#include "base/last_error.h"
#include "base/text.h"
#include "compare/differences.h"
#include "compare/sample_difference.h"

namespace vemko::compare {
namespace {

constexpr double kFrameStep = 0.01, kCentStep = 1, kDecibelStep = 0.1, kSampleStep = 1 / 32768.0;

std::vector<const LoopRecord*> recordsOf(const Waveform& waveform, bool loops) {
  std::vector<const LoopRecord*> records;
  for (const LoopRecord& record : waveform.records)
    if ((record.type == RecordType::Loop) == loops && record.id != waveform.mainLoopId)
      records.push_back(&record);
  std::ranges::stable_sort(records, [](const LoopRecord* a, const LoopRecord* b) {
    return a->startFrames() != b->startFrames() ? a->startFrames() < b->startFrames()
                                                : a->endFrames() < b->endFrames();
  });
  return records;
}

FeatureMask neededBy(const LoopRecord& first, const LoopRecord& second) {
  const auto isEither = [&](auto test) { return test(first) || test(second); };
  FeatureMask needed = 0;
  if (isEither([](const LoopRecord& r) { return r.startHundredths != 0 || r.endHundredths != 0; }))
    needed |= featureBit(features::FractionalLoops);
  if (first.type == RecordType::SectionMarker) needed |= featureBit(features::SectionEnds);
  if (first.type != RecordType::Loop) return needed | featureBit(features::Markers);
  needed |= featureBit(features::Loops);
  if (isEither([](const LoopRecord& r) { return r.play > LoopPlay::Forward; }))
    needed |= featureBit(features::ReverseLoops);
  if (isEither([](const LoopRecord& r) { return r.count == LoopCount::UntilRelease; }))
    needed |= featureBit(features::SampledRelease);
  if (isEither([](const LoopRecord& r) { return r.tuneCents != 0; }))
    needed |= featureBit(features::LoopTuning);
  return needed;
}

void compareRecords(std::u16string_view what, const LoopRecord& first, const LoopRecord& second,
                    Differences& differences) {
  const std::u16string word = std::u16string(what) + u" ";
  differences.need(neededBy(first, second));
  differences.number(word + u"start", first.startFrames(), second.startFrames(), kFrameStep, u"frames");
  if (first.type != RecordType::PositionMarker || second.type != RecordType::PositionMarker)
    differences.number(word + u"end", first.endFrames(), second.endFrames(), kFrameStep, u"frames");
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

void compareLists(std::u16string_view what, std::u16string_view plural, const Waveform& first,
                  const Waveform& second, bool loops, Differences& differences) {
  const auto a = recordsOf(first, loops), b = recordsOf(second, loops);
  differences.need(featureBit(loops ? features::MoreLoops : features::Markers));
  if (a.size() != b.size())
    differences.whole(plural, static_cast<std::int64_t>(a.size()), static_cast<std::int64_t>(b.size()));
  differences.need(0);
  for (std::size_t i = 0; a.size() == b.size() && i < a.size(); ++i)
    compareRecords(what, *a[i], *b[i], differences);
}

bool plays(const LoopRecord* loop) { return loop && loop->play != LoopPlay::Off; }

void compareLoops(const Waveform& first, const Waveform& second, Differences& differences) {
  const LoopRecord *a = first.mainLoop(), *b = second.mainLoop();
  if (plays(a) && plays(b)) {
    compareRecords(u"loop", *a, *b, differences);
  } else if (plays(a) != plays(b)) {
    differences.need(featureBit(features::Loops));
    differences.add(u"loop", plays(a) ? u"yes" : u"no", plays(b) ? u"yes" : u"no");
  }
  compareLists(u"other loop", u"other loops", first, second, true, differences);
  compareLists(u"marker", u"markers", first, second, false, differences);
}

// The same stored bytes need no decoding.
bool isSameSource(const Waveform& first, const Waveform& second) {
  return first.source && first.source == second.source && first.sourceIsIntact() && second.sourceIsIntact();
}

void compareSamples(const Waveform& first, const Waveform& second, Differences& differences) {
  if (first.frames == 0 || second.frames == 0 || isSameSource(first, second)) return;
  const auto found = differenceOf(first, second);
  if (!found) return differences.add(u"samples", u"unreadable: " + lastError(), u"");
  if (found->largest <= kSampleStep * differences.options().tolerance && found->shift == 0) return;
  std::u16string text =
      found->largest == 0 ? u"equal" : u"SNR " + toUtf16(formatted("%.1f dB", found->snrDecibels));
  if (found->shift != 0) text += u", shifted by " + toUtf16(std::to_string(found->shift)) + u" frames";
  differences.add(u"samples", u"", std::move(text));
}

}  // namespace

void compareWaveforms(const Waveform& first, const Waveform& second, Differences& differences) {
  compareTexts(first, second, differences);
  differences.whole(u"frames", first.frames, second.frames);
  differences.whole(u"sample rate", first.rate, second.rate);
  differences.whole(u"channels", first.channels, second.channels);
  compareLoops(first, second, differences);
  if (differences.options().samples) compareSamples(first, second, differences);
}

}  // namespace vemko::compare
