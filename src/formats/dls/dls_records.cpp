#include "formats/dls/dls_records.h"

#include <algorithm>
#include <unordered_map>

#include "base/last_error.h"
#include "formats/dls/dls_conditions.h"
#include "formats/riff/riff.h"

namespace vemko::dls {
namespace {

using riff::Chunk;
using riff::ChunkWalker;

// One list and where it stands in the file.
struct ChunkList {
  Bytes contents;
  std::uint64_t offset = 0;

  ChunkList listIn(const Chunk& chunk) const {
    return {riff::listContents(chunk.body), offset + chunk.offset + 4};
  }
};

std::uint32_t typeOf(const Chunk& chunk) {
  return chunk.id == fourCc("LIST") ? riff::listType(chunk.body) : 0;
}

std::uint8_t midiValue(std::uint16_t value) { return static_cast<std::uint8_t>(std::min<int>(value, 127)); }

class Parser {
 public:
  Parser(CollectionRecord& collection, Complaints& complaints)
      : collection_(collection), complaints_(complaints) {}

  void parse(const ChunkList& file) {
    std::optional<ChunkList> instruments, waves;
    std::optional<Bytes> poolTable;
    ChunkWalker walker(file.contents);
    for (Chunk chunk; walker.next(chunk);) {
      if (takeDescription(chunk, collection_.description)) continue;
      if (chunk.id == fourCc("ptbl") && !poolTable) poolTable = chunk.body;
      if (chunk.id == fourCc("vers")) takeVersion(chunk.body);
      if (typeOf(chunk) == fourCc("lins") && !instruments) instruments = file.listIn(chunk);
      if (typeOf(chunk) == fourCc("wvpl") && !waves) waves = file.listIn(chunk);
    }
    if (instruments) takeInstruments(*instruments);
    if (waves)
      takeWaves(*waves);
    else
      complaints_.add(u"Missing waves");
    takeCues(poolTable);
  }

 private:
  bool takeDescription(const Chunk& chunk, Description& description) {
    if (typeOf(chunk) == fourCc("INFO") && description.info.empty())
      description.info = riff::parseInfoTexts(riff::listContents(chunk.body));
    else if (chunk.id == fourCc("dlid") && chunk.body.size() >= sizeof(DlsId) && !description.id)
      std::copy_n(chunk.body.begin(), sizeof(DlsId), description.id.emplace().begin());
    else
      return false;
    return true;
  }

  void takeVersion(Bytes body) {
    ByteReader reader(body);
    const std::uint32_t high = reader.u32(), low = reader.u32();
    if (reader.ok) collection_.version = {high, low};
  }

  // Whether the conditions within the list are met.
  bool isMeant(const ChunkList& list) {
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);)
      if (chunk.id == fourCc("cdl ") && !isConditionMet(chunk.body, complaints_)) return false;
    return true;
  }

