// What of an instrument with rounds, chance, key switches and controllers a sound bank keeps.
#include <chrono>

#include "core/regions_at_rest.h"
#include "io/loss_report.h"
#include "io/registry.h"
#include "sfz_support.h"

namespace vemko {
namespace {

using test::SfzFolder;

std::vector<int> placesAtRest(const Collection& collection) {
  const auto all = collection.all<Region>();
  std::vector<int> places;
  for (const Region* region : regionsAtRest(*collection.all<Instrument>().at(0)))
    places.push_back(static_cast<int>(std::ranges::find(all, region) - all.begin()));
  return places;
}

TEST(SfzAtRest, OnePlaysOfThoseThatTakeTurns) {
  const struct {
    const char *name, *text;
    std::vector<int> kept;
  } cases[] = {
      {"rounds",
       "<group>seq_length=3<region>seq_position=2<region>seq_position=1<region>seq_position=3",
       {1}},
      {"at random", "<region>lorand=0.5<region>hirand=0.5", {1}},
      {"a round parted at random",
       "<group>seq_length=2<region>seq_position=2<region>seq_position=2 lorand=0.5<region>hirand=0.5"
       "<region>lorand=0.5",
       {2}},
      {"two microphones",
       "<group>seq_length=2<region>pan=-100<region>pan=100<region>seq_position=2 pan=-100"
       "<region>seq_position=2 pan=100",
       {0, 1}},
      {"alone", "<region>seq_length=2 seq_position=2", {0}},
      {"the first is silent", "<group>seq_length=2<region>end=-1<region>seq_position=2", {1}},
      {"no first one on some keys",
       "<group>seq_length=3<region>hikey=60<region>seq_position=2 hikey=61<region>seq_position=3 hikey=61",
       {0, 1}},
      {"other velocity layers in each round",
       "<group>seq_length=2<region>hivel=63<region>lovel=64<region>seq_position=2 hivel=80"
       "<region>seq_position=2 lovel=81",
       {0, 1}},
      {"a hole between the layers of the first",
       "<group>seq_length=2<region>hivel=63<region>lovel=65<region>seq_position=2",
       {0, 1, 2}},
      {"below a plain layer", "<region><region>seq_length=2 seq_position=2", {0, 1}},
      {"two rounds of other lengths",
       "<region>seq_length=2<region>seq_length=2 seq_position=2<region>seq_length=3 seq_position=2"
       "<region>seq_length=3 seq_position=3",
       {0, 2}},
  };
  SfzFolder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    folder.open(collection, std::string("<global>sample=a.wav ") + c.text);
    EXPECT_EQ(placesAtRest(collection), c.kept);
  }
}

TEST(SfzAtRest, NobodyTouchesControllersAndSwitches) {
  const struct {
    const char *name, *text;
    std::vector<int> kept;
  } cases[] = {
      {"the pedal is up", "<region>hicc64=63<region>locc64=64", {0}},
      {"the file sets it", "<control>set_cc64=127<region>hicc64=63<region>locc64=64", {1}},
      {"finely", "<control>set_hdcc20=0.5<region>hicc20=63<region>locc20=64", {1}},
      {"set in no control header",
       "<global>sample=a.wav set_cc64=127<region>hicc64=63<region>locc64=64",
       {0}},
      {"usual places", "<region>locc7=100 hicc7=100<region>locc10=64 hicc10=64<region>locc11=127", {0, 1, 2}},
      {"all must hold", "<region>hicc1=9 locc2=1<region>hicc1=9 hicc2=9", {1}},
      {"what notes bring themselves", "<region>locc131=64<region>locc133=60<region>locc128=60", {0, 1, 2}},
      {"random and alternating sources", "<region>locc135=64<region>hicc135=63<region>locc137=1", {1}},
      {"layers over the wheel",
       "<region>xfout_locc1=0 xfout_hicc1=64<region>xfin_locc1=0 xfin_hicc1=64 xfout_locc1=64 xfout_hicc1=127"
       "<region>xfin_locc1=64 xfin_hicc1=127",
       {0}},
      {"layers over a pedal that is set",
       "<control>set_cc4=127<region>xfout_locc4=0 xfout_hicc4=127<region>xfin_locc4=0 xfin_hicc4=127",
       {1}},
      {"half faded, and over velocity",
       "<control>set_cc4=60<region>xfin_locc4=0 xfin_hicc4=127<region>xfin_locc131=64 xfin_hicc131=90",
       {0, 1}},
      {"nothing but what the wheel brings in", "<region>xfin_locc1=0 xfin_hicc1=127", {0}},
      {"fades that are none", "<region>xfin_locc1=0 xfin_hicc1=0 xfout_locc1=127 xfout_hicc1=127", {0}},
      {"the given switch",
       "<global>sample=a.wav sw_lokey=24 sw_hikey=26 sw_default=25<region>sw_last=24<region>sw_last=25"
       "<region>sw_last=26<region>",
       {1, 3}},
      {"the lowest", "<group>sample=a.wav sw_lokey=c1 sw_hikey=d1<region>sw_last=d1<region>sw_last=c1", {1}},
      {"a switch for nothing", "<group>sample=a.wav sw_default=3<region>sw_last=6<region>sw_last=5", {1}},
      {"off on purpose", "<group>sample=a.wav sw_default=3<region>sw_last=3 end=-1<region>sw_last=4", {}},
      {"said for one group",
       "<group>sample=a.wav sw_last=2<region><group>sample=a.wav sw_last=3 sw_default=3<region>",
       {1}},
      {"ranges of switches",
       "<group>sample=a.wav sw_default=9<region>sw_lolast=8 sw_hilast=9<region>sw_last=7",
       {0}},
      {"two sets",
       "<group>sample=a.wav sw_lokey=1 sw_hikey=2 sw_default=2<region>sw_last=1<region>sw_last=2<group>"
       "sample=a.wav sw_lokey=3 sw_hikey=4<region>sw_last=3<region>sw_last=4",
       {1, 2}},
      {"ranges that overlap are one set",
       "<group>sample=a.wav sw_lokey=1 sw_hikey=2<region>sw_last=1<group>sample=a.wav sw_lokey=2 sw_hikey=3"
       "<region>sw_last=3",
       {0}},
      {"mute without the wheel", "<region>locc1=1<region>trigger=release<region>on_locc1=1 key=-1", {0}},
      {"keys held", "<region>sw_down=3<region>sw_up=3<region>sw_previous=60", {1}},
      {"a switch taken back", "<group>sample=a.wav sw_last=2<region><region>sw_last=-1", {0, 1}},
      {"rounds below a switch",
       "<global>sample=a.wav sw_default=1 seq_length=2<region>sw_last=0<region>sw_last=1 seq_position=2",
       {1}},
  };
  SfzFolder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    const bool givesSample = std::string_view(c.text).find("sample=") != std::string_view::npos;
    std::string text(c.text);
    if (!givesSample) text.insert(text.find("<region>"), "<global>sample=a.wav");
    folder.open(collection, text);
    EXPECT_EQ(placesAtRest(collection), c.kept);
  }
}

