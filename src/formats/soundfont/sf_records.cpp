#include "formats/soundfont/sf_records.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "base/last_error.h"
#include "base/text.h"
#include "formats/riff/riff.h"

namespace vemko::soundfont {
namespace {

constexpr std::u16string_view kNotABank = u"Not a SoundFont2 file";

Name readName(ByteReader& reader) {
  Name name{};
  const Bytes bytes = reader.take(name.size());
  if (!bytes.empty()) std::memcpy(name.data(), bytes.data(), bytes.size());
  return name;
}

void read(ByteReader& reader, SampleHeader& header) {
  header.name = readName(reader);
  header.start = reader.u32();
  header.end = reader.u32();
  header.loopStart = reader.u32();
  header.loopEnd = reader.u32();
  header.rate = reader.u32();
  header.key = reader.u8();
  header.correctionCents = reader.i8();
  header.link = reader.u16();
  header.type = reader.u16();
}

void read(ByteReader& reader, PresetHeader& header) {
  header.name = readName(reader);
  header.preset = reader.u16();
  header.bank = reader.u16();
  header.firstBag = reader.u16();
  reader.skip(12);  // library, genre and morphology, which nobody uses
}

void read(ByteReader& reader, InstrumentHeader& header) {
  header.name = readName(reader);
  header.firstBag = reader.u16();
}

void read(ByteReader& reader, Bag& bag) {
  bag.firstGenerator = reader.u16();
  bag.firstModulator = reader.u16();
}

void read(ByteReader& reader, Generator& generator) {
  generator.number = reader.u16();
  generator.amount = reader.i16();
}

void read(ByteReader& reader, Modulator& modulator) {
  modulator.source = reader.u16();
  modulator.destination = reader.u16();
  modulator.amount = reader.i16();
  modulator.amountSource = reader.u16();
  modulator.transform = reader.u16();
}

template <class Record>
void readAll(Bytes body, std::size_t recordBytes, std::vector<Record>& records, Complaints& complaints) {
  if (body.size() % recordBytes != 0) complaints.add(u"A table's size is not a multiple of its record");
  records.resize(body.size() / recordBytes);
  ByteReader reader(body);
  for (Record& record : records) read(reader, record);
}

// --- The file's lists

struct Lists {
  std::optional<Bytes> info, samples, tables;
};

// Real files count a pad byte that is not there, or do not count one that is: a list that does not begin
// where the one before ends is looked for one byte before and behind.
std::uint64_t listNear(Bytes bytes, std::uint64_t position) {
  auto isList = [&](std::uint64_t at) {
    return at <= bytes.size() && bytes.size() - at >= 12 &&
           ByteReader(bytes.subspan(static_cast<std::size_t>(at))).u32() == fourCc("LIST");
  };
  for (std::uint64_t at : {position, position - 1, position + 1})
    if (isList(at)) return at;
  return position;
}

Lists findLists(Bytes bytes, Complaints& complaints) {
  Lists lists;
  auto isComplete = [&] { return lists.info && lists.samples && lists.tables; };
  for (std::uint64_t position = 12; position < bytes.size() && !isComplete();) {
    position = listNear(bytes, position);
    if (bytes.size() - position < 8) break;
    ByteReader reader(bytes.subspan(static_cast<std::size_t>(position)));
    const std::uint32_t id = reader.u32();
    const std::uint64_t size = reader.u32();
    if (size > reader.remaining()) complaints.add(u"A chunk claims more than the file holds");
    const Bytes body = reader.take(std::min<std::uint64_t>(size, reader.remaining()));
    position += 8 + body.size() + body.size() % 2;
    if (id != fourCc("LIST")) continue;
    const std::uint32_t type = riff::listType(body);
    for (auto& [name, list] : {std::pair(fourCc("INFO"), &lists.info),
                               {fourCc("sdta"), &lists.samples},
                               {fourCc("pdta"), &lists.tables}})
      if (type == name && !*list) *list = riff::listContents(body);
  }
  return lists;
}

void readInfo(Bytes list, BankFile& bank) {
  riff::ChunkWalker walker(list);
  for (riff::Chunk chunk; walker.next(chunk);) {
    if (chunk.id == fourCc("ifil")) {
      ByteReader reader(chunk.body);
      bank.versionMajor = reader.u16();
      bank.versionMinor = reader.u16();
    } else if (chunk.id != fourCc("iver")) {
      std::string text(reinterpret_cast<const char*>(chunk.body.data()), chunk.body.size());
      text.resize(std::min(text.find('\0'), text.size()));
      if (!text.empty()) bank.info.push_back({chunk.id, std::move(text)});
    }
  }
}

void readSampleRanges(Bytes file, Bytes list, BankFile& bank, Complaints& complaints) {
  riff::ChunkWalker walker(list);
  for (riff::Chunk chunk; walker.next(chunk);) {
    if (chunk.overruns) complaints.add(u"The sample data claim more than the file holds");
    const FileRange range{static_cast<std::uint64_t>(chunk.body.data() - file.data()), chunk.body.size()};
    if (chunk.id == fourCc("smpl") && bank.smpl.size == 0) bank.smpl = range;
    if (chunk.id == fourCc("sm24") && bank.sm24.size == 0) bank.sm24 = range;
  }
}

void readTables(Bytes list, BankFile& bank, Complaints& complaints) {
  riff::ChunkWalker walker(list);
  for (riff::Chunk chunk; walker.next(chunk);) {
    if (chunk.overruns) complaints.add(u"A table claims more than the file holds");
    auto take = [&](auto& records, std::size_t recordBytes) {
      if (records.empty()) readAll(chunk.body, recordBytes, records, complaints);
    };
    switch (chunk.id) {
      case fourCc("phdr"):
        take(bank.presets, 38);
        break;
      case fourCc("pbag"):
        take(bank.presetBags, 4);
        break;
      case fourCc("pmod"):
        take(bank.presetModulators, 10);
        break;
      case fourCc("pgen"):
        take(bank.presetGenerators, 4);
        break;
      case fourCc("inst"):
        take(bank.instruments, 22);
        break;
      case fourCc("ibag"):
        take(bank.instrumentBags, 4);
        break;
      case fourCc("imod"):
        take(bank.instrumentModulators, 10);
        break;
      case fourCc("igen"):
        take(bank.instrumentGenerators, 4);
        break;
      case fourCc("shdr"):
        take(bank.samples, 46);
        break;
      default:
        break;
    }
  }
}

// Lists end at the record of that name, which is returned; without it, at a last record that `isTerminal`
// takes for one.
template <class Record, class IsTerminal>
std::optional<Record> cutAtTerminal(std::vector<Record>& records, std::string_view name,
                                    IsTerminal isTerminal, Complaints& complaints) {
  auto end =
      std::ranges::find_if(records, [&](const Record& each) { return charactersOf(each.name) == name; });
  if (end == records.end() && !records.empty()) {
    complaints.add(u"A table has no terminal record");
    if (isTerminal(records.back())) --end;
  }
  if (end == records.end()) return std::nullopt;
  const Record terminal = *end;
  records.erase(end, records.end());
  return terminal;
}

// Returns the bag where the last header's zones end.
template <class Header>
std::size_t cutHeaders(std::vector<Header>& headers, const std::vector<Bag>& bags,
                       const std::vector<Generator>& generators, std::string_view name,
                       Complaints& complaints) {
  // The last bag is a terminal, too, unless there are generators for it.
  std::size_t end = bags.size();
  if (end > 0 && bags.back().firstGenerator + std::size_t{1} >= generators.size()) --end;
  const auto terminal = cutAtTerminal(
      headers, name, [&](const Header& header) { return header.firstBag >= end; }, complaints);
  return terminal ? std::min<std::size_t>(terminal->firstBag, end) : end;
}

// --- Names

bool isUtf8(std::string_view text) { return decodeText(asBytes(text)) == toUtf16(text); }

// Writers that know nothing of UTF-8 cut a long name in the middle of its last character. The rest is UTF-8
// all the same where another such character is in it.
std::string_view withoutCutCharacter(std::string_view name) {
  constexpr std::size_t kMostCut = 3;
  const auto byteAt = [&](std::size_t at) { return static_cast<unsigned char>(name[at]); };
  if (name.size() < std::tuple_size_v<Name> || byteAt(name.size() - 1) < 0x80 || isUtf8(name)) return name;
  for (std::size_t cut = 1; cut <= kMostCut; ++cut) {
    const std::string_view whole = name.substr(0, name.size() - cut);
    const bool isAscii = std::ranges::all_of(whole, [](char c) { return (c & 0x80) == 0; });
    if (byteAt(whole.size()) >= 0xC0) return isUtf8(whole) && !isAscii ? whole : name;
  }
  return name;
}

}  // namespace

std::string_view charactersOf(const Name& name) {
  return {name.data(), static_cast<std::size_t>(std::ranges::find(name, '\0') - name.begin())};
}

std::u16string textOf(const Name& name) {
  return std::u16string(trimmed(decodeText(asBytes(withoutCutCharacter(charactersOf(name))))));
}

bool parseBank(Bytes bytes, BankFile& bank, Complaints& complaints) {
  ByteReader reader(bytes);
  const std::uint32_t id = reader.u32();
  reader.u32();  // the size, which is wrong in too many files to be of use
  const std::uint32_t form = reader.u32();
  bank.packed = form == fourCc("sfpk");
  if (id != fourCc("RIFF") || (form != fourCc("sfbk") && !bank.packed)) return fail(kNotABank);
  const Lists lists = findLists(bytes, complaints);
  if (lists.info) readInfo(*lists.info, bank);
  if (bank.versionMajor != 2 && bank.versionMajor != 3) return fail(u"Not a Sound Font v2.x file");
  if (lists.samples) readSampleRanges(bytes, *lists.samples, bank, complaints);
  if (lists.tables) readTables(*lists.tables, bank, complaints);
  if (bank.presets.empty() && bank.samples.empty()) return fail(kNotABank);
  bank.presetBagEnd = cutHeaders(bank.presets, bank.presetBags, bank.presetGenerators, "EOP", complaints);
  bank.instrumentBagEnd =
      cutHeaders(bank.instruments, bank.instrumentBags, bank.instrumentGenerators, "EOI", complaints);
  cutAtTerminal(
      bank.samples, "EOS", [](const SampleHeader& header) { return header.end == 0 && header.rate == 0; },
      complaints);
  return true;
}

}  // namespace vemko::soundfont
