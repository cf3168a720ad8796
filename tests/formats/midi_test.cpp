// Standard MIDI Files and RIFF-MIDI: songs and tracks.
#include "formats/midi/midi.h"

#include <algorithm>
#include <chrono>

#include "core/midi_events.h"
#include "formats/dls_support.h"
#include "formats/midi/midi_file.h"
#include "formats/soundfont_support.h"
#include "io/open.h"
#include "io/samples.h"

namespace vemko::test {
namespace {

std::string big(std::uint64_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xFF);
  return text;
}
std::string chunk(const std::string& id, const std::string& body) { return id + big(body.size(), 4) + body; }
std::string midi(int format, const std::vector<std::string>& tracks, int division = 96) {
  std::string file = chunk("MThd", big(static_cast<std::uint64_t>(format), 2) + big(tracks.size(), 2) +
                                       big(static_cast<std::uint64_t>(division), 2));
  for (const std::string& track : tracks) file += chunk("MTrk", track);
  return file;
}

const std::string kEnd("\0\xFF\x2F\0", 4);
const std::string kNamed = std::string("\0\xFF\x03\x04Song", 8) + std::string("\0\xFF\x02\x03Me!", 7) + kEnd;
// Two notes by running status, on channel 3.
const std::string kNotes = std::string("\0\xFF\x03\x04Lead\0\x93\x3C\x40\x60\x3C\0\x60\x3E\x40", 18) + kEnd;

std::string textOfBytes(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

struct ReadMidi {
  explicit ReadMidi(const std::string& content) {
    putFile(folder / "a file.mid", content);
    InputFile file;
    EXPECT_TRUE(file.open(folder / "a file.mid"));
    ok = midi::readFile(collection, file, 0);
  }
  const Song& song() const { return *collection.all<Song>().at(0); }
  std::vector<Track*> tracks() const { return collection.all<Track>(); }
  std::string again(std::uint32_t variant = midi::kOwnFormat) const {
    return textOfBytes(midi::buildSong(song(), variant));
  }
  TempFolder folder;
  Collection collection;
  bool ok = false;
};

TEST(MidiFile, ComesBackByteForByte) {
  const struct {
    const char* name;
    std::string content;
  } cases[] = {
      {"format 0", midi(0, {kNotes})},
      {"format 1", midi(1, {kNamed, kNotes, kEnd})},
      {"format 2", midi(2, {kNotes, kNotes})},
      {"frames a second", midi(1, {kNamed, kNotes}, 0xE728)},
      {"no tracks", midi(1, {})},
      {"events cut off at the end", midi(0, {std::string("\0\x90\x3C", 3)})},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    ReadMidi read(each.content);
    ASSERT_TRUE(read.ok) << toUtf8(lastError());
    EXPECT_EQ(read.again(), each.content);
  }
}

TEST(MidiFile, TellsNamesTextsAndChannels) {
  ReadMidi read(midi(1, {kNamed, kNotes}));
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(toUtf8(read.song().name()), "Song");
  EXPECT_EQ(toUtf8(read.song().text(TextProperty::Copyright)), "Me!");
  EXPECT_EQ(read.song().settings, 96u << 16 | 1);
  ASSERT_EQ(read.tracks().size(), 2u);
  EXPECT_EQ(toUtf8(read.tracks()[1]->name()), "Lead");
  EXPECT_EQ(read.tracks()[0]->channel, 0xFF00u);
  EXPECT_EQ(read.tracks()[1]->channel, 3u);
  EXPECT_EQ(read.tracks()[1]->eventCount(), 5u);
  EXPECT_EQ(toUtf8(ReadMidi(midi(0, {kEnd})).song().name()), "a file");
}

TEST(MidiFile, MergesAndPartsTracks) {
  const std::string one =
      std::string("\x10\x90\x3C\x40\x20\x80\x3C\x40", 8) + std::string("\x30\xFF\x2F\0", 4);
  const std::string two = std::string("\0\xFF\x51\x03\x07\xA1\x20\x18\x91\x40\x40", 11) + kEnd;
  ReadMidi read(midi(1, {one, two}));
  const std::string merged =
      std::string("\0\xFF\x51\x03\x07\xA1\x20\x10\x90\x3C\x40\x08\x91\x40\x40\x18\x80\x3C\x40", 19) +
      std::string("\x30\xFF\x2F\0", 4);
  EXPECT_EQ(read.again(midi::kSingleTrack), midi(0, {merged}));
  EXPECT_EQ(read.again(midi::kParallelTracks), midi(1, {one, two}));
  ReadMidi single(midi(0, {merged}));
  const std::string conductor = std::string("\0\xFF\x51\x03\x07\xA1\x20\x60\xFF\x2F\0", 11);
  const std::string second = std::string("\x18\x91\x40\x40\x48\xFF\x2F\0", 8);
  EXPECT_EQ(single.again(midi::kParallelTracks), midi(1, {conductor, one, second}));
  EXPECT_EQ(single.again(midi::kSingleTrack), midi(0, {merged}));
}

TEST(MidiFile, ReadsDamagedFilesAsFarAsTheyMakeSense) {
  const std::string good = midi(1, {kNamed, kNotes});
  const auto patched = [&](std::size_t at, std::string bytes) {
    return std::string(good).replace(at, bytes.size(), bytes);
  };
  const std::size_t second = 14 + 8 + kNamed.size();
  const struct {
    const char* name;
    std::string content;
    std::vector<std::string> tracks;
    const char* log = "";
    const char* error = "";
  } cases[] = {
      {"nothing", "", {}, "", "Not a Standard MIDI file"},
      {"no header", "MTrk", {}, "", "Not a Standard MIDI file"},
      {"short header", good.substr(0, 13), {}, "", "Not a Standard MIDI file"},
      {"longer header", "MThd" + big(8, 4) + good.substr(8, 6) + "xx" + good.substr(14), {kNamed, kNotes}},
      {"65535 tracks announced",
       patched(10, "\xFF\xFF"),
       {kNamed, kNotes},
       "announces 65535 tracks and holds 2"},
      {"unknown format", patched(8, std::string("\0\x09", 2)), {kNamed, kNotes}, "format number"},
      {"division 0", patched(12, std::string("\0\0", 2)), {kNamed, kNotes}, "24 ticks"},
      {"length too large", patched(second + 4, big(0xFFFFFFFF, 4)), {kNamed, kNotes}, "length of a track"},
      {"length too small", patched(18, big(5, 4)), {kNamed, kNotes}, "length of a track"},
      {"first length to the end", patched(18, big(1000, 4)), {kNamed, kNotes}, "length of a track"},
      {"last byte missing",
       good.substr(0, good.size() - 1),
       {kNamed, kNotes.substr(0, kNotes.size() - 1)},
       "length of a track"},
      {"no end of track",
       midi(0, {kNotes.substr(0, kNotes.size() - 4)}),
       {kNotes.substr(0, kNotes.size() - 4)},
       "no end"},
      {"bytes between tracks",
       midi(1, {kNamed}) + "\1\2\3" + chunk("MTrk", kNotes),
       {kNamed, kNotes},
       "passed over"},
      {"unknown chunk", midi(1, {kNamed}) + chunk("XFIH", "abc") + chunk("MTrk", kNotes), {kNamed, kNotes}},
      {"data before any status", midi(0, {"\x10\x20\x30"}), {"\x10\x20\x30"}, "no events"},
      {"endless number", midi(0, {std::string(100, '\xFF')}), {std::string(100, '\xFF')}, "no events"},
      {"meta past the end",
       midi(0, {std::string("\0\xFF\x01\x7F"
                            "abc",
                            7)}),
       {std::string("\0\xFF\x01\x7F"
                    "abc",
                    7)},
       "no events"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    DlsLog log;
    ReadMidi read(each.content);
    EXPECT_EQ(read.ok, *each.error == '\0');
    if (!read.ok) {
      EXPECT_EQ(toUtf8(lastError()), each.error);
      continue;
    }
    std::vector<std::string> tracks;
    for (const Track* track : read.tracks()) tracks.push_back(textOfBytes(track->events()));
    EXPECT_EQ(tracks, each.tracks);
    EXPECT_NE(log.all().find(each.log), std::string::npos) << log.all();
    const std::string again = read.again();
    EXPECT_TRUE(ReadMidi(again).ok);
    for (std::uint32_t variant : {midi::kSingleTrack, midi::kParallelTracks})
      EXPECT_TRUE(ReadMidi(read.again(variant)).ok);
  }
}

TEST(MidiFile, AddsAMissingEnd) {
  const std::string open = kNotes.substr(0, kNotes.size() - 4);
  EXPECT_EQ(ReadMidi(midi(0, {open})).again(), midi(0, {kNotes}));
}

void parseAndBuild(const std::string& content) {
  Collection collection;
  const Song* song = midi::parseSong(asBytes(content), u"", collection);
  for (std::uint32_t variant : {midi::kOwnFormat, midi::kSingleTrack, midi::kParallelTracks})
    if (song) midi::buildSong(*song, variant);
}

TEST(MidiFile, SurvivesCutsAndFlippedBits) {
  const std::string good = midi(1, {kNamed, kNotes, kNotes});
  for (std::size_t length = 0; length < good.size(); ++length) parseAndBuild(good.substr(0, length));
  std::mt19937 random(6);
  for (int i = 0; i < 5000; ++i) {
    std::string bad = good;
    for (int flips = 1 + i % 4; flips > 0; --flips)
      bad[random() % bad.size()] ^= static_cast<char>(1u << random() % 8);
    parseAndBuild(bad);
  }
}

TEST(MidiFile, ManyTracksTakeNoTime) {
  std::string file = midi(1, {});
  for (int i = 0; i < 65535; ++i) file += chunk("MTrk", kEnd);
  const auto start = std::chrono::steady_clock::now();
  ReadMidi read(file);
  EXPECT_EQ(read.tracks().size(), 65535u);
  EXPECT_EQ(read.again().size(), file.size());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// --- RIFF-MIDI

std::string little(std::uint32_t value) { return {reinterpret_cast<const char*>(&value), 4}; }
std::string riffChunk(const std::string& id, std::string body) {
  const auto size = static_cast<std::uint32_t>(body.size());
  if (size % 2) body += '\0';
  return id + little(size) + body;
}
std::string riffMidi(const std::string& parts) { return riffChunk("RIFF", "RMID" + parts); }

TEST(RiffMidi, OpensSongsWithTheirInstruments) {
  const std::string song = riffChunk("data", midi(0, {kNotes}));
  const std::string bank = textOfBytes(bytesOf(DlsFile{}));
  const std::string name = riffChunk("LIST", "INFO" + riffChunk("ICMT", "Comment"));
  const struct {
    const char* name;
    std::string content;
    std::size_t songs, instruments;
    const char* error = "";
  } cases[] = {
      {"song alone", riffMidi(song), 1, 0},
      {"song and instruments", riffMidi(song + name + bank), 1, 1},
      {"instruments first", riffMidi(bank + song), 1, 1},
      {"song and SoundFont", riffMidi(song + textOfBytes(bytesOf(simpleBank()))), 1, 1},
      {"bank of no known kind", riffMidi(song + riffChunk("RIFF", "ABCDefgh")), 1, 0},
      {"bank that is a file like this", riffMidi(song + riffMidi(song + bank)), 1, 0},
      {"no song", riffMidi(bank), 0, 1, "Not a Standard MIDI file"},
      {"song of rubbish", riffMidi(riffChunk("data", "rubbish")), 0, 0, "Not a Standard MIDI file"},
      {"sizes wrong", "RIFF" + little(0xFFFFFFFF) + "RMID" + song, 1, 0},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    TempFolder folder;
    putFile(folder / "a.rmi", each.content);
    Collection collection;
    EXPECT_EQ(io::openFile(collection, folder / "a.rmi", false), *each.error == '\0') << toUtf8(lastError());
    EXPECT_EQ(collection.count(ItemKind::Song), each.songs);
    EXPECT_EQ(collection.count(ItemKind::Instrument), each.instruments);
    if (*each.error) {
      EXPECT_EQ(toUtf8(lastError()), each.error);
    }
    for (Waveform* wave : collection.all<Waveform>()) {
      ASSERT_TRUE(io::loadSamples(*wave, true)) << toUtf8(lastError());
      EXPECT_EQ(wave->buffer->samples()[50], 1000 / 32768.0f);
    }
  }
}

TEST(RiffMidi, WritesTheSongWithItsInstruments) {
  const struct {
    const char16_t* row;
    std::size_t instruments;
    const char* region;
  } cases[] = {{u"RIFF-MIDI", 0, "MTrk"},
               {u"RIFF-MIDI w DLS level 1 instruments", 1, "rgn "},
               {u"RIFF-MIDI w DLS level 2 instruments", 1, "rgn2"}};
  for (const auto& each : cases)
    for (bool asSong : {false, true}) {
      SCOPED_TRACE(toUtf8(each.row) + (asSong ? ", song" : ", collection"));
      TempFolder folder;
      putFile(folder / "in.rmi",
              riffMidi(riffChunk("data", midi(0, {kNotes})) + textOfBytes(bytesOf(DlsFile{}))));
      Collection collection;
      ASSERT_TRUE(io::openFile(collection, folder / "in.rmi", false)) << toUtf8(lastError());
      Item* item = asSong ? static_cast<Item*>(collection.all<Song>()[0]) : &collection;
      const int row = io::findWritingRowByDescription(each.row);
      // Over the file that the samples still lie in.
      ASSERT_TRUE(
          io::saveWithBackup(item, folder / "in.rmi", row, io::saveOptionsFor(row, io::kMidiEvents), false))
          << toUtf8(lastError());
      EXPECT_NE(contentOf(folder / "in.rmi").find(each.region), std::string::npos);
      Collection again;
      ASSERT_TRUE(io::openFile(again, folder / "in.rmi", false)) << toUtf8(lastError());
      EXPECT_EQ(textOfBytes(again.all<Track>().at(0)->events()), kNotes);
      EXPECT_EQ(again.count(ItemKind::Instrument), each.instruments);
      for (Waveform* wave : again.all<Waveform>()) {
        ASSERT_TRUE(io::loadSamples(*wave, true)) << toUtf8(lastError());
        EXPECT_EQ(wave->buffer->samples()[99], 1000 / 32768.0f);
      }
    }
}

}  // namespace
}  // namespace vemko::test
