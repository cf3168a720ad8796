#include <algorithm>
#include <optional>

#include "base/last_error.h"
#include "base/parallel_for.h"
#include "base/version.h"
#include "core/regions_at_rest.h"
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

std::vector<std::byte> buildInfo(const Item& item, const Path& file, std::uint16_t major,
                                 std::uint16_t minor) {
  riff::ChunkBuilder list;
  list.openList(fourCc("INFO"));
  list.open(fourCc("ifil"));
  list.out.u16(major);
  list.out.u16(minor);
  list.close();
  addText(list, fourCc("isng"), "EMU8000");
  const std::vector<InfoText> texts = infoTextsOf(item, file);
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

/// A bank on its way into the file: the samples first, while the zones' tables are still being made.
struct Bank {
  const SamplePool& pool;
  BlockWriter& out;
  Chunks chunks = {};
  std::uint64_t headBytes = 0, smplBytes = 0, listBytes = 0;
};

// With sizes that become known later.
bool startSamples(Bank& bank) {
  const ByteWriter head = buildHead(bank.chunks, 0, 0);
  bank.headBytes = head.size();
  return bank.out.append(head.bytes);
}

bool writePlainSamples(bool is24, Bank& bank) {
  std::vector<ChannelData> data;
  const std::vector<std::size_t> order = storedOrder(bank.pool.data());
  data.reserve(order.size());
  for (std::size_t index : order) data.push_back(bank.pool.data()[index]);
  const auto placed = placePoints(data, is24);
  if (!placed) return false;
  std::vector<SamplePosition> positions(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) positions[order[i]] = (*placed)[i];
  bank.chunks.headers = buildSampleHeaders(bank.pool, positions);
  const std::uint64_t points = placed->empty() ? 0 : placed->back().end + std::uint64_t{kGapPoints};
  const std::uint64_t lowBytes = points + points % 2;
  bank.smplBytes = points * 2;
  bank.listBytes = 12 + bank.smplBytes + (is24 ? 8 + lowBytes : 0);
  if (!startSamples(bank) || !writePoints(data, is24, bank.out)) return false;
  if (!is24) return true;
  ByteWriter low;
  appendHeader(low, fourCc("sm24"), lowBytes);
  return bank.out.append(low.bytes) && writeLowBytes(data, bank.out) && appendToEven(points, bank.out);
}

bool writeCompressedSamples(std::uint32_t setting, Bank& bank) {
  std::vector<SamplePosition> positions;
  if (!startSamples(bank) || !writeStreams(bank.pool.data(), setting, bank.out, positions) ||
      !appendToEven(bank.out.position() - bank.headBytes, bank.out))
    return false;
  bank.smplBytes = bank.out.position() - bank.headBytes;
  bank.listBytes = 12 + bank.smplBytes;
  bank.chunks.headers = buildSampleHeaders(bank.pool, positions);
  return true;
}

}  // namespace

bool writeBank(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Collection && item.kind() != ItemKind::Instrument)
    return fail(u"The file format can not save this item");
  const std::vector<Waveform*> waveforms = waveformsAtRest(item);
  const std::vector<Instrument*> instruments = instrumentsOf(item);
  if (waveforms.empty() && instruments.empty()) return fail(u"Empty item - nothing to save");
  const bool mono = (options.requested & (io::kMono | io::kStereo)) == io::kMono;
  SamplePool pool(waveforms, mono);
  if (!haveNumbers(pool)) return false;
  keepFileLoops(instruments, pool);

  const bool compressed = options.variant == kCompressedVariant;
  const bool is24 = !compressed && needs24Bits(waveforms, options);
  BlockWriter out(file);
  Bank bank{pool, out};
  bank.chunks.info = buildInfo(item, file.path(), compressed ? 3 : 2, compressed ? 0 : is24 ? 4 : 1);
  std::optional<std::vector<std::byte>> zones;
  auto runTask = [&](std::size_t task) {
    if (task == 1) return (zones = buildZoneTables(planBank(instruments, pool))).has_value();
    return compressed ? writeCompressedSamples(options.setting, bank) : writePlainSamples(is24, bank);
  };
  if (!parallelFor(2, runTask)) return false;
  bank.chunks.zones = std::move(*zones);
  return appendTables(bank.chunks, out) &&
         file.writeAt(0, buildHead(bank.chunks, bank.smplBytes, bank.listBytes).bytes);
}

}  // namespace vemko::soundfont
