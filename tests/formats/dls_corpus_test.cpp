// Real files: what an independent program reads from them, and the way through our writers.
#include <cstdio>
#include <cstdlib>

#include "compare/compare.h"
#include "formats/dls_support.h"
#include "formats/midi/midi_file.h"
#include "io/open.h"
#include "io/samples.h"

namespace vemko::test {
namespace {

std::vector<Path> corpusFiles(std::vector<std::string_view> extensions) {
  std::vector<Path> files;
  const char* folder = std::getenv("VEMKO_CORPUS");
  if (!folder) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    for (std::string_view extension : extensions)
      if (entry.is_regular_file() && entry.path().extension() == extension) files.push_back(entry.path());
  std::ranges::sort(files);
  return files;
}

Block bytesOfFile(const Path& path) {
  const std::string content = contentOf(path);
  const Bytes bytes = asBytes(content);
  return Block(bytes.begin(), bytes.end());
}

bool hasProgram(const char* name) {
  return std::system(("command -v " + std::string(name) + " >/dev/null 2>&1").c_str()) == 0;
}

std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return output;
  char block[4096];
  while (const std::size_t count = fread(block, 1, sizeof block, pipe)) output.append(block, count);
  pclose(pipe);
  return output;
}

// Loops without a frame count for the other program.
std::size_t loopsOf(const Region& region, const dls::RegionRecord& record) {
  const bool isEmpty = record.sample && !record.sample->loops.empty() && record.sample->loops[0].length == 0;
  return isEmpty || region.waveform()->mainLoop() ? 1 : 0;
}

// The collection in dlsdump's words.
std::string dumpOf(const Collection& collection, const dls::CollectionRecord& record) {
  std::string text = "File Name: \"" + toUtf8(collection.name()) + "\"\n";
  text += "ALL Available Samples (as there might be more than referenced by Instruments):\n";
  int number = 0;
  const void* before = nullptr;
  for (const Waveform* wave : collection.all<Waveform>()) {
    if (wave->notes.get() == before) continue;  // another loop of the same wave
    before = wave->notes.get();
    text += formatted("    Sample %d) \"%s\", %uHz, %d Channels\n", ++number, toUtf8(wave->name()).c_str(),
                      wave->rate, wave->channels);
  }
  text += "\nAvailable Instruments:\n";
  const auto instruments = collection.all<Instrument>();
  for (std::size_t i = 0; i < instruments.size(); ++i) {
    const Patch patch = instruments[i]->patch;
    text += formatted("    Instrument %zu) \"%s\",  MIDIBank=%d, MIDIProgram=%d\n", i + 1,
                      toUtf8(instruments[i]->name()).c_str(), patch.bankMsb() << 7 | patch.bankLsb(),
                      patch.program());
    int region = 0;
    for (const Region* each : regionsOf(*instruments[i])) {
      const dls::RegionRecord& raw = record.instruments[i].regions[static_cast<std::size_t>(region)];
      text += formatted(
          "        Region %d) Sample: \"%s\", %uHz, KeyRange=%d-%d, VelocityRange=%d-%d, Layer=%d\n",
          ++region, toUtf8(each->waveform()->name()).c_str(), each->waveform()->rate, each->keys.low,
          each->keys.high, each->velocities.low, each->velocities.high, raw.layer);
      text += formatted("            Loops=%zu\n", loopsOf(*each, raw));
    }
  }
  return text;
}

TEST(DlsCorpus, HoldsWhatAnotherProgramReads) {
  const auto files = corpusFiles({".dls"});
  if (files.empty() || !hasProgram("dlsdump")) GTEST_SKIP() << "needs VEMKO_CORPUS and dlsdump";
  for (const Path& path : files) {
    SCOPED_TRACE(path);
    const Block bytes = bytesOfFile(path);
    ReadDls read(bytes);
    ASSERT_TRUE(read.ok) << toUtf8(lastError());
    EXPECT_EQ(dumpOf(read.collection, recordOf(bytes)), outputOf("dlsdump '" + path.string() + "'"));
  }
}

void expectSameSample(const riff::WaveSample& is, const riff::WaveSample& was) {
  EXPECT_EQ(is.unityNote, was.unityNote);
  EXPECT_EQ(is.fineTuneCents, was.fineTuneCents);
  EXPECT_EQ(is.gainDb, was.gainDb);
  EXPECT_EQ(is.options, was.options);
  const bool hasLoop = !was.loops.empty() && was.loops[0].length > 0;
  ASSERT_EQ(is.loops.size(), hasLoop ? 1u : 0u);
  if (!hasLoop) return;
  EXPECT_EQ(is.loops[0].start, was.loops[0].start);
  EXPECT_EQ(is.loops[0].length, was.loops[0].length);
  EXPECT_EQ(is.loops[0].untilRelease, was.loops[0].untilRelease);
}

void expectSameConnections(const std::optional<dls::Articulation>& is,
                           const std::optional<dls::Articulation>& was) {
  const std::vector<Connection> none;
  EXPECT_EQ(is ? is->connections : none, was ? was->connections : none);
}

TEST(DlsCorpus, ComesBackWithItsConnectionsAndSamples) {
  const auto files = corpusFiles({".dls"});
  if (files.empty()) GTEST_SKIP() << "needs VEMKO_CORPUS";
  for (const Path& path : files) {
    SCOPED_TRACE(path);
    const Block original = bytesOfFile(path);
    const auto was = recordOf(original);
    const bool isLevel1 = std::ranges::search(original, asBytes("art2")).empty();
    ReadDls read(original);
    const io::Decisions before = io::setDecisions(
        {.ask = [](auto, auto) { return std::size_t{0}; }, .locateFile = {}, .confirmRaw = {}});
    const Block saved = savedAs(read.collection, isLevel1 ? 1 : 3);
    io::setDecisions(before);
    const auto is = recordOf(saved);
    ASSERT_EQ(is.instruments.size(), was.instruments.size());
    ASSERT_EQ(is.waves.size(), was.waves.size());
    for (std::size_t i = 0; i < was.instruments.size(); ++i) {
      const auto &one = is.instruments[i], &other = was.instruments[i];
      EXPECT_EQ(one.bank, other.bank);
      EXPECT_EQ(one.program, other.program);
      expectSameConnections(one.articulation, other.articulation);
      ASSERT_EQ(one.regions.size(), other.regions.size());
      for (std::size_t r = 0; r < other.regions.size(); ++r) {
        SCOPED_TRACE(testing::Message() << "instrument " << i << ", region " << r);
        EXPECT_EQ(one.regions[r].keys, other.regions[r].keys);
        EXPECT_EQ(one.regions[r].velocities, other.regions[r].velocities);
        EXPECT_EQ(one.regions[r].options, other.regions[r].options);
        EXPECT_EQ(one.regions[r].keyGroup, other.regions[r].keyGroup);
        expectSameConnections(one.regions[r].articulation, other.regions[r].articulation);
        const std::uint32_t wave = was.waveOfCue[other.regions[r].link.cue];
        EXPECT_EQ(is.waveOfCue[one.regions[r].link.cue], wave);
        expectSameSample(*one.regions[r].sample, other.regions[r].sample
                                                     ? *other.regions[r].sample
                                                     : was.waves[wave].sample.value_or(riff::WaveSample{}));
      }
    }
    for (std::size_t i = 0; i < was.waves.size(); ++i) {
      const auto samplesOf = [&](const Block& bytes, const dls::WaveRecord& wave) {
        return Bytes(bytes).subspan(static_cast<std::size_t>(wave.dataOffset),
                                    static_cast<std::size_t>(wave.dataSize));
      };
      EXPECT_TRUE(std::ranges::equal(samplesOf(saved, is.waves[i]), samplesOf(original, was.waves[i]))) << i;
    }
  }
}

// What a SoundFont says that levels 2 and 2++ have a word for.
TEST(DlsCorpus, SoundFontsComeBackAsFarAsTheLevelReaches) {
  const auto files = corpusFiles({".sf2"});
  if (files.empty()) GTEST_SKIP() << "needs VEMKO_CORPUS";
  const io::Decisions before = io::setDecisions(
      {.ask = [](auto, auto) { return std::size_t{0}; }, .locateFile = {}, .confirmRaw = {}});
  TempFolder folder;
  for (const Path& path : files)
    for (const char16_t* level : {u"DownLoadable Sounds level 2", u"DownLoadable Sounds level 2++"}) {
      SCOPED_TRACE(path.string() + ", " + toUtf8(level));
      Collection first, second;
      if (!io::openFile(first, path, false)) continue;
      const int toDls = io::findWritingRowByDescription(level),
                toSf2 = io::findWritingRow(u"sf2", kindBit(ItemKind::Collection));
      ASSERT_TRUE(io::saveItem(&first, toDls, folder / "a.dls", io::saveOptionsFor(toDls, 0)))
          << toUtf8(lastError());
      ASSERT_TRUE(io::openFile(second, folder / "a.dls", false)) << toUtf8(lastError());
      ASSERT_TRUE(io::saveItem(&second, toSf2, folder / "a.sf2", io::saveOptionsFor(toSf2, 0)))
          << toUtf8(lastError());
      Collection third;
      ASSERT_TRUE(io::openFile(third, folder / "a.sf2", false)) << toUtf8(lastError());
      for (const auto& each : compare::compareCollections(first, third, {.tolerance = 1}).differences) {
        const std::string what = toUtf8(each.what);
        for (std::string_view kept : {"ENV", "Cutoff frequency", "loop", "keys", "velocities", "root",
                                      "tuning", "missing", "Volume", "LFO", "samples"})
          EXPECT_EQ(what.find(kept), std::string::npos) << toUtf8(each.where) << ": " << what << ": "
                                                        << toUtf8(each.first) << " | " << toUtf8(each.second);
      }
    }
  io::setDecisions(before);
}

// The bodies of all track chunks.
std::vector<std::string> tracksOf(const std::string& file) {
  std::vector<std::string> tracks;
  Collection collection;
  if (midi::parseSong(asBytes(file), u"", collection))
    for (const Track* track : collection.all<Track>())
      tracks.emplace_back(reinterpret_cast<const char*>(track->events().data()), track->events().size());
  return tracks;
}

TEST(MidiCorpus, ComesBackWithIdenticalEvents) {
  const auto files = corpusFiles({".mid", ".midi", ".kar"});
  if (files.empty()) GTEST_SKIP() << "needs VEMKO_CORPUS";
  TempFolder folder;
  const int row = io::findWritingRow(u"mid", kindBit(ItemKind::Song));
  std::size_t songs = 0;
  for (const Path& path : files) {
    SCOPED_TRACE(path);
    const std::string content = contentOf(path);
    Collection collection;
    const bool ok = io::openFile(collection, path, false);
    EXPECT_EQ(ok, content.starts_with("MThd")) << toUtf8(lastError());
    if (!ok) continue;
    ++songs;
    ASSERT_TRUE(io::saveItem(collection.all<Song>().at(0), row, folder / "out.mid",
                             io::saveOptionsFor(row, io::kMidiEvents)))
        << toUtf8(lastError());
    const std::string again = contentOf(folder / "out.mid");
    EXPECT_EQ(tracksOf(again), tracksOf(content));
  }
  RecordProperty("songs", static_cast<int>(songs));
}

TEST(MidiCorpus, RiffMidiComesBackWithItsInstruments) {
  const auto files = corpusFiles({".rmi"});
  if (files.empty()) GTEST_SKIP() << "needs VEMKO_CORPUS";
  TempFolder folder;
  const int row = io::findWritingRowByDescription(u"RIFF-MIDI w DLS level 2 instruments");
  for (const Path& path : files) {
    SCOPED_TRACE(path);
    Collection first, second;
    ASSERT_TRUE(io::openFile(first, path, false)) << toUtf8(lastError());
    ASSERT_EQ(first.count(ItemKind::Song), 1u);
    EXPECT_GT(first.count(ItemKind::Instrument), 0u);
    ASSERT_TRUE(io::saveItem(&first, row, folder / "out.rmi", io::saveOptionsFor(row, 0)))
        << toUtf8(lastError());
    ASSERT_TRUE(io::openFile(second, folder / "out.rmi", false)) << toUtf8(lastError());
    EXPECT_TRUE(std::ranges::equal(first.all<Track>().at(0)->events(), second.all<Track>().at(0)->events()));
    EXPECT_EQ(first.count(ItemKind::Instrument), second.count(ItemKind::Instrument));
    for (Waveform* wave : second.all<Waveform>())
      EXPECT_TRUE(io::loadSamples(*wave, true)) << toUtf8(lastError());
  }
}

}  // namespace
}  // namespace vemko::test
