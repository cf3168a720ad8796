#include <random>

#include "core/filter.h"
#include "core/slot_values.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_opcodes.h"
#include "io/companion_files.h"
#include "sfz_support.h"
#include "system/system.h"

namespace vemko::sfz {
namespace {

using test::addSamples;
using test::contentOf;
using test::filesIn;
using test::TempFolder;

int rowOfVariant(std::uint32_t variant) {
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1))
    if (io::formatRow(row)->writer == writeSfz && io::formatRow(row)->variant == variant) return row;
  return io::kNoRow;
}

bool save(Item& item, const Path& path, std::uint32_t variant = kVersion2, std::uint32_t extra = 0) {
  io::SaveOptions options = io::saveOptionsFor(rowOfVariant(variant), 0);
  options.extra = extra;
  return io::saveItem(&item, rowOfVariant(variant), path, options);
}

struct Sampler {
  Sampler()
      : instrument(createInstrument(collection, u"Instrument")), layer(createLayer(instrument, u"Layer")) {
    waveform = &createWaveform(collection, u"wave");
    addSamples(*waveform, 1000);
    region = &add();
  }
  Region& add() {
    return createRegion(layer, u"region", {.waveform = serialOf(waveform->id()), .rootKey = 60});
  }

  Collection collection;
  Instrument& instrument;
  Layer& layer;
  Waveform* waveform;
  Region* region;
};

// Values of both signs and odd digits, within the slots' bounds.
ArticulationBlock randomBlock(std::mt19937& random, bool version2) {
  auto share = [&] { return static_cast<float>(random() % 10007) / 10007; };
  ArticulationBlock block;
  for (const Parameter& row : parameterTable())
    if (!row.reserved() && random() % 3 > 0)
      block.set(row.slot, row.minimum + share() * (row.maximum - row.minimum));
  for (Slot shape : {slots::PLfoShape, slots::VLfoShape, slots::FLfoShape, slots::XLfoShape})
    block.set(shape, version2 ? std::floor(share() * 12) : 0);
  for (int mode : {42, 46, 50}) block.set(static_cast<Slot>(mode), version2 ? std::floor(share() * 3) : 0);
  block.set(slots::FilterType, std::floor(share() * 13));
  return block;
}

// What a slot's value does where nothing leads it anywhere is nothing.
SlotValues heardValues(const ArticulationBlock& block) {
  SlotValues values = valuesOf(block);
  constexpr std::pair<Carrier, SlotGroup> kGroups[] = {
      {Carrier::PLfo, SlotGroup::PLfo},      {Carrier::VLfo, SlotGroup::VLfo},
      {Carrier::FLfo, SlotGroup::FLfo},      {Carrier::XLfo, SlotGroup::XLfo},
      {Carrier::PEnv, SlotGroup::PEnvelope}, {Carrier::FEnv, SlotGroup::FEnvelope},
      {Carrier::XEnv, SlotGroup::XEnvelope}};
  if (filterTypeOf(values) == FilterType::Off) resetGroup(values, SlotGroup::Filter);
  for (const auto& [carrier, group] : kGroups)
    if (!isInUse(values, carrier)) resetGroup(values, group);
  return values;
}

TEST(SfzWrite, ASecondTripIsTheFirstByteForByte) {
  std::mt19937 random(5);
  for (int round = 0; round < 60; ++round) {
    const std::uint32_t variant = static_cast<std::uint32_t>(round) % 4;
    SCOPED_TRACE(round);
    TempFolder folder;
    Sampler sampler;
    sampler.region->articulation = randomBlock(random, (variant & kVersion2) != 0);
    sampler.add().articulation = randomBlock(random, (variant & kVersion2) != 0);
    Path from = folder / "0";
    std::string before;
    Item* item = &sampler.instrument;
    std::vector<std::unique_ptr<Collection>> opened;
    // The first trip may round; what came of it stays.
    for (int trip = 1; trip <= 3; ++trip) {
      const Path to = folder / std::to_string(trip);
      std::filesystem::create_directory(to);
      ASSERT_TRUE(save(*item, to / "x.sfz", variant)) << toUtf8(lastError());
      const std::string text = contentOf(to / "x.sfz");
      if (trip == 3) {
        EXPECT_EQ(text, before);
      }
      before = text;
      test::openPlain(*opened.emplace_back(std::make_unique<Collection>()), to / "x.sfz");
      item = opened.back()->allOf(ItemKind::Instrument).at(0);
    }
  }
}

