#include "formats/wave/wave_description.h"

#include <unordered_set>

#include "base/log.h"
#include "formats/riff/riff.h"
#include "formats/wave/wave_cues.h"
#include "formats/wave/wave_exact.h"
#include "formats/wave/wave_sampler.h"

namespace vemko::wave {
namespace {

void readPublished(const DescriptionChunks& chunks, const CueNotes& notes, Waveform& waveform) {
  std::unordered_set<std::uint32_t> loopIds;
  LoopAdder adder(waveform);
  const bool hasSampler = readSampler(chunks.sampler, notes, adder, waveform, loopIds);
  if (!chunks.waveSample.empty()) readWaveSample(chunks.waveSample, hasSampler, adder, waveform);
  readInstrument(chunks.instrument, waveform);
  readCues(chunks.cues, {notes, loopIds, hasSampler}, adder, waveform);
}

DescriptionChunks chunksOf(const DescriptionBodies& bodies) {
  DescriptionChunks chunks;
  chunks.sampler = bodies.sampler;
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
  CueNotes notes;
  for (Bytes list : chunks.cueNotes) readCueNotes(list, notes);
  if (!notes.exact.empty()) {
    const std::uint32_t checksum =
        checksumOf({chunks.sampler, chunks.instrument, chunks.cues, notes.published}, waveform.frames);
    if (applyExactBlock(notes.exact, checksum, notes, waveform)) return;
    logInfo(u"Loops and markers were changed by another program: their exact values are not used");
  }
  readPublished(chunks, notes, waveform);
}

DescriptionBodies buildDescription(const Waveform& waveform) {
  DescriptionBodies bodies;
  bodies.cues = buildCues(waveform);
  bodies.cueNotes = buildCueNotes(waveform);
  bodies.instrument = buildInstrument(waveform);
  if (needsSampler(waveform)) bodies.sampler = buildSampler(waveform);
  if (readsBackExactly(chunksOf(bodies), waveform)) return bodies;

  const std::uint32_t checksum =
      checksumOf({bodies.sampler, bodies.instrument, bodies.cues, bodies.cueNotes}, waveform.frames);
  riff::ChunkBuilder notes;
  notes.out.bytes = std::move(bodies.cueNotes);
  notes.add(kExactChunk, buildExactBlock(waveform, checksum));
  bodies.cueNotes = std::move(notes.out.bytes);
  return bodies;
}

}  // namespace vemko::wave
