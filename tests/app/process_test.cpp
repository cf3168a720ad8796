#include <algorithm>
#include <nlohmann/json.hpp>

#include "core/filter.h"
#include "io/open.h"
#include "io/samples.h"
#include "platform/file_identity.h"
#include "program.h"
#include "tools/levels.h"
#include "tools/loudness.h"
#include "wave_files.h"

namespace vemko {
namespace {

using namespace test;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

/// Half a second of two equal channels.
void makeTone(const Path& path, SampleEncoding encoding, float level, float offset = 0) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"tone");
  std::vector<float> samples(2 * 22050);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = offset + level * std::sin(static_cast<float>(i / 2) * 0.3f);
  fill(wave, samples, 2);
  wave.rate = 44100;
  saveWave(wave, path, encoding);
}

// loud.wav (16 bits), soft.wav (24 bits), law.wav (mu-law), text.wav (no wave) and sub/loud.wav.
struct Workshop {
  TempFolder folder;
  RunOptions options{.folder = folder.path()};

  Workshop() {
    std::filesystem::create_directory(folder / "sub");
    makeTone(folder / "loud.wav", SampleEncoding::Pcm16, 0.5f, 0.0625f);
    makeTone(folder / "soft.wav", SampleEncoding::Pcm24, 0.1f);
    makeTone(folder / "law.wav", SampleEncoding::MuLaw, 0.25f);
    makeTone(folder / "sub/loud.wav", SampleEncoding::Pcm16, 0.7f);
    putFile(folder / "text.wav", "no wave at all");
  }
  Ran run(Names arguments) const {
    arguments.insert(arguments.begin(), "process");
    return test::run(arguments, options);
  }
};

struct Loaded {
  Collection collection;
  Waveform* wave = nullptr;

  explicit Loaded(const Path& path) {
    EXPECT_TRUE(io::openFile(collection, path, false)) << path << ": " << toUtf8(lastError());
    for (Waveform* each : collection.all<Waveform>()) wave = each;
    EXPECT_TRUE(wave && io::loadSamples(*wave, true)) << toUtf8(lastError());
  }
};

