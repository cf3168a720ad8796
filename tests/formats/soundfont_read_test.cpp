// Structure: presets, zones, samples, loops, texts.
#include "core/parameters.h"
#include "formats/soundfont_support.h"
#include "io/decisions.h"
#include "io/detect.h"
#include "io/registry.h"

namespace vemko::test {
namespace {

std::string textOf(const Region& region) {
  const Waveform* waveform = region.waveform();
  return formatted("%s %d-%d %d-%d", waveform ? toUtf8(waveform->name()).c_str() : "-", region.keys.low,
                   region.keys.high, region.velocities.low, region.velocities.high);
}

std::vector<std::string> textsOf(const std::vector<Region*>& regions) {
  std::vector<std::string> texts;
  for (const Region* region : regions) texts.push_back(textOf(*region));
  return texts;
}
using Texts = std::vector<std::string>;

TEST(SoundFontReader, MakesARegionOfEachPairOfZones) {
  Bank bank;
  bank.samples = {{"A"}, {"B"}};
  bank.instruments = {
      {"Low",
       {{{range(gen::KeyRange, 0, 59)}, {}},  // global
        {{amount(gen::Sample, 0)}, {}},
        {{range(gen::KeyRange, 50, 127), amount(gen::Sample, 1)}, {}},
        {{amount(gen::Pan, 100)}, {}}}},  // no sample: ignored
      {"High", {{{range(gen::VelocityRange, 64, 127), amount(gen::Sample, 1), amount(gen::Pan, 100)}, {}}}},
  };
  bank.presets = {
      {"Both",
       5,
       3,
       {{{range(gen::KeyRange, 40, 70)}, {}},
        {{amount(gen::Instrument, 0)}, {}},
        {{range(gen::KeyRange, 0, 100), amount(gen::Instrument, 1)}, {}}}},
      {"Nothing left", 6, 128, {{{range(gen::VelocityRange, 0, 63), amount(gen::Instrument, 1)}, {}}}},
  };
  LogCatcher log;
  ReadBank read(bank);
  ASSERT_TRUE(read.ok) << toUtf8(lastError());
  const auto instruments = read.collection.all<Instrument>();
  ASSERT_EQ(instruments.size(), 2u);
  EXPECT_EQ(toUtf8(instruments[0]->name()), "Both");
  EXPECT_EQ(instruments[0]->patch.word, Patch::of(3, 0, 5).word);
  EXPECT_EQ(instruments[1]->patch.word, Patch::of(0, 0, 6, true).word);
  ASSERT_EQ(instruments[0]->children.size(), 2u);
  EXPECT_EQ(toUtf8(read.collection.find<Layer>(instruments[0]->children[1])->name()), "High");
  EXPECT_EQ(textsOf(regionsOf(*instruments[0])), (Texts{"A 40-59 0-127", "B 50-70 0-127", "B 0-100 64-127"}));
  EXPECT_TRUE(instruments[1]->children.empty());
  EXPECT_EQ(regionsOf(*instruments[0])[2]->articulation.get(slots::Pan), 0) << "behind the end of its zone";
  EXPECT_TRUE(log.contains("A zone without instrument or sample is ignored"));
}

TEST(SoundFontReader, TakesRegionFields) {
  ReadBank read(
      simpleBank({amount(gen::RootKey, 72), amount(gen::ExclusiveClass, 4), amount(gen::FixedKey, 40),
                  amount(gen::FixedVelocity, 100), amount(gen::StartOffset, 5), amount(gen::EndOffset, -20)},
                 {}, {amount(gen::RootKey, 1), amount(gen::StartOffset, 50)}));
  ASSERT_TRUE(read.ok);
  const Region& region = read.region();
  EXPECT_EQ(region.rootKey, 72);
  EXPECT_EQ(region.exclusiveGroup, 4);
  EXPECT_EQ(region.fixedKey, 40);
  EXPECT_EQ(region.fixedVelocity, 100);
  EXPECT_EQ(region.section, (PlaySection{5, 80}));
}

TEST(SoundFontReader, MakesAWaveformOfEachWayToLoop) {
  struct Case {
    const char* name;
    std::vector<std::vector<Generator>> zones;
    Texts expected;  // main loop of each waveform
    bool isDamaged = false;
  };
  const Generator on = amount(gen::SampleModes, 1), release = amount(gen::SampleModes, 3);
  // clang-format off
  const Case cases[] = {
    {"unused sample",    {},                                              {"Forward Infinite 10-90"}},
    {"not looped",       {{}},                                            {"Off Infinite 10-90"}},
    {"looped",           {{on}},                                          {"Forward Infinite 10-90"}},
    {"until release",    {{release}},                                     {"Forward Until Release 10-90"}},
    {"reserved mode",    {{amount(gen::SampleModes, 2)}},                 {"Off Infinite 10-90"}},
    {"most used first",  {{}, {on}, {on}},                                {"Forward Infinite 10-90", "Off Infinite 10-90"}},
    {"moved",            {{on, amount(gen::LoopStartOffset, -5)}, {on, amount(gen::LoopEndOffset, 2)}},
                         {"Forward Infinite 5-90", "Forward Infinite 10-92"}},
    {"coarse and fine",  {{on, amount(gen::LoopStartCoarseOffset, 1), amount(gen::LoopStartOffset, -32748)}}, {"Forward Infinite 30-90"}},
    {"moved but off",    {{amount(gen::LoopStartOffset, 20)}},            {"Off Infinite 10-90"}},
    {"end outside",      {{on, amount(gen::LoopEndOffset, 30)}},          {"Forward Infinite 10-100"}, true},
    {"start outside",    {{on, amount(gen::LoopStartOffset, -30)}},       {"none"}, true},
    {"backwards",        {{on, amount(gen::LoopStartOffset, 81)}},        {"none"}, true},
    {"nothing between",  {{on, amount(gen::LoopStartOffset, 80)}},        {"none"}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    bank.instruments[0].zones.clear();
    for (std::vector<Generator> zone : c.zones) {
      zone.push_back(amount(gen::Sample, 0));
      bank.instruments[0].zones.push_back({zone, {}});
    }
    const LogCatcher log;
    ReadBank read(bank);
    ASSERT_TRUE(read.ok) << toUtf8(lastError());
    EXPECT_EQ(log.contains("A loop lies outside of its sample"), c.isDamaged);
    Texts loops;
    for (const Waveform* waveform : read.collection.all<Waveform>()) {
      const LoopRecord* loop = waveform->mainLoop();
      loops.push_back(!loop ? "none"
                            : toUtf8(displayWord(loop->play)) + " " + toUtf8(displayWord(loop->count)) +
                                  formatted(" %u-%u", loop->start, loop->end));
      EXPECT_EQ(waveform->source, read.collection.all<Waveform>()[0]->source);
    }
    EXPECT_EQ(loops, c.expected);
  }
}

TEST(SoundFontReader, TakesNamesInEitherEncoding) {
  struct Case {
    const char* name;
    std::string bytes;
    std::u16string_view expected;
  };
  const Case cases[] = {
      {"short", "Fl\xC3\xB6te", u"Fl\u00F6te"},
      {"short, Windows-1252", "Fl\xF6te", u"Fl\u00F6te"},
      {"whole", "Fl\xC3\xB6te, sehr gesch\xC3\xB6n", u"Fl\u00F6te, sehr gesch\u00F6"},
      {"cut off", "Fl\xC3\xB6te, sehr sanft \xC3\xA4", u"Fl\u00F6te, sehr sanft"},
      {"two of three bytes cut off",
       "\xE3\x83\x94\xE3\x82\xA2\xE3\x83\x8E\xE3\x83\x94\xE3\x82\xA2\xE3\x83\x8E\xE3\x83",
       u"\u30D4\u30A2\u30CE\u30D4\u30A2\u30CE"},
      {"Windows-1252 at the end", "Harpsichord and caf\xE9", u"Harpsichord and caf\u00E9"},
      {"Windows-1252 all over", "Fl\xF6te und viel  Caf\xE9", u"Fl\u00F6te und viel  Caf\u00E9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    soundfont::Name name{};
    std::copy_n(c.bytes.begin(), std::min(c.bytes.size(), name.size()), name.begin());
    EXPECT_EQ(toUtf8(soundfont::textOf(name)), toUtf8(c.expected));
  }
}

TEST(SoundFontReader, MendsSampleHeaders) {
  struct Case {
    const char* name;
    void (*change)(BankSample&);
    std::uint32_t rate;
    int rootKey;
    int fineTune;
  };
  const Case cases[] = {
      {"plain", [](BankSample& s) { s.correction = -7; }, 32000, 60, -7},
      {"rate 0", [](BankSample& s) { s.rate = 0; }, 44100, 60, 0},
      {"unpitched", [](BankSample& s) { s.key = 255; }, 32000, 60, 0},
      {"last key", [](BankSample& s) { s.key = 127; }, 32000, 127, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    c.change(bank.samples[0]);
    ReadBank read(bank);
    ASSERT_TRUE(read.ok);
    const Waveform& waveform = *read.region().waveform();
    EXPECT_EQ(waveform.rate, c.rate);
    EXPECT_EQ(waveform.rootKey, c.rootKey);
    EXPECT_EQ(waveform.fineTuneCents, c.fineTune);
    EXPECT_EQ(waveform.frames, 100u);
  }
}

TEST(SoundFontReader, LinksSides) {
  struct Case {
    const char* name;
    BankSample first, second;
    bool arePaired;
    const char* logged;
  };
  const auto sample = [](const char* name, std::uint16_t type, std::uint16_t link,
                         std::uint32_t loopEnd = 90) {
    BankSample made{name};
    made.type = type;
    made.link = link;
    made.loopEnd = loopEnd;
    return made;
  };
  constexpr const char* kByName = "are paired by their names";
  constexpr const char* kAlone = "A stereo sample has no other side";
  const Case cases[] = {
      {"linked", sample("A", 4, 2), sample("B", 2, 1), true, ""},
      {"linked, looping differently", sample("A", 4, 2), sample("B", 2, 1, 80), true, ""},
      {"right one first", sample("A", 2, 2), sample("B", 4, 1), true, ""},
      {"links lost", sample("Pad(L)", 4, 0), sample("Pad(R)", 2, 0), true, kByName},
      {"links lost, right one first", sample("pad_r", 2, 0), sample("pad_l", 4, 0), true, kByName},
      {"links lost, other names", sample("Pad(L)", 4, 0), sample("Bad(R)", 2, 0), false, kAlone},
      {"one link", sample("A", 4, 2), sample("B", 2, 0), false, kAlone},
      {"mono", sample("Pad(L)", 1, 2), sample("Pad(R)", 1, 1), false, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    bank.samples = {{"Other"}, c.first, c.second};
    LogCatcher log;
    ReadBank read(bank);
    ASSERT_TRUE(read.ok);
    const auto waveforms = read.collection.all<Waveform>();
    EXPECT_EQ(waveforms[1]->pairedWith, c.arePaired ? waveforms[2]->id() : kNoItem);
    EXPECT_EQ(waveforms[2]->pairedWith, c.arePaired ? waveforms[1]->id() : kNoItem);
    EXPECT_EQ(waveforms[1]->side == StereoSide::Left, c.arePaired && c.first.type == 4);
    EXPECT_TRUE(*c.logged == 0 ? log.lines.empty() : log.contains(c.logged));
  }
}

TEST(SoundFontReader, ReadsTextsInEitherEncoding) {
  Bank bank = simpleBank();
  bank.info = {{"INAM", "Gro\xDF"},
               {"IENG", "Zo\xC3\xAB"},
               {"IPRD", "Card"},
               {"ICOP", "(c)"},
               {"ICMT", "Line\r\nline"}};
  bank.presets[0].name = "Twenty characters...";
  ReadBank read(bank);
  ASSERT_TRUE(read.ok);
  const Collection& collection = read.collection;
  EXPECT_EQ(collection.name(), u"Gro\u00DF");
  EXPECT_EQ(collection.text(TextProperty::Engineer), u"Zo\u00EB");
  EXPECT_EQ(collection.text(TextProperty::Product), u"Card");
  EXPECT_EQ(collection.text(TextProperty::Copyright), u"(c)");
  EXPECT_EQ(collection.text(TextProperty::Comments), u"Line\r\nline");
  EXPECT_EQ(collection.all<Instrument>()[0]->name(), u"Twenty characters...");
}

TEST(SoundFontReader, RecognisesItsOwnWriter) {
  struct Case {
    const char* software;
    bool isOurs;
  };
  for (const Case& c :
       {Case{"Vemko Studio v12.13", true}, Case{"Vemko Studio v9", false}, Case{"Other v12.13 ...", false}}) {
    SCOPED_TRACE(c.software);
    Bank bank = simpleBank();
    bank.info.push_back({"ISFT", c.software});
    LogCatcher log;
    ReadBank read(bank);
    EXPECT_EQ(log.contains("Written by Vemko Studio 12.13"), c.isOurs);
  }
}

TEST(SoundFontReader, Joins24Bits) {
  struct Case {
    const char* name;
    std::uint16_t minor;
    std::size_t lowBytes;
    float expected;
  };
  constexpr float kHigh = 1000 / 32768.0f, kBoth = (1000 * 256 + 128) / 8388608.0f;
  const Case cases[] = {{"complete", 4, 146, kBoth},
                        {"odd", 4, 147, kBoth},
                        {"short", 4, 145, kHigh},
                        {"old version", 1, 146, kHigh}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    bank.minor = c.minor;
    bank.lowBytes.assign(c.lowBytes, 128);
    ReadBank read(bank);
    ASSERT_TRUE(read.ok);
    const auto stream = openSamples(*read.region().waveform(), 98);
    ASSERT_TRUE(stream) << toUtf8(lastError());
    float samples[4] = {};
    EXPECT_EQ(stream->read(samples), 2u);
    EXPECT_EQ(samples[0], c.expected);
    EXPECT_EQ(samples[1], c.expected);
  }
}

TEST(SoundFontReader, AsksAboutRomOnce) {
  Bank rom = simpleBank();
  rom.samples = {{"Filler"}, {"Piano"}};
  rom.samples[1].points.assign(200, 2000);
  TempFolder folder;
  putFile(folder / "1mgm.sf2", bytesOf(rom));
  putFile(folder / "broken.sf2", "RIFF");
  Bank bank = simpleBank();
  bank.instruments[0].zones.push_back({{amount(gen::Sample, 1)}, {}});
  bank.instruments[0].zones.push_back({{amount(gen::Sample, 2)}, {}});
  bank.samples = {{"Own"}, {"piano"}, {"Elsewhere"}};
  for (std::size_t i : {1u, 2u}) bank.samples[i].type = 0x8001;

  struct Case {
    const char* name;
    std::size_t answer;
    const char* file;
    Texts regions;
    const char* logged;
  };
  const Case cases[] = {
      {"skip", 1, nullptr, {"Own 0-127 0-127"}, "A ROM sample is skipped (2 times)"},
      {"use", 0, "1mgm.sf2", {"Own 0-127 0-127", "piano 0-127 0-127", "Elsewhere 0-127 0-127"}, ""},
      {"use, not found", 0, nullptr, {"Own 0-127 0-127"}, "A ROM sample is skipped (2 times)"},
      {"use, invalid", 0, "broken.sf2", {"Own 0-127 0-127"}, "Invalid 1mgm.sf2 - skipping ROM"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int questions = 0;
    io::Decisions decisions;
    decisions.ask = [&](std::u16string_view question, std::span<const std::u16string_view> buttons) {
      ++questions;
      EXPECT_TRUE(question.starts_with(u"This SoundFont references ROM waveforms.\n\nWould you like"));
      EXPECT_EQ(buttons.size(), 2u);
      return c.answer;
    };
    decisions.locateFile = [&](std::u16string_view title, std::u16string_view) -> std::optional<Path> {
      EXPECT_EQ(title, u"Please locate 1mgm.sf2");
      if (!c.file) return std::nullopt;
      return folder / c.file;
    };
    const io::Decisions before = io::setDecisions(decisions);
    LogCatcher log;
    ReadBank read(bank);
    io::setDecisions(before);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(textsOf(read.regions()), c.regions);
    EXPECT_TRUE(*c.logged == 0 || log.contains(c.logged));
    if (c.regions.size() == 3) {
      EXPECT_EQ(read.regions()[1]->waveform()->frames, 200u) << "found by its name";
      EXPECT_EQ(read.regions()[2]->waveform()->frames, 100u) << "found by its place";
    }
  }
}

TEST(SoundFontProbe, KnowsTheVersions) {
  struct Case {
    const char* name;
    const char* form;
    std::uint16_t major;
    int bank, compressed, packed;
  };
  const Case cases[] = {{"version 2", "sfbk", 2, 6, 0, 0},
                        {"version 3", "sfbk", 3, 2, 6, 0},
                        {"version 1", "sfbk", 1, 2, 0, 0},
                        {"packed", "sfpk", 2, 0, 0, 6},
                        {"other", "WAVE", 2, 0, 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank = simpleBank();
    bank.form = c.form;
    bank.major = c.major;
    const Block bytes = bytesOf(bank);
    EXPECT_EQ(soundfont::probeBank(bytes, 0, bytes.size()), c.bank);
    EXPECT_EQ(soundfont::probeCompressedBank(bytes, 0, bytes.size()), c.compressed);
    EXPECT_EQ(soundfont::probePackedBank(bytes, 0, bytes.size()), c.packed);
    for (std::size_t size : {0u, 4u, 12u, 31u})
      EXPECT_LE(soundfont::probeBank(Bytes(bytes).first(size), 0, size), 2);
  }
}

}  // namespace
}  // namespace vemko::test
