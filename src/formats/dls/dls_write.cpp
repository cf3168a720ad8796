#include <algorithm>
#include <deque>
#include <map>
#include <tuple>
#include <unordered_map>

#include "base/last_error.h"
#include "base/log.h"
#include "base/version.h"
#include "core/regions_at_rest.h"
#include "formats/dls/dls.h"
#include "formats/dls/dls_pool.h"
#include "formats/dls/dls_region_lists.h"
#include "formats/riff/riff.h"
#include "io/decisions.h"
#include "io/file_names.h"

namespace vemko::dls {
namespace {

constexpr std::u16string_view kTooManyRegions =
    u"The collection contains instruments with more regions than what is allowed by the DLS level 1 "
    u"specification.\n\nDo you want to write all regions anyway?\n(if you answer No, then some regions will "
    u"be "
    u"skipped)";
constexpr std::u16string_view kAnswers[] = {u"&Yes", u"&No"};

io::CapabilityMask capabilitiesOf(Level level) {
  if (level == Level::One) return kLevel1Capabilities;
  return level == Level::Two ? kLevel2Capabilities : kLevel2PlusCapabilities;
}

std::size_t regionLimit(const Instrument& instrument, Level level) {
  return level == Level::One && !instrument.patch.isDrumKit() ? 16 : 128;
}

struct Link {
  std::uint16_t phaseGroup = 0;
  bool isMaster = false;
};

// The regions of a left and a right wave that play together are a phase group, the left one its master.
std::vector<Link> linkRegions(const std::vector<const Region*>& regions) {
  using Key = std::tuple<ItemId, std::uint32_t>;
  const auto keyOf = [](ItemId waveform, const Region& region) {
    return Key{waveform, std::uint32_t{region.keys.low} << 24 | std::uint32_t{region.keys.high} << 16 |
                             std::uint32_t{region.velocities.low} << 8 | region.velocities.high};
  };
  std::map<Key, std::deque<std::size_t>> rights;
  for (std::size_t i = 0; i < regions.size(); ++i)
    if (regions[i]->waveform()->side == StereoSide::Right)
      rights[keyOf(regions[i]->waveformId, *regions[i])].push_back(i);
  std::vector<Link> links(regions.size());
  std::uint16_t group = 0;
  for (std::size_t i = 0; i < regions.size() && group < UINT16_MAX; ++i) {
    const Waveform& left = *regions[i]->waveform();
    if (left.side != StereoSide::Left || left.channels != 1) continue;
    const auto right = rights.find(keyOf(left.pairedWith, *regions[i]));
    if (right == rights.end() || right->second.empty()) continue;
    links[i] = {++group, true};
    links[right->second.front()] = {group, false};
    right->second.pop_front();
  }
  return links;
}

class CollectionWriter {
 public:
  CollectionWriter(Item& item, Level level, const io::SaveOptions& options)
      : item_(item),
        level_(level),
        waveforms_(waveformsAtRest(item)),
        pool_(waveforms_, options, capabilitiesOf(level)) {
    if (item.kind() == ItemKind::Instrument)
      instruments_ = {static_cast<Instrument*>(&item)};
    else
      instruments_ = item.collection().all<Instrument>();
  }

  bool write(OutputFile& file) {
    if (level_ == Level::One && pool_.hasStereo())
      logWarning(u"Stereo waves at level 1: devices that know this level only play mono waves");
    collectRegions();
    const auto* notes = notesOf<CollectionNotes>(item_.collection());
    riff::ChunkBuilder head;
    head.open(fourCc("colh"));
    head.out.u32(static_cast<std::uint32_t>(instruments_.size()));
    head.close();
    if (notes && notes->version) {
      head.open(fourCc("vers"));
      for (std::uint32_t word : *notes->version) head.out.u32(word);
      head.close();
    }
    head.openList(fourCc("lins"));
    for (std::size_t i = 0; i < instruments_.size(); ++i) addInstrument(*instruments_[i], regions_[i], head);
    head.close();
    head.out.append(pool_.buildTable());
    ByteWriter tail;
    appendCollectionDescription(notes, file.path(), tail);

    const std::uint64_t size = 4 + head.out.size() + pool_.listBytes() + tail.size();
    if (size > UINT32_MAX) return fail(u"Save failed - The samples are too much for one collection");
    ByteWriter start;
    start.u32(fourCc("RIFF"));
    start.u32(static_cast<std::uint32_t>(size));
    start.u32(fourCc("DLS "));
    BlockWriter out(file);
    return out.append(start.bytes) && out.append(head.out.bytes) && pool_.write(out) &&
           out.append(tail.bytes) && out.flush();
  }

 private:
  // The regions that are written; asks where there are too many.
  void collectRegions() {
    Complaints complaints;
    std::vector<std::size_t> large;
    for (std::size_t i = 0; i < instruments_.size(); ++i)
      if (regions_.emplace_back(regionsAtRest(*instruments_[i], &complaints)).size() > limitOf(i))
        large.push_back(i);
    if (large.empty()) return;
    const std::string instruments =
        formatted("Instruments with more regions than DLS allows: %zu", large.size());
    if (io::ask(kTooManyRegions, kAnswers, 0) == 0)
      return logWarning(toUtf16(instruments + "; all regions are written, devices need not play them"));
    std::size_t leftOut = 0;
    for (std::size_t i : large) {
      leftOut += regions_[i].size() - limitOf(i);
      regions_[i].resize(limitOf(i));
    }
    logWarning(toUtf16(instruments + formatted("; regions left out: %zu", leftOut)));
  }

