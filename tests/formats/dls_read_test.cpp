// From the lists of a collection to items.
#include <numeric>

#include "core/parameters.h"
#include "formats/dls_support.h"
#include "io/samples.h"

namespace vemko::test {
namespace {

constexpr std::uint32_t kDrums = 0x80000000;

TEST(DlsReader, NamesAndNumbersInstruments) {
  const struct {
    std::string name;
    std::uint32_t bank, program;
    const char* expected;
    Patch patch;
  } cases[] = {
      {"", kDrums, 5, "Drums 0-0 : 5", Patch::of(0, 0, 5, true)},
      {"", 121 << 8 | 3, 7, "Instrument 121-3 : 7", Patch::of(121, 3, 7)},
      {"Piano", 1 << 8, 0, "Piano", Patch::of(1, 0, 0)},
      {"", 0xFFFF, 300, "Instrument 127-127 : 44", Patch::of(127, 127, 44)},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.expected);
    DlsFile file;
    file.instruments[0] = {each.name, each.bank, each.program, {{}}, {}, {}};
    file.waves[0].name.clear();
    ReadDls read(file);
    ASSERT_TRUE(read.ok) << toUtf8(lastError());
    const Instrument& instrument = *read.collection.all<Instrument>().at(0);
    EXPECT_EQ(toUtf8(instrument.name()), each.expected);
    EXPECT_EQ(instrument.patch.word, each.patch.word);
    EXPECT_EQ(toUtf8(read.collection.all<Waveform>().at(0)->name()), "Wave 0");
  }
}

TEST(DlsReader, TakesRegionsWithTheirWaves) {
  DlsFile file;
  file.waves = {
      {}, {"Second", std::vector<std::int16_t>(50, -1), 2, 16, 44100, SampleChunk{62, -7, 655360, 0, {}}}};
  DlsRegion& region = file.instruments[0].regions[0];
  region.keys = {36, 47};
  region.velocities = {64, 100};
  region.keyGroup = 3;
  region.link.cue = 1;
  region.sample = SampleChunk{65, 30, -655360 * 2, 0, SampleChunk::Loop{1, 5, 15}};
  ReadDls read(file);
  ASSERT_TRUE(read.ok) << toUtf8(lastError());
  EXPECT_EQ(read.region().keys, (MidiRange{36, 47}));
  EXPECT_EQ(read.region().velocities, (MidiRange{64, 100}));
  EXPECT_EQ(read.region().exclusiveGroup, 3);
  EXPECT_EQ(read.region().rootKey, 65);
  EXPECT_NEAR(read.slot(slots::MasterTuning), 0.37, 1e-6);
  EXPECT_NEAR(read.slot(slots::MasterVolume), -3, 1e-6);
  const Waveform& wave = *read.region().waveform();
  EXPECT_EQ(toUtf8(wave.name()), "Second");
  EXPECT_EQ(wave.channels, 2);
  EXPECT_EQ(wave.frames, 25u);
  EXPECT_EQ(wave.rate, 44100u);
  EXPECT_EQ(wave.rootKey, 62);
  EXPECT_EQ(wave.fineTuneCents, -7);
  EXPECT_FLOAT_EQ(wave.volumeAdjustmentDb, 1);
  ASSERT_TRUE(wave.mainLoop());
  EXPECT_EQ(wave.mainLoop()->count, LoopCount::UntilRelease);
  EXPECT_EQ(wave.mainLoop()->start, 5u);
  EXPECT_EQ(wave.mainLoop()->end, 20u);
}

TEST(DlsReader, FallsBackToTheWavesOwnSampleChunk) {
  DlsFile file;
  file.waves[0].sample = SampleChunk{48, 12, -65536, 0, SampleChunk::Loop{0, 10, 90}};
  DlsRegion other;
  other.sample = SampleChunk{48, 12, -65536, 0, SampleChunk::Loop{0, 20, 30}};
  file.instruments[0].regions = {{}, {}, other};
  ReadDls read(file);
  ASSERT_TRUE(read.ok) << toUtf8(lastError());
  ASSERT_EQ(read.regions().size(), 3u);
  EXPECT_TRUE(read.regions()[0]->articulation.empty());
  EXPECT_EQ(effectiveRootKey(*read.regions()[0]), 48);
  EXPECT_EQ(read.regions()[0]->waveform()->mainLoop()->start, 10u);
  // Another loop of the same wave is another waveform.
  EXPECT_EQ(read.collection.count(ItemKind::Waveform), 2u);
  EXPECT_EQ(read.regions()[1]->waveform(), read.regions()[0]->waveform());
  EXPECT_EQ(read.regions()[2]->waveform()->mainLoop()->start, 20u);
}

TEST(DlsReader, OverridesConnectionsOfTheInstrumentOneByOne) {
  DlsFile file;
  file.instruments[0].connections = {{connection(0, 0, 0x206, 0, 0), connection(0, 0, 4, 0, 250)}};
  file.instruments[0].regions = {{}, {}};
  file.instruments[0].regions[1].connections = {{connection(0, 0, 4, 0, -500)}};
  ReadDls read(file);
  ASSERT_TRUE(read.ok) << toUtf8(lastError());
  const Instrument& instrument = *read.collection.all<Instrument>().at(0);
  EXPECT_FLOAT_EQ(instrument.articulation.get(slots::Pan), 0.5f);
  EXPECT_TRUE(read.regions()[0]->articulation.empty());
  EXPECT_EQ(read.regions()[1]->articulation.count(), 1u);
  const ArticulationBlock block = effective(*read.regions()[1]);
  EXPECT_FLOAT_EQ(block.get(slots::Pan), -1);
  EXPECT_FLOAT_EQ(block.get(90), 1);
}

TEST(DlsReader, PutsRegionsIntoTheirLayers) {
  DlsFile file;
  file.instruments[0].regions = {{}, {}, {}};
  file.instruments[0].regions[0].layer = 2;
  file.instruments[0].regions[2].layer = 2;
  ReadDls read(file);
  ASSERT_TRUE(read.ok);
  const auto layers = read.collection.all<Layer>();
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0]->children.size(), 2u);
  EXPECT_EQ(layers[1]->children.size(), 1u);
}