// Four samples for each note, of which one sounds; the others are not in the bank at all.
TEST(SfzAtRest, BanksKeepOneSampleANote) {
  SfzFolder folder;
  for (const char* name : {"b.wav", "c.wav", "d.wav"}) test::putWave(folder / name, 500);
  Collection pack;
  folder.open(pack,
              "<group>seq_length=2 hirand=0.5<region>sample=a.wav<region>sample=b.wav seq_position=2\n"
              "<group>seq_length=2 lorand=0.5<region>sample=c.wav<region>sample=d.wav seq_position=2\n"
              "<group>lokey=90 sw_last=2<region>sample=b.wav<region>trigger=release sample=d.wav");
  createWaveform(pack, u"spare");
  test::addSamples(*pack.all<Waveform>().back(), 100);
  createTrack(createSong(pack, u"song"), u"");
  for (const char16_t* description :
       {u"SoundFont v2 bank", u"Compressed SoundFont", u"DownLoadable Sounds level 1",
        u"DownLoadable Sounds level 2", u"RIFF-MIDI w DLS level 2 instruments"}) {
    const int row = io::findWritingRowByDescription(description);
    SCOPED_TRACE(toUtf8(description));
    if (!io::missingLibrary(*io::formatRow(row), true).empty()) continue;
    const io::SaveOptions options = io::saveOptionsFor(row, 0);
    std::vector<std::string> losses;
    for (const io::Loss& loss : io::lossesOfSaving(pack, row, options))
      losses.push_back(toUtf8(loss.feature));
    EXPECT_NE(std::ranges::find(losses, "Trigger: Rounds, random choice, controllers, one-shots"),
              losses.end());
    Collection bank;
    {
      const test::LogLines log;
      ASSERT_TRUE(io::saveItem(&pack, row, folder / "bank.bin", options)) << toUtf8(lastError());
      EXPECT_EQ(log.count("waits for its turn, a key switch"), 1u);
    }
    test::openPlain(bank, folder / "bank.bin");
    std::vector<std::pair<std::u16string, int>> played;
    for (const Region* region : bank.all<Region>()) {
      ASSERT_TRUE(region->waveform());
      played.emplace_back(region->waveform()->name(), region->keys.low);
    }
    EXPECT_EQ(played, (std::vector<std::pair<std::u16string, int>>{{u"a", 0}, {u"b", 90}}));
    std::vector<std::u16string> waves;
    for (const Waveform* waveform : bank.all<Waveform>()) waves.push_back(waveform->name());
    EXPECT_EQ(waves, (std::vector<std::u16string>{u"a", u"b", u"spare"}));
  }
}

