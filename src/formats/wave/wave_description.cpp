#include "formats/wave/wave_description.h"

#include <unordered_set>

#include "base/log.h"
#include "formats/wave/wave_cues.h"
#include "formats/wave/wave_exact.h"
#include "formats/wave/wave_sampler.h"

namespace vemko::wave {
namespace {

void readPublished(const DescriptionChunks& chunks, const SamplerChunk& sampler, const CueNotes& notes,
                   Waveform& waveform) {
  std::unordered_set<std::uint32_t> loopIds;
  LoopAdder adder(waveform);
  if (sampler.isValid) readSampler(sampler, notes, adder, waveform, loopIds);
  if (!chunks.waveSample.empty()) readWaveSample(chunks.waveSample, sampler.isValid, adder, waveform);
  readInstrument(chunks.instrument, waveform);
  readCues(chunks.cues, {notes, loopIds, sampler.isValid}, adder, waveform);
}

PublishedChunks publishedChunks(const DescriptionChunks& chunks, const SamplerChunk& sampler) {
  return {sampler.header, sampler.loops, chunks.instrument, chunks.cues,
          chunks.cueNotes.empty() ? Bytes() : chunks.cueNotes.front()};
}

DescriptionChunks chunksOf(const DescriptionBodies& bodies) {
  DescriptionChunks chunks;
  if (!bodies.sampler.empty()) chunks.sampler = Bytes(bodies.sampler);
  chunks.instrument = bodies.instrument;
  chunks.cues = bodies.cues;
  if (!bodies.cueNotes.empty()) chunks.cueNotes.push_back(bodies.cueNotes);
  return chunks;
}

// Whether reading the published chunks gives the same waveform, which makes our own block needless.
bool readsBackExactly(const DescriptionChunks& chunks, const Waveform& waveform) {
  LogSink sink = setLogSink({});  // what this finds out concerns nobody
  Waveform plain(waveform.collection());
  plain.frames = waveform.frames;
  readDescription(chunks, plain);
  setLogSink(std::move(sink));
  return isSameDescription(plain, waveform);
}

}  // namespace

void readDescription(const DescriptionChunks& chunks, Waveform& waveform) {
  const SamplerChunk sampler = chunks.sampler ? splitSampler(*chunks.sampler) : SamplerChunk{};
  CueNotes notes;
  for (Bytes list : chunks.cueNotes) readCueNotes(list, notes);
  if (isExactBlock(sampler.data)) {
    std::uint32_t checksum = checksumOf(publishedChunks(chunks, sampler), waveform.frames);
    if (applyExactBlock(sampler.data, checksum, notes, waveform)) return;
    logInfo(u"Loops and markers were changed by another program: their exact values are not used");
  }
  readPublished(chunks, sampler, notes, waveform);
}

DescriptionBodies buildDescription(const Waveform& waveform) {
  DescriptionBodies bodies;
  bodies.cues = buildCues(waveform);
  bodies.cueNotes = buildCueNotes(waveform);
  bodies.instrument = buildInstrument(waveform);
  if (needsSampler(waveform)) bodies.sampler = buildSampler(waveform, {});
  if (readsBackExactly(chunksOf(bodies), waveform)) return bodies;

  bodies.sampler = buildSampler(waveform, {});
  const DescriptionChunks chunks = chunksOf(bodies);
  std::uint32_t checksum = checksumOf(publishedChunks(chunks, splitSampler(bodies.sampler)), waveform.frames);
  bodies.sampler = buildSampler(waveform, buildExactBlock(waveform, checksum));
  return bodies;
}

}  // namespace vemko::wave
