// From items to the lists of a collection.
#include "core/parameters.h"
#include "formats/dls_support.h"
#include "io/open.h"
#include "io/samples.h"
#include "warnings.h"

namespace vemko::test {
namespace {

std::vector<Connection> everythingConnected() {
  std::vector<Connection> list;
  const std::uint16_t times[] = {0x206, 0x207, 0x209, 0x20B, 0x20C, 0x30A,
                                 0x30B, 0x30D, 0x30F, 0x310, 0x105, 0x115};
  for (std::uint16_t to : times) list.push_back({0, 0, to, 0, -1234567 * (to & 0xF)});
  list.push_back({5, 0, 3, 0, 777777});
  list.push_back({5, 0, 0x500, 0, -7777777});
  list.push_back({9, 0x81, 3, 0x4000, 3276801});
  list.push_back({0, 0, 0x500, 0, 500000001});
  list.push_back({0, 0, 0x501, 0, 6000001});
  list.push_back({2, 0, 0x500, 0x8000, -100000001});  // read, and never written by us
  list.push_back({0x87, 0, 1, 0x8400, -40000000});    // has no slot
  list.push_back({0x4A, 8, 0x114, 0x1230, 99});       // nobody knows
  return list;
}

TEST(DlsWriter, GivesBackWhatItRead) {
  DlsFile file;
  file.version = Block(8, std::byte{2});
  file.id = Block(16, std::byte{0xAB});
  file.info = {{"INAM", "Name"}, {"ICMT", "Comment"}, {"ICRD", "2001"}, {"ISBJ", "Subject"}};
  file.waves = {{"Wave", {1, 2, 3}, 1, 16, 22050, SampleChunk{61, -3, -123456, 2, {}}},
                {"Other", {4, 5, 6, 7}, 1, 8, 11025, {}}};
  DlsInstrument& first = file.instruments[0];
  first.bank = 5 << 8 | 6;
  first.connections = everythingConnected();
  first.regions = {{}, {}, {}};
  first.regions[0].sample = SampleChunk{70, 1234, -7654321, 3, SampleChunk::Loop{0, 0, 2}};
  first.regions[1].connections = {{connection(0, 0, 4, 0, 123.456)}};
  first.regions[1].options = 1;
  first.regions[1].link.cue = 1;
  first.regions[2].keys = {60, 72};
  first.regions[2].layer = 0;
  for (std::uint32_t level : {2u, 3u, 4u}) {
    SCOPED_TRACE(level);
    ReadDls read(file);
    ASSERT_TRUE(read.ok);
    const Block original = bytesOf(file), saved = savedAs(read.collection, level);
    const auto before = recordOf(original), after = recordOf(saved);
    EXPECT_EQ(after.version, before.version);
    EXPECT_EQ(after.description.id, before.description.id);
    std::map<std::uint32_t, std::string> texts;
    for (const riff::InfoText& text : after.description.info) texts[text.id] = text.text;
    EXPECT_EQ(texts, (std::map<std::uint32_t, std::string>{{fourCc("INAM"), "Name"},
                                                           {fourCc("ICMT"), "Comment"},
                                                           {fourCc("ICRD"), "2001"},
                                                           {fourCc("ISBJ"), "Subject"},
                                                           {fourCc("ISFT"), "Vemko Studio"}}));
    ASSERT_EQ(after.instruments.size(), 1u);
    EXPECT_EQ(after.instruments[0].bank, before.instruments[0].bank);
    EXPECT_EQ(after.instruments[0].articulation->connections, *first.connections);
    for (std::size_t i = 0; i < 3; ++i) {
      SCOPED_TRACE(i);
      const auto &was = before.instruments[0].regions[i], &is = after.instruments[0].regions[i];
      EXPECT_EQ(is.keys, was.keys);
      EXPECT_EQ(is.options, was.options);
      EXPECT_EQ(is.articulation.has_value(), was.articulation.has_value());
      if (is.articulation) {
        EXPECT_EQ(is.articulation->connections, was.articulation->connections);
      }
      const riff::WaveSample expected =
          was.sample ? *was.sample : before.waves[was.link.cue].sample.value_or(riff::WaveSample{});
      EXPECT_EQ(is.sample->unityNote, expected.unityNote);
      EXPECT_EQ(is.sample->fineTuneCents, expected.fineTuneCents);
      EXPECT_EQ(is.sample->gainDb, expected.gainDb);
      EXPECT_EQ(is.sample->options, expected.options);
      EXPECT_EQ(is.sample->loops.size(), expected.loops.size());
      EXPECT_EQ(is.link.cue, was.link.cue);
    }
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_TRUE(std::ranges::equal(after.waves[i].format, before.waves[i].format));
      EXPECT_EQ(after.waves[i].dataSize, before.waves[i].dataSize);
    }
  }
}

TEST(DlsWriter, ChangesOnlyWhatWasEdited) {
  DlsFile file = simpleFile(everythingConnected());
  ReadDls read(file);
  ASSERT_TRUE(read.ok);
  read.regions()[0]->articulation.set(90, 0.25f);          // EG1 attack
  read.regions()[0]->articulation.set(slots::Pan, -0.5f);  // was not there
  const auto after = recordOf(savedAs(read.collection, 2));
  const auto& list = after.instruments[0].regions[0].articulation->connections;
  std::vector<Connection> expected = everythingConnected();
  for (Connection& each : expected) {
    const Connection* found = dls::findRoute(list, each);
    if (each.destination == 0x206) {
      ASSERT_TRUE(found);
      EXPECT_EQ(found->scale, -2400 * 65536);
    } else if (each.transform == 0x8000) {
      EXPECT_FALSE(found);
      EXPECT_TRUE(dls::findRoute(list, {2, 0, 0x500, 0, 0}));
    } else {
      ASSERT_TRUE(found) << each.source << " to " << each.destination;
      EXPECT_EQ(found->scale, each.scale);
    }
  }
  ASSERT_TRUE(dls::findRoute(list, {0, 0, 4, 0, 0}));
  EXPECT_EQ(dls::findRoute(list, {0, 0, 4, 0, 0})->scale, -250 * 65536);
  EXPECT_EQ(list.size(), expected.size() + 1);
}

// What a file says beyond the level stays while it is not edited; what is said anew is within the level.
TEST(DlsWriter, EditsBesideConnectionsBeyondTheLevel) {
  const std::vector<Connection> given = {
      connection(3, 0, 1, 0x4000, 300),     // key to gain
      connection(0, 0, 0x500, 0, 8000),     // cutoff
      connection(0, 0, 0x501, 0, 300),      // resonance
      connection(0x81, 0, 0x500, 0, 1200),  // mod wheel to cutoff
      connection(0, 0, 0x209, 0, 1200),     // release
      connection(3, 0, 0x209, 0, -12800),   // key to release
  };
  const std::vector<Connection> givenAtLevel1 = {connection(1, 0, 3, 0x4000, 50),  // LFO to pitch
                                                 connection(0, 0, 0x209, 0, 1200)};
  const struct {
    const char* name;
    std::uint32_t level;
    Slot slot;
    float value, expected;
  } cases[] = {
      {"something else", 2, slots::Pan, 0.5f, 0.5f},
      {"the time of a key", 2, 103, 0.25f, 0.25f},
      {"what the key does to it", 2, 105, 1, 1},
      {"a new factor", 2, 105, 4, 1},
      {"the peak", 2, slots::FilterResonance, 10, 10},
      {"a higher peak", 2, slots::FilterResonance, 40, 22.5f},
      {"no mod wheel", 2, slots::ModWheelToCutoff, 0, 0},
      {"more mod wheel", 2, slots::ModWheelToCutoff, 24, 0},
      {"more mod wheel at the level that has it", 4, slots::ModWheelToCutoff, 24, 24},
      {"no key to volume", 2, slots::KeyToVolume, 0, 0},
      {"volume", 2, slots::MasterVolume, -6, -6},
      {"tuning", 1, slots::MasterTuning, 2, 2},
      {"LFO", 1, slots::PLfoFrequency, 3, 3},
      {"a filter", 1, slots::ModWheelToCutoff, 12, 0},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    DlsFile file = simpleFile(each.level == 1 ? givenAtLevel1 : given);
    file.isLevel2 = each.level != 1;
    ReadDls read(file);
    ASSERT_TRUE(read.ok);
    ArticulationBlock before = effective(*read.regions()[0]);
    read.regions()[0]->articulation.set(each.slot, each.value);
    ReadDls again(savedAs(read.collection, each.level));
    ASSERT_TRUE(again.ok);
    before.set(each.slot, each.expected);
    const ArticulationBlock after = effective(*again.regions()[0]);
    for (int slot = 0; slot < kSlotCount; ++slot) {
      const float expected = before.get(static_cast<Slot>(slot));
      EXPECT_NEAR(after.get(static_cast<Slot>(slot)), expected, 1e-4 * std::max(1.0f, std::abs(expected)))
          << "slot " << slot;
    }
  }
}

TEST(DlsWriter, RegionsMovedToAnotherInstrumentKeepTheirSound) {
  DlsFile file;
  file.instruments[0].connections = {{connection(0, 0, 0x206, 0, -1200), connection(0, 0, 4, 0, 100)}};
  file.instruments[0].regions[0].connections = {{connection(0, 0, 0x209, 0, 600)}};
  file.instruments.push_back(file.instruments[0]);
  file.instruments[1].connections = {{connection(0, 0, 0x207, 0, 1200)}};
  ReadDls read(file);
  ASSERT_TRUE(read.ok);
  const auto regions = read.regions();
  Layer& from = *read.collection.find<Layer>(regions[0]->parent);
  Layer& to = *read.collection.find<Layer>(regions[1]->parent);
  const ArticulationBlock before = effective(*regions[0]);
  std::erase(from.children, regions[0]->id());
  to.appendChild(regions[0]->id());
  regions[0]->parent = to.id();
  before.forEach([&](Slot slot, float value) { regions[0]->articulation.set(slot, value); });
  regions[0]->articulation.set(99, 0);  // the decay of its new instrument
  ReadDls again(savedAs(read.collection, 2));
  ASSERT_TRUE(again.ok);
  const ArticulationBlock after = effective(*again.regions().at(1));
  for (const Slot slot : std::vector<Slot>{90, 54, 103, 99})
    EXPECT_NEAR(after.get(slot), before.get(slot), 1e-5) << int(slot);
}

Instrument& addInstrument(Collection& collection, int regions, Patch patch) {
  const Waveform& wave = [&]() -> Waveform& {
    Waveform& made = createWaveform(collection, u"Wave");
    made.setSamples(SampleBuffer::allocate(100, 1, 32000));
    made.rate = 32000;
    return made;
  }();
  Instrument& instrument = createInstrument(collection, u"Many", patch);
  Layer& layer = createLayer(instrument, u"");
  for (int i = 0; i < regions; ++i) {
    RegionRequest request;
    request.waveform = serialOf(wave.id());
    createRegion(layer, u"", request);
  }
  return instrument;
}

TEST(DlsWriter, AsksBeforeItWritesTooManyRegions) {
  const struct {
    const char* name;
    int regions;
    Patch patch;
    std::uint32_t level;
    std::optional<std::size_t> answer;  // 0 Yes, 1 No; nothing: not asked
    std::size_t written;
  } cases[] = {
      {"melodic, No", 17, Patch::of(0, 0, 1), 1, 1, 16},
      {"melodic, Yes", 17, Patch::of(0, 0, 1), 1, 0, 17},
      {"melodic, as many as allowed", 16, Patch::of(0, 0, 1), 1, std::nullopt, 16},
      {"drums", 128, Patch::of(0, 0, 1, true), 1, std::nullopt, 128},
      {"too many drums, No", 130, Patch::of(0, 0, 1, true), 1, 1, 128},
      {"level 2", 128, Patch::of(0, 0, 1), 2, std::nullopt, 128},
      {"level 2, No", 129, Patch::of(0, 0, 1), 2, 1, 128},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    Collection collection;
    addInstrument(collection, each.regions, each.patch);
    int asked = 0;
    io::Decisions decisions;
    decisions.ask = [&](std::u16string_view question, std::span<const std::u16string_view> buttons) {
      ++asked;
      EXPECT_EQ(
          toUtf8(question),
          "The collection contains instruments with more regions than what is allowed by the DLS level 1 "
          "specification.\n\nDo you want to write all regions anyway?\n(if you answer No, then some regions "
          "will be skipped)");
      EXPECT_EQ(buttons.size(), 2u);
      return each.answer.value_or(0);
    };
    const io::Decisions before = io::setDecisions(decisions);
    const Warnings warnings;
    const auto record = recordOf(savedAs(collection, each.level));
    io::setDecisions({});
    const auto unattended = recordOf(savedAs(collection, each.level));
    io::setDecisions(before);
    EXPECT_EQ(asked, each.answer ? 1 : 0);
    EXPECT_EQ(record.instruments.at(0).regions.size(), each.written);
    const auto regions = static_cast<std::size_t>(each.regions);
    EXPECT_EQ(unattended.instruments.at(0).regions.size(), regions);
    const std::string leftOut = "regions left out: " + std::to_string(regions - each.written);
    EXPECT_EQ(testing::PrintToString(warnings.lines).find(leftOut) != std::string::npos,
              each.written < regions);
  }
}

TEST(DlsWriter, RoundsTheTuningOfLevel1InOne) {
  Collection collection;
  Instrument& instrument = addInstrument(collection, 2, Patch::of(0, 0, 1));
  collection.all<Waveform>().at(0)->fineTuneCents = 5;
  regionsOf(instrument)[0]->articulation.set(slots::MasterTuning, -0.005f);
  const auto record = recordOf(savedAs(collection, 1));
  EXPECT_EQ(record.instruments[0].regions[0].sample->fineTuneCents, 4);
  EXPECT_EQ(record.instruments[0].regions[1].sample->fineTuneCents, 5);
}

TEST(DlsWriter, RefusesOtherItems) {
  Collection collection, songs;
  createSong(songs, u"");
  TempFolder folder;
  OutputFile file;
  ASSERT_TRUE(file.create(folder / "out.dls"));
  EXPECT_FALSE(dls::writeCollection(createWaveform(collection, u""), file, {}));
  EXPECT_EQ(toUtf8(lastError()), "The file format can not save this item");
  EXPECT_FALSE(dls::writeCollection(songs, file, {}));
  EXPECT_EQ(toUtf8(lastError()), "Empty item - nothing to save");
}

TEST(DlsWriter, WritesTheListsOfItsLevel) {
  const struct {
    std::uint32_t level;
    const char *region, *list;
    std::size_t headerBytes;
  } cases[] = {
      {1, "rgn ", "art1", 12}, {2, "rgn2", "art2", 14}, {3, "rgn2", "art2", 14}, {4, "rgn2", "art2", 14}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.level);
    Collection collection;
    Instrument& instrument = addInstrument(collection, 2, Patch::of(0, 0, 1));
    instrument.articulation.set(slots::Pan, 0.5f);
    const Block bytes = savedAs(instrument, each.level);
    const auto has = [&](std::string_view id) { return !std::ranges::search(bytes, asBytes(id)).empty(); };
    EXPECT_TRUE(has(each.region));
    EXPECT_TRUE(has(each.list));
    const auto header = std::ranges::search(bytes, asBytes("rgnh")).begin() - bytes.begin();
    EXPECT_EQ(std::to_integer<std::size_t>(bytes[static_cast<std::size_t>(header) + 4]), each.headerBytes);
    EXPECT_TRUE(recordOf(bytes).instruments[0].articulation);
  }
}

