// From items back to banks.
#include <random>

#include "base/version.h"
#include "core/parameters.h"
#include "formats/soundfont/sf_articulation.h"
#include "formats/soundfont/sf_sample_data.h"
#include "formats/soundfont_support.h"

namespace vemko::test {
namespace {

// What the record tables of bytes hold.
soundfont::BankFile parsed(const Block& bytes) {
  soundfont::BankFile bank;
  Complaints complaints;
  EXPECT_TRUE(soundfont::parseBank(bytes, bank, complaints)) << toUtf8(lastError());
  return bank;
}

std::string infoOf(const soundfont::BankFile& bank, const char (&id)[5]) {
  for (const soundfont::InfoText& text : bank.info)
    if (text.id == fourCc(id)) return text.text;
  return "";
}

// Presets that share instruments, ranges that cut zones off, global zones, stereo, loops that differ.
Bank richBank() {
  Bank bank;
  bank.info.push_back({"ICRD", "Today"});
  bank.samples = {{"Mono"}, {"Pair L"}, {"Pair R"}, {"Unused"}};
  bank.samples[1].type = 4;
  bank.samples[1].link = 2;
  bank.samples[2].type = 2;
  bank.samples[2].link = 1;
  bank.samples[2].points.assign(100, -1000);
  bank.samples[3].points.assign(100, 500);
  bank.instruments = {
      {"Wide",
       {{{amount(gen::FilterCutoff, 8001), amount(gen::ModEnvToCutoff, 12000),
          amount(gen::VolEnvRelease, 2003), amount(gen::SampleModes, 1)},
         {route(0x502, 34, 77), route(0x81, 6, 10)}},
        {{range(gen::KeyRange, 0, 59), amount(gen::Sample, 0)}, {}},
        {{range(gen::KeyRange, 60, 90), amount(gen::FilterCutoff, 7777), amount(gen::SampleModes, 0),
          amount(gen::Sample, 0)},
         {}},
        {{range(gen::KeyRange, 91, 127), amount(gen::LoopStartOffset, 3), amount(gen::Sample, 0)}, {}}}},
      {"Stereo",
       {{{amount(gen::Pan, -500), amount(gen::SampleModes, 1), amount(gen::Sample, 1)}, {}},
        {{amount(gen::Pan, 500), amount(gen::SampleModes, 1), amount(gen::Sample, 2)}, {}}}},
  };
  bank.presets = {
      {"One", 0, 0, {{{amount(gen::Instrument, 0)}, {}}, {{amount(gen::Instrument, 1)}, {}}}},
      {"Two",
       1,
       0,
       {{{amount(gen::Attenuation, 30)}, {}},
        {{range(gen::KeyRange, 20, 70), amount(gen::FilterCutoff, -500),
          amount(gen::ModEnvToCutoff, 24000),  // more than 16 bits hold in sum
          amount(gen::Instrument, 0)},
         {route(0x81, 6, 5), route(0x502, 48, -100)}},
        {{range(gen::VelocityRange, 0, 64), amount(gen::Attenuation, 0), amount(gen::Instrument, 0)}, {}}}},
      {"Drums", 2, 128, {{{amount(gen::Instrument, 1)}, {}}}},
      {"High bank", 3, 300, {{{amount(gen::Instrument, 1)}, {}}}},
  };
  return bank;
}

TEST(SoundFontWriter, GivesABankBack) {
  for (bool tidied : {false, true}) {
    SCOPED_TRACE(tidied ? "tidied" : "as read");
    ReadBank read(richBank());
    ASSERT_TRUE(read.ok);
    if (tidied) io::fixUp(read.collection, io::kAllKinds, false);
    const Block once = bytesOfSaved(read.collection);
    ReadBank again(once);
    ASSERT_TRUE(again.ok) << toUtf8(lastError());
    if (tidied) {
      EXPECT_EQ(read.collection.count(ItemKind::Waveform), 5u) << "the pair is one stereo waveform";
      io::fixUp(again.collection, io::kAllKinds, false);
    }
    expectSameRegions(read.collection, again.collection);
    EXPECT_TRUE(bytesOfSaved(again.collection) == once);

    const soundfont::BankFile bank = parsed(once);
    EXPECT_EQ(bank.instruments.size(), 2u) << "shared as before";
    EXPECT_EQ(bank.presets.size(), 4u);
    std::vector<int> banks;
    for (const soundfont::PresetHeader& preset : bank.presets) banks.push_back(preset.bank);
    EXPECT_EQ(banks, tidied ? (std::vector{0, 0, 300, 128}) : (std::vector{0, 0, 128, 300}));
    EXPECT_EQ(bank.samples.size(), 4u);
    EXPECT_EQ(infoOf(bank, "ICRD"), "Today");
  }
}

// Sides of one sound become one waveform only where that loses nothing; their zones are the same afterwards.
TEST(SoundFontWriter, GivesStereoZonesBack) {
  struct Case {
    const char* name;
    std::vector<Generator> left, right;
    std::size_t waveforms;
  };
  const Case cases[] = {
      {"alike", {}, {}, 1},
      {"other volumes", {amount(gen::Attenuation, 30)}, {amount(gen::Attenuation, 50)}, 2},
      {"other tunings", {amount(gen::FineTune, -7)}, {amount(gen::FineTune, 8)}, 2},
      {"other releases", {}, {amount(gen::VolEnvRelease, 1200)}, 2},
      {"other keys", {range(gen::KeyRange, 0, 60)}, {range(gen::KeyRange, 0, 61)}, 2},
      {"not wide", {amount(gen::Pan, -400)}, {amount(gen::Pan, 400)}, 2},
      {"other loops", {}, {amount(gen::LoopStartOffset, 4)}, 2},
      {"alike, what the model rounds",
       {amount(gen::VolEnvRelease, 2003)},
       {amount(gen::VolEnvRelease, 2003)},
       1},
      {"what the model rounds differs",
       {amount(gen::VolEnvRelease, 2003)},
       {amount(gen::VolEnvRelease, 2004)},
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    bank.samples = {{"Pad L"}, {"Pad R"}};
    for (std::size_t side = 0; side < 2; ++side) {
      bank.samples[side].type = side == 0 ? 4 : 2;
      bank.samples[side].link = side == 0 ? 1 : 0;
      bank.samples[side].points[50] = static_cast<std::int16_t>(side);
    }
    auto zone = [](const std::vector<Generator>& own, int pan, int sample) {
      BankZone made{own, {}};
      if (std::ranges::find(own, gen::Pan, &Generator::number) == own.end())
        made.generators.push_back(amount(gen::Pan, pan));
      made.generators.push_back(amount(gen::SampleModes, 1));
      made.generators.push_back(amount(gen::Sample, sample));
      return made;
    };
    bank.instruments[0].zones = {zone(c.left, -500, 0), zone(c.right, 500, 1)};
    ReadBank tidied(bank);
    io::fixUp(tidied.collection, io::kAllKinds, false);
    EXPECT_EQ(tidied.collection.count(ItemKind::Waveform), c.waveforms);
    const Block written = bytesOfSaved(tidied.collection);
    const soundfont::BankFile parsedBank = parsed(written);
    EXPECT_EQ(parsedBank.samples.at(0).link, 1);
    EXPECT_EQ(parsedBank.samples.at(1).link, 0);
    expectSameRegions(ReadBank(bank).collection, ReadBank(written).collection);
  }
}

TEST(SoundFontWriter, StampsItsFiles) {
  ReadBank read(simpleBank());
  const soundfont::BankFile bank = parsed(bytesOfSaved(read.collection));
  EXPECT_EQ(bank.versionMajor, 2);
  EXPECT_EQ(bank.versionMinor, 1);
  EXPECT_EQ(infoOf(bank, "isng"), "EMU8000");
  EXPECT_EQ(infoOf(bank, "INAM"), "Bank");
  EXPECT_EQ(infoOf(bank, "ISFT"), "Vemko Studio v12.13");
}

// An edit changes what it must; amounts that the model rounds or does not know stay.
TEST(SoundFontWriter, KeepsWhatAnEditLeavesAlone) {
  const std::vector<Generator> given = {amount(gen::FilterCutoff, 8001), amount(gen::VolEnvRelease, 2003),
                                        amount(gen::ModEnvRelease, 77), amount(gen::Pan, 100)};
  struct Case {
    const char* name;
    void (*edit)(Region&);
    std::vector<Generator> expected;
  };
  const Case cases[] = {
      {"nothing", [](Region&) {}, given},
      {"pan",
       [](Region& region) { region.articulation.set(slots::Pan, -0.5f); },
       {amount(gen::FilterCutoff, 8001), amount(gen::Pan, -250), amount(gen::ModEnvRelease, 77),
        amount(gen::VolEnvRelease, 2003)}},
      {"cutoff",
       [](Region& region) { region.articulation.set(slots::FilterCutoff, 440); },
       {amount(gen::FilterCutoff, 6900), amount(gen::Pan, 100), amount(gen::ModEnvRelease, 77),
        amount(gen::VolEnvRelease, 2003)}},
      {"root key",
       [](Region& region) { region.rootKey = 64; },
       {amount(gen::FilterCutoff, 8001), amount(gen::Pan, 100), amount(gen::ModEnvRelease, 77),
        amount(gen::VolEnvRelease, 2003), amount(gen::RootKey, 64)}},
      {"section",
       [](Region& region) {
         region.section = {10, 90};
       },
       {amount(gen::StartOffset, 10), amount(gen::EndOffset, -10), amount(gen::FilterCutoff, 8001),
        amount(gen::Pan, 100), amount(gen::ModEnvRelease, 77), amount(gen::VolEnvRelease, 2003)}},
      {"keys",
       [](Region& region) {
         region.keys = {10, 20};
       },
       {range(gen::KeyRange, 10, 20), amount(gen::FilterCutoff, 8001), amount(gen::Pan, 100),
        amount(gen::ModEnvRelease, 77), amount(gen::VolEnvRelease, 2003)}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ReadBank read(simpleBank(given, {route(0x502, 34, 77)}));
    c.edit(*read.regions()[0]);
    const soundfont::BankFile bank = parsed(bytesOfSaved(read.collection));
    std::vector<Generator> expected = c.expected, written = bank.instrumentGenerators;
    expected.push_back(amount(gen::Sample, 0));
    written.pop_back();  // the terminal
    std::ranges::sort(expected, {}, &Generator::number);
    std::ranges::sort(written, {}, &Generator::number);
    EXPECT_TRUE(written == expected);
    EXPECT_TRUE(bank.instrumentModulators.at(0) == route(0x502, 34, 77));
  }
}

TEST(SoundFontWriter, ANewLfoHasTheSettingsOfItsSlots) {
  ReadBank read(simpleBank({amount(gen::ModLfoDelay, 0), amount(gen::ModLfoFrequency, 1200)}));
  read.regions()[0]->articulation.set(slots::VLfoToVolume, 3);
  read.regions()[0]->articulation.set(slots::VLfoShape + 1, 8.18f);  // the format's default
  const ArticulationBlock block = effective(ReadBank(bytesOfSaved(read.collection)).region());
  EXPECT_EQ(block.get(slots::VLfoShape + 1), 8.18f);
  EXPECT_EQ(block.get(slots::VLfoShape + 2), 0);
}

TEST(SoundFontWriter, ChangesTheModulatorThatWasEdited) {
  ReadBank read(simpleBank({}, {route(0x102, 48, 960), route(0x502, 48, 0), route(0x81, 6, 20)}));
  read.regions()[0]->articulation.set(slots::VelocityResponse, 0.5f);
  const soundfont::BankFile bank = parsed(bytesOfSaved(read.collection));
  EXPECT_EQ(bank.instrumentModulators.size(), 3u);
  EXPECT_TRUE(bank.instrumentModulators.at(0) == route(0x81, 6, 20));
  EXPECT_TRUE(bank.instrumentModulators.at(1) == route(0x502, 48, 480));
}

TEST(SoundFontWriter, EditsOneOfTwoPresetsThatShareAnInstrument) {
  ReadBank read(richBank());
  Region& edited = *regionsOf(*read.collection.all<Instrument>()[1])[0];
  edited.articulation.set(slots::Pan, 0.5f);
  const Block bytes = bytesOfSaved(read.collection);
  ReadBank again(bytes);
  EXPECT_EQ(parsed(bytes).instruments.size(), 3u);
  const auto before = read.collection.all<Instrument>(), after = again.collection.all<Instrument>();
  EXPECT_EQ(regionsOf(*after[1]).size(), regionsOf(*before[1]).size());
  for (std::size_t i : {0u, 2u, 3u}) {
    const auto a = regionsOf(*before[i]), b = regionsOf(*after[i]);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t j = 0; j < a.size(); ++j) EXPECT_TRUE(effective(*a[j]) == effective(*b[j]));
  }
  EXPECT_EQ(std::ranges::count_if(regionsOf(*after[1]),
                                  [](Region* region) { return effective(*region).get(slots::Pan) == 0.5f; }),
            1);
}

TEST(SoundFontWriter, SavesOneInstrument) {
  ReadBank read(richBank());
  Instrument& instrument = *read.collection.all<Instrument>()[2];
  const soundfont::BankFile bank = parsed(bytesOfSaved(instrument));
  ASSERT_EQ(bank.presets.size(), 1u);
  EXPECT_EQ(soundfont::charactersOf(bank.presets[0].name), "Drums");
  EXPECT_EQ(bank.samples.size(), 2u);
  TempFolder folder;
  OutputFile file;
  ASSERT_TRUE(file.create(folder / "out.sf2"));
  EXPECT_FALSE(soundfont::writeBank(*read.collection.all<Waveform>()[0], file, {}));
  EXPECT_EQ(lastError(), u"The file format can not save this item");
}

// --- Items that no bank made

Waveform& addWaveform(Collection& collection, std::uint8_t channels, float value) {
  Waveform& waveform = createWaveform(collection, u"Tone");
  auto buffer = SampleBuffer::allocate(50, channels, 48000);
  for (std::size_t i = 0; i < buffer->samples().size(); ++i)
    buffer->samples()[i] = value * static_cast<float>(1 + i % channels);
  waveform.rate = 48000;
  waveform.setSamples(buffer);
  return waveform;
}

TEST(SoundFontWriter, HasTextsOfPublishedNamesOnly) {
  struct Case {
    const char* name;
    std::u16string_view engineer, artist;
    const char* expected;
  };
  for (const Case& c : {Case{"none", u"", u"", ""}, Case{"engineer", u"Ann", u"", "Ann"},
                        Case{"artist", u"", u"Bob", "Bob"}, Case{"both", u"Ann", u"Bob", "Ann"}}) {
    SCOPED_TRACE(c.name);
    Collection collection;
    addWaveform(collection, 1, 0.5f);
    collection.setText(TextProperty::Engineer, c.engineer);
    collection.setText(TextProperty::Artist, c.artist);
    const soundfont::BankFile bank = parsed(bytesOfSaved(collection));
    EXPECT_EQ(infoOf(bank, "IENG"), c.expected);
    EXPECT_EQ(infoOf(bank, "IART"), "");
  }
}

TEST(SoundFontWriter, SplitsStereoIntoLinkedSamples) {
  Collection collection;
  Waveform& waveform = addWaveform(collection, 2, 0.25f);
  waveform.sourceFormat = static_cast<SourceFormat>(SampleEncoding::Pcm16);
  Layer& layer = createLayer(createInstrument(collection, u"New"), u"");
  createRegion(layer, u"").setWaveform(waveform.id());
  const Block bytes = bytesOfSaved(collection);
  const soundfont::BankFile bank = parsed(bytes);
  ASSERT_EQ(bank.samples.size(), 2u);
  EXPECT_EQ(soundfont::charactersOf(bank.samples[1].name), "Tone R");
  EXPECT_EQ(bank.samples[0].type, 4);
  EXPECT_EQ(bank.samples[1].type, 2);
  EXPECT_EQ(bank.samples[0].link, 1);
  EXPECT_EQ(bank.samples[1].link, 0);
  EXPECT_EQ(bank.samples[1].start, 96u) << "behind 46 points of silence";
  EXPECT_EQ(bank.smpl.size, 192u * 2);

  ReadBank read(bytes);
  io::fixUp(read.collection, io::kAllKinds, false);
  ASSERT_EQ(read.collection.count(ItemKind::Waveform), 1u);
  const auto stream = openSamples(*read.collection.all<Waveform>()[0]);
  float frame[2] = {};
  ASSERT_TRUE(stream && stream->read(frame) == 1u);
  EXPECT_EQ(frame[0], 0.25f);
  EXPECT_EQ(frame[1], 0.5f);
  EXPECT_EQ(effective(read.region()).get(slots::Pan), 0);

  const soundfont::BankFile mono = parsed(bytesOfSaved(collection, {.requested = io::kMono}));
  EXPECT_EQ(mono.samples.size(), 1u);
}

TEST(SoundFontWriter, CutsLongNamesBeforeTheirEnds) {
  Collection collection;
  Layer& layer = createLayer(createInstrument(collection, u"New"), u"");
  float level = 0.01f;
  const auto add = [&](std::u16string_view name, std::uint8_t channels) {
    Waveform& waveform = addWaveform(collection, channels, level += 0.01f);
    waveform.setName(name);
    createRegion(layer, u"").setWaveform(waveform.id());
  };
  add(u"Very long sample name one", 2);
  add(u"Very long sample name two", 2);
  add(u"Very long sample name", 2);
  add(u"Power Bass Drum 10(L)", 1);
  add(u"Power Bass Drum 10(R)", 1);
  add(u"Power Bass Drum 1 - Left", 1);
  add(u"Twenty letters it has", 1);
  add(u"Twenty letters it ha", 1);
  add(u"\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9", 2);
  const soundfont::BankFile bank = parsed(bytesOfSaved(collection));
  std::vector<std::string> names;
  for (const soundfont::SampleHeader& header : bank.samples)
    names.emplace_back(soundfont::charactersOf(header.name));
  EXPECT_EQ(names,
            (std::vector<std::string>{"Very long sample n L", "Very long sample n R", "Very long sample 2 L",
                                      "Very long sample 2 R", "Very long sample 3 L", "Very long sample 3 R",
                                      "Power Bass Drum 1(L)", "Power Bass Drum 1(R)", "Power Bass Dr - Left",
                                      "Twenty letters it 2", "Twenty letters it ha",
                                      "\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9 L",
                                      "\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9\u00E9 R"}));
  // Once more: what was read keeps its bytes, numbers among them.
  ReadBank read(bytesOfSaved(collection));
  io::fixUp(read.collection, io::kAllKinds, false);
  const soundfont::BankFile again = parsed(bytesOfSaved(read.collection));
  std::vector<std::string> namesAgain;
  for (const soundfont::SampleHeader& header : again.samples)
    namesAgain.emplace_back(soundfont::charactersOf(header.name));
  std::ranges::sort(names);
  std::ranges::sort(namesAgain);
  EXPECT_EQ(namesAgain, names);
}

TEST(SoundFontWriter, WritesASendAsTheEffectThatItLeadsTo) {
  ReadBank read(simpleBank({amount(gen::ReverbSend, 500), amount(gen::ChorusSend, 250)}));
  read.collection.all<Instrument>()[0]->sendEffects[0] = SendEffect::Chorus;
  const ArticulationBlock block = effective(ReadBank(bytesOfSaved(read.collection)).region());
  EXPECT_FALSE(block.isSet(60));
  EXPECT_EQ(block.get(64), 0.5f);
}

TEST(SoundFontWriter, ChoosesTheWidth) {
  struct Case {
    const char* name;
    SourceFormat format;
    io::CapabilityMask requested;
    int minor;
    float expected;
  };
  const auto of = [](SampleEncoding encoding) { return static_cast<SourceFormat>(encoding); };
  constexpr float kValue = 12345679 / 16777216.0f, k24 = 6172840 / 8388608.0f, k16 = 24113 / 32768.0f;
  const Case cases[] = {
      {"16 bits stay", of(SampleEncoding::Pcm16), 0, 1, k16},
      {"24 bits stay", of(SampleEncoding::Pcm24), 0, 4, k24},
      {"floats", of(SampleEncoding::Float32), 0, 4, k24},
      {"16 asked for", of(SampleEncoding::Pcm24), io::encodingBit(SampleEncoding::Pcm16), 1, k16},
      {"24 asked for", of(SampleEncoding::Pcm16), io::encodingBit(SampleEncoding::Pcm24), 4, k24},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = addWaveform(collection, 1, kValue);
    waveform.sourceFormat = c.format;
    const Block bytes = bytesOfSaved(collection, {.requested = c.requested});
    EXPECT_EQ(parsed(bytes).versionMinor, c.minor);
    ReadBank read(bytes);
    ASSERT_EQ(read.collection.count(ItemKind::Waveform), 1u);
    const auto stream = openSamples(*read.collection.all<Waveform>()[0]);
    float sample = 0;
    ASSERT_TRUE(stream && stream->read({&sample, 1}) == 1u);
    EXPECT_EQ(sample, c.expected);
  }
}

TEST(SoundFontWriter, KeepsSampleBytes) {
  std::mt19937 random(5);
  for (bool is24 : {false, true}) {
    SCOPED_TRACE(is24 ? "24 bits" : "16 bits");
    Bank bank = simpleBank();
    bank.samples[0].points.resize(3001);
    for (auto& point : bank.samples[0].points) point = static_cast<std::int16_t>(random());
    if (is24) {
      bank.minor = 4;
      bank.lowBytes.resize(3048);  // of 3047 points, to an even length
      for (std::size_t i = 0; i < 3001; ++i) bank.lowBytes[i] = static_cast<std::uint8_t>(random());
    }
    const Block original = bytesOf(bank);
    ReadBank read(original);
    const Block written = bytesOfSaved(read.collection);
    auto bytesAt = [](const Block& bytes, const soundfont::FileRange& place) {
      return Block(bytes.begin() + static_cast<std::ptrdiff_t>(place.offset),
                   bytes.begin() + static_cast<std::ptrdiff_t>(place.offset + place.size));
    };
    EXPECT_TRUE(bytesAt(original, parsed(original).smpl) == bytesAt(written, parsed(written).smpl));
    EXPECT_TRUE(bytesAt(original, parsed(original).sm24) == bytesAt(written, parsed(written).sm24));

    // The same through floats, as after an edit.
    Waveform& waveform = *read.collection.all<Waveform>()[0];
    auto buffer = SampleBuffer::allocate(waveform.frames, 1, waveform.rate);
    ASSERT_EQ(openSamples(waveform)->read(buffer->samples()), waveform.frames);
    waveform.setSamples(buffer);
    waveform.sourceFormat = static_cast<SourceFormat>(is24 ? SampleEncoding::Pcm24 : SampleEncoding::Pcm16);
    const Block encoded = bytesOfSaved(read.collection);
    EXPECT_TRUE(bytesAt(original, parsed(original).smpl) == bytesAt(encoded, parsed(encoded).smpl));
    EXPECT_TRUE(bytesAt(original, parsed(original).sm24) == bytesAt(encoded, parsed(encoded).sm24));
  }
}

TEST(SoundFontWriter, SharesWhatIsEqual) {
  Collection collection;
  Waveform& waveform = addWaveform(collection, 1, 0.5f);
  auto addInstrument = [&](float pan) {
    Layer& layer = createLayer(createInstrument(collection, u"Same"), u"");
    for (std::uint8_t key = 0; key < 100; ++key) {
      Region& region = createRegion(layer, u"", {.keys = {key, key}});
      region.setWaveform(waveform.id());
      region.articulation.set(slots::Pan, key == 50 ? 0.0f : pan);
      region.articulation.set(slots::MasterVolume, key % 2 == 0 ? -2.0f : -4.0f);
    }
  };
  addInstrument(0.25f);
  addInstrument(0.25f);
  addInstrument(0.5f);
  const soundfont::BankFile bank = parsed(bytesOfSaved(collection));
  EXPECT_EQ(bank.presets.size(), 3u);
  EXPECT_EQ(bank.instruments.size(), 2u);
  // Per zone the keys and the sample, once the pan, for every other zone its volume, and the terminal.
  EXPECT_LE(bank.instrumentGenerators.size(), 2u * (200 + 50 + 6) + 1);
  ReadBank read(bytesOfSaved(collection));
  expectSameRegions(collection, read.collection);
}

TEST(SoundFontWriter, RefusesTooMuchData) {
  struct Case {
    const char* name;
    std::size_t regions;
    std::size_t samples;
    std::u16string_view message;  // empty when it is saved
  };
  constexpr std::u16string_view kTooMuch =
      u"Save failed - Too much data!\n\nThe SF2 file format is by its construction limited to storing a "
      u"maximum of 65536 parameter values...nRemove some instruments then try saving again!\n";
  // Four records a region, less 532 that the global zone saves, and the terminal: 65533 and 65537.
  for (const Case& c :
       {Case{"as many as go", 16516, 1, u""}, Case{"one more", 16517, 1, kTooMuch},
        Case{"all samples that zones can name", 1, 65536, u""},
        Case{"one more sample", 1, 65537, u"Save failed - The samples are too much for one bank"}}) {
    SCOPED_TRACE(c.name);
    Collection collection;
    for (std::size_t i = 1; i < c.samples; ++i) addWaveform(collection, 1, 0.5f);
    Waveform& waveform = addWaveform(collection, 1, 0.5f);
    Instrument& instrument = createInstrument(collection, u"");
    Layer& layer = createLayer(instrument, u"");
    // Slots at what the format has by default, so that there is no global zone.
    const ArticulationBlock plain = soundfont::articulationOf({}, {});
    for (std::size_t i = 0; i < c.regions; ++i) {
      Region& region = createRegion(layer, u"", {.keys = {1, 100}});
      region.setWaveform(waveform.id());
      region.articulation = plain;
      region.articulation.set(slots::Pan, static_cast<float>(i % 500 + 1) * 0.002f);
      region.articulation.set(slots::MasterVolume, static_cast<float>(i / 500 + 1) * -0.04f);
    }
    TempFolder folder;
    OutputFile file;
    ASSERT_TRUE(file.create(folder / "out.sf2"));
    EXPECT_EQ(soundfont::writeBank(collection, file, {}), c.message.empty()) << toUtf8(lastError());
    if (c.message.empty()) continue;
    EXPECT_EQ(lastError(), c.message);
    EXPECT_EQ(file.size(), 0u);
  }
}

TEST(SoundFontWriter, FillsChunksAsFarAsTheirLengthsReach) {
  struct Case {
    const char* name;
    std::uint32_t frames;
    bool is24, fits;
  };
  for (const Case& c :
       {Case{"16 bits", 1'870'000'000, false, true}, Case{"more", 1'890'000'000, false, false},
        Case{"24 bits", 1'240'000'000, true, true}, Case{"more", 1'260'000'000, true, false}}) {
    SCOPED_TRACE(c.name);
    std::vector<soundfont::ChannelData> data(1);
    data[0].frames = c.frames;
    EXPECT_EQ(soundfont::placePoints(data, c.is24).has_value(), c.fits);
  }
}

}  // namespace
}  // namespace vemko::test
