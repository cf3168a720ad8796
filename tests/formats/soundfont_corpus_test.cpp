// Real banks: what an independent program reads from them, and from what we make of them.
#include <set>

#include "formats/soundfont_support.h"
#include "formats/soundfont_text.h"
#include "io/registry.h"

namespace vemko::test {
namespace {

std::vector<Path> corpusBanks() {
  std::vector<Path> files;
  const char* folder = std::getenv("VEMKO_CORPUS");
  if (!folder) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".sf2" || extension == ".sf3") files.push_back(entry.path());
  }
  std::ranges::sort(files);
  // Debian's fluid-soundfont-gm: large, and damaged in many small ways.
  if (const Path large = "/usr/share/sounds/sf2/FluidR3_GM.sf2"; std::filesystem::exists(large))
    files.push_back(large);
  return files;
}

bool hasIndependentReader() { return std::system("command -v sf2text >/dev/null 2>&1") == 0; }

constexpr int kCompressed = 0x10;
constexpr std::string_view kRomSample = "SineWave";

// Left out, as nobody answers where they are. There is one in all banks; of the compressed copy of its bank
// the other program tells no types.
bool isInRom(const ToldSample& sample) {
  return (sample.type & soundfont::sample_type::Rom) != 0 || (sample.rate == 0 && sample.name == kRomSample);
}

int amountOf(const ToldZone& zone, int generator) {
  const auto given = zone.amounts.find(generator);
  return given == zone.amounts.end() ? told::initialOf(generator) : given->second;
}

struct Span {
  std::int64_t start = 0, end = 0;
};

// From the sample's first frame.
Span loopOf(const ToldZone& zone, const ToldSample& sample) {
  const std::int64_t origin = (sample.type & kCompressed) != 0 ? 0 : sample.start;
  return {sample.loopStart - origin + amountOf(zone, gen::LoopStartOffset) +
              std::int64_t{32768} * amountOf(zone, gen::LoopStartCoarseOffset),
          sample.loopEnd - origin + amountOf(zone, gen::LoopEndOffset) +
              std::int64_t{32768} * amountOf(zone, gen::LoopEndCoarseOffset)};
}

bool loops(const ToldZone& zone) {
  const int mode = amountOf(zone, gen::SampleModes);
  return mode == 1 || mode == 3;
}

// What a region says of these.
std::string textOf(const ToldZone& zone, const ToldSample& sample, std::int64_t frames) {
  const int given = amountOf(zone, gen::RootKey), own = sample.key > 127 ? 60 : sample.key;
  Span loop = loopOf(zone, sample);
  loop.end = std::min(loop.end, frames);
  const bool isLoop = loop.start >= 0 && loop.start < loop.end;
  return formatted("%d-%d %d-%d frames %lld rate %d root %d tune %d scale %d loop ", zone.ranges[0],
                   zone.ranges[1], zone.ranges[2], zone.ranges[3], static_cast<long long>(frames),
                   sample.rate, given >= 0 && given <= 127 ? given : own,
                   amountOf(zone, gen::CoarseTune) * 100 + amountOf(zone, gen::FineTune) + sample.correction,
                   std::clamp(amountOf(zone, gen::ScaleTuning), -1200, 1200)) +
         (!loops(zone) || !isLoop
              ? "none"
              : formatted("%lld-%lld", static_cast<long long>(loop.start), static_cast<long long>(loop.end)));
}

std::string textOf(const Region& region) {
  const Waveform& waveform = *region.waveform();
  const ArticulationBlock block = effective(region);
  const LoopRecord* loop = waveform.mainLoop();
  return formatted("%d-%d %d-%d frames %u rate %u root %d tune %ld scale %ld loop ", region.keys.low,
                   region.keys.high, region.velocities.low, region.velocities.high, waveform.frames,
                   waveform.rate, region.rootKey == Region::kNotSet ? waveform.rootKey : region.rootKey,
                   std::lround(block.get(slots::MasterTuning) * 100) + waveform.fineTuneCents,
                   std::lround(block.get(slots::KeyToPitch) * 100)) +
         (!loop || loop->play == LoopPlay::Off ? "none" : formatted("%u-%u", loop->start, loop->end));
}