TEST(Process, StatusesAndMessages) {
  const Workshop shop;
  const std::string help = "\nTry 'vemko process --help'.\n", list = "\nTry 'vemko process --list'.\n";
  const struct {
    const char* name;
    Names arguments;
    int status;
    std::string out, err;
  } cases[] = {
      {"no tool", {}, 2, "", "vemko: TOOL is required" + help},
      {"no input", {"Find volume"}, 2, "", "vemko: INPUT is required" + help},
      {"unknown tool",
       {"Louder", "loud.wav", "--in-place"},
       2,
       "",
       "vemko: there is no tool \"Louder\"" + list},
      {"listed tool",
       {"resample", "loud.wav", "--in-place"},
       2,
       "",
       "vemko: the tool \"resample\" is not available yet" + list},
      {"tool of another list",
       {"Transpose notes", "loud.wav"},
       2,
       "",
       "vemko: the tool \"Transpose notes\" is not available yet" + list},
      {"unknown option",
       {"Adjust volume/gain", "loud.wav", "--in-place", "--set", "level=1"},
       2,
       "",
       "vemko: --set: \"Adjust volume/gain\" has no option \"level\"; it has gain, meta" + list},
      {"no value",
       {"Find volume", "loud.wav", "--set", "append"},
       2,
       "",
       "vemko: --set: \"append\" is not OPTION=VALUE" + help},
      {"bad value",
       {"Find volume", "loud.wav", "--set", "measure=loud"},
       2,
       "",
       "vemko: --set: measure: Expected one of: peak, replaygain, rms, rms-around-peak" + list},
      {"useless option",
       {"Normalize volume", "loud.wav", "--in-place", "--set", "separate=1", "--set", "single=1"},
       2,
       "",
       "vemko: --set: separate has no meaning with the other options" + list},
      {"no target",
       {"Maximize amplitude", "loud.wav"},
       2,
       "",
       "vemko: no target: give -o FILE, -d DIR or --in-place" + help},
      {"several into one",
       {"Maximize amplitude", "loud.wav", "soft.wav", "-o", "x.wav"},
       2,
       "",
       "vemko: one output file for several inputs: give -d DIR or --in-place" + help},
      {"two targets",
       {"Maximize amplitude", "loud.wav", "-o", "x.wav", "--in-place"},
       2,
       "",
       "vemko: --output excludes --in-place" + help},
      {"listed twice",
       {"Maximize amplitude", "loud.wav", "sub/../loud.wav", "--in-place"},
       2,
       "",
       std::string("vemko: ") + (kPosix ? "sub/../" : "") + "loud.wav: this file is listed twice" + help},
      {"range of a tool for whole waveforms",
       {"Find volume", "loud.wav", "--range", "1:2"},
       2,
       "",
       "vemko: --range: \"Find volume\" works on whole waveforms" + help},
      {"empty range",
       {"Adjust volume/gain", "loud.wav", "--in-place", "--range", "7:7"},
       2,
       "",
       "vemko: --range: \"7:7\" is not START:END with END behind START" + help},
      {"other format",
       {"Maximize amplitude", "loud.wav", "-o", "x.mp3"},
       1,
       "",
       "loud.wav: The output keeps the format of the input, name it .wav\n"},
      {"no wave, the others go on",
       {"find volume", "text.wav", "soft.wav"},
       1,
       "soft.wav: \"tone\": -20.00 dB\n",
       "text.wav: Not detected as any supported file type\n"},
      {"no such folder",
       {"Maximize amplitude", "soft.wav", "-o", "no/x.wav", "-q"},
       1,
       "",
       "soft.wav: Could not create file (no/x.wav)\n"},
      {"missing", {"find volume", "no.wav"}, 1, "", "no.wav: Could not open file\n"},
      {"folder", {"find volume", "sub"}, 1, "", "sub: This is a folder\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Ran ran = shop.run(c.arguments);
    EXPECT_EQ(ran.status, c.status);
    EXPECT_EQ(ran.out, c.out);
    EXPECT_EQ(withSlashes(ran.err), c.err);
    EXPECT_FALSE(fileExists(shop.folder / "x.wav") || fileExists(shop.folder / "x.mp3"));
  }
}

TEST(Process, ChangesTheSamplesAndKeepsTheEncoding) {
  const Workshop shop;
  const struct {
    const char* name;
    Names arguments;
    const char *input, *output;
    const char* report;
    float peak;
  } cases[] = {
      {"maximize",
       {"maximize amplitude", "soft.wav", "-o", "max.wav"},
       "soft.wav",
       "max.wav",
       "soft.wav: Processed 1 item using Maximize amplitude\n",
       1},
      {"gain by the label",
       {"Adjust volume/gain", "loud.wav", "-d", "out", "--set", "Adjust the volume by:=-6.0206"},
       "loud.wav",
       "out/loud.wav",
       "loud.wav: Processed 1 item using Adjust volume/gain\n",
       0.28125f},
      {"mu-law",
       {"Adjust volume/gain", "law.wav", "-d", "out", "--set", "gain=6.0206", "-q"},
       "law.wav",
       "out/law.wav",
       "",
       0.5f},
      {"offset",
       {"Remove DC offset", "loud.wav", "-o", "dc.wav"},
       "loud.wav",
       "dc.wav",
       "loud.wav: Processed 1 item using Remove DC offset\n",
       0.5f},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Ran ran = shop.run(c.arguments);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(ran.out, c.report);
    const Loaded before(shop.folder / c.input), after(shop.folder / c.output);
    ASSERT_TRUE(after.wave);
    EXPECT_NEAR(tools::peak(*after.wave).level, c.peak, 0.03f * c.peak);
    EXPECT_EQ(after.wave->source->encoding(), before.wave->source->encoding());
    EXPECT_EQ(after.wave->frames, before.wave->frames);
  }
}

/// A song, and an instrument of two regions that are panned apart and go through the filter.
void makeBank(const Path& path, std::u16string_view description, FilterType filter) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"bank");
  fill(wave, ramp(1000), 1);
  wave.rate = 44100;
  Instrument& instrument = createInstrument(collection, u"bank");
  Layer& layer = createLayer(instrument, u"layer");
  for (bool low : {true, false}) {
    Region& region =
        createRegion(layer, u"region",
                     {.waveform = serialOf(wave.id()), .keys = low ? MidiRange{0, 59} : MidiRange{60, 127}});
    region.articulation.set(slots::Pan, low ? -0.5f : 0.5f);
    if (filter == FilterType::Off) continue;
    region.articulation.set(slots::FilterType, static_cast<float>(filter));
    region.articulation.set(slots::FilterCutoff, 1000);
  }
  constexpr std::uint8_t kEnd[] = {0, 0xFF, 0x2F, 0};
  createTrack(createSong(collection, u"song"), u"").setEvents(std::as_bytes(std::span(kEnd)));
  const int row = io::findWritingRowByDescription(description);
  Item& item = io::canHold(row, ItemKind::Collection) ? static_cast<Item&>(collection) : instrument;
  ASSERT_TRUE(io::saveItem(&item, row, path, io::saveOptionsFor(row, 0))) << toUtf8(lastError());
}