Block query(std::string_view id, std::vector<std::uint16_t> rest) {
  static const std::map<std::string_view, std::vector<std::uint8_t>> ids = {
      {"GM", {0x24, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0, 0, 0xF8, 0x75, 0xAC, 0x12}},
      {"DLS1", {0x27, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0, 0, 0xF8, 0x75, 0xAC, 0x12}},
      {"DLS2", {0xE5, 0x99, 0x45, 0xF1, 0x89, 0x46, 0xD2, 0x11, 0xAF, 0xA6, 0, 0xAA, 0, 0x24, 0xD8, 0xB6}},
      {"memory", {0x28, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0, 0, 0xF8, 0x75, 0xAC, 0x12}},
      {"unknown", std::vector<std::uint8_t>(16, 9)},
  };
  ByteWriter out;
  out.append(std::as_bytes(std::span(ids.at(id))));
  for (std::uint16_t word : rest) out.u16(word);
  return std::move(out.bytes);
}
Block condition(std::vector<std::uint16_t> words, const Block& tail = {}) {
  ByteWriter out;
  for (std::uint16_t word : words) out.u16(word);
  out.append(tail);
  return std::move(out.bytes);
}

TEST(DlsReader, EvaluatesConditions) {
  const struct {
    const char* name;
    Block condition;
    bool isMet;
  } cases[] = {
      {"constant", condition({0x10, 1, 0}), true},
      {"zero", condition({0x10, 0, 0}), false},
      {"plays level 2", condition({0x11}, query("DLS2", {})), true},
      {"not level 2", condition({0x11}, query("DLS2", {0x0F})), false},
      {"plays level 1", condition({0x11}, query("DLS1", {})), true},
      {"GM in hardware", condition({0x11}, query("GM", {})), false},
      {"knows the GM query", condition({0x12}, query("GM", {})), true},
      {"knows no other query", condition({0x12}, query("unknown", {})), false},
      {"has 64 KiB", condition({0x10, 0, 1, 0x11}, query("memory", {0x0C})), true},
      {"last operand first: 5 - 3 = 2", condition({0x10, 3, 0, 0x10, 5, 0, 5, 0x10, 2, 0, 0x0E}), true},
      {"3 and 4", condition({0x10, 3, 0, 0x10, 4, 0, 1}), false},
      {"3 && 4", condition({0x10, 3, 0, 0x10, 4, 0, 8}), true},
      {"divided by nothing", condition({0x10, 0, 0, 0x10, 5, 0, 7}), true},
      {"empty stack", condition({1}), true},
      {"unknown operator", condition({0x77}), true},
      {"cut off", condition({0x10, 0}), true},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    DlsFile file;
    file.instruments[0].regions.push_back({});
    file.instruments[0].regions[0].condition = each.condition;
    ReadDls read(file);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.regions().size(), each.isMet ? 2u : 1u);
    DlsFile other;
    other.instruments[0].condition = each.condition;
    EXPECT_EQ(ReadDls(other).regions().size(), each.isMet ? 1u : 0u);
  }
}

