#include "formats/riff/description.h"

#include <unordered_set>

#include "base/log.h"
#include "base/log_mute.h"
#include "formats/riff/cues.h"
#include "formats/riff/exact_records.h"
#include "formats/riff/riff.h"
#include "formats/riff/sampler.h"

namespace vemko::riff {
namespace {

void readPublished(const DescriptionChunks& chunks, const CueNotes& notes, Waveform& waveform) {
  std::unordered_set<std::uint32_t> loopIds;
  LoopAdder adder(waveform);
  const bool hasSampler = readSampler(chunks.sampler, notes, adder, waveform, loopIds);
  if (!chunks.waveSample.empty()) readWaveSample(chunks.waveSample, hasSampler, adder, waveform);
  readInstrument(chunks.instrument, waveform);
  readCues(chunks.cues, {notes, loopIds, hasSampler}, adder, waveform);
}

struct DescriptionBodies {
  std::vector<std::byte> cues, cueNotes, sampler, instrument;
};

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
  const LogMute mute;  // what this finds out concerns nobody
  Waveform plain(waveform.collection());
  plain.frames = waveform.frames;
  readDescription(chunks, plain);
  return isSameDescription(plain, waveform);
}

DescriptionBodies buildBodies(const Waveform& waveform) {
  DescriptionBodies bodies;
  bodies.cues = buildCues(waveform);
  bodies.cueNotes = buildCueNotes(waveform);
  bodies.instrument = buildInstrument(waveform);
  if (needsSampler(waveform)) bodies.sampler = buildSampler(waveform);
  if (readsBackExactly(chunksOf(bodies), waveform)) return bodies;

  const std::uint32_t checksum =
      checksumOf({bodies.sampler, bodies.instrument, bodies.cues, bodies.cueNotes}, waveform.frames);
  ChunkBuilder notes;
  notes.out.bytes = std::move(bodies.cueNotes);
  notes.add(kExactChunk, buildExactBlock(waveform, checksum));
  bodies.cueNotes = std::move(notes.out.bytes);
  return bodies;
}

}  // namespace

Options& options() {
  static Options current;
  return current;
}

bool takeDescriptionChunk(const Chunk& chunk, DescriptionChunks& chunks) {
  struct Place {
    std::uint32_t id;
    Bytes DescriptionChunks::*body;
  };
  constexpr Place kPlaces[] = {
      {fourCc("smpl"), &DescriptionChunks::sampler},
      {fourCc("inst"), &DescriptionChunks::instrument},
      {fourCc("wsmp"), &DescriptionChunks::waveSample},
      {fourCc("cue "), &DescriptionChunks::cues},
  };
  for (const Place& place : kPlaces) {
    if (place.id != chunk.id) continue;
    if ((chunks.*place.body).empty()) chunks.*place.body = chunk.body;
    return true;
  }
  if (chunk.id != fourCc("LIST") || listType(chunk.body) != fourCc("adtl")) return false;
  chunks.cueNotes.push_back(listContents(chunk.body));
  return true;
}

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

std::vector<std::byte> buildDescription(const Waveform& waveform) {
  const DescriptionBodies bodies = buildBodies(waveform);
  ChunkBuilder builder;
  const auto addWhereFilled = [&](std::uint32_t id, Bytes body) {
    if (!body.empty()) builder.add(id, body);
  };
  addWhereFilled(fourCc("cue "), bodies.cues);
  if (!bodies.cueNotes.empty()) {
    builder.openList(fourCc("adtl"));
    builder.out.append(bodies.cueNotes);
    builder.close();
  }
  addWhereFilled(fourCc("smpl"), bodies.sampler);
  addWhereFilled(fourCc("inst"), bodies.instrument);
  return std::move(builder.out.bytes);
}

}  // namespace vemko::riff