TEST(SoundFontCorpus, ReadsWhatAnotherProgramReads) {
  const std::vector<Path> files = corpusBanks();
  if (files.empty() || !hasIndependentReader()) GTEST_SKIP() << "no corpus, or nothing to compare with";
  TempFolder folder;
  for (const Path& path : files) {
    SCOPED_TRACE(path.string());
    const auto told = toldBank(path, folder / "listing");
    // It stops at 24-bit samples.
    if (!told && path.filename() == "libinstpatch_24bit.sf2") continue;
    ASSERT_TRUE(told);
    Collection collection;
    InputFile file;
    ASSERT_TRUE(file.open(path) && soundfont::readBank(collection, file, 0)) << toUtf8(lastError());
    const auto instruments = collection.all<Instrument>();
    ASSERT_EQ(instruments.size(), told->presets.size());
    for (std::size_t i = 0; i < instruments.size(); ++i) {
      const ToldPreset& preset = told->presets[i];
      SCOPED_TRACE(preset.name);
      EXPECT_EQ(toUtf8(instruments[i]->name()), preset.name);
      EXPECT_EQ(instruments[i]->patch.program(), preset.preset & 127);
      EXPECT_EQ(instruments[i]->patch.isDrumKit(), preset.bank == 128);
      EXPECT_EQ(instruments[i]->patch.bankMsb(), preset.bank & 127);
      std::vector<ToldZone> zones = told->flattened(preset);
      std::erase_if(zones, [&](const ToldZone& zone) { return isInRom(told->samples[zone.sample]); });
      const auto regions = regionsOf(*instruments[i]);
      ASSERT_EQ(regions.size(), zones.size());
      for (std::size_t j = 0; j < zones.size(); ++j) {
        ToldSample sample = told->samples[zones[j].sample];
        std::int64_t frames = sample.end - sample.start;
        // Of compressed samples it tells the name and the loop.
        if (sample.rate == 0) {
          const Waveform& waveform = *regions[j]->waveform();
          std::tie(sample.rate, sample.key, sample.correction, sample.type, frames) = std::tuple(
              waveform.rate, waveform.rootKey, waveform.fineTuneCents, kCompressed, waveform.frames);
        }
        EXPECT_EQ(textOf(*regions[j]), textOf(zones[j], sample, frames));
        EXPECT_EQ(toUtf8(regions[j]->waveform()->name()), sample.name);
      }
    }
  }
}

// --- Rewriting

struct BankOnDisk {
  std::string bytes;
  ToldBank told;
  soundfont::FileRange lowBytes;
  std::vector<std::string> samples;  // each one's data and header, but for its name and its loop
};

std::string dataOf(const BankOnDisk& bank, const ToldSample& sample) {
  const std::uint64_t width = (sample.type & kCompressed) != 0 ? 1 : 2;
  const std::uint64_t count = sample.end - sample.start;
  std::string data = bank.bytes.substr(bank.told.samplesAt + sample.start * width, count * width);
  if (bank.lowBytes.size > 0) data += bank.bytes.substr(bank.lowBytes.offset + sample.start, count);
  return data;
}

// The other program tells less of samples that are compressed or have 24 bits, so their headers are ours.
BankOnDisk bankOnDisk(const Path& path, const Path& scratch) {
  BankOnDisk bank{contentOf(path), toldBank(path, scratch).value_or(ToldBank{}), {}, {}};
  soundfont::BankFile parsed;
  Complaints complaints;
  EXPECT_TRUE(soundfont::parseBank(asBytes(bank.bytes), parsed, complaints));
  bank.lowBytes = parsed.sm24;
  bank.told.samplesAt = parsed.smpl.offset;
  bank.told.samples.clear();
  for (const soundfont::SampleHeader& each : parsed.samples) {
    ToldSample sample{std::string(soundfont::charactersOf(each.name)),
                      each.start,
                      each.end,
                      each.loopStart,
                      each.loopEnd,
                      static_cast<int>(each.rate),
                      each.key,
                      each.correctionCents,
                      each.link,
                      each.type};
    const std::string data = isInRom(sample) ? "" : dataOf(bank, sample);
    bank.told.samples.push_back(sample);
    bank.samples.push_back(formatted("%zu bytes %zx rate %d key %d %+d", data.size(),
                                     std::hash<std::string>()(data), sample.rate, sample.key,
                                     sample.correction));
  }
  return bank;
}