// Every slot that a row leads to, and those of the rules, come back as they were.
TEST(SfzWrite, KeepsSlotsExactly) {
  struct Case {
    const char* name;
    std::vector<std::pair<int, float>> slots;
  };
  std::vector<Case> cases = {
      {"tuning", {{slots::MasterTuning, -1.37f}}},
      {"volume by key", {{slots::MasterVolume, -7.3f}, {slots::KeyToVolume, 1.1f}}},
      {"pan by key", {{slots::Pan, 0.37f}, {slots::KeyToPan, -0.123f}}},
      {"filter",
       {{slots::FilterType, 12},
        {slots::FilterCutoff, 1234.5f},
        {slots::VelocityToCutoff, 7.7f},
        {slots::KeyToCutoff, 3.3f},
        {slots::FilterResonance, 5.7f},
        {slots::VelocityToResonance, 1}}},
      {"sends", {{60, 0.3f}, {64, 0.77f}, {62, 0.1f}, {66, 1}, {61, 0.2f}}},
      {"equaliser", {{42, 2}, {43, 333}, {44, -3}, {45, 2.5f}}},
      {"shaped LFO",
       {{slots::PLfoToPitch, 1.5f},
        {slots::PLfoToPitch + 3, 0.5f},
        {slots::PLfoShape, 3},
        {69, 4.4f},
        {70, 1}}},
      {"X-LFO", {{slots::XLfoToPitch, 2}, {slots::XLfoToPitch + 1, 1}, {58, 0.4f}, {81, 3}}},
      {"P envelope",
       {{slots::PEnvToPitch, 12}, {slots::VelocityToPEnvToPitch, -3.1f}, {slots::PEnv + 6, 0.77f}}},
      {"levels",
       {{slots::PEnvToPitch, 2},
        {slots::PEnv, -0.5f},
        {slots::PEnv + 1, 0.3f},
        {slots::PEnv + 5, 0.7f},
        {slots::PEnv + 10, -1},
        {slots::PEnv + 19, 2.2f},
        {slots::PEnv + 24, -0.4f},
        {slots::PEnv + 25, 3}}},
      {"levels of the later releases alone", {{slots::VEnv + 26, 0.3f}, {slots::VEnv + 28, 0.2f}}},
      {"X envelope", {{59, 0.5f}, {slots::XEnv + 1, 0.5f}, {slots::XEnv + 19, 1.5f}}},
      {"times",
       {{slots::VEnv + 6, 0.7f},
        {slots::VEnv + 7, 33.3f},
        {slots::VEnv + 8, 0.6f},
        {slots::VEnv + 9, 12.5f},
        {slots::VEnv + 19, 3.1f},
        {slots::VEnv + 20, -45.6f},
        {slots::VEnv + 23, 2}}},
  };
  for (const OpcodeRow& row : opcodeRows())
    if (row.field == Field::Direct && (row.dialects & kV2)) {
      const auto value =
          static_cast<float>((row.minimum + (row.maximum - row.minimum) * 0.3711) * row.factor);
      Case each{row.name.data(), {{row.slot, value}, {slots::FilterType, 2}}};
      // Whatever carries the slot leads somewhere.
      for (Slot depth : {slots::PLfoToPitch, slots::VLfoToVolume, slots::FLfoToCutoff, slots::PEnvToPitch,
                         slots::FEnvToCutoff})
        if (depth != row.slot) each.slots.push_back({depth, 1.0f});
      cases.push_back(each);
    }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TempFolder folder;
    Sampler sampler;
    for (const auto& [slot, value] : c.slots)
      sampler.region->articulation.set(static_cast<Slot>(slot), value);
    ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz")) << toUtf8(lastError());
    Collection read;
    test::openPlain(read, folder / "x.sfz");
    const SlotValues before = heardValues(sampler.region->articulation),
                     after = heardValues(effective(test::onlyRegion(read)));
    for (int slot = 0; slot < kSlotCount; ++slot) {
      const auto at = static_cast<Slot>(slot);
      const float tolerance = std::abs(before[at]) * 2e-6f;
      EXPECT_NEAR(after[at], before[at], tolerance) << "slot " << slot;
    }
  }
}

