#include "formats/sfz/sfz_samples.h"

#include <algorithm>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "formats/sfz/sfz_generators.h"
#include "io/missing_file.h"
#include "io/open.h"

namespace vemko::sfz {
namespace {

constexpr std::size_t kMaxAltStarts = 1000;  // of one waveform

}  // namespace

std::uint32_t SampleFiles::number(std::string_view stored) {
  const auto [at, isNew] =
      numbers_.try_emplace(std::string(stored), static_cast<std::uint32_t>(samples_.size()));
  if (isNew) samples_.emplace_back().stored = at->first;
  return at->second;
}

const Waveform* SampleFiles::look(std::uint32_t number) {
  Sample& sample = samples_[number];
  if (!sample.isOpened) open(sample);
  return sample.first;
}

Waveform* SampleFiles::find(std::uint32_t number, const LoopRequest& request) {
  if (!look(number)) return nullptr;
  Sample& sample = samples_[number];
  const Loop loop = wantedLoop(sample, request);
  const auto known = sample.byLoop.find(loop);
  if (known != sample.byLoop.end()) return known->second;
  Waveform* waveform = sample.first;
  if (!sample.byLoop.empty()) waveform = static_cast<Waveform*>(&copyItem(*sample.first, collection_));
  if (loopOf(*waveform) != loop) setLoop(*waveform, loop);
  sample.byLoop.emplace(loop, waveform);
  return waveform;
}

void SampleFiles::addAltStart(Waveform& waveform, std::uint32_t frame) {
  auto& known = altStarts_[&waveform];
  if (known.size() >= kMaxAltStarts || std::ranges::find(known, frame) != known.end()) return;
  known.push_back(frame);
  waveform.findOrAddAltStart(frame);
}

void SampleFiles::open(Sample& sample) {
  sample.isOpened = true;
  if (sample.stored.starts_with('*')) return generate(sample);
  const std::u16string name = toUtf16(sample.stored);
  auto path = io::findReferredFile(name, folder_);
  if (!path) {
    path = io::locateMissingFile(name, folder_);
    // A file of that name may be another sound.
    if (path) logWarning(u"Not where it is said to be: " + name + u", taken is " + textOf(*path));
  }
  Collection opened;
  if (!path || !io::openAudioFile(opened, *path)) {
    std::u16string line = u"Couldn't openwave: " + name;
    if (path) line += u" (" + lastError() + u")";
    logWarning(line);
    setLastError(u"Couldn't openwave");
    return;
  }
  for (Waveform* each : opened.all<Waveform>()) {
    if (!sample.first)
      sample.first = each;
    else
      opened.remove(*each);
  }
  if (!sample.first) return;
  collection_.absorb(opened);
  sample.ofFile = loopOf(*sample.first);
}

void SampleFiles::generate(Sample& sample) {
  sample.first = generateWaveform(collection_, std::string_view(sample.stored).substr(1));
  if (sample.first) sample.ofFile = loopOf(*sample.first);
}

SampleFiles::Loop SampleFiles::loopOf(const Waveform& waveform) {
  const LoopRecord* main = waveform.mainLoop();
  if (!main || main->type != RecordType::Loop) return {};
  return {main->play, main->count, main->startFrames(), main->endFrames(), double(main->tuneCents)};
}

SampleFiles::Loop SampleFiles::wantedLoop(const Sample& sample, const LoopRequest& request) {
  const Loop& file = sample.ofFile;
  const double frames = sample.first->frames;
  const bool fileHasLoop = file.end > file.start;
  const bool loops = request.loops.value_or(file.play != LoopPlay::Off);
  Loop loop;
  loop.start = request.startFrame.value_or(fileHasLoop ? file.start : 0);
  loop.end = request.lastFrame ? *request.lastFrame + 1 : fileHasLoop ? file.end : frames;
  loop.end = std::min(loop.end, frames);
  if (loop.end <= loop.start) return {};
  const bool isSaid = fileHasLoop || request.startFrame || request.lastFrame;
  if (!loops && !isSaid) return {};
  loop.count = request.count.value_or(request.loops ? LoopCount::Infinite : file.count);
  loop.tuneCents = request.tuneCents.value_or(file.tuneCents);
  if (loops) loop.play = request.play.value_or(file.play == LoopPlay::Off ? LoopPlay::Forward : file.play);
  return loop;
}

void SampleFiles::setLoop(Waveform& waveform, const Loop& loop) {
  if (loop.end <= loop.start) {
    if (LoopRecord* main = waveform.mainLoop()) main->play = LoopPlay::Off;
    return;
  }
  waveform.addLoop({.play = loop.play,
                    .count = loop.count,
                    .startFrames = loop.start,
                    .endFrames = loop.end,
                    .tuneSemitones = loop.tuneCents / 100},
                   kMainLoopName, true, false);
}

}  // namespace vemko::sfz