  std::size_t limitOf(std::size_t instrument) const { return regionLimit(*instruments_[instrument], level_); }

  void addInstrument(const Instrument& instrument, const std::vector<const Region*>& regions,
                     riff::ChunkBuilder& out) {
    const auto* notes = notesOf<InstrumentNotes>(instrument);
    out.openList(fourCc("ins "));
    out.open(fourCc("insh"));
    out.out.u32(static_cast<std::uint32_t>(regions.size()));
    addPatch(instrument.patch, notes, out.out);
    out.close();
    const InstrumentPlan plan = planInstrument(instrument, regions, level_);
    const std::vector<Link> links = linkRegions(regions);
    std::unordered_map<ItemId, std::uint16_t> layers;
    for (ItemId layer : instrument.children) layers.emplace(layer, static_cast<std::uint16_t>(layers.size()));
    out.openList(fourCc("lrgn"));
    for (std::size_t i = 0; i < regions.size(); ++i)
      addRegion(plan.regions[i], layers[regions[i]->parent], links[i], out);
    out.close();
    if (!plan.connections.empty()) addArticulation(plan.connections, out);
    appendDescription(instrument, notes ? &notes->description : nullptr, out.out);
    out.close();
  }

  // The file's own numbers, which may have bits that mean nothing, where they still say the same.
  static void addPatch(const Patch& patch, const InstrumentNotes* notes, ByteWriter& out) {
    const bool isAsRead = notes && patchOf(notes->bank, notes->program).word == patch.word;
    out.u32(isAsRead ? notes->bank
                     : (patch.isDrumKit() ? kDrums : 0) |
                           static_cast<std::uint32_t>(patch.bankMsb() << 8 | patch.bankLsb()));
    out.u32(isAsRead ? notes->program : static_cast<std::uint32_t>(patch.program()));
  }

  void addRegion(const RegionPlan& plan, std::uint16_t layer, const Link& link, riff::ChunkBuilder& out) {
    const Region& region = *plan.region;
    const Waveform& waveform = *region.waveform();
    const auto* notes = notesOf<RegionNotes>(region);
    out.openList(level_ == Level::One ? fourCc("rgn ") : fourCc("rgn2"));
    out.open(fourCc("rgnh"));
    for (const MidiRange& range : {region.keys, region.velocities}) {
      out.out.u16(range.low);
      out.out.u16(range.high);
    }
    out.out.u16(notes ? notes->options : kSelfNonExclusive);
    out.out.u16(region.exclusiveGroup);
    if (level_ != Level::One) out.out.u16(layer);
    out.close();
    appendWaveSample(
        {static_cast<std::uint8_t>(effectiveRootKey(region)), plan.cents + waveform.fineTuneCents,
         plan.gainDb + static_cast<double>(waveform.volumeAdjustmentDb), notes ? notes->sampleOptions : 0},
        waveform, out.out);
    out.open(fourCc("wlnk"));
    out.out.u16(link.isMaster ? kPhaseMaster : 0);
    out.out.u16(link.phaseGroup);
    out.out.u32(pool_.channelsOf(waveform) == 2 ? kLeftChannel | kRightChannel : kLeftChannel);
    out.out.u32(pool_.indexOf(waveform));
    out.close();
    if (plan.hasOwnList) addArticulation(plan.own, out);
    out.close();
  }

  void addArticulation(const std::vector<Connection>& connections, riff::ChunkBuilder& out) const {
    const bool isLevel1 = level_ == Level::One;
    out.openList(isLevel1 ? fourCc("lart") : fourCc("lar2"));
    out.add(isLevel1 ? fourCc("art1") : fourCc("art2"),
            buildConnections(connections, isLevel1 ? List::Level1 : List::Level2));
    out.close();
  }

  void appendCollectionDescription(const CollectionNotes* notes, const Path& file, ByteWriter& out) const {
    const Collection& collection = item_.collection();
    auto texts =
        riff::infoTextsOf(collection, notes ? notes->description.info : std::vector<riff::InfoText>{});
    if (collection.name() == kNewCollectionName)
      for (riff::InfoText& text : texts)
        if (text.id == fourCc("INAM")) text.text = toUtf8(io::bankName(collection, file));
    texts.push_back({fourCc("ISFT"), kProductName});
    riff::appendInfoTexts(texts, out);
    if (!notes || !notes->description.id) return;
    out.u32(fourCc("dlid"));
    out.u32(sizeof(DlsId));
    out.append(*notes->description.id);
  }

  Item& item_;
  Level level_;
  std::vector<Waveform*> waveforms_;
  WavePool pool_;
  std::vector<Instrument*> instruments_;
  std::vector<std::vector<const Region*>> regions_;  // one list an instrument
};

}  // namespace

bool writeCollection(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Collection && item.kind() != ItemKind::Instrument)
    return fail(u"The file format can not save this item");
  if (regionsOf(item).empty() && waveformsOf(item).empty()) return fail(u"Empty item - nothing to save");
  const auto level = static_cast<Level>(std::clamp<std::uint32_t>(options.variant, 1, 4));
  return CollectionWriter(item, level, options).write(file);
}

}  // namespace vemko::dls