TEST(SfzWrite, KeepsWhatARegionIs) {
  for (std::uint32_t variant : {0u, kVersion2}) {
    TempFolder folder;
    Sampler sampler;
    Region& region = *sampler.region;
    region.keys = {10, 20};
    region.velocities = {5, 99};
    region.rootKey = 15;
    region.trigger = Trigger::Legato;
    region.delaySeconds = 0.3f;
    region.fadeInKeys = {10, 12};
    region.fadeOutVelocities = {90, 99};
    region.section = {100, 900};
    PlayRules rules;
    rules.group = 1000, rules.stoppedBy = 3, rules.sequenceLength = 3, rules.sequencePosition = 2;
    rules.randomLow = 0.1f, rules.randomHigh = 0.7f, rules.keyFade = FadeCurve::Gain;
    rules.controllers = {{4, 1, 127, 99}, {64, 0, 63}};
    rules.switches = {{24, 35}, {24, 25}, 25, 1, 2, 3};
    rules.controllerFade = FadeCurve::Gain;
    rules.fadeIns = {{1, 0, 64, 30}, {4, 5, 127, 99}};
    rules.fadeOuts = {{1, 64, 127, 30}};
    rules.starts = {{30, 5, 6}};
    rules.ignoresKeys = false;
    region.rules = std::make_shared<const PlayRules>(rules);
    sampler.waveform->addLoop({LoopPlay::Reverse, LoopCount::UntilRelease, 200, 800, 0}, u"", true, false);
    sampler.waveform->fineTuneCents = 13;
    sampler.waveform->findOrAddAltStart(300);
    Region& other = sampler.add();
    other.exclusiveGroup = 9;
    PlayRules plucked;
    plucked.switches.last = {30, 30};
    other.rules = std::make_shared<const PlayRules>(plucked);
    ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz", variant)) << toUtf8(lastError());
    Collection read;
    test::openPlain(read, folder / "x.sfz");
    const auto regions = read.all<Region>();
    ASSERT_EQ(regions.size(), 2u);
    EXPECT_TRUE(playsAlike(region, *regions[0]));
    EXPECT_TRUE(playsAlike(other, *regions[1]));
    EXPECT_EQ(rulesOf(*regions[0]), rules);
    const Waveform& waveform = *regions[0]->waveform();
    ASSERT_TRUE(waveform.mainLoop());
    EXPECT_EQ(waveform.mainLoop()->play, LoopPlay::Reverse);
    EXPECT_EQ(waveform.mainLoop()->count, LoopCount::UntilRelease);
    EXPECT_EQ(waveform.mainLoop()->start, 200u);
    EXPECT_EQ(waveform.mainLoop()->end, 800u);
    EXPECT_NEAR(effective(*regions[0]).get(slots::MasterTuning), 0, 1e-6);
    EXPECT_EQ(read.all<Layer>().at(0)->name(), u"Layer");
  }
}

// A file that only says how far the wheel bends up leaves the way down at two semitones.
// Where notes are long at low keys: a player goes along a straight line from key 0 to key 127.
TEST(SfzWrite, TimesThatKeysMoveAreRightWhereTheRegionPlays) {
  constexpr Slot kDecay = envelopeSlot(slots::VEnv, Stage::Decay2Time);
  const struct {
    MidiRange keys;
    float atMiddleC, perOctave;
    double tolerance;  // by which the line misses the curve
  } cases[] = {{{60, 60}, 8, 0.7f, 1e-6},   {{58, 62}, 8, 0.7f, 0.01}, {{0, 20}, 2, 0.5f, 0.2},
               {{100, 104}, 1, 1.8f, 0.01}, {{40, 43}, 15, 0.4f, 0.1}, {{0, 127}, 3, 0.95f, 0.1}};
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::Message() << int(each.keys.low) << " to " << int(each.keys.high));
    TempFolder folder;
    Sampler sampler;
    sampler.region->keys = each.keys;
    sampler.region->articulation.set(kDecay, each.atMiddleC);
    sampler.region->articulation.set(kDecay + 2, each.perOctave);
    ASSERT_TRUE(save(sampler.instrument, folder / "2.sfz"));
    ASSERT_TRUE(save(sampler.instrument, folder / "1.sfz", 0));
    const std::string text = test::contentOf(folder / "2.sfz"), plain = test::contentOf(folder / "1.sfz");
    const auto numberOf = [](const std::string& in, const std::string& opcode) {
      const std::size_t at = in.find(" " + opcode + "=");
      return at == in.npos ? 0 : std::stod(in.substr(at + opcode.size() + 2));
    };
    const double middle = (each.keys.low + each.keys.high) / 2.0;
    const double wanted = each.atMiddleC * std::pow(each.perOctave, (middle - 60) / 12);
    const double base = numberOf(text, "ampeg_decay"), moved = numberOf(text, "ampeg_decaycc133");
    EXPECT_TRUE(base >= 0 && base <= 100) << base;
    EXPECT_NEAR(base + moved * middle / 127, wanted, wanted * each.tolerance);
    EXPECT_NEAR(numberOf(plain, "ampeg_decay"), wanted, wanted * 1e-5);
    Collection read;
    test::openPlain(read, folder / "2.sfz");
    const ArticulationBlock again = effective(test::onlyRegion(read));
    EXPECT_NEAR(again.get(kDecay) * std::pow(again.get(kDecay + 2), (middle - 60) / 12), wanted,
                wanted * each.tolerance);
  }
}