// Where one row reads what several write, as the levels of a collection of sounds.
TEST(Process, KeepsTheLevelAndWhatItHolds) {
  const Workshop shop;
  const struct {
    const char* file;
    std::u16string_view row;
    FilterType filter;
    bool isLevel2;  // by the kind of its region lists
  } cases[] = {
      {"one.dls", u"DownLoadable Sounds level 1", FilterType::Off, false},
      {"two.dls", u"DownLoadable Sounds level 2", FilterType::LowPass2, true},
      {"one.rmi", u"RIFF-MIDI w DLS level 1 instruments", FilterType::Off, false},
      {"two.rmi", u"RIFF-MIDI w DLS level 2 instruments", FilterType::LowPass2, true},
      {"one.sfz", u"rgc:audio SFZ v1 (waves in same folder)", FilterType::LowPass2, false},
      {"two.sfz", u"Cakewalk SFZ v2 (waves in same folder)", FilterType::LowPass4, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const Path path = shop.folder / c.file;
    makeBank(path, c.row, c.filter);
    const Ran ran = shop.run({"Adjust volume/gain", "--set", "gain=-6", "--in-place", c.file});
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(contentOf(path).find("rgn2") != std::string::npos, c.isLevel2);
    const Loaded after(path);
    ASSERT_TRUE(after.wave);
    EXPECT_NEAR(tools::peak(*after.wave).level, 0.25f, 0.01f);
    const auto regions = regionsOf(after.collection);
    ASSERT_EQ(regions.size(), 2u);
    for (const Region* region : regions) EXPECT_EQ(filterTypeOf(valuesOf(effective(*region))), c.filter);
  }
}

TEST(Process, ARangeLimitsTheChange) {
  const Workshop shop;
  const Loaded before(shop.folder / "soft.wav");
  const Ran ran = shop.run({"Adjust volume/gain", "soft.wav", "loud.wav", "-d", "out", "--jobs", "2", "--set",
                            "gain=6", "--range", "100:20000"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  const Loaded after(shop.folder / "out/soft.wav");
  const auto sampleOf = [](const Loaded& file, std::size_t frame) {
    return static_cast<double>(file.wave->buffer->samples()[frame * 2]);
  };
  for (const auto& [frame, factor] : {std::pair{99, 1.0}, {101, 1.995262}, {19999, 1.995262}, {20000, 1.0}}) {
    SCOPED_TRACE(frame);
    const auto at = static_cast<std::size_t>(frame);
    EXPECT_NEAR(sampleOf(after, at), sampleOf(before, at) * factor, 1e-6);
  }
}

TEST(Process, InPlaceWritesOnlyWhatWasModified) {
  const Workshop shop;
  makeTone(shop.folder / "silent.wav", SampleEncoding::Pcm16, 0);
  auto fileNumber = [&](const char* name) { return fileIdentity(shop.folder / name); };
  const auto loud = fileNumber("loud.wav"), silent = fileNumber("silent.wav");
  const Ran ran = shop.run({"Maximize amplitude", "loud.wav", "silent.wav", "--in-place", "-j", "2"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.out,
            "loud.wav: Processed 1 item using Maximize amplitude\n"
            "silent.wav: No items were modified by Maximize amplitude\n");
  EXPECT_NE(fileNumber("loud.wav"), loud);
  EXPECT_EQ(fileNumber("silent.wav"), silent);
  EXPECT_EQ(tools::peak(*Loaded(shop.folder / "loud.wav").wave).level, 32767 / 32768.0f);
  for (const auto& entry : std::filesystem::directory_iterator(shop.folder.path()))
    EXPECT_NE(entry.path().extension(), ".bak");
  // Another file is written in any case.
  EXPECT_EQ(shop.run({"Maximize amplitude", "silent.wav", "-o", "copy.wav"}).status, 0);
  EXPECT_TRUE(fileExists(shop.folder / "copy.wav"));
}

TEST(Process, InPlaceKeepsBroadcastWavesUnderTheirName) {
  const Workshop shop;
  const std::string wave = contentOf(shop.folder / "loud.wav");
  ByteWriter scene;
  scene.text("bext");
  scene.u32(602);
  scene.text("Scene 1");
  scene.zeros(602 - 7);
  std::string file = wave.substr(0, 12) +
                     std::string(reinterpret_cast<const char*>(scene.bytes.data()), 610) + wave.substr(12);
  putFile(shop.folder / "take.bwf", file);
  file.replace(0, 4, "SDSS");
  putFile(shop.folder / "take.sds", file);
  const Ran ran = shop.run({"Maximize amplitude", "take.bwf", "--in-place"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.out, "take.bwf: Processed 1 item using Maximize amplitude\n");
  const std::string written = contentOf(shop.folder / "take.bwf");
  EXPECT_EQ(written.substr(0, 4), "RIFF");
  EXPECT_LT(written.find("Scene 1"), written.find("data"));
  EXPECT_EQ(tools::peak(*Loaded(shop.folder / "take.bwf").wave).level, 32767 / 32768.0f);
  // Files that are no WAVE files by their first bytes stay unwritten.
  EXPECT_NE(shop.run({"Maximize amplitude", "take.sds", "--in-place"}).status, 0);
  EXPECT_EQ(contentOf(shop.folder / "take.sds"), file);
}

TEST(Process, NothingIsWrittenWhenOneOfARecordingIsMissing) {
  const Workshop shop;
  const std::string before = contentOf(shop.folder / "soft.wav");
  const Ran ran = shop.run({"Normalize volume", "soft.wav", "text.wav", "--in-place", "--set", "single=1"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "text.wav: Not detected as any supported file type\n");
  EXPECT_EQ(contentOf(shop.folder / "soft.wav"), before);
}

TEST(Process, FilesOfOneRecordingGetOneGain) {
  const Workshop shop;
  const Ran ran = shop.run({"Normalize volume", "soft.wav", "loud.wav", "sub/loud.wav", "-d", "out", "-j",
                            "2", "--set", "single=1", "--set", "level=75"});
  ASSERT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.out, "Processed 3 items using Normalize volume\n");
  std::vector<float> gains;
  for (auto [input, output] :
       {std::pair{"soft.wav", "soft.wav"}, {"loud.wav", "loud.wav"}, {"sub/loud.wav", "loud (2).wav"}}) {
    const Loaded before(shop.folder / input), after(shop.folder / "out" / output);
    ASSERT_TRUE(before.wave && after.wave);
    gains.push_back(tools::peak(*after.wave).level / tools::peak(*before.wave).level);
  }
  EXPECT_NEAR(gains[0], gains[1], 0.001f);
  EXPECT_NEAR(gains[1], gains[2], 0.001f);
}

TEST(Process, TellsMeasuresAsJson) {
  const Workshop shop;
  const Ran volumes = shop.run({"Find volume", "soft.wav", "loud.wav", "--json", "--jobs", "0"});
  ASSERT_EQ(volumes.status, 0) << volumes.err;
  const std::size_t end = volumes.out.find('\n');
  const Json soft = Json::parse(volumes.out.substr(0, end)), loud = Json::parse(volumes.out.substr(end));
  EXPECT_EQ(soft["files"], Json({"soft.wav"}));
  EXPECT_EQ(soft["volumes"][0]["decibels"], -20);
  EXPECT_EQ(loud["volumes"][0]["name"], "tone");
  EXPECT_EQ(Loaded(shop.folder / "soft.wav").wave->name(), u"tone");  // not saved

  const Ran ran = shop.run({"statistics for the waveform", "loud.wav", "--json"});
  ASSERT_EQ(ran.status, 0) << ran.err;
  const Json statistics = Json::parse(ran.out)["statistics"];
  EXPECT_EQ(statistics["samples"], 44100);
  EXPECT_EQ(statistics["seconds"], 0.5);
  EXPECT_NEAR(statistics["mean"], 0.0625, 1e-4);
  const Ran table = shop.run({"Statistics for the waveform", "loud.wav"});
  EXPECT_NE(table.out.find("loud.wav: Wavesamples:     44100 / 0.50 s\n"), std::string::npos) << table.out;

  const Json tools = Json::parse(shop.run({"--list", "--json"}).out);
  ASSERT_EQ(tools.size(), 6u);
  EXPECT_EQ(tools[0]["options"][0]["maximum"], 200);
  EXPECT_NE(shop.run({"--list"}).out.find("\n  measure=peak "), std::string::npos);
}

}  // namespace
}  // namespace vemko