std::set<std::string> samplesOf(const BankOnDisk& bank) {
  std::set<std::string> samples;
  for (std::size_t i = 0; i < bank.samples.size(); ++i)
    if (!isInRom(bank.told.samples[i])) samples.insert(bank.samples[i]);
  return samples;
}

// A zone with its loop in place of what leads to it.
std::string textOf(const BankOnDisk& bank, const ToldZone& zone) {
  std::string text = bank.samples[zone.sample];
  for (int bound : zone.ranges) text += formatted(" %d", bound);
  if (loops(zone)) {
    const Span loop = loopOf(zone, bank.told.samples[zone.sample]);
    text +=
        formatted(" loop %lld-%lld", static_cast<long long>(loop.start), static_cast<long long>(loop.end));
  }
  for (const auto& [generator, amount] : zone.amounts)
    if (generator != gen::LoopStartOffset && generator != gen::LoopEndOffset &&
        generator != gen::LoopStartCoarseOffset && generator != gen::LoopEndCoarseOffset)
      text += formatted(" %d:%d", generator, amount);
  return text;
}

// Presets with their zones, whatever their order.
std::multimap<std::string, std::multiset<std::string>> presetsOf(const BankOnDisk& bank) {
  std::multimap<std::string, std::multiset<std::string>> presets;
  for (const ToldPreset& preset : bank.told.presets) {
    std::multiset<std::string> zones;
    for (const ToldZone& zone : bank.told.flattened(preset))
      if (!isInRom(bank.told.samples[zone.sample])) zones.insert(textOf(bank, zone));
    presets.emplace(formatted("%d:%d %s", preset.bank, preset.preset, preset.name.c_str()), std::move(zones));
  }
  return presets;
}

bool convert(const Path& from, const Path& to, Collection& collection) {
  if (!io::openFile(collection, from, false)) return false;
  const int row = io::findWritingRow(vemko::textOf(from.extension()), kindBit(ItemKind::Collection));
  return io::saveItem(&collection, row, to, io::saveOptionsFor(row, 0));
}

TEST(SoundFontCorpus, GivesEveryBankBack) {
  const std::vector<Path> files = corpusBanks();
  if (files.empty() || !hasIndependentReader()) GTEST_SKIP() << "no corpus, or nothing to compare with";
  TempFolder folder;
  for (const Path& path : files) {
    SCOPED_TRACE(path.string());
    const Path once = folder / ("once" + path.extension().string());
    const Path twice = folder / ("twice" + path.extension().string());
    Collection first, second, third;
    ASSERT_TRUE(convert(path, once, first)) << toUtf8(lastError());
    ASSERT_TRUE(convert(once, twice, second)) << toUtf8(lastError());
    expectSameRegions(first, second);
    EXPECT_TRUE(contentOf(once) == contentOf(twice)) << "the rewrite of the rewrite";

    const BankOnDisk before = bankOnDisk(path, folder / "listing"),
                     after = bankOnDisk(once, folder / "listing");
    EXPECT_EQ(samplesOf(before), samplesOf(after));
    const auto presetsBefore = presetsOf(before), presetsAfter = presetsOf(after);
    if (presetsBefore.empty()) continue;
    ASSERT_EQ(presetsBefore.size(), presetsAfter.size());
    for (auto a = presetsBefore.begin(), b = presetsAfter.begin(); a != presetsBefore.end(); ++a, ++b) {
      EXPECT_EQ(a->first, b->first);
      EXPECT_EQ(a->second, b->second) << a->first;
    }
  }
}

}  // namespace
}  // namespace vemko::test
