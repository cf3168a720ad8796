#include <nlohmann/json.hpp>

#include "app/settings.h"
#include "io/fixup.h"
#include "io/open.h"
#include "program.h"
#include "wave_files.h"

namespace vemko {
namespace {

using namespace test;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

// A folder with a.wav (16 bits, mono), s.wav (24 bits, stereo), text.wav (no wave), empty.wav and sub/a.wav.
struct Workshop {
  TempFolder folder;
  RunOptions options{.folder = folder.path()};

  Workshop() {
    std::filesystem::create_directory(folder / "sub");
    makeWave(folder / "a.wav", 1000);
    makeWave(folder / "s.wav", 2000, SampleEncoding::Pcm24, 2);
    makeWave(folder / "sub/a.wav", 500);
    putFile(folder / "text.wav", "no wave at all");
    putFile(folder / "empty.wav", "");
  }
  Ran run(const Names& arguments) const { return test::run(arguments, options); }
};

TEST(CommandLine, StatusesAndMessages) {
  struct Case {
    const char* name;
    Names arguments;
    int status;
    const char* out;  // contained
    const char* err;  // whole; null: contained in err is not looked at
  };
  const Workshop shop;
  for (const Case& c : {
           Case{"nothing", {}, 0, "convert", ""},
           Case{"help", {"--help"}, 0, "detect", ""},
           Case{"help of a command", {"convert", "--help"}, 0, "--encoding", ""},
           Case{"version", {"--version"}, 0, "vemko (Vemko Studio) 12.13\n", ""},
           Case{"unknown command",
                {"a.wav"},
                2,
                "",
                "vemko: unknown command \"a.wav\"; the commands are formats, detect, info, compare, convert, "
                "process, "
                "config\n"
                "Try 'vemko --help'.\n"},
           Case{"unknown option",
                {"info", "--no", "a.wav"},
                2,
                "",
                "vemko: The following argument was not expected: --no\nTry 'vemko info --help'.\n"},
           Case{"formats", {"formats"}, 0, "Microsoft wave", ""},
           Case{"detect", {"detect", "a.wav"}, 0, "a.wav: Microsoft wave (wav), 100%\n", ""},
           Case{"detect nothing",
                {"detect", "text.wav", "a.wav", "no", "sub", "empty.wav"},
                1,
                "a.wav: Microsoft",
                "text.wav: Not detected as any supported file type\nno: Could not open file\n"
                "sub: This is a folder\nempty.wav: File is of zero size\n"},
           Case{"info", {"info", "s.wav"}, 0, "44100 Hz, 2 channels, 1000 frames", ""},
           Case{"info of no wave",
                {"info", "text.wav"},
                1,
                "",
                "text.wav: Not detected as any supported file type\n"},
           Case{"info of a folder", {"info", "sub"}, 1, "", "sub: This is a folder\n"},
           Case{"no input",
                {"convert", "-o", "b.wav"},
                2,
                "",
                "vemko: INPUT is required\nTry 'vemko convert --help'.\n"},
           Case{"no target",
                {"convert", "a.wav"},
                2,
                "",
                "vemko: no target: give -o FILE or -d DIR\nTry 'vemko convert --help'.\n"},
           Case{"two targets", {"convert", "a.wav", "-o", "b.wav", "-d", "out"}, 2, "", nullptr},
           Case{"no format",
                {"convert", "a.wav", "-d", "out"},
                2,
                "",
                "vemko: no target format: give --to, or an extension to the -o file\nTry 'vemko convert "
                "--help'.\n"},
           Case{"unknown format",
                {"convert", "a.wav", "-o", "b.xyz"},
                2,
                "",
                "vemko: no format \".xyz\" can be written; see 'vemko formats --writable'\nTry 'vemko "
                "convert --help'.\n"},
           Case{"standard output",
                {"convert", "a.wav", "-o", "-"},
                2,
                "",
                "vemko: -o -: standard output can not be written to, give a file\nTry 'vemko convert "
                "--help'.\n"},
           Case{"several into one",
                {"convert", "a.wav", "s.wav", "-o", "b.wav"},
                2,
                "",
                "vemko: one output file for several inputs: give -d DIR, or --merge\nTry 'vemko convert "
                "--help'.\n"},
           Case{"folder as file",
                {"convert", "a.wav", "-o", "sub", "--to", "wav"},
                2,
                "",
                "vemko: -o sub: this is a folder, give it with -d\nTry 'vemko convert --help'.\n"},
           Case{"unknown encoding", {"convert", "a.wav", "-o", "b.wav", "--encoding", "mp3"}, 2, "", nullptr},
           Case{"encoding of others",
                {"convert", "a.wav", "-o", "b.wav", "--encoding", "pcm12"},
                2,
                "",
                nullptr},
           Case{
               "kind of others", {"convert", "a.wav", "-o", "b.wav", "--kind", "instrument"}, 2, "", nullptr},
           Case{"unknown step",
                {"convert", "a.wav", "-o", "b.wav", "--fixup", "x=1"},
                2,
                "",
                "vemko: --fixup: \"x=1\" is not NAME=0 or NAME=1 of a known step\nTry 'vemko convert "
                "--help'.\n"},
           Case{"bad bank", {"convert", "a.wav", "-o", "b.wav", "--rom", "x"}, 2, "", nullptr},
           Case{"no wave",
                {"convert", "text.wav", "-o", "b.wav"},
                1,
                "",
                "text.wav: Not detected as any supported file type\n"},
           Case{"two merged waves",
                {"convert", "a.wav", "s.wav", "--merge", "-o", "b.wav"},
                1,
                "",
                "a.wav: 2 waveforms do not fit into one file of this format, give a folder for them\n"},
           Case{"merge of a missing one",
                {"convert", "a.wav", "no", "--merge", "-d", "out", "--to", "wav"},
                1,
                "",
                "no: Could not open file\n"},
           Case{"folder that is a file", {"convert", "a.wav", "-d", "s.wav", "--to", "wav"}, 1, "", nullptr},
           Case{"full device", {"convert", "a.wav", "-o", "/dev/full", "--to", "wav"}, 1, "", nullptr},
           Case{"unknown setting",
                {"config", "get", "x"},
                2,
                "",
                "vemko: no setting is named \"x\"\nTry 'vemko config list'.\n"},
           Case{"no value", {"config", "set", "aio.nLatency"}, 2, "", nullptr},
           Case{"bad value", {"config", "set", "aio.nLatency", "x"}, 2, "", nullptr},
       }) {
    SCOPED_TRACE(c.name);
    const Ran ran = shop.run(c.arguments);
    EXPECT_EQ(ran.status, c.status) << ran.err;
    EXPECT_NE(ran.out.find(c.out), std::string::npos) << ran.out;
    if (c.err) {
      EXPECT_EQ(ran.err, c.err);
    } else {
      EXPECT_LE(std::ranges::count(ran.err, '\n'), 2) << ran.err;
      EXPECT_NE(ran.err, "");
    }
    EXPECT_FALSE(fileExists(shop.folder / "b.wav"));
  }
}

TEST(CommandLine, ConvertsEncodingAndChannels) {
  struct Case {
    Names arguments;
    std::uint16_t bits, channels;
  };
  const Workshop shop;
  for (const Case& c : {
           Case{{}, 24, 2},
           Case{{"--encoding", "pcm8"}, 8, 2},
           Case{{"--encoding", "float32", "--channels", "mono"}, 32, 1},
           Case{{"--to", "microsoft WAVE", "--channels", "stereo"}, 24, 2},
           Case{{"--to", ".WAV", "--kind", "waveform"}, 24, 2},
       }) {
    Names arguments = {"convert", "s.wav", "-o", "b.wav"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const Ran ran = shop.run(arguments);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "");
    const bool isExact = c.bits >= 24 && c.channels == 2;
    EXPECT_EQ(ran.err.find("note: Not kept: Samples: ") == ran.err.npos, isExact) << ran.err;
    const std::string content = contentOf(shop.folder / "b.wav");
    ASSERT_GE(content.size(), 44u);
    EXPECT_EQ(static_cast<std::uint8_t>(content[22]), c.channels);
    EXPECT_EQ(static_cast<std::uint8_t>(content[34]), c.bits);
  }
}

TEST(CommandLine, OnExists) {
  struct Case {
    const char* choice;
    int status;
    Names files;
    bool replaced;
  };
  for (const Case& c : {
           Case{"overwrite", 0, {"a.wav"}, true},
           Case{"rename", 0, {"a (2).wav", "a.wav"}, false},
           Case{"skip", 0, {"a.wav"}, false},
           Case{"fail", 1, {"a.wav"}, false},
       }) {
    SCOPED_TRACE(c.choice);
    const Workshop shop;
    std::filesystem::create_directory(shop.folder / "out");
    putFile(shop.folder / "out/a.wav", "old");
    for (const Names& target : {Names{"-d", "out", "--to", "wav"}, Names{"-o", "out/a.wav"}}) {
      Names arguments = {"convert", "a.wav", "--on-exists", c.choice};
      arguments.insert(arguments.end(), target.begin(), target.end());
      const Ran ran = shop.run(arguments);
      EXPECT_EQ(ran.status, c.status) << ran.err;
      EXPECT_EQ(ran.err.empty(), c.status == 0) << ran.err;
      EXPECT_EQ(filesIn(shop.folder / "out"), c.files);
      EXPECT_EQ(contentOf(shop.folder / "out/a.wav") != "old", c.replaced);
      removeFile(shop.folder / "out/a (2).wav");
    }
  }
}

TEST(CommandLine, ConvertsInPlace) {
  const Workshop shop;
  const std::string link = kPosix ? "link" : "sub";
  if (kPosix) std::filesystem::create_directory_symlink("sub", shop.folder / link);
  const Names before = filesIn(shop.folder.path());
  for (const char* jobs : {"1", "2"}) {
    const Ran ran = shop.run({"convert", "a.wav", "s.wav", "-d", link + "/..", "--to", "wav", "--encoding",
                              "float32", "--jobs", jobs});
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(shop.run({"convert", "sub/a.wav", "-o", link + "/a.wav", "--encoding", "pcm24"}).status, 0);
  }
  EXPECT_EQ(filesIn(shop.folder.path()), before);
  EXPECT_EQ(filesIn(shop.folder / "sub"), Names{"a.wav"});
  Collection collection;
  ASSERT_TRUE(io::openFile(collection, shop.folder / "s.wav", false)) << toUtf8(lastError());
  EXPECT_EQ(samplesOf(*collection.all<Waveform>().front()), ramp(2000));
}

TEST(CommandLine, MergesIntoNumberedFiles) {
  const Workshop shop;
  const Ran ran =
      shop.run({"convert", "s.wav", "a.wav", "--merge", "-d", "out", "--to", "wav", "--no-fixup"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(filesIn(shop.folder / "out").size(), 2u);
  for (const std::string& name : filesIn(shop.folder / "out")) EXPECT_TRUE(name.starts_with("s - ")) << name;
}

// Banks of one instrument, which nobody but their files name.
TEST(CommandLine, MergedBanksKeepEverybodysTexts) {
  const Workshop shop;
  const auto makeBank = [&](const char* file, const char* artist, std::u16string_view copyright) {
    Collection collection;
    Waveform& wave = createWaveform(collection, u"wave");
    fill(wave, ramp(100), 1);
    wave.volumeAdjustmentDb = -1.5f;
    Region& region = createRegion(createLayer(createInstrument(collection, toUtf16(file)), u""), u"",
                                  {.waveform = serialOf(wave.id())});
    region.articulation.set(slots::MasterVolume, -3);
    collection.setText(TextProperty::Engineer, toUtf16(artist));
    collection.setText(TextProperty::Copyright, copyright);
    const int row = io::findWritingRowByDescription(u"DownLoadable Sounds level 2");
    ASSERT_TRUE(io::saveItem(&collection, row, shop.folder / file, io::saveOptionsFor(row, 0)))
        << toUtf8(lastError());
  };
  makeBank("1.dls", "Ada", u"Ada 1843");
  makeBank("2.dls", "Ada", u"");
  makeBank("3.dls", "Ada", u"Grace 1952");
  const Names three = {"1.dls", "2.dls", "3.dls"};
  for (const char* target : {"all.sf2", "all.dls"}) {
    const Names options = {"--merge", "--to", std::string(target).ends_with("2") ? "sf2" : "dls", "-o",
                           target};
    Names arguments = {"convert"};
    arguments.insert(arguments.end(), three.begin(), three.end());
    arguments.insert(arguments.end(), options.begin(), options.end());
    Ran ran = shop.run(arguments);
    EXPECT_EQ(ran.status, 0) << ran.err;
    const Json json = Json::parse(shop.run({"info", target, "--json"}).out);
    EXPECT_EQ(json["name"], "all");
    EXPECT_EQ(json["text"]["Copyright"], "Ada 1843; Grace 1952");
    EXPECT_EQ(json["text"]["Engineer"], "Ada");
    ran = shop.run({"compare", target, "1.dls", "2.dls", "3.dls", "--tolerance", "2"});
    EXPECT_EQ(ran.status, 0) << ran.out << ran.err;
  }
  EXPECT_EQ(shop.run({"convert", "a.wav", "-o", "ramp.sf2"}).status, 0);
  EXPECT_NE(shop.run({"info", "ramp.sf2"}).out.find("Name         ramp\n"), std::string::npos);
  const Ran info = shop.run({"info", "1.dls"});
  EXPECT_NE(info.out.find("plays \"wave\", gain -3 dB\n"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("root key 60, volume -1.5 dB\n"), std::string::npos) << info.out;
  EXPECT_EQ(shop.run({"compare", "1.dls", "2.dls", "text.wav"}).err,
            "text.wav: Not detected as any supported file type\n");
}

TEST(CommandLine, ReportsLosses) {
  const Workshop shop;
  const Ran ran = shop.run({"convert", "a.wav", "s.wav", "-d", "out", "--to", "wav", "--encoding", "pcm16",
                            "--channels", "mono", "--report"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(withSlashes(ran.out),
            "out/s.wav: loses Samples: 24-bit precision (\"ramp\")\n"
            "out/s.wav: loses Samples: Separate channels (\"ramp\")\n");
}

TEST(CommandLine, RawImport) {
  const Workshop shop;
  const Names raw = {"convert",        "text.wav",       "-o",         "b.wav",       "--raw",
                     "--raw-encoding", "pcm8",           "--raw-skip", "4",           "--raw-rate",
                     "8000",           "--raw-channels", "2",          "--raw-signed"};
  const Ran ran = shop.run(raw);
  EXPECT_EQ(ran.status, 0) << ran.err;
  const Json json = Json::parse(shop.run({"info", "b.wav", "--json"}).out);
  EXPECT_EQ(json["waveforms"][0]["frames"], 5);
  EXPECT_EQ(json["waveforms"][0]["rate"], 8000);
  EXPECT_EQ(json["waveforms"][0]["channels"], 2);
}

TEST(CommandLine, AcceptsAnyFileName) {
  const Workshop shop;
  Names names = {"two words.wav", "-dash.wav", "--to",       "[a,b]",   "\xC3\xA9\xE6\x97\xA5.wav",
                 "%s.wav",        "%PATH%",    "'`$(x).wav", "^&;!.wav"};
  if (kPosix) names.insert(names.end(), {"no\xFFutf.wav", "line\nbreak\t\\.wav", "'\".wav", "*.wav"});
  for (const std::string& name : names)
    std::filesystem::copy_file(shop.folder / "a.wav", shop.folder / "sub" / name);
  for (const char* jobs : {"1", "3"}) {
    SCOPED_TRACE(jobs);
    RunOptions options{.folder = shop.folder / "sub"};
    Names arguments = {"convert", "-d", std::string("../out") + jobs, "--to", "wav", "--jobs", jobs, "--"};
    arguments.insert(arguments.end(), names.begin(), names.end());
    const Ran ran = test::run(arguments, options);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(filesIn(shop.folder / (std::string("out") + jobs)).size(), names.size());
  }
}

TEST(CommandLine, JobsChangeNothingButTheTime) {
  const Workshop shop;
  Names inputs = {"a.wav", "no", "s.wav", "text.wav", "sub/a.wav"};
  for (int i = 0; i < 40; ++i) {
    inputs.push_back("f" + std::to_string(i % 30) + ".wav");
    makeWave(shop.folder / inputs.back(), 100 + static_cast<std::size_t>(i));
  }
  Ran results[2];
  Names files[2];
  for (int i : {0, 1}) {
    Names arguments = {"convert",    "-d",   "out",      "--to",   "wav",
                       "--encoding", "pcm8", "--report", "--jobs", i ? "5" : "1"};
    arguments.insert(arguments.end(), inputs.begin(), inputs.end());
    results[i] = shop.run(arguments);
    for (const std::string& name : filesIn(shop.folder / "out"))
      files[i].push_back(name + contentOf(shop.folder / "out" / name));
    std::filesystem::remove_all(shop.folder / "out");
  }
  EXPECT_EQ(results[0].status, 1);
  EXPECT_EQ(results[0].err, "no: Could not open file\ntext.wav: Not detected as any supported file type\n");
  EXPECT_EQ(results[1].status, results[0].status);
  EXPECT_EQ(results[1].err, results[0].err);
  EXPECT_EQ(results[1].out, results[0].out);
  EXPECT_EQ(files[0].size(), inputs.size() - 2);
  EXPECT_EQ(files[1], files[0]);
}

TEST(CommandLine, AFileSizeLimitFailsTheFileAndKeepsTheOldOne) {
  if (!kPosix) GTEST_SKIP() << kPosixOnly;
  Workshop shop;
  putFile(shop.folder / "b.wav", "old");
  shop.options.fileSizeLimit = 1000;
  const Ran ran = shop.run({"convert", "a.wav", "-o", "b.wav", "-q"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "a.wav: Writing to file failed (b.wav)\n");
  EXPECT_EQ(contentOf(shop.folder / "b.wav"), "old");
  EXPECT_FALSE(fileExists(shop.folder / "b.wav.bak"));
}

TEST(CommandLine, InfoJson) {
  const Workshop shop;
  Collection collection;
  Waveform& wave = createWaveform(collection, u"Caf\u00E9");
  fill(wave, ramp(1000));
  wave.rate = 48000;
  wave.rootKey = 64;
  wave.fineTuneCents = -7;
  wave.setText(TextProperty::Artist, u"Somebody");
  wave.addLoop({LoopPlay::Forward, LoopCount::Infinite, 100, 200.5, 0}, u"Sustain", true, false);
  LoopAdder(wave).addMarker({.type = RecordType::PositionMarker, .start = 30, .name = u"Here"});
  LoopAdder(wave).addMarker({.type = RecordType::SectionMarker, .start = 40, .end = 50, .name = u"There"});
  saveWave(wave, shop.folder / "Caf\xC3\xA9.wav", SampleEncoding::Pcm16);
  const Ran ran = shop.run({"info", "Caf\xC3\xA9.wav", "--json"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  Json json = Json::parse(ran.out);
  // The order of records is the reader's.
  Json& records = json["waveforms"][0]["records"];
  std::sort(records.begin(), records.end(),
            [](const Json& a, const Json& b) { return a["start"] < b["start"]; });
  EXPECT_EQ(json["format"], "Microsoft wave");
  EXPECT_EQ(json["confidence"], 100);
  EXPECT_EQ(json["counts"].dump(),
            R"({"instruments":0,"layers":0,"regions":0,"waveforms":1,"synths":0,"songs":0,"tracks":0})");
  json["waveforms"][0].erase("id");
  EXPECT_EQ(
      json["waveforms"].dump(),
      R"([{"name":"Café","frames":1000,"rate":48000,"channels":1,"rootKey":64,"fineTune":-7,"records":[)"
      R"({"type":"marker","name":"Here","start":30.0},)"
      R"({"type":"section","name":"There","start":40.0,"end":50.0},)"
      R"({"type":"loop","name":"Sustain","start":100.0,"end":200.5,"play":"Forward","count":"Infinite",)"
      R"("tune":0,"main":true}],"text":{"Artist":"Somebody"}}])");
  EXPECT_EQ(json["instruments"].dump() + json["songs"].dump(), "[][]");
}

TEST(CommandLine, JsonIsValidWhateverTheNames) {
  if (!kPosix) GTEST_SKIP() << kPosixOnly;
  const Workshop shop;
  std::filesystem::copy_file(shop.folder / "a.wav", shop.folder / "no\xFFutf.wav");
  for (const Names& arguments : {Names{"info", "--json", "no\xFFutf.wav"},
                                 Names{"detect", "--json", "no\xFFutf.wav"}, Names{"formats", "--json"}}) {
    const Ran ran = shop.run(arguments);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_TRUE(Json::accept(ran.out)) << ran.out;
  }
}

TEST(CommandLine, ConfigKeepsSettings) {
  const Workshop shop;
  EXPECT_EQ(shop.run({"config", "get", "aio.nLatency"}).out, "-1\n");
  EXPECT_EQ(shop.run({"config", "set", "aio.nLatency", "-5"}).status, 0);
  EXPECT_EQ(shop.run({"config", "get", "AIO.nlatency"}).out, "-5\n");
  const std::string list = shop.run({"config", "list"}).out;
  EXPECT_NE(list.find("aio.nLatency = -5\n"), std::string::npos);
  EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(list, '\n')), app::settingRows().size());
}

TEST(CommandLine, CompletionAndManPageKnowEveryOption) {
  if (!kPosix) GTEST_SKIP() << "needs bash";
  const Workshop shop;
  putFile(shop.folder / "vemko.bash", shop.run({"--completion", "bash"}).out);
  struct Case {
    const char* words;
    const char* completed;
  };
  for (const Case& c : {Case{"vemko co", "compare convert config"}, Case{"vemko convert --enc", "--encoding"},
                        Case{"vemko convert --channels m", "mono"}, Case{"vemko config s", "set"}}) {
    const std::string script =
        ". ./vemko.bash; COMP_WORDS=(" + std::string(c.words) +
        "); COMP_CWORD=$((${#COMP_WORDS[@]}-1)); _vemko; echo \"${COMPREPLY[*]}\" > .reply";
    const std::string command = "cd '" + shop.folder.path().string() + "' && bash -c '" + script + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(contentOf(shop.folder / ".reply"), std::string(c.completed) + "\n");
  }
  const std::string page = shop.run({"--help-man"}).out;
  for (const char* part : {".SS convert", "\\-\\-on\\-exists", "float64", ".SH EXIT STATUS", "\\fIDIR\\fR"})
    EXPECT_NE(page.find(part), std::string::npos) << part;
  for (const io::FixupStep& step : io::fixupSteps()) {
    std::string name(step.name);
    for (std::size_t at = 0; (at = name.find('-', at)) != name.npos; at += 2) name.insert(at, 1, '\\');
    EXPECT_TRUE(!step.option || page.find(name) != page.npos) << name;
  }
}

TEST(CommandLine, WritesSampleFilesInTheChosenFormat) {
  const Workshop shop;
  putFile(shop.folder / "i.sfz", "<region>sample=a.wav");
  const Ran ran = shop.run({"convert", "i.sfz", "-d", "out", "--to", "sfz", "--sample-files", "flac"});
  if (ran.err.find("libFLAC is not available") != ran.err.npos) GTEST_SKIP() << ran.err;
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(filesIn(shop.folder / "out"), (Names{"i.sfz", "ramp.flac"}));
}

}  // namespace
}  // namespace vemko