TEST(DlsWriter, WritesASendAsTheEffectThatItLeadsTo) {
  Collection collection;
  Instrument& instrument = addInstrument(collection, 1, Patch::of(0, 0, 1));
  instrument.sendEffects[0] = SendEffect::Chorus;
  instrument.articulation.set(60, 0.5f);
  ReadDls read(savedAs(collection, 2));
  const ArticulationBlock block = effective(*regionsOf(*read.collection.all<Instrument>()[0])[0]);
  EXPECT_FALSE(block.isSet(60));
  EXPECT_EQ(block.get(64), 0.5f);
}

TEST(DlsWriter, RegionsOfAMelodicInstrumentShareTheirListAtLevel1) {
  for (bool isDrumKit : {false, true}) {
    SCOPED_TRACE(isDrumKit);
    Collection collection;
    Instrument& instrument = addInstrument(collection, 3, Patch::of(0, 0, 1, isDrumKit));
    const auto regions = regionsOf(instrument);
    for (Region* region : regions) region->articulation.set(90, region == regions[0] ? 2.0f : 1.0f);
    const auto record = recordOf(savedAs(collection, 1));
    EXPECT_EQ(record.instruments[0].articulation.has_value(), !isDrumKit);
    EXPECT_TRUE(record.instruments[0].regions[0].articulation);
    EXPECT_EQ(record.instruments[0].regions[1].articulation.has_value(), isDrumKit);
  }
}