TEST(SfzWrite, BendsDownAsFarAsUp) {
  const struct {
    float semitones;
    const char* lines;
  } cases[] = {{12, " bend_up=1200\r\n bend_down=-1200\r\n"}, {0, " bend_up=0\r\n bend_down=0\r\n"}};
  for (const auto& each : cases)
    for (std::uint32_t variant : {0u, kVersion2}) {
      TempFolder folder;
      Sampler sampler;
      sampler.region->articulation.set(slots::BendToPitch, each.semitones);
      ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz", variant)) << toUtf8(lastError());
      EXPECT_NE(contentOf(folder / "x.sfz").find(each.lines), std::string::npos) << each.lines;
    }
}

TEST(SfzWrite, SaysAFixedNoteByWhatItComesTo) {
  TempFolder folder;
  Sampler sampler;
  sampler.region->fixedKey = 72;
  sampler.region->fixedVelocity = 64;
  ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz"));
  Collection read;
  test::openPlain(read, folder / "x.sfz");
  const ArticulationBlock block = effective(test::onlyRegion(read));
  EXPECT_FLOAT_EQ(block.get(slots::MasterTuning), 12);
  EXPECT_FLOAT_EQ(block.get(slots::KeyToPitch), 0);
  EXPECT_NEAR(block.get(slots::MasterVolume), 40 * std::log10(64 / 127.0), 1e-5);
  EXPECT_FLOAT_EQ(block.get(slots::VelocityResponse), 0);
}

TEST(SfzWrite, WritesItsDialects) {
  TempFolder folder;
  Sampler sampler;
  ASSERT_TRUE(save(sampler.instrument, folder / "1.sfz", 0));
  ASSERT_TRUE(save(sampler.instrument, folder / "2.sfz", kVersion2 | kSubFolder));
  const std::string first = contentOf(folder / "1.sfz"), second = contentOf(folder / "2.sfz");
  EXPECT_TRUE(
      first.starts_with("/////////////////////////////////////////////////////////////////////////////\r\n"
                        "/// sfz definition file\r\n"
                        "/// -------------------------------------------------------------------------\r\n"
                        "/// written by Vemko Studio v12.13\r\n"));
  EXPECT_TRUE(second.starts_with(
      "//"
      "-------------------------------------------------------------------------------------------------\r\n"
      "// sfz Definition File\r\n// Version 2\r\n"
      "//"
      "-------------------------------------------------------------------------------------------------\r\n"
      "// Written by Vemko Studio v12.13\r\n"));
  for (const char* text :
       {"<control>\r\n default_path=samples/\r\n set_cc1=0\r\n", " set_cc129=0\r\n",
        "<global>\r\n amplitude_oncc7=100\r\n amplitude_oncc11=100\r\n", "/// Layer\r\n<group>\r\n",
        "<region>\r\n sample=wave.wav\r\n pitch_keycenter=60\r\n loop_mode=no_loop\r\n"})
    EXPECT_NE(second.find(text), second.npos) << text;
  EXPECT_EQ(first.find("<control>"), first.npos);
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"1.sfz", "2.sfz", "samples", "wave.wav"}));
}

