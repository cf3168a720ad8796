#include "formats/riff/kept_chunks.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "base/log.h"
#include "base/text.h"
#include "codecs/id3.h"

namespace vemko::riff {
namespace {

constexpr std::size_t kMostBytes = 1 << 20, kMostChunks = 256, kNamesLogged = 20;
constexpr std::uint32_t kBroadcast = fourCc("bext");

// clang-format off
// Padding, overviews and checksums of the samples, and what the writers say by themselves.
constexpr std::uint32_t kPassedOver[] = {
  fourCc("fmt "), fourCc("data"), fourCc("ds64"), fourCc("fact"), fourCc("smpl"), fourCc("inst"),
  fourCc("JUNK"), fourCc("junk"), fourCc("PAD "), fourCc("pad "), fourCc("FLLR"), fourCc("fllr"),
  fourCc("filr"), fourCc("PEAK"), fourCc("levl"), fourCc("LGWV"), fourCc("MD5 "),
};
// Refer to cue points, which get new numbers.
constexpr std::uint32_t kNeverKept[] = {fourCc("plst"), fourCc("tlst")};
// Say nothing of the samples.
constexpr std::uint32_t kAlwaysTrue[] = {fourCc("DISP"), fourCc("_PMX")};
// True for any channels, but not for other frames.
constexpr std::uint32_t kTrueForFrames[] = {kBroadcast, fourCc("cart"), fourCc("acid"), fourCc("strc")};
// Files that hold these chunks.
constexpr std::u16string_view kExtensions[] = {u"wav", u"flac", u"wv"};
// clang-format on

bool contains(std::span<const std::uint32_t> ids, std::uint32_t id) {
  return std::ranges::find(ids, id) != ids.end();
}

bool isPrintable(std::uint32_t id) {
  for (int i = 0; i < 4; ++i, id >>= 8)
    if ((id & 0xFF) < 0x20 || (id & 0xFF) >= 0x7F) return false;
  return true;
}

std::u16string quoted(std::uint32_t id) { return u"'" + idText(id) + u"'"; }

bool hasRoom(std::size_t bytes, const WaveFileNotes& notes) {
  return bytes <= kMostBytes - notes.keptBytes && notes.chunks.size() < kMostChunks;
}

// --- The broadcast chunk, whose texts are properties too.

constexpr std::size_t kOriginatorAt = 256, kReferenceAt = 288, kVersionAt = 346, kUmidAt = 348,
                      kLoudnessAt = 412, kLoudnessEnd = 422;

bool hasContent(Bytes bytes) {
  return std::ranges::any_of(bytes, [](std::byte each) { return each != std::byte{0}; });
}

// Anything but the two texts.
bool saysMore(Bytes broadcast) {
  if (broadcast.size() <= kReferenceAt) return false;
  const std::size_t versionAt = std::min(broadcast.size(), kVersionAt);
  return hasContent(broadcast.subspan(kReferenceAt, versionAt - kReferenceAt)) ||
         hasContent(broadcast.subspan(std::min(broadcast.size(), kUmidAt)));
}

void replaceText(std::span<std::byte> field, std::u16string_view text) {
  const std::string utf8 = toUtf8(text, field.size());
  std::ranges::fill(field, std::byte{0});
  std::memcpy(field.data(), utf8.data(), utf8.size());
}

void bringUpToDate(std::span<std::byte> broadcast, const WaveFileNotes& notes, const Waveform& waveform) {
  if (broadcast.size() < kReferenceAt) return;
  if (waveform.text(TextProperty::Comments) != notes.comments)
    replaceText(broadcast.first(kOriginatorAt), waveform.text(TextProperty::Comments));
  if (waveform.text(TextProperty::Product) != notes.product)
    replaceText(broadcast.subspan(kOriginatorAt, kReferenceAt - kOriginatorAt),
                waveform.text(TextProperty::Product));
  constexpr unsigned kWithLoudness = 2;
  if (waveform.sourceIsIntact() || broadcast.size() < kLoudnessEnd) return;
  if (ByteReader(broadcast.subspan(kVersionAt)).u16() < kWithLoudness) return;
  for (std::size_t at = kLoudnessAt; at < kLoudnessEnd; at += 2) {  // not known any more
    broadcast[at] = std::byte{0xFF};
    broadcast[at + 1] = std::byte{0x7F};
  }
}

const WaveFileNotes* notesOf(const Waveform& waveform) {
  return dynamic_cast<const WaveFileNotes*>(waveform.notes.get());
}

}  // namespace

std::vector<std::u16string> WaveFileNotes::lostIn(std::u16string_view extension) const {
  if (std::ranges::find(kExtensions, extension) != std::end(kExtensions)) return {};
  std::vector<std::u16string> names;
  const auto add = [&](std::u16string name) {
    if (names.size() < kNamesLogged && std::ranges::find(names, name) == names.end())
      names.push_back(std::move(name));
  };
  for (const KeptChunk& chunk : chunks)
    if (chunk.id != kBroadcast || saysMore(chunk.body)) add(u"chunk " + quoted(chunk.id));
  for (const InfoText& text : info) add(u"INFO field " + quoted(text.id));
  return names;
}

void keepChunk(const Chunk& chunk, bool isBeforeData, WaveFileNotes& notes) {
  if (chunk.overruns || !isPrintable(chunk.id) || contains(kPassedOver, chunk.id) || !hasContent(chunk.body))
    return;
  if (contains(kNeverKept, chunk.id) || !notes.canCarry || !hasRoom(chunk.body.size(), notes)) {
    if (chunk.id != kBroadcast || saysMore(chunk.body)) addNotKept(chunk.id, notes.left);
    return;
  }
  notes.keptBytes += chunk.body.size();
  notes.chunks.push_back({chunk.id, isBeforeData, {chunk.body.begin(), chunk.body.end()}});
}

void keepTag(Bytes tag, WaveFileNotes& notes) {
  if (!hasRoom(tag.size(), notes)) return;
  notes.keptBytes += tag.size();
  notes.tag.assign(tag.begin(), tag.end());
}

void attachNotes(WaveFileNotes notes, Waveform& waveform) {
  tellChunksNotKept(notes.left);
  if (notes.chunks.empty() && notes.info.empty() && notes.tag.empty()) return;
  notes.comments = waveform.text(TextProperty::Comments);
  notes.product = waveform.text(TextProperty::Product);
  notes.frames = waveform.frames;
  notes.rate = waveform.rate;
  notes.channels = waveform.channels;
  waveform.notes = std::make_shared<const WaveFileNotes>(std::move(notes));
}

void addNotKept(std::uint32_t id, std::vector<std::uint32_t>& ids) {
  if (isPrintable(id) && ids.size() < kNamesLogged && !contains(ids, id)) ids.push_back(id);
}

void tellChunksNotKept(const std::vector<std::uint32_t>& ids) {
  std::u16string line;
  for (std::uint32_t id : ids) line.append(line.empty() ? u"Not kept: chunks " : u", ").append(quoted(id));
  if (!line.empty()) logWarning(line);
}

ChunksToWrite buildKeptChunks(const Waveform& waveform, std::uint8_t channels) {
  ChunkBuilder before, behind;
  std::vector<std::uint32_t> left;
  const WaveFileNotes* notes = notesOf(waveform);
  if (!notes) return {};
  const bool sameFrames = waveform.frames == notes->frames && waveform.rate == notes->rate;
  const bool sameChannels = waveform.channels == notes->channels && channels == notes->channels;
  for (const KeptChunk& chunk : notes->chunks) {
    const bool isTrue = contains(kAlwaysTrue, chunk.id) ||
                        (sameFrames && (sameChannels || contains(kTrueForFrames, chunk.id)));
    if (!isTrue) {
      addNotKept(chunk.id, left);
      continue;
    }
    std::vector<std::byte> body = chunk.body;
    if (chunk.id == kBroadcast) bringUpToDate(body, *notes, waveform);
    (chunk.isBeforeData ? before : behind).add(chunk.id, body);
  }
  tellChunksNotKept(left);
  return {std::move(before.out.bytes), std::move(behind.out.bytes)};
}

const std::vector<InfoText>& keptInfo(const Waveform& waveform) {
  static const std::vector<InfoText> none;
  const WaveFileNotes* notes = notesOf(waveform);
  return notes ? notes->info : none;
}

Bytes keptTag(const Waveform& waveform) {
  const WaveFileNotes* notes = notesOf(waveform);
  if (!notes || notes->tag.empty()) return {};
  Waveform said(waveform.collection());
  readId3(notes->tag, said);
  for (TextProperty property : kTextProperties)
    if (!said.text(property).empty() && said.text(property) != waveform.text(property)) return {};
  return std::ranges::equal(said.image(), waveform.image()) ? Bytes(notes->tag) : Bytes();
}

}  // namespace vemko::riff