// Stereo waves stay whole at level 2+; level 2 parts them, and reading joins them again.
TEST(DlsWriter, KeepsStereoAsTheLevelDoes) {
  const struct {
    const char16_t* row;
    std::size_t waves, regions;
    std::uint32_t channel;
  } cases[] = {{u"DownLoadable Sounds level 1", 1, 1, 3},
               {u"DownLoadable Sounds level 2", 2, 2, 1},
               {u"DownLoadable Sounds level 2+", 1, 1, 3},
               {u"DownLoadable Sounds level 2++", 1, 1, 3}};
  for (const auto& each : cases) {
    SCOPED_TRACE(toUtf8(each.row));
    DlsFile file;
    file.waves[0].channels = 2;
    for (std::size_t i = 0; i < 100; ++i) file.waves[0].points[i] = static_cast<std::int16_t>(i % 2 ? -i : i);
    ReadDls read(file);
    TempFolder folder;
    const int row = io::findWritingRowByDescription(each.row);
    ASSERT_TRUE(io::saveItem(&read.collection, row, folder / "out.dls", io::saveOptionsFor(row, 0)))
        << toUtf8(lastError());
    const std::string content = contentOf(folder / "out.dls");
    const Bytes bytes = asBytes(content);
    const auto record = recordOf(Block(bytes.begin(), bytes.end()));
    ASSERT_EQ(record.waves.size(), each.waves);
    const auto& regions = record.instruments[0].regions;
    ASSERT_EQ(regions.size(), each.regions);
    EXPECT_EQ(regions[0].link.channel, each.channel);
    if (each.regions == 2) {
      EXPECT_EQ(regions[0].link.options, dls::kPhaseMaster);
      EXPECT_EQ(regions[1].link.options, 0);
      EXPECT_NE(regions[0].link.phaseGroup, 0);
      EXPECT_EQ(regions[0].link.phaseGroup, regions[1].link.phaseGroup);
    }
    Collection again;
    ASSERT_TRUE(io::openFile(again, folder / "out.dls", false)) << toUtf8(lastError());
    ASSERT_EQ(again.count(ItemKind::Waveform), 1u);
    Waveform& wave = *again.all<Waveform>()[0];
    ASSERT_EQ(wave.channels, 2);
    ASSERT_TRUE(io::loadSamples(wave, true));
    for (std::size_t i = 0; i < 100; ++i)
      EXPECT_EQ(wave.buffer->samples()[i], static_cast<float>(file.waves[0].points[i]) / 32768);
  }
}

TEST(DlsWriter, WavesThatLoopInSeveralWaysAreStoredOnce) {
  DlsFile file;
  file.instruments[0].regions = {{}, {}};
  file.instruments[0].regions[0].sample = SampleChunk{60, 0, 0, 0, SampleChunk::Loop{0, 10, 20}};
  file.instruments[0].regions[1].sample = SampleChunk{60, 0, 0, 0, SampleChunk::Loop{1, 30, 40}};
  ReadDls read(file);
  EXPECT_EQ(read.collection.count(ItemKind::Waveform), 2u);
  const auto record = recordOf(savedAs(read.collection, 2));
  EXPECT_EQ(record.waves.size(), 1u);
  EXPECT_EQ(record.instruments[0].regions[0].sample->loops.at(0).start, 10u);
  EXPECT_EQ(record.instruments[0].regions[1].sample->loops.at(0).length, 40u);
  EXPECT_TRUE(record.instruments[0].regions[1].sample->loops.at(0).untilRelease);
}

}  // namespace
}  // namespace vemko::test
