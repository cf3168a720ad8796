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

// --- A bank made to tell players apart, each key of which tests one rule

const Region* regionAt(const Collection& collection, std::string_view preset, int key) {
  for (const Instrument* instrument : collection.all<Instrument>())
    if (toUtf8(instrument->name()) == preset)
      for (const Region* region : regionsOf(*instrument))
        if (region->keys.low <= key && key <= region->keys.high) return region;
  return nullptr;
}

TEST(SoundFontCorpus, FollowsTheRulesThatPlayersAreTestedFor) {
  const char* folder = std::getenv("VEMKO_CORPUS");
  if (!folder) GTEST_SKIP() << "no corpus";
  Collection collection;
  InputFile file;
  ASSERT_TRUE(file.open(Path(folder) / "sf2/spec-test/sf_spec_test.sf2") &&
              soundfont::readBank(collection, file, 0))
      << toUtf8(lastError());
  struct Case {
    const char* rule;
    const char* preset;
    int key;
    Slot slot;
    float expected;
  };
  constexpr auto v = [](Stage stage) { return envelopeSlot(slots::VEnv, stage); };
  constexpr auto p = [](Stage stage) { return envelopeSlot(slots::PEnv, stage); };
  constexpr const char *kTests = "tests 1", *kPan = "panning";
  constexpr Slot kReverbSend = 60, kChorusSend = 64, kModWheelToVibrato = 5, kModWheelToCutoff = 28;
  // clang-format off
  const Case cases[] = {
    {"delay",                          kTests, 58, v(Stage::Attack1Time),  1},
    {"attack",                         kTests, 58, v(Stage::Attack2Time),  1},
    {"hold",                           kTests, 58, v(Stage::Decay1Time),   1},
    {"decay",                          kTests, 58, v(Stage::Decay2Time),   1},
    {"sustain 12 dB down",             kTests, 58, v(Stage::Sustain),      0.875f},
    {"release",                        kTests, 58, v(Stage::Release1Rate), 1},
    {"envelope to pitch",              kTests, 59, slots::PEnvToPitch,     12},
    {"modulation delay",               kTests, 59, p(Stage::Attack1Time),  1},
    {"modulation attack",              kTests, 59, p(Stage::Attack2Time),  1},
    {"modulation hold",                kTests, 59, p(Stage::Decay1Time),   1},
    {"modulation decay",               kTests, 59, p(Stage::Decay2Time),   1},
    {"modulation sustain",             kTests, 59, p(Stage::Sustain),      0.5f},
    {"modulation release",             kTests, 59, p(Stage::Release1Rate), 1},
    {"tremolo",                        kTests, 60, slots::VLfoToVolume,    6},
    {"tremolo speed",                  kTests, 60, 73,                     4},
    {"vibrato",                        kTests, 61, slots::PLfoToPitch,     6},
    {"vibrato speed",                  kTests, 61, 69,                     4},
    {"vibrato by the mod wheel",       kTests, 62, kModWheelToVibrato,     0.5f},
    {"its speed",                      kTests, 62, 69,                     4},
    {"no attenuation",                 kTests, 63, slots::MasterVolume,    0},
    {"attenuation of 5 dB",            kTests, 64, slots::MasterVolume,    -2},
    {"attenuation of 30 dB",           kTests, 69, slots::MasterVolume,    -12},
    {"negative sum",         "negative attenuation", 63, slots::MasterVolume, 0},
    {"sum of nothing",       "negative attenuation", 69, slots::MasterVolume, 0},
    {"velocity as published",          kTests, 70, slots::VelocityResponse, 1},
    {"velocity, 144 dB",               kTests, 71, slots::VelocityResponse, 1.5f},
    {"velocity, 48 dB",                kTests, 72, slots::VelocityResponse, 0.5f},
    {"velocity, a straight line",      kTests, 73, slots::VelocityResponse, 1},
    {"velocity switched off",          kTests, 74, slots::VelocityResponse, 0},
    {"cutoff without velocity",        kTests, 75, slots::FilterCutoff,    4000},
    {"velocity to cutoff, default",    kTests, 75, slots::VelocityToCutoff, 0},
    {"velocity to cutoff, 72 semitones", kTests, 76, slots::VelocityToCutoff, 36},
    {"attack of 8 ms",                 kTests, 77, v(Stage::Attack2Time),  0.008f},
    {"velocity to cutoff off, 2.01",   kTests, 78, slots::VelocityToCutoff, 0},
    {"velocity to cutoff off, 2.04",   kTests, 79, slots::VelocityToCutoff, 0},
    {"cutoff below the mod wheel",     kTests, 18, slots::FilterCutoff,    500},
    {"mod wheel to cutoff",            kTests, 18, kModWheelToCutoff,      70},
    {"no vibrato by the mod wheel",    kTests, 18, kModWheelToVibrato,     0},
    {"no reverb",                      kTests, 82, kReverbSend,            0},
    {"a third of reverb",              kTests, 83, kReverbSend,            0.333f},
    {"reverb",                         kTests, 85, kReverbSend,            1},
    {"no chorus",                      kTests, 86, kChorusSend,            0},
    {"two thirds of chorus",           kTests, 88, kChorusSend,            0.666f},
    {"chorus",                         kTests, 89, kChorusSend,            1},
    {"pitch bend",                     kTests, 90, slots::BendToPitch,     2},
    {"pitch bend off",                 kTests, 91, slots::BendToPitch,     0},
    {"pitch bend upside down",         kTests, 92, slots::BendToPitch,     -2},
    {"one pitch for all keys", "scaleTune-rootKey", 62, slots::KeyToPitch, 0},
    {"key to hold",             "keynum-to-hold",  60, v(Stage::KeyToDecay1), 0.4965f},
    {"key to decay",            "keynum-to-decay", 60, v(Stage::KeyToDecay2), 0.4965f},
    {"20 Hz",    "initial-FC", 36, slots::FilterCutoff, 20},
    {"50 Hz",    "initial-FC", 37, slots::FilterCutoff, 50},
    {"100 Hz",   "initial-FC", 38, slots::FilterCutoff, 100},
    {"200 Hz",   "initial-FC", 39, slots::FilterCutoff, 200},
    {"500 Hz",   "initial-FC", 40, slots::FilterCutoff, 500},
    {"1000 Hz",  "initial-FC", 41, slots::FilterCutoff, 1000},
    {"2000 Hz",  "initial-FC", 43, slots::FilterCutoff, 2000},
    {"5000 Hz",  "initial-FC", 46, slots::FilterCutoff, 5000},
    {"left",                           kPan, 40, slots::Pan, -1},
    {"three quarters left",            kPan, 41, slots::Pan, -0.75f},
    {"centre",                         kPan, 44, slots::Pan, 0},
    {"right",                          kPan, 48, slots::Pan, 1},
    {"a left sample further left",     kPan, 52, slots::Pan, -1},
    {"a left sample back to the centre", kPan, 60, slots::Pan, 0},
    {"a left sample to the right",     kPan, 72, slots::Pan, 1},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rule);
    const Region* region = regionAt(collection, c.preset, c.key);
    ASSERT_TRUE(region);
    EXPECT_NEAR(effective(*region).get(c.slot), c.expected, std::abs(c.expected) * 1e-3);
  }
  EXPECT_EQ(regionAt(collection, kTests, 80)->section.start, 0u);
  EXPECT_EQ(regionAt(collection, kTests, 81)->section.start, 6720u);
  EXPECT_EQ(regionAt(collection, "scaleTune-rootKey", 60)->rootKey, 60);
  EXPECT_EQ(regionAt(collection, "scaleTune-rootKey", 64)->rootKey, 51);
  EXPECT_EQ(regionAt(collection, kTests, 20)->exclusiveGroup, 1);
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