TEST(SfzAtRest, ControllersWithoutASlotCountAsTheyAreAtTheStart) {
  constexpr Slot kSustain = envelopeSlot(slots::VEnv, Stage::Sustain);
  const struct {
    const char* opcodes;
    Slot slot;
    double value;
    std::size_t told = 1;
  } cases[] = {
      {"cutoff=100 cutoff_cc6=2400", slots::FilterCutoff, 400},
      {"cutoff_cc6=2400", slots::FilterType, 0},
      {"cutoff=100 cutoff_oncc20=2400", slots::FilterCutoff, 100},
      {"cutoff=100 cutoff_oncc6=99000", slots::FilterCutoff, 96000},
      {"cutoff=100 cutoff_oncc74=1200", slots::FilterCutoff, 100, 0},
      {"volume=-6 gain_cc6=4 volume_oncc22=1", slots::MasterVolume, -1, 2},
      {"amplitude_oncc20=100", slots::MasterVolume, -96},
      {"amplitude_oncc6=50", slots::MasterVolume, -6.0206},
      {"amplitude_oncc20=100 amplitude_curvecc20=2", slots::MasterVolume, 0, 2},
      {"volume_oncc6=6 volume_curvecc6=3", slots::MasterVolume, -6, 2},
      {"volume_oncc6=6 volume_curvecc6=9", slots::MasterVolume, 0},
      {"volume_oncc131=6", slots::MasterVolume, 0, 0},
      {"tune=10 pitch_oncc6=50", slots::MasterTuning, 0.6},
      {"pan_oncc6=-50", slots::Pan, -0.5},
      {"resonance_oncc10=12.7 cutoff=99", slots::FilterResonance, 6.4},
      {"ampeg_sustain_oncc6=-40", kSustain, 0.6},
      {"pitchlfo_depth=10 pitchlfo_freqcc6=4", slots::PLfoFrequency, 4},
  };
  SfzFolder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.opcodes);
    Collection collection;
    const test::LogLines log;
    folder.open(collection,
                std::string("<control>set_cc6=127 set_cc22=127<region>sample=a.wav ") + c.opcodes);
    EXPECT_NEAR(effective(test::onlyRegion(collection)).get(c.slot), c.value, 1e-4);
    EXPECT_EQ(log.count("counts with the controller"), c.told);
  }
}

TEST(SfzAtRest, ManyRegionsTakeLinearTime) {
  Collection collection;
  Layer& layer = createLayer(createInstrument(collection, u""), u"");
  const auto wave = serialOf(createWaveform(collection, u"").id());
  for (int i = 0; i < 100'000; ++i) {
    PlayRules rules;
    rules.sequenceLength = 50'000, rules.sequencePosition = static_cast<std::uint16_t>(1 + i % 50'000);
    rules.switches.last = {static_cast<std::uint8_t>(i % 2), 127};
    createRegion(layer, u"", {.waveform = wave}).rules = std::make_shared<const PlayRules>(rules);
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(regionsAtRest(*collection.all<Instrument>().at(0)).size(), 2u);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5);
}

}  // namespace
}  // namespace vemko