TEST(SfzWrite, NamesSampleFilesSafely) {
  struct Case {
    const char16_t* name;
    const char* file;
  };
  for (const Case& c :
       {Case{u"../../etc/passwd", "_._.._etc_passwd.wav"}, Case{u"CON", "_CON.wav"},
        Case{u"a lokey=3", "a lokey_3.wav"}, Case{u"$x", "_x.wav"}, Case{u"*sine", "_sine.wav"},
        Case{u"a #include \"b\"", "a _include _b_.wav"}, Case{u"C#4 \u00E4", "C#4 \u00C3\u00A4.wav"},
        Case{u"", "unnamed.wav"}, Case{u"<region>", "_region_.wav"}}) {
    TempFolder folder;
    Sampler sampler;
    sampler.waveform->setName(c.name);
    ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz")) << toUtf8(lastError());
    const auto files = filesIn(folder.path());
    EXPECT_EQ(files.size(), 2u) << toUtf8(c.name);
    Collection read;
    test::openPlain(read, folder / "x.sfz");
    EXPECT_TRUE(test::onlyRegion(read).waveform()) << toUtf8(c.name);
    if (std::u16string_view(c.name).find(u'\u00E4') != std::u16string_view::npos) continue;
    EXPECT_TRUE(std::ranges::count(files, c.file)) << files[0] << files[1] << " for " << toUtf8(c.name);
  }
}

TEST(SfzWrite, LeavesFilesOfTheFolderAlone) {
  TempFolder folder;
  test::putFile(folder / "wave.wav", "mine");
  Sampler sampler;
  ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz"));
  EXPECT_EQ(contentOf(folder / "wave.wav"), "mine");
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"wave (2).wav", "wave.wav", "x.sfz"}));
  // Once more: the sample is there already. Over itself: its samples are its own.
  ASSERT_TRUE(save(sampler.instrument, folder / "x.sfz"));
  Collection read;
  test::openPlain(read, folder / "x.sfz");
  ASSERT_TRUE(save(*read.allOf(ItemKind::Instrument).at(0), folder / "x.sfz"));
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"wave (2).wav", "wave.wav", "x.sfz"}));
  EXPECT_NE(contentOf(folder / "x.sfz").find("sample=wave (2).wav\r\n"), std::string::npos);
}

// What the definition has no word for is written into a file of its own.
TEST(SfzWrite, ASampleThatWasDescribedAnewIsWrittenAnew) {
  void (*const edits[])(Waveform&) = {
      [](Waveform& wave) { wave.rate = 22050; },
      [](Waveform& wave) { wave.setText(TextProperty::Artist, u"Somebody"); },
      [](Waveform& wave) { wave.setImage(asBytes("\xFF\xD8\xFF picture")); },
  };
  for (const auto& edit : edits) {
    TempFolder folder;
    test::putWave(folder / "wave.wav");
    test::putFile(folder / "x.sfz", "<region>sample=wave.wav");
    Collection before, after;
    test::openPlain(before, folder / "x.sfz");
    edit(*before.all<Waveform>().at(0));
    ASSERT_TRUE(save(*before.allOf(ItemKind::Instrument).at(0), folder / "x.sfz"));
    test::openPlain(after, folder / "x.sfz");
    const Waveform &was = *before.all<Waveform>().at(0), &is = *after.all<Waveform>().at(0);
    EXPECT_EQ(is.rate, was.rate);
    EXPECT_EQ(is.text(TextProperty::Artist), was.text(TextProperty::Artist));
    EXPECT_EQ(is.image().size(), was.image().size());
    EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"wave (2).wav", "wave.wav", "x.sfz"}));
  }
}

TEST(SfzWrite, NeverFollowsALinkOutOfTheFolder) {
  if (!test::kPosix) GTEST_SKIP() << test::kPosixOnly;
  TempFolder folder, elsewhere;
  std::filesystem::create_directory_symlink(elsewhere.path(), folder / "samples");
  std::filesystem::create_symlink(elsewhere / "stolen.wav", folder / "wave.wav");
  Sampler sampler;
  EXPECT_FALSE(save(sampler.instrument, folder / "x.sfz", kVersion2 | kSubFolder));
  EXPECT_EQ(lastError(), u"Could not create file");
  EXPECT_TRUE(save(sampler.instrument, folder / "x.sfz", kVersion2));
  EXPECT_TRUE(filesIn(elsewhere.path()).empty());
}

