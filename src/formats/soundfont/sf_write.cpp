#include <algorithm>

#include "base/last_error.h"
#include "base/version.h"
#include "formats/riff/riff.h"
#include "formats/soundfont/sf_bank_plan.h"
#include "formats/soundfont/sf_bank_tables.h"
#include "formats/soundfont/sf_info.h"
#include "formats/soundfont/sf_sample_data.h"
#include "formats/soundfont/sf_zone_amounts.h"
#include "formats/soundfont/soundfont.h"
#include "io/sample_layout.h"
#include "platform/block_writer.h"

namespace vemko::soundfont {
namespace {

// 16 bits unless 24 are asked for, or some samples have more than 16 to lose. What a lossy codec gave has
// not.
bool needs24Bits(std::span<Waveform* const> waveforms, const io::SaveOptions& options) {
  return std::ranges::any_of(waveforms, [&](const Waveform* waveform) {
    const bool isAsked = (options.requested & io::kEncodingBits) != 0;
    const bool isLossy = waveform->sourceIsIntact() && waveform->source->encoding() == SampleEncoding::Codec;
    if (isLossy && !isAsked) return false;
    return io::chooseLayout(*waveform, options, kCapabilities).encoding == SampleEncoding::Pcm24;
  });
}

std::vector<Instrument*> instrumentsOf(Item& item) {
  if (item.kind() == ItemKind::Instrument) return {static_cast<Instrument*>(&item)};
  return item.collection().all<Instrument>();
}

void addText(riff::ChunkBuilder& list, std::uint32_t id, std::string_view text) {
  list.open(id);
  list.out.text(text);
  list.out.zeros(2 - text.size() % 2);  // at least one, and to an even length
  list.close();
}

std::vector<std::byte> buildInfo(const Item& item, std::uint16_t major, std::uint16_t minor) {
  riff::ChunkBuilder list;
  list.openList(fourCc("INFO"));
  list.open(fourCc("ifil"));
  list.out.u16(major);
  list.out.u16(minor);
  list.close();
  addText(list, fourCc("isng"), "EMU8000");
  const std::vector<InfoText> texts = infoTextsOf(item);
  for (const InfoText& text : texts) addText(list, text.id, text.text);
  addText(list, fourCc("ISFT"), kSoftwareName);
  list.close();
  return std::move(list.out.bytes);
}

// Loops that zones of a file gave as offsets to the header's are written so again.
void keepFileLoops(const std::vector<Instrument*>& instruments, SamplePool& pool) {
  for (const Instrument* instrument : instruments)
    for (const Region* region : regionsOf(*instrument))
      if (hasFileLoop(*region)) pool.keepFileLoop(*region->waveform());
}

void appendHeader(ByteWriter& out, std::uint32_t id, std::uint64_t size) {
  out.u32(id);
  out.u32(static_cast<std::uint32_t>(size));
}

struct Chunks {
  std::vector<std::byte> info, zones, headers;
};

// Everything from the start of the file to the first sample; of sizes that are not known yet, 0.
ByteWriter buildHead(const Chunks& chunks, std::uint64_t smplBytes, std::uint64_t listBytes) {
  const std::uint64_t tableBytes = 4 + chunks.zones.size() + chunks.headers.size();
  ByteWriter head;
  appendHeader(head, fourCc("RIFF"), 4 + chunks.info.size() + 8 + listBytes + 8 + tableBytes);
  head.u32(fourCc("sfbk"));
  head.append(chunks.info);
  appendHeader(head, fourCc("LIST"), listBytes);
  head.u32(fourCc("sdta"));
  appendHeader(head, fourCc("smpl"), smplBytes);
  return head;
}

bool appendTables(const Chunks& chunks, BlockWriter& out) {
  ByteWriter tables;
  appendHeader(tables, fourCc("LIST"), 4 + chunks.zones.size() + chunks.headers.size());
  tables.u32(fourCc("pdta"));
  return out.append(tables.bytes) && out.append(chunks.zones) && out.append(chunks.headers) && out.flush();
}

// Within the chunk and counted by it: some readers of banks know nothing of pad bytes, and the published
// format wants the low bytes so.
bool appendToEven(std::uint64_t size, BlockWriter& out) {
  return size % 2 == 0 || out.append(std::vector<std::byte>(1));
}

bool writePlain(Chunks chunks, const SamplePool& pool, bool is24, OutputFile& file) {
  const auto positions = placePoints(pool.data());
  if (!positions) return false;
  chunks.headers = buildSampleHeaders(pool, *positions);
  const std::uint64_t points = positions->empty() ? 0 : positions->back().end + std::uint64_t{kGapPoints};
  const std::uint64_t lowBytes = points + points % 2;
  BlockWriter out(file);
  if (!out.append(buildHead(chunks, points * 2, 12 + points * 2 + (is24 ? 8 + lowBytes : 0)).bytes) ||
      !writePoints(pool.data(), is24, out))
    return false;
  if (is24) {
    ByteWriter low;
    appendHeader(low, fourCc("sm24"), lowBytes);
    if (!out.append(low.bytes) || !writeLowBytes(pool.data(), out) || !appendToEven(points, out)) return false;
  }
  return appendTables(chunks, out);
}

// The length of the streams is known when they are written; the head is written once more then.
bool writeCompressed(Chunks chunks, const SamplePool& pool, std::uint32_t setting, OutputFile& file) {
  BlockWriter out(file);
  std::vector<SamplePosition> positions;
  const std::uint64_t headBytes = buildHead(chunks, 0, 0).size();
  if (!out.append(buildHead(chunks, 0, 0).bytes) || !writeStreams(pool.data(), setting, out, positions))
    return false;
  if (!appendToEven(out.position() - headBytes, out)) return false;
  const std::uint64_t smplBytes = out.position() - headBytes;
  chunks.headers = buildSampleHeaders(pool, positions);
  if (!appendTables(chunks, out)) return false;
  return file.writeAt(0, buildHead(chunks, smplBytes, 12 + smplBytes).bytes);
}

}  // namespace

bool writeBank(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Collection && item.kind() != ItemKind::Instrument)
    return fail(u"The file format can not save this item");
  const std::vector<Waveform*> waveforms = waveformsOf(item);
  const std::vector<Instrument*> instruments = instrumentsOf(item);
  const bool mono = (options.requested & (io::kMono | io::kStereo)) == io::kMono;
  SamplePool pool(waveforms, mono);
  keepFileLoops(instruments, pool);

  auto zones = buildZoneTables(planBank(instruments, pool));
  if (!zones) return false;
  const bool compressed = options.variant == kCompressedVariant;
  const bool is24 = !compressed && needs24Bits(waveforms, options);
  Chunks chunks;
  chunks.zones = std::move(*zones);
  chunks.info = buildInfo(item, compressed ? 3 : 2, compressed ? 0 : is24 ? 4 : 1);
  return compressed ? writeCompressed(std::move(chunks), pool, options.setting, file)
                    : writePlain(std::move(chunks), pool, is24, file);
}

}  // namespace vemko::soundfont
