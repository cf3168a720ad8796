#include "io/save.h"

#include "base/log.h"
#include "base/progress.h"
#include "io/open.h"
#include "io/save_steps.h"
#include "save_rows.h"
#include "system/system.h"

namespace vemko::io {
namespace {

using namespace test;
using Names = std::vector<std::string>;

// One item of each kind, the waveform stereo and the instrument playing it.
struct Scene {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  Waveform& empty = createWaveform(collection, u"empty");
  Waveform& lost = createWaveform(collection, u"lost");
  Instrument& piano = createInstrument(collection, u"piano");
  Layer& layer = createLayer(piano, u"layer");
  Region& region = play(layer, wave);
  Instrument& silent = createInstrument(collection, u"silent");
  Song& song = createSong(collection, u"song");
  Track& track = createTrack(song, u"track");
  Synth& synth = createSynth(collection, u"synth");

  Scene() {
    defer(wave, {0.5f, -0.5f, 0.25f, -0.25f}, 2);
    lost.frames = 5;
  }
};

SaveOptions optionsOf(int row, CapabilityMask requested = 0) { return saveOptionsFor(row, requested, kRows); }

TEST(Save, WritesTheStoredItemOrSaysWhyNot) {
  Scene scene;
  Collection other;
  Layer orphan(other);
  const TempFolder folder;
  struct Case {
    const char* name;
    Item* item;
    int row;
    CapabilityMask requested;
    const char16_t* error;  // null: succeeds
    Names names;            // what the writer got
  };
  for (const Case& c : {
           Case{"waveform", &scene.wave, WaveRow, 0, nullptr, {"wave"}},
           Case{"region", &scene.region, InstrumentRow, 0, nullptr, {"piano"}},
           Case{"layer", &scene.layer, InstrumentRow, 0, nullptr, {"piano"}},
           Case{"track", &scene.track, SongRow, kMidiEvents, nullptr, {"song"}},
           Case{"no item", nullptr, WaveRow, 0, u"No item selected", {}},
           Case{"no row", &scene.wave, -1, 0, u"Invalid export format selected", {}},
           Case{"row past the end", &scene.wave, 7, 0, u"Invalid export format selected", {}},
           Case{"row that reads", &scene.wave, ReadingRow, 0, u"Invalid export format selected", {}},
           Case{"no item and no row", nullptr, -1, 0, u"No item selected", {}},
           Case{"layer of nobody", &orphan, InstrumentRow, 0, u"Save aborted!", {}},
           Case{"wrong kind", &scene.wave, InstrumentRow, 0, u"The file format can not save this item", {}},
           Case{
               "instrument as wave", &scene.piano, WaveRow, 0, u"The file format can not save this item", {}},
           Case{"song converted", &scene.song, SongRow, 0, u"Save aborted!", {}},
           Case{"song as wave", &scene.song, WaveRow, 0, u"Failed to render synth to wave", {}},
           Case{"synth as wave", &scene.synth, WaveRow, 0, u"Failed to render synth to wave", {}},
           Case{"no frames", &scene.empty, WaveRow, 0, u"Empty item - nothing to save", {}},
           Case{"no regions", &scene.silent, InstrumentRow, 0, u"Empty item - nothing to save", {}},
           Case{"no samples", &scene.lost, WaveRow, 0, u"No wave data import procedure", {}},
           Case{"writer fails", &scene.wave, FailingRow, 0, u"Scripted failure", {"wave"}},
           Case{"writer throws", &scene.wave, ThrowingRow, 0, u"Out of memory", {"wave"}},
       }) {
    SCOPED_TRACE(c.name);
    written = {};
    const Path path = folder / "out";
    const bool saved = saveItem(c.item, c.row, path, optionsOf(c.row, c.requested), kRows);
    EXPECT_EQ(saved, c.error == nullptr) << toUtf8(lastError());
    if (c.error) {
      EXPECT_EQ(toUtf8(lastError()), toUtf8(c.error));
    }
    EXPECT_EQ(written.names, c.names);
    EXPECT_EQ(filesIn(folder.path()), saved ? Names{"out"} : Names{});
    EXPECT_FALSE(isSaving());
    removeFile(path);
  }
}

// The second layer is joined with the first one before its instrument is written.
TEST(Save, OutlivesAPartThatIsTidiedAway) {
  const TempFolder folder;
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  defer(wave, {0, 0});
  Instrument& piano = createInstrument(collection, u"piano");
  play(createLayer(piano, u"low"), wave, {0, 59});
  Layer& high = createLayer(piano, u"high");
  play(high, wave, {60, 127});
  written = {};
  EXPECT_TRUE(saveWithBackup(&high, folder / "out", InstrumentRow, optionsOf(InstrumentRow), false, kRows))
      << toUtf8(lastError());
  EXPECT_EQ(written.names, Names{"piano"});
  EXPECT_EQ(collection.count(ItemKind::Layer), 1u);
}

TEST(Save, RendersSongsAndSynthsWhereTheRowNeedsSound) {
  Scene scene;
  const TempFolder folder;
  bool works = true;
  setRenderHooks({[&](Item&, Waveform& result) {
    fill(result, {0.1f, 0.2f});
    return works || fail(u"no bank");
  }});
  const std::size_t waveforms = scene.collection.count(ItemKind::Waveform);
  EXPECT_TRUE(saveItem(&scene.track, WaveRow, folder / "out", optionsOf(WaveRow), kRows))
      << toUtf8(lastError());
  works = false;
  EXPECT_FALSE(saveItem(&scene.synth, WaveRow, folder / "out2", optionsOf(WaveRow), kRows));
  EXPECT_EQ(toUtf8(lastError()), "Failed to render synth to wave");
  EXPECT_EQ(scene.collection.count(ItemKind::Waveform), waveforms);
  EXPECT_EQ(filesIn(folder.path()), Names{"out"});
  setRenderHooks({});
}

TEST(Save, SplitsStereoForRowsOfLinkedPairs) {
  Scene scene;
  scene.collection.remove(scene.lost);
  scene.collection.setName(u"bank");
  scene.collection.setText(TextProperty::Copyright, u"somebody");
  scene.collection.notes = std::make_shared<ReaderNotes>();
  const TempFolder folder;
  for (Item* item : {static_cast<Item*>(&scene.piano), static_cast<Item*>(&scene.collection)}) {
    const std::size_t before = waveformsOf(*item).size();
    ASSERT_TRUE(saveItem(item, LinkedRow, folder / "out", optionsOf(LinkedRow), kRows))
        << toUtf8(lastError());
    EXPECT_EQ(written.waveforms, before + 1);
    EXPECT_EQ(written.collection, "bank");
    EXPECT_EQ(written.copyright, "somebody");
    EXPECT_EQ(written.notes, scene.collection.notes);
    EXPECT_EQ(scene.wave.channels, 2);
    EXPECT_EQ(waveformsOf(*item).size(), before);
    ASSERT_TRUE(saveItem(item, LinkedRow, folder / "out", optionsOf(LinkedRow, kMono), kRows))
        << toUtf8(lastError());
    EXPECT_EQ(written.waveforms, before) << "mono was asked for";
  }
}

// The state of the folder after saving to "a" there, with a writer that succeeds or fails.
TEST(Save, NeverLosesAFile) {
  struct Case {
    const char* name;
    void (*arrange)(const Path& a);
    const char* target;  // null: a itself
    int row;
    const char16_t* error;  // null: succeeds
    Names files;
    const char* content;  // of a
    bool posixOnly = false;
  };
  auto nothing = [](const Path&) {};
  auto oldFile = [](const Path& a) { putFile(a, "old"); };
  auto oldBackup = [](const Path& a) { putFile(a, "old"), putFile(backupPath(a), "mine"); };
  auto link = [](const Path& a) {
    putFile(a, "old"), std::filesystem::create_symlink("a", a.parent_path() / "l");
  };
  auto deadLink = [](const Path& a) { std::filesystem::create_symlink("a", a.parent_path() / "l"); };
  auto protectedFile = [](const Path& a) {
    putFile(a, "old"), std::filesystem::permissions(a, std::filesystem::perms(0444));
  };
  auto asFolder = [](const Path& a) { std::filesystem::create_directory(a), putFile(a / "x", "old"); };
  auto longName = [](const Path& a) {
    putFile(a, "old"), putFile(a.parent_path() / std::string(252, 'n'), "old");
  };
  const std::string tooLong(256, 'n'), barely(252, 'n');
  for (const Case& c : {
           Case{"new", nothing, nullptr, WaveRow, nullptr, {"a"}, "new"},
           Case{"new fails", nothing, nullptr, FailingRow, u"Scripted failure", {}, nullptr},
           Case{"old", oldFile, nullptr, WaveRow, nullptr, {"a"}, "new"},
           Case{"old fails", oldFile, nullptr, FailingRow, u"Scripted failure", {"a"}, "old"},
           Case{"old throws", oldFile, nullptr, ThrowingRow, u"Out of memory", {"a"}, "old"},
           Case{"backup there", oldBackup, nullptr, WaveRow, nullptr, {"a", "a.bak"}, "new"},
           Case{"backup there fails",
                oldBackup,
                nullptr,
                FailingRow,
                u"Scripted failure",
                {"a", "a.bak"},
                "old"},
           Case{"link", link, "l", WaveRow, nullptr, {"a", "l"}, "new", true},
           Case{"link fails", link, "l", FailingRow, u"Scripted failure", {"a", "l"}, "old", true},
           Case{"link to nothing", deadLink, "l", WaveRow, nullptr, {"a", "l"}, "new", true},
           Case{
               "link to nothing fails", deadLink, "l", FailingRow, u"Scripted failure", {"l"}, nullptr, true},
           Case{"write-protected", protectedFile, nullptr, WaveRow, u"Could not create file", {"a"}, "old"},
           Case{"folder", asFolder, nullptr, WaveRow, u"Could not create file", {"a"}, nullptr},
           Case{"missing folder", oldFile, "no/b", WaveRow, u"Could not create file", {"a"}, "old"},
           Case{"file as folder", oldFile, "a/b", WaveRow, u"Could not create file", {"a"}, "old"},
           Case{"name too long", oldFile, tooLong.c_str(), WaveRow, u"Could not create file", {"a"}, "old"},
           Case{"no room for backup",
                longName,
                barely.c_str(),
                WaveRow,
                u"Could not create file",
                {"a", barely},
                "old"},
           Case{"full device", oldFile, "/dev/full", WaveRow, u"Writing to file failed", {"a"}, "old", true},
           Case{"device", oldFile, "/dev/null", WaveRow, nullptr, {"a"}, "old", true},
       }) {
    if (c.posixOnly && !kPosix) continue;
    SCOPED_TRACE(c.name);
    const TempFolder folder;
    Scene scene;
    c.arrange(folder / "a");
    const Path target = folder / (c.target ? c.target : "a");
    std::u16string status;
    setProgressSink({[&](std::u16string_view text) { status = text; }, {}, {}});
    // A full device fails the write of the scripted writer itself.
    const int row = c.target && Path(c.target) == "/dev/full" ? findWritingRow(u"wav", kWave) : c.row;
    const FormatRows rows = row == c.row ? FormatRows(kRows) : formatTable();
    const bool saved = saveWithBackup(&scene.wave, target, row, saveOptionsFor(row, 0, rows), false, rows);
    setProgressSink({});
    EXPECT_EQ(saved, c.error == nullptr) << toUtf8(lastError());
    if (c.error) {
      EXPECT_EQ(toUtf8(lastError()), toUtf8(c.error));
    }
    if (c.error) {
      EXPECT_EQ(toUtf8(status), "Failed to Save.");
    }
    EXPECT_EQ(filesIn(folder.path()), c.files);
    if (c.content) {
      EXPECT_EQ(contentOf(folder / "a"), c.content);
    }
    if (fileExists(folder / "a.bak")) {
      EXPECT_EQ(contentOf(folder / "a.bak"), "mine");
    }
  }
  EXPECT_TRUE(!kPosix || (fileExists("/dev/full") && fileExists("/dev/null")));
}

TEST(Save, KeepsPermissionsAndHardLinkedNames) {
  const TempFolder folder;
  Scene scene;
  putFile(folder / "a", "old");
  std::filesystem::create_hard_link(folder / "a", folder / "b");
  std::filesystem::permissions(folder / "a", std::filesystem::perms(0640));
  const auto before = std::filesystem::status(folder / "a").permissions();
  ASSERT_TRUE(saveWithBackup(&scene.wave, folder / "a", WaveRow, optionsOf(WaveRow), false, kRows))
      << toUtf8(lastError());
  EXPECT_EQ(std::filesystem::status(folder / "a").permissions(), before);
  EXPECT_EQ(contentOf(folder / "b"), "old");
  EXPECT_EQ(filesIn(folder.path()), (Names{"a", "b"}));
}

TEST(Save, AFileSizeLimitLeavesTheOldFile) {
  if (!kPosix) GTEST_SKIP() << kPosixOnly;
  const TempFolder folder;
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  fill(wave, std::vector<float>(200000, 0.5f));
  putFile(folder / "a.wav", "old");
  const int row = findWritingRow(u"wav", kWave);
  {
    const FileSizeLimit limit(100000);
    EXPECT_FALSE(saveWithBackup(&wave, folder / "a.wav", row, saveOptionsFor(row, 0), false));
    EXPECT_EQ(toUtf8(lastError()), "Writing to file failed");
  }
  EXPECT_EQ(filesIn(folder.path()), Names{"a.wav"});
  EXPECT_EQ(contentOf(folder / "a.wav"), "old");
}

// Deferred samples come from the very file that is replaced, by whatever name.
TEST(Save, OverItsOwnSource) {
  const int row = findWritingRow(u"wav", kWave);
  for (const char* name : {"a.wav", "./a.wav", "link.wav", "hard.wav", "sub/../a.wav"}) {
    if (!kPosix && Path(name) == "link.wav") continue;
    SCOPED_TRACE(name);
    const TempFolder folder;
    std::filesystem::create_directory(folder / "sub");
    std::vector<float> samples(50000);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 256) / 256 - 0.5f;
    {
      Collection made;
      Waveform& wave = createWaveform(made, u"wave");
      fill(wave, samples);
      ASSERT_TRUE(
          saveItem(&wave, row, folder / "a.wav", saveOptionsFor(row, encodingBit(SampleEncoding::Pcm16))))
          << toUtf8(lastError());
    }
    if (kPosix) std::filesystem::create_symlink("a.wav", folder / "link.wav");
    std::filesystem::create_hard_link(folder / "a.wav", folder / "hard.wav");
    auto read = std::make_unique<Collection>();
    ASSERT_TRUE(openFile(*read, folder / "a.wav", false)) << toUtf8(lastError());
    Waveform& wave = *read->all<Waveform>().front();
    ASSERT_EQ(wave.buffer, nullptr);
    for (SampleEncoding encoding : {SampleEncoding::Pcm24, SampleEncoding::Float32})
      ASSERT_TRUE(
          saveWithBackup(&wave, folder / name, row, saveOptionsFor(row, encodingBit(encoding)), false))
          << toUtf8(lastError());
    EXPECT_EQ(samplesOf(wave), samples);
    Collection again;
    ASSERT_TRUE(openFile(again, folder / name, false)) << toUtf8(lastError());
    EXPECT_EQ(samplesOf(*again.all<Waveform>().front()), samples);
    read.reset();
    EXPECT_EQ(filesIn(folder.path()),
              kPosix ? (Names{"a.wav", "hard.wav", "link.wav", "sub"}) : (Names{"a.wav", "hard.wav", "sub"}));
  }
}

TEST(Save, ReportsAndTakesOverTheFile) {
  const TempFolder folder;
  Scene scene;
  scene.collection.remove(scene.lost);
  std::vector<std::string> logged, statuses;
  std::vector<Path> recent;
  setRecentFileSink([&](const Path& path) { recent.push_back(path); });
  LogSink before = setLogSink([&](LogLevel, std::u16string_view line) { logged.push_back(toUtf8(line)); });
  setProgressSink({[&](std::u16string_view text) { statuses.push_back(toUtf8(text)); }, {}, {}});
  const Path path = folder / "bank.c";
  EXPECT_TRUE(saveWithBackup(&scene.collection, path, LinkedRow, optionsOf(LinkedRow), true, kRows))
      << toUtf8(lastError());
  EXPECT_FALSE(
      saveWithBackup(&scene.silent, folder / "b", InstrumentRow, optionsOf(InstrumentRow), true, kRows));
  setLogSink(before);
  setProgressSink({});
  setRecentFileSink({});
  EXPECT_EQ(
      logged,
      (Names{"Instruments with the bank and program of another, of which players find only one: 1, as silent",
             "Saved: " + path.string() + " (3 Bytes)"}));
  EXPECT_EQ(statuses, (Names{"Saving", "Writing: " + path.string(), "Saved: " + path.string(), "Saving",
                             "Failed to Save."}));
  EXPECT_EQ(recent, (std::vector<Path>{path, folder / "b"}));
  EXPECT_EQ(scene.collection.file, path);
  EXPECT_EQ(scene.collection.formatRow, LinkedRow);
}

TEST(Save, SizeText) {
  struct Case {
    std::uint64_t bytes;
    const char* text;
  };
  for (const Case& c : {Case{0, "0 Bytes"}, Case{1023, "1023 Bytes"}, Case{1024, "1 KB"}, Case{1535, "1 KB"},
                        Case{1536, "2 KB"}, Case{1048063, "1023 KB"}, Case{1048064, "1 MB"},
                        Case{1572352, "2 MB"}, Case{~std::uint64_t{0}, "17592186044416 MB"}})
    EXPECT_EQ(toUtf8(sizeText(c.bytes)), c.text) << c.bytes;
}

TEST(Save, ChannelFormats) {
  Collection collection;
  Waveform& mono = createWaveform(collection, u"mono");
  Waveform& stereo = createWaveform(collection, u"stereo");
  stereo.channels = 2;
  Waveform* const both[] = {&mono, &stereo};
  const std::span<Waveform*const> all(both), first = all.first(1), second = all.last(1);
  struct Case {
    const char* name;
    CapabilityMask capabilities;
    std::span<Waveform* const> waveforms;
    std::vector<std::u16string> entries;
  };
  for (const Case& c : {
           Case{"no layouts", kMidiEvents, all, {u"N/A"}},
           Case{"mono row, mono", kMono, first, {u"Auto <Mono>", u"Mono"}},
           Case{"mono row, mixed", kMono, all, {u"Auto <mixed>", u"Mono"}},
           Case{"both, stereo", kMono | kStereo, second, {u"Auto <Stereo>", u"Mono", u"Stereo"}},
           Case{"linked", kLinkedStereo, all, {u"Auto <mixed>", u"Stereo"}},
       })
    EXPECT_EQ(channelFormats(c.capabilities, c.waveforms), c.entries) << c.name;
}

}  // namespace
}  // namespace vemko::io