TEST(DlsReader, PairsTheSidesOfStereoSounds) {
  const auto links = [](dls::WaveLink left, dls::WaveLink right, double leftPan) {
    DlsFile file;
    file.waves = {{}, {}};
    file.instruments[0].regions = {{}, {}};
    auto& regions = file.instruments[0].regions;
    regions[0].link = left;
    regions[1].link = right;
    regions[0].connections = {{connection(0, 0, 4, 0, leftPan)}};
    regions[1].connections = {{connection(0, 0, 4, 0, -leftPan)}};
    return file;
  };
  const struct {
    const char* name;
    DlsFile file;
    std::optional<std::size_t> left;
  } cases[] = {
      {"phase group with channels", links({1, 7, 1, 0}, {0, 7, 2, 1}, -500), 0},
      {"phase group by pan", links({1, 7, 1, 0}, {0, 7, 1, 1}, 500), 1},
      {"channels alone", links({0, 0, 1, 0}, {0, 0, 2, 1}, -500), 0},
      {"other groups", links({1, 7, 1, 0}, {1, 8, 1, 1}, -500), std::nullopt},
      {"no group", links({0, 0, 1, 0}, {0, 0, 1, 1}, -500), std::nullopt},
      {"one wave", links({1, 7, 1, 0}, {0, 7, 2, 0}, -500), std::nullopt},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    ReadDls read(each.file);
    ASSERT_TRUE(read.ok);
    const auto waves = read.collection.all<Waveform>();
    EXPECT_EQ(waves[0]->pairedWith, each.left ? waves[1]->id() : kNoItem);
    if (each.left) {
      EXPECT_EQ(waves[*each.left]->side, StereoSide::Left);
    }
    io::fixUp(read.collection, io::kAllKinds, false);
    const std::size_t merged = each.left ? 1 : 2;
    if (std::string_view(each.name) != "one wave") {
      EXPECT_EQ(read.collection.count(ItemKind::Region), merged);
    }
  }
}

TEST(DlsReader, LoadsWithoutAPoolTable) {
  DlsFile file;
  file.hasTable = false;
  file.waves = {{}, {}};
  file.waves[1].name = "B";
  file.instruments[0].regions[0].link.cue = 1;
  DlsLog log;
  ReadDls read(file);
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(log.lines, (std::vector<std::string>{
                           "DLS parser warning: Mandatory 'ptbl' chunk is missing, will attempt to "
                           "read file anyway, but may not be correct!"}));
  EXPECT_EQ(toUtf8(read.region().waveform()->name()), "B");
}

TEST(DlsReader, SamplesAreThoseOfTheFile) {
  for (const std::uint16_t bits : std::vector<std::uint16_t>{8, 16, 24}) {
    SCOPED_TRACE(bits);
    DlsFile file;
    file.waves[0].bits = bits;
    std::iota(file.waves[0].points.begin(), file.waves[0].points.end(), std::int16_t{-50});
    for (std::int16_t& point : file.waves[0].points) point = static_cast<std::int16_t>(point * 256);
    ReadDls read(file);
    ASSERT_TRUE(read.ok);
    Waveform& wave = *read.collection.all<Waveform>().at(0);
    ASSERT_TRUE(io::loadSamples(wave, true)) << toUtf8(lastError());
    ASSERT_EQ(wave.frames, 100u);
    for (std::size_t i = 0; i < 100; ++i)
      EXPECT_EQ(wave.buffer->samples()[i], static_cast<float>(file.waves[0].points[i]) / 32768);
  }
}

}  // namespace
}  // namespace vemko::test