TEST(SfzWrite, WritesSharedSamplesOnceInARun) {
  TempFolder folder;
  Sampler sampler;
  Instrument& second = createInstrument(sampler.collection, u"Second");
  createRegion(createLayer(second, u""), u"", {.waveform = serialOf(sampler.waveform->id())});
  // The same samples with another loop are the same file.
  auto& looped = static_cast<Waveform&>(copyItem(*sampler.waveform, sampler.collection));
  looped.addLoop({LoopPlay::Forward, LoopCount::Infinite, 10, 500, 0}, u"", true, false);
  createRegion(createLayer(second, u""), u"", {.waveform = serialOf(looped.id())});
  Waveform& other = createWaveform(sampler.collection, u"wave");
  addSamples(other, 500);
  createRegion(createLayer(second, u""), u"", {.waveform = serialOf(other.id())});
  const auto result = io::saveAll({.collection = &sampler.collection,
                                   .kind = ItemKind::Instrument,
                                   .row = rowOfVariant(kVersion2),
                                   .folder = folder.path(),
                                   .baseName = u"Bank",
                                   .options = io::saveOptionsFor(rowOfVariant(kVersion2), 0),
                                   .onCollision = {},
                                   .onFile = {}});
  ASSERT_TRUE(result.ok) << toUtf8(lastError());
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"Bank - Instrument.sfz", "Bank - Second.sfz",
                                                              "wave (2).wav", "wave.wav"}));
  Collection read;
  test::openPlain(read, folder / "Bank - Second.sfz");
  ASSERT_EQ(read.count(ItemKind::Region), 3u);
  EXPECT_EQ(read.all<Region>()[1]->waveform()->mainLoop()->end, 500u);
}

TEST(SfzWrite, WritesSamplesInTheChosenFormat) {
  constexpr std::pair<io::SampleFiles, const char*> kFormats[] = {{io::SampleFiles::Wav, "wave.wav"},
                                                                  {io::SampleFiles::Flac, "wave.flac"},
                                                                  {io::SampleFiles::Ogg, "wave.ogg"}};
  for (const auto& [format, file] : kFormats) {
    TempFolder folder;
    Sampler sampler;
    const bool saved =
        save(sampler.instrument, folder / "x.sfz", kVersion2, static_cast<std::uint32_t>(format));
    if (!saved && lastError().find(u"is not available") != lastError().npos) continue;
    ASSERT_TRUE(saved) << toUtf8(lastError());
    EXPECT_TRUE(fileExists(folder / file)) << file;
    Collection read;
    test::openPlain(read, folder / "x.sfz");
    EXPECT_EQ(test::onlyRegion(read).waveform()->frames, 1000u) << file;
  }
}

TEST(SfzWrite, LeavesNothingBehindWhenItFails) {
  TempFolder folder;
  Sampler sampler;
  Waveform& broken = createWaveform(sampler.collection, u"broken");
  broken.frames = 100;
  struct Missing final : SampleSource {
    std::unique_ptr<SampleStream> open(std::uint64_t) const override {
      fail(u"Could not open file");
      return nullptr;
    }
  };
  broken.source = std::make_shared<Missing>();
  broken.flags[Waveform::kSourceIntactFlag] = 1;
  createRegion(sampler.layer, u"", {.waveform = serialOf(broken.id())});
  EXPECT_FALSE(save(sampler.instrument, folder / "x.sfz", kVersion2 | kSubFolder));
  OutputFile file;
  ASSERT_TRUE(file.create(folder / "y.sfz"));
  EXPECT_FALSE(writeSfz(sampler.instrument, file, io::saveOptionsFor(rowOfVariant(kSubFolder), 0)));
  EXPECT_EQ(lastError(), u"Could not open file");
  EXPECT_EQ(filesIn(folder.path()), (std::vector<std::string>{"y.sfz"}));
  EXPECT_FALSE(writeSfz(*sampler.waveform, file, {}));
  EXPECT_EQ(lastError(), u"The file format can not save this item");
}

}  // namespace
}  // namespace vemko::sfz
