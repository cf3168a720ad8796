#include <cmath>

#include "core/filter.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_opcodes.h"
#include "formats/sfz/sfz_text.h"
#include "sfz_support.h"

namespace vemko::sfz {
namespace {

using test::onlyRegion;
using test::SfzFolder;

TEST(SfzProbe, TellsDefinitionsFromOtherTexts) {
  struct Case {
    std::string_view text;
    int score;
  };
  using namespace std::string_view_literals;
  for (const Case& c : {Case{"// Piano\n/* by */ <region> sample=a.wav", 6}, Case{"<control>", 6},
                        Case{"#define $KEY 60\n<region> key=$KEY", 6}, Case{"#include \"regions.sfz\"", 2},
                        Case{"/* program */\n#include <stdio.h>\nint main() {}", 2}, Case{"lokey=1", 2},
                        Case{"// only words", 2}, Case{"only words", 0}, Case{"lokey=1\0"sv, 0}})
    EXPECT_EQ(probeSfz(asBytes(c.text), 0, c.text.size()), c.score) << c.text;
}

TEST(SfzRead, UnderstandsTheSyntax) {
  struct Case {
    const char *name, *text;
    std::vector<int> keys;  // lokey of each region
  };
  SfzFolder folder;
  test::putWave(folder / "a b.wav");
  for (const Case& c : {
           Case{"several on a line",
                "<region>sample=a.wav lokey=1 hikey=2 <region> sample=a.wav lokey=3",
                {1, 3}},
           Case{"a value with spaces", "<region>sample=a b.wav lokey=4", {4}},
           Case{"value up to a header", "<region>sample=a.wav<region>sample=a b.wav lokey=5", {0, 5}},
           Case{"comments",
                "// <region>\n/ lokey=9\n<region> lokey=6 // lokey=7\n/* lokey=8\n */ sample=a.wav",
                {6}},
           Case{"levels",
                "<global>lokey=1<master>lokey=2<group>lokey=3<region><group><region>lokey=4<global><region>",
                {3, 4, 0}},
           Case{"a group forgets its predecessor", "<group>lokey=9\n<region>\n<group>\n<region>", {9, 0}},
           Case{"key names",
                "<region>lokey=c4<region>lokey=C#4<region>lokey=db4<region>lokey=c-1<region>lokey=g9",
                {60, 61, 61, 0, 127}},
           Case{"offsets", "<control>note_offset=1 octave_offset=-1\n<region>lokey=c4", {49}},
           Case{"key sets all", "<region>key=62<group>key=10<region>lokey=5", {62, 5}},
           Case{"definitions, the longest first",
                "#define $K 3\n#define $KEY 4\n<region>lokey=$KEY<region>lokey=$K5",
                {4, 35}},
           Case{"definitions of definitions", "#define $A 1\n#define $B $A2\n<region> lo$C=7 lokey=$B", {12}},
           Case{"names by definition", "#define $N lokey\n<region>$N=8", {8}},
           Case{"line ends of all kinds", "<region>lokey=1\r\n<region>lokey=2\r<region>lokey=3\n", {1, 2, 3}},
           Case{"a mark of byte order", "\xEF\xBB\xBF<region>lokey=4", {4}},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    folder.open(collection, c.text);
    std::vector<int> keys;
    collection.forEach<Region>([&](const Region& region) { keys.push_back(region.keys.low); });
    EXPECT_EQ(keys, c.keys);
  }
}

TEST(SfzRead, DecodesText) {
  struct Case {
    const char* name;
    std::string bytes, text;
  };
  for (const Case& c : {Case{"ASCII", "a=b", "a=b"}, Case{"UTF-8", "\xC3\xA4", "\xC3\xA4"},
                        Case{"Windows-1252", "\xE4\x80", "\xC3\xA4\xE2\x82\xAC"},
                        Case{"UTF-16 low byte first", std::string("\xFF\xFE\x61\0\xE4\0", 6), "a\xC3\xA4"},
                        Case{"UTF-16 high byte first", std::string("\xFE\xFF\0\x61", 4), "a"}}) {
    std::string converted;
    EXPECT_EQ(textOfFile(asBytes(c.bytes), converted), c.text) << c.name;
  }
}

TEST(SfzRead, FollowsIncludesAndPaths) {
  SfzFolder folder;
  std::filesystem::create_directories(folder / "sub/deep");
  test::putWave(folder / "sub/b.wav");
  test::putFile(folder / "sub/part.sfz", "lokey=7 #include \"deep/more.sfz\"\nhikey=$HI");
  test::putFile(folder / "sub/deep/more.sfz", "#define $HI 9\nlovel=3");
  Collection collection;
  folder.open(collection,
              "<control>default_path=sub\\\n<region>\n#include \"sub/part.sfz\"\nsample=b.wav\n"
              "<control>\n<region>sample=a.wav\n<region>sample=SUB/B.WAV");
  const auto regions = collection.all<Region>();
  ASSERT_EQ(regions.size(), 3u);
  EXPECT_EQ(regions[0]->keys, (MidiRange{7, 9}));
  EXPECT_EQ(regions[0]->velocities.low, 3);
  for (const Region* region : regions) EXPECT_TRUE(region->waveform());
  EXPECT_EQ(regions[0]->waveform()->name(), u"b");
}

// Packs have files of one name in a folder for each microphone, and name them from the main file's folder.
TEST(SfzRead, IncludesNoNamesake) {
  SfzFolder folder;
  std::filesystem::create_directories(folder / "maps/close/soft");
  std::filesystem::create_directories(folder / "maps/far");
  test::putFile(folder / "maps/close.sfz", "<region>lokey=1\n#include \"maps/close/snare.sfz\"");
  test::putFile(folder / "maps/far.sfz", "<region>lokey=2\n#include \"Maps\\Far\\Snare.sfz\"");
  test::putFile(folder / "maps/close/snare.sfz", "hikey=11\n#include \"maps/close/soft/snare.sfz\"");
  test::putFile(folder / "maps/close/soft/snare.sfz", "hivel=100");
  test::putFile(folder / "maps/far/snare.sfz", "hikey=12\n#include \"maps/gone/far.sfz\"");
  Collection collection;
  folder.open(collection, "#include \"maps/close.sfz\"\n#include \"maps/far.sfz\"");
  const auto regions = collection.all<Region>();
  ASSERT_EQ(regions.size(), 2u);
  EXPECT_EQ(regions[0]->keys, (MidiRange{1, 11}));
  EXPECT_EQ(regions[0]->velocities.high, 100);
  EXPECT_EQ(regions[1]->keys, (MidiRange{2, 12}));
}

TEST(SfzRead, IncludesOnlyDefinitionsFromOutside) {
  SfzFolder folder;
  std::filesystem::create_directories(folder / "programs");
  std::filesystem::create_directories(folder / "data");
  struct Case {
    const char* name;
    const char* text;
    bool isIncluded;
  };
  for (const Case& c :
       {Case{"definitions", "// keys\n#define $KEY 7\nlokey=$KEY", true},
        Case{"opcodes", "lokey=7 hikey=9", true}, Case{"other text", "root:x:0:0:\nlokey=7", false},
        Case{"a letter", "Dear all,\nlokey=7", false}}) {
    SCOPED_TRACE(c.name);
    test::putFile(folder / "data/part.txt", c.text);
    Collection collection;
    test::LogLines log;
    folder.open(collection, "<region>\n#include \"../data/part.txt\"", "programs/x.sfz");
    EXPECT_EQ(test::onlyRegion(collection).keys.low, c.isIncluded ? 7 : 0);
    EXPECT_EQ(log.count("Not included"), c.isIncluded ? 0u : 1u);
  }
}

TEST(SfzRead, NamesTheTreeAfterFileAndTitles) {
  SfzFolder folder;
  Collection collection;
  folder.open(
      collection,
      "/// Strings\n<group>group_label=Low\n<region>sample=a.wav\n\n/// not a title\n\n<group>\n<region>\n"
      "<master>group_label=Bass\n<group>key=1\n<region>region_label=Pluck sample=a.wav",
      "Viola.sfz");
  EXPECT_EQ(collection.name(), u"Viola");
  EXPECT_EQ(collection.all<Instrument>().at(0)->name(), u"Viola");
  const auto layers = collection.all<Layer>();
  ASSERT_EQ(layers.size(), 3u);
  EXPECT_EQ(layers[0]->name(), u"Strings");
  EXPECT_EQ(layers[1]->name(), u"New layer");
  EXPECT_EQ(layers[2]->name(), u"Bass");
  const auto regions = collection.all<Region>();
  EXPECT_EQ(regions.at(0)->name(), u"a");
  EXPECT_EQ(regions.at(2)->name(), u"Pluck");
}

// Every row that leads to one slot does so, whatever other spelling it is given.
TEST(SfzRead, LeadsDirectRowsToTheirSlots) {
  SfzFolder folder;
  for (const OpcodeRow& row : opcodeRows()) {
    if (row.field != Field::Direct) continue;
    const double number = row.minimum + (row.maximum - row.minimum) * 0.375;
    for (bool version2 : {false, true}) {
      const std::string name = spelledName(row.name, version2);
      SCOPED_TRACE(name);
      Collection collection;
      // The filter and the carriers take their values only where they are in use.
      folder.open(collection, "<region>sample=a.wav cutoff=500 " + name + "=" + std::to_string(number));
      EXPECT_FLOAT_EQ(effective(onlyRegion(collection)).get(row.slot),
                      static_cast<float>(std::stod(std::to_string(number)) * row.factor));
    }
  }
}

TEST(SfzRead, PutsArticulationTogether) {
  constexpr Slot kAttack = envelopeSlot(slots::VEnv, Stage::Attack2Time),
                 kDecay = envelopeSlot(slots::VEnv, Stage::Decay2Time),
                 kRelease = envelopeSlot(slots::VEnv, Stage::Release1Rate);
  struct Case {
    const char* opcodes;
    Slot slot;
    double value;
  };
  const auto semitones = [](double count) { return std::exp2(count / 12); };
  SfzFolder folder;
  for (const Case& c : std::initializer_list<Case>{
           {"transpose=-2 tune=50", slots::MasterTuning, -1.5},
           {"pitch=25", slots::MasterTuning, 0.25},
           {"tune_cc135=100", slots::RandomToPitch, 0.5},
           {"volume=-6 group_volume=2 amplitude=50", slots::MasterVolume, -4 + 20 * std::log10(0.5)},
           {"amp_keytrack=2 amp_keycenter=72", slots::MasterVolume, -24},
           {"amp_keytrack=2", slots::KeyToVolume, 24},
           {"volume_keytrack=2 gain_keycenter=72", slots::MasterVolume, -24},
           {"volume_veltrack=50", slots::VelocityResponse, 0.5},
           {"volume_random=6", slots::RandomToVolume, 6},
           {"pan=10 pan_keytrack=1 pan_keycenter=50", slots::Pan, 0.2},
           {"resonance=6", slots::FilterResonance, 0},  // no filter without a cutoff
           {"cutoff=1000", slots::FilterType, 2},
           {"cutoff=1000 fil_type=bpf_2p", slots::FilterType, 11},
           {"cutoff=1000 fil_type=brf_1p", slots::FilterType, 12},
           {"cutoff=1000 fil_type=hsh resonance=6", slots::FilterType, 0},
           {"cutoff=1000 fil_type=hsh resonance=6", slots::FilterResonance, 0},
           {"cutoff=1000 fil_veltrack=2400", slots::VelocityToCutoff, 12},
           {"cutoff=1000 fil_veltrack=2400", slots::FilterCutoff, 1000 * semitones(12)},
           {"cutoff=1000 fil_keytrack=100 fil_keycenter=48", slots::FilterCutoff, 1000 * semitones(12)},
           {"cutoff=1000 fil_keytrack=100", slots::KeyToCutoff, 12},
           {"cutoff=a4", slots::FilterCutoff, 440},
           {"cutoff=500 fileg_depth=1200 fileg_vel2depth=-1200", slots::FEnvToCutoff, 6},
           {"cutoff=500 fileg_depth=1200 fileg_vel2depth=-1200", slots::FEnvToCutoff + 1, -6},
           {"ampeg_attack=1 ampeg_vel2attack=2", kAttack, 2},
           {"ampeg_attack=1 ampeg_vel2attack=2", kAttack + 1, 50},
           {"ampeg_attack=2 ampeg_attackcc73=1", kAttack + 3, 50},
           {"ampeg_attack=0.5 ampeg_attackcc73=5", kAttack + 3, 1000},
           {"ampeg_attack=2 ampeg_attackcc73=-5", kAttack + 3, -100},
           {"ampeg_attackcc73=5", kAttack, 0.001},
           {"ampeg_attackcc73=5", kAttack + 3, 500000},
           {"ampeg_attack=1 ampeg_attack_oncc133=1", kAttack, semitones(12 * 60 / 127.0)},
           {"lokey=48 hikey=72 ampeg_attack=2.27 ampeg_attack_oncc133=-2.54", kAttack,
            std::sqrt(1.31 * 0.83)},
           {"lokey=48 hikey=72 ampeg_attack=2.27 ampeg_attack_oncc133=-2.54", kAttack + 2,
            std::sqrt(0.83 / 1.31)},
           {"key=60 ampeg_attack=2.27 ampeg_attack_oncc133=-2.54", kAttack, 1.07},
           {"ampeg_decay=2 ampeg_sustain=60", kDecay, 2},
           {"ampeg_decay=2 ampeg_sustain=60 ampeg_decay_zero=1", kDecay, 2},
           {"ampeg_decay=2 ampeg_sustain=60 ampeg_decay_zero=0", kDecay, 5},
           {"ampeg_decay=2 ampeg_vel2decay=2 ampeg_sustain=60 ampeg_decay_zero=0", kDecay, 7.5},
           {"ampeg_decay=2 ampeg_decay_zero=0", kDecay, 2},  // no way at all to fall
           {"ampeg_release=2 ampeg_sustain=40", kRelease, 2},
           {"ampeg_release=2 ampeg_sustain=40 ampeg_release_zero=0", kRelease, 5},
           {"ampeg_release=2 ampeg_sustain=0 ampeg_release_zero=0", kRelease, 2},
           {"ampeg_start=30", envelopeSlot(slots::VEnv, Stage::Attack1Level), 0.3},
           {"pitchlfo_depth=50", slots::PLfoFrequency, 0.01},  // stands still
           {"lfo01_pitch=100 lfo01_wave=3 lfo01_freq=4", slots::PLfoToPitch, 1},
           {"lfo01_pitch=100 lfo01_wave=3 lfo01_freq=4", slots::PLfoShape, 3},
           {"lfo01_pitch=100 lfo01_freq=4", slots::PLfoShape, 0},  // the sine comes first here
           {"lfo07_volume_oncc1=6 lfo07_freq=3", slots::VLfoToVolume + 1, 6},
           {"lfo1_pitch=100 lfo2_pitch=200 lfo2_freq=7", slots::XLfoToPitch, 2},
           {"eg01_points=3 eg01_sustain=1 eg01_level1=0.5 eg01_time1=2 eg01_time2=3 eg01_ampeg=100",
            envelopeSlot(slots::VEnv, Stage::Sustain), 0.5},
           {"eg01_points=3 eg01_sustain=1 eg01_level1=0.5 eg01_time1=2 eg01_time2=3 eg01_ampeg=100",
            envelopeSlot(slots::VEnv, Stage::Release1Rate), 6},  // time = rate x difference of levels
           {"eq2_gain=6", 47, 500},
           {"eq2_gain=6 eq2_bw=1", 49, std::sqrt(2.0)},
           {"effect1=20", slots::Send1, 0.2},
           {"effect2=30", 64, 0.3},
       }) {
    SCOPED_TRACE(c.opcodes);
    Collection collection;
    folder.open(collection, std::string("<region>sample=a.wav ") + c.opcodes);
    EXPECT_NEAR(effective(onlyRegion(collection)).get(c.slot), c.value, std::abs(c.value) * 1e-6 + 1e-7);
  }
}

TEST(SfzRead, KeepsWhenAndHowARegionPlays) {
  SfzFolder folder;
  Collection collection;
  folder.open(
      collection,
      "<region>sample=a.wav seq_length=4 seq_position=2 lorand=0.25 hirand=0.5 group=300 offby=2 "
      "off_mode=normal\n"
      "locc64=10 hicc64=100 on_locc20=1 on_hicc20=2 loop_mode=one_shot xf_velcurve=gain trigger=first\n"
      "xfin_lokey=c3 xfin_hikey=c4 xfout_lovel=100 delay=0.5 offset=10 end=99\n"
      "<region>sample=a.wav group=7 off_by=7 key=-1 trigger=release_key "
      "delay_samples=44100\n<region>sample=a.wav\n"
      "<region>sample=a.wav group=-80602 off_by=80602\n<region>sample=a.wav group=80602 off_by=-80602");
  const auto regions = collection.all<Region>();
  ASSERT_EQ(regions.size(), 5u);
  PlayRules rules;
  rules.sequenceLength = 4, rules.sequencePosition = 2, rules.randomLow = 0.25f, rules.randomHigh = 0.5f;
  rules.group = 300, rules.stoppedBy = 2, rules.stopsNaturally = true, rules.playsToEnd = true;
  rules.velocityFade = FadeCurve::Gain;
  rules.controllers = {{64, 10, 100}};
  rules.starts = {{20, 1, 2}};
  EXPECT_EQ(rulesOf(*regions[0]), rules);
  EXPECT_EQ(regions[0]->trigger, Trigger::First);
  EXPECT_EQ(regions[0]->fadeInKeys, (MidiRange{48, 60}));
  EXPECT_EQ(regions[0]->fadeOutVelocities, (MidiRange{100, 127}));
  EXPECT_EQ(regions[0]->section, (PlaySection{10, 100}));
  EXPECT_FLOAT_EQ(regions[0]->delaySeconds, 0.5f);
  EXPECT_EQ(regions[1]->exclusiveGroup, 7);
  EXPECT_TRUE(rulesOf(*regions[1]).ignoresKeys);
  EXPECT_EQ(regions[1]->trigger, Trigger::Release);
  EXPECT_FLOAT_EQ(regions[1]->delaySeconds, 1);
  EXPECT_FALSE(regions[2]->rules);
  EXPECT_EQ(rulesOf(*regions[3]).group, rulesOf(*regions[4]).stoppedBy);
  EXPECT_EQ(rulesOf(*regions[4]).group, rulesOf(*regions[3]).stoppedBy);
  EXPECT_NE(rulesOf(*regions[3]).group, 0u);
}

TEST(SfzRead, TakesLoopsFromFilesAndRegions) {
  struct Case {
    const char *file, *opcodes;
    LoopPlay play;
    LoopCount count = LoopCount::Infinite;
    std::uint32_t start = 0, end = 0;
  };
  using enum LoopPlay;
  constexpr auto kUntilRelease = LoopCount::UntilRelease;
  constexpr auto kInfinite = LoopCount::Infinite;
  SfzFolder folder;
  test::putWave(folder / "looped.wav", 1000, [](Waveform& waveform) {
    waveform.addLoop({Alternating, LoopCount::Infinite, 100, 200, 0}, u"", true, false);
  });
  for (const Case& c : {
           Case{"a.wav", "", Off},
           Case{"a.wav", "loop_mode=loop_continuous", Forward, kInfinite, 0, 1000},
           Case{"a.wav", "loopmode=loop_sustain loopstart=5 loopend=9", Forward, kUntilRelease, 5, 10},
           Case{"a.wav", "loop_start=5 loop_end=9", Off},
           Case{"a.wav", "loop_mode=loop_continuous loop_type=backward", Reverse, kInfinite, 0, 1000},
           Case{"a.wav", "loop_mode=loop_continuous loop_start=990 loop_end=5000", Forward, kInfinite, 990,
                1000},
           Case{"a.wav", "loop_mode=loop_continuous loop_start=500 loop_end=400", Off},
           Case{"looped.wav", "", Alternating, kInfinite, 100, 200},
           Case{"looped.wav", "loop_mode=no_loop", Off},
           Case{"looped.wav", "loop_mode=one_shot", Off},
           Case{"looped.wav", "loop_start=150", Alternating, kInfinite, 150, 200},
       }) {
    SCOPED_TRACE(c.opcodes);
    Collection collection;
    folder.open(collection, std::string("<region>sample=") + c.file + " " + c.opcodes);
    const LoopRecord* loop = onlyRegion(collection).waveform()->mainLoop();
    EXPECT_EQ(loop ? loop->play : Off, c.play);
    if (!loop || c.play == Off) continue;
    EXPECT_EQ(loop->count, c.count);
    EXPECT_EQ(loop->start, c.start);
    EXPECT_EQ(loop->end, c.end);
  }
}

TEST(SfzRead, GivesRegionsThatLoopOtherwiseTheirOwnWaveform) {
  SfzFolder folder;
  Collection collection;
  folder.open(collection,
              "<group>sample=a.wav loop_start=5 loop_end=9\n<region>\n<region>loop_mode=loop_continuous\n"
              "<region>loop_mode=loop_continuous\n<region>loop_mode=loop_sustain");
  const auto regions = collection.all<Region>();
  EXPECT_EQ(collection.count(ItemKind::Waveform), 3u);
  EXPECT_EQ(regions[1]->waveformId, regions[2]->waveformId);
  EXPECT_NE(regions[0]->waveformId, regions[1]->waveformId);
  EXPECT_EQ(regions[0]->waveform()->source, regions[3]->waveform()->source);
}

// As the published format has it, a sample file's root key counts only where that is asked for.
TEST(SfzRead, TakesTheRootKeyOfTheFileOnRequest) {
  SfzFolder folder;
  test::putWave(folder / "g.wav", 100, [](Waveform& waveform) {
    waveform.rootKey = 67;
    waveform.fineTuneCents = -20;
    waveform.volumeAdjustmentDb = -6;
  });
  struct Case {
    const char* opcodes;
    int root;
    float tuning;  // semitones, the file's own included
  };
  for (const Case& c : {Case{"", 60, 0}, Case{"pitch_keycenter=50 tune=10", 50, 0.1f},
                        Case{"pitch_keycenter=sample tune=10", 67, -0.1f}}) {
    SCOPED_TRACE(c.opcodes);
    Collection collection;
    folder.open(collection, std::string("<region>sample=g.wav ") + c.opcodes);
    const Region& region = onlyRegion(collection);
    const ArticulationBlock block = effective(region);
    EXPECT_EQ(effectiveRootKey(region), c.root);
    EXPECT_NEAR(block.get(slots::MasterTuning) + 0.01f * region.waveform()->fineTuneCents, c.tuning, 1e-6);
    EXPECT_NEAR(block.get(slots::MasterVolume) + region.waveform()->volumeAdjustmentDb, 0, 1e-6);
  }
}

TEST(SfzRead, MakesTheSoundsOfGenerators) {
  SfzFolder folder;
  for (const char* name : {"sine", "saw", "square", "triangle", "tri", "noise", "silence"}) {
    SCOPED_TRACE(name);
    Collection collection;
    folder.open(collection, std::string("<control>default_path=x/\n<region>sample=*") + name);
    const Waveform* waveform = onlyRegion(collection).waveform();
    ASSERT_TRUE(waveform && waveform->buffer && waveform->mainLoop());
    float peak = 0;
    for (float each : waveform->buffer->samples()) peak = std::max(peak, std::abs(each));
    EXPECT_LE(peak, 0.65f);
    EXPECT_EQ(peak > 0.4f, std::string_view(name) != "silence");
  }
}

TEST(SfzRead, TellsWhatTheModelHasNoPlaceFor) {
  SfzFolder folder;
  test::LogLines log;
  Collection collection;
  folder.open(collection,
              "<region>bend_up=1200 bend_down=-700\n<region>bend_up=700\n"
              "<region>bend_up=100 bend_down=-100\n<region>eg01_volume=6\n");
  for (const char* line : {"bends down by another interval than up bends as far as up (2 times)",
                           "eg01_volume has no place here"})
    EXPECT_EQ(log.count(line), 1u) << line;
}

TEST(SfzRead, TellsWhatItCouldNotUse) {
  SfzFolder folder;
  test::LogLines log;
  Collection collection;
  folder.open(
      collection,
      "lokey=1\n<region>sample=a.wav warmth=3\n<region>sample=gone.wav warmth=4 lokey=zz#9 hikey=999999\n"
      "<region>sample=gone.wav volume=nan tune=1e309\n<region>sample=moved/A.WAV\n<effect>type=reverb");
  EXPECT_EQ(collection.count(ItemKind::Region), 4u);
  EXPECT_EQ(collection.count(ItemKind::Waveform), 2u);
  for (const char* line :
       {"x.sfz, line 1: lokey stands before any header", "x.sfz, line 2: warmth has no place here (2 times)",
        "x.sfz, line 3: lokey has a value that makes no sense",
        "x.sfz, line 3: hikey has a value beyond its bounds", "Couldn't openwave: gone.wav",
        "line 4: volume has a value that makes no sense", "line 4: tune has a value that makes no sense",
        "<effect> is not used", "Not where it is said to be: moved/A.WAV"})
    EXPECT_EQ(log.count(line), 1u) << line;
}

}  // namespace
}  // namespace vemko::sfz