  void takeInstruments(const ChunkList& list) {
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);)
      if (typeOf(chunk) == fourCc("ins ")) takeInstrument(list.listIn(chunk));
  }

  void takeInstrument(const ChunkList& list) {
    if (!isMeant(list)) return;
    InstrumentRecord& instrument = collection_.instruments.emplace_back();
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);) {
      if (takeDescription(chunk, instrument.description)) continue;
      if (chunk.id == fourCc("insh")) takeInstrumentHeader(chunk.body, instrument);
      if (typeOf(chunk) == fourCc("lrgn")) takeRegions(list.listIn(chunk), instrument);
      takeArticulation(list, chunk, instrument.articulation);
    }
  }

  void takeInstrumentHeader(Bytes body, InstrumentRecord& instrument) {
    ByteReader reader(body);
    reader.u32();  // the number of regions, which the list tells
    instrument.bank = reader.u32();
    instrument.program = reader.u32();
  }

  void takeRegions(const ChunkList& list, InstrumentRecord& instrument) {
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);)
      if (typeOf(chunk) == fourCc("rgn ") || typeOf(chunk) == fourCc("rgn2"))
        takeRegion(list.listIn(chunk), instrument);
  }

  void takeRegion(const ChunkList& list, InstrumentRecord& instrument) {
    if (!isMeant(list)) return;
    RegionRecord& region = instrument.regions.emplace_back();
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);) {
      if (chunk.id == fourCc("rgnh")) takeRegionHeader(chunk.body, region);
      if (chunk.id == fourCc("wlnk")) takeLink(chunk.body, region.link);
      if (chunk.id == fourCc("wsmp")) takeSample(chunk.body, region.sample);
      takeArticulation(list, chunk, region.articulation);
    }
  }

  void takeRegionHeader(Bytes body, RegionRecord& region) {
    ByteReader reader(body);
    auto range = [&] {
      const std::uint8_t low = midiValue(reader.u16()), high = midiValue(reader.u16());
      if (low > high)
        complaints_.add(u"A range of keys or velocities ends before it begins and is turned round");
      return MidiRange{std::min(low, high), std::max(low, high)};
    };
    const MidiRange keys = range(), velocities = range();
    if (!reader.ok) return complaints_.add(u"A region's header is too short");
    region.keys = keys;
    // Writers that know level 1 only leave them empty.
    region.velocities = velocities.high == 0 ? MidiRange{} : velocities;
    region.options = reader.u16();
    region.keyGroup = reader.u16();
    if (reader.remaining() >= 2) region.layer = reader.u16();
  }

  void takeLink(Bytes body, WaveLink& link) {
    ByteReader reader(body);
    WaveLink read;
    read.options = reader.u16();
    read.phaseGroup = reader.u16();
    read.channel = reader.u32();
    read.cue = reader.u32();
    if (reader.ok)
      link = read;
    else
      complaints_.add(u"A wave link is too short");
  }

  void takeSample(Bytes body, std::optional<riff::WaveSample>& sample) {
    riff::WaveSample read;
    if (sample) return;
    if (riff::parseWaveSample(body, read))
      sample = std::move(read);
    else
      complaints_.add(u"A wave sample chunk is too short");
  }

  // A list of level 2 stands in for one of level 1 beside it.
  void takeArticulation(const ChunkList& outer, const Chunk& chunk,
                        std::optional<Articulation>& articulation) {
    const bool isLevel2 = typeOf(chunk) == fourCc("lar2");
    if (!isLevel2 && typeOf(chunk) != fourCc("lart")) return;
    const List list = isLevel2 ? List::Level2 : List::Level1;
    if (articulation && articulation->list == List::Level2 && !isLevel2) return;
    const ChunkList inner = outer.listIn(chunk);
    if (!isMeant(inner)) return;
    if (!articulation || articulation->list != list) articulation = Articulation{list, {}};
    ChunkWalker walker(inner.contents);
    // Some writers put the other level's chunk into the list.
    for (Chunk each; walker.next(each);) {
      const bool isArt2 = each.id == fourCc("art2");
      if (!isArt2 && each.id != fourCc("art1")) continue;
      if (isArt2) articulation->list = List::Level2;
      readConnections(each.body, isArt2 ? List::Level2 : List::Level1, articulation->connections,
                      complaints_);
    }
  }

  void takeWaves(const ChunkList& list) {
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);) {
      if (typeOf(chunk) != fourCc("wave")) continue;
      waveAt_.emplace(chunk.offset - 8, static_cast<std::uint32_t>(collection_.waves.size()));
      takeWave(list.listIn(chunk));
    }
  }

  void takeWave(const ChunkList& list) {
    WaveRecord& wave = collection_.waves.emplace_back();
    if (!isMeant(list)) return;
    ChunkWalker walker(list.contents);
    for (Chunk chunk; walker.next(chunk);) {
      if (takeDescription(chunk, wave.description)) continue;
      if (chunk.id == fourCc("fmt ") && wave.format.empty()) wave.format = chunk.body;
      if (chunk.id == fourCc("fact")) wave.factFrames = ByteReader(chunk.body).u32();
      if (chunk.id == fourCc("wsmp")) takeSample(chunk.body, wave.sample);
      if (chunk.id == fourCc("data") && wave.dataOffset == 0) {
        if (chunk.overruns) complaints_.add(u"A wave claims more samples than the file holds");
        wave.dataOffset = list.offset + chunk.offset;
        wave.dataSize = chunk.body.size();
      }
    }
  }

  void takeCues(const std::optional<Bytes>& body) {
    if (!body) {
      logWarning(
          u"DLS parser warning: Mandatory 'ptbl' chunk is missing, will attempt to read file anyway, but may "
          u"not be correct!");
      for (std::uint32_t i = 0; i < collection_.waves.size(); ++i) collection_.waveOfCue.push_back(i);
      return;
    }
    constexpr std::uint32_t kHeaderBytes = 8;
    ByteReader reader(*body);
    const std::uint32_t headerBytes = reader.u32();
    std::uint32_t count = reader.u32();
    if (headerBytes > kHeaderBytes) reader.skip(headerBytes - kHeaderBytes);
    if (!reader.ok || count > reader.remaining() / 4) complaints_.add(u"Missing cues");
    for (; count > 0 && reader.ok && reader.remaining() >= 4; --count) {
      const auto wave = waveAt_.find(reader.u32());
      collection_.waveOfCue.push_back(wave == waveAt_.end() ? kNoCue : wave->second);
      if (wave == waveAt_.end()) complaints_.add(u"Missing waves");
    }
  }

  CollectionRecord& collection_;
  Complaints& complaints_;
  std::unordered_map<std::uint64_t, std::uint32_t> waveAt_;  // by its offset in the pool
};

}  // namespace

bool parseCollection(Bytes file, CollectionRecord& collection, Complaints& complaints) {
  ByteReader reader(file);
  const std::uint32_t id = reader.u32();
  reader.u32();  // the size, which is wrong in too many files to be of use
  if (id != fourCc("RIFF") || reader.u32() != fourCc("DLS ")) return fail(u"Not a RIFF DLS file");
  Parser(collection, complaints).parse({reader.rest(), 12});
  return true;
}

}  // namespace vemko::dls
