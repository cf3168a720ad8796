#include "base/log.h"
#include "save_rows.h"

namespace vemko::io {
namespace {

using namespace test;
using Names = std::vector<std::string>;

void addWaves(Collection& collection, std::initializer_list<const char16_t*> names) {
  for (const char16_t* name : names) fill(createWaveform(collection, name), {0.5f, 0.25f});
}

struct Logged {
  Names lines;
  LogSink before = setLogSink([this](LogLevel, std::u16string_view line) { lines.push_back(toUtf8(line)); });
  ~Logged() { setLogSink(before); }
};

TEST(SaveAll, RefusesWhatTheRowOrTheCollectionLacks) {
  Collection empty, filled;
  addWaves(filled, {u"wave"});
  createTrack(createSong(filled, u"song"), u"track");
  const TempFolder folder;
  struct Case {
    const char* name;
    Collection* collection;
    ItemKind kind;
    int row;
    const char* error;
  };
  for (const Case& c : {
           Case{"no waveforms", &empty, ItemKind::Waveform, WaveRow, "No waveforms to save!"},
           Case{"no instruments", &empty, ItemKind::Instrument, InstrumentRow, "No instruments to save!"},
           Case{"no songs", &empty, ItemKind::Song, SongRow, "No songs to save!"},
           Case{"wrong row", &filled, ItemKind::Waveform, SongRow,
                "Can't 'Save all waveforms' with this file format!"},
           Case{"no writer", &filled, ItemKind::Waveform, ReadingRow, "Invalid export format selected"},
           Case{"no collection", nullptr, ItemKind::Waveform, WaveRow, "No item selected"},
           Case{"song as sound", &filled, ItemKind::Song, WaveRow, "Failed to render synth to wave"},
       }) {
    SCOPED_TRACE(c.name);
    SaveAllResult result = saveAll({.collection = c.collection,
                                    .kind = c.kind,
                                    .row = c.row,
                                    .rows = kRows,
                                    .folder = folder.path(),
                                    .baseName = {},
                                    .options = {},
                                    .onCollision = {},
                                    .onFile = {}});
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(toUtf8(lastError()), c.error);
    EXPECT_EQ(filesIn(folder.path()), Names{});
  }
}

TEST(SaveAll, AsksAboutFilesThatExist) {
  using enum CollisionAnswer;
  struct Case {
    const char* name;
    std::vector<CollisionAnswer> answers;  // the last one for all further collisions
    std::size_t asked, saved;
    bool ok;
    Names files;
    const char* b;  // content of "x - b.w"
    const char* log;
  };
  // "x - b.w" and "x - c.w" exist already, two waveforms have the name "a".
  for (const Case& c : {
           Case{"overwrite",
                {Overwrite},
                1,
                4,
                true,
                {"x - a (2).w", "x - a.w", "x - b.w", "x - c.w"},
                "new",
                "Done: Saved 4"},
           Case{"rename",
                {Rename},
                1,
                4,
                true,
                {"x - a (2).w", "x - a.w", "x - b (2).w", "x - b.w", "x - c (2).w", "x - c.w"},
                "old",
                "Done: Saved 4"},
           Case{"skip one",
                {Skip, Overwrite},
                2,
                3,
                true,
                {"x - a (2).w", "x - a.w", "x - b.w", "x - c.w"},
                "old",
                "Done: Saved 3"},
           Case{"cancel",
                {CancelAll},
                1,
                2,
                false,
                {"x - a (2).w", "x - a.w", "x - b.w", "x - c.w"},
                "old",
                "Failed: Cancelled after 2 files."},
       }) {
    SCOPED_TRACE(c.name);
    const TempFolder folder;
    putFile(folder / "x - b.w", "old");
    putFile(folder / "x - c.w", "old");
    Collection collection;
    addWaves(collection, {u"a", u"A", u"b", u"c"});
    collection.all<Waveform>()[1]->setName(u"a");
    std::size_t asked = 0, told = 0;
    Logged log;
    SaveAllRequest request{.collection = &collection,
                           .kind = ItemKind::Waveform,
                           .row = WaveRow,
                           .rows = kRows,
                           .folder = folder.path(),
                           .baseName = u"x",
                           .options = saveOptionsFor(WaveRow, 0, kRows),
                           .onCollision = {},
                           .onFile = {}};
    request.onCollision = [&](const Path&, bool& forAll) {
      const CollisionAnswer answer = c.answers[std::min(asked++, c.answers.size() - 1)];
      forAll = asked >= c.answers.size();
      return answer;
    };
    request.onFile = [&](const Item&, const Path&, bool) { ++told; };
    const SaveAllResult result = saveAll(request);
    EXPECT_EQ(result.ok, c.ok) << toUtf8(lastError());
    EXPECT_EQ(result.saved, c.saved);
    EXPECT_EQ(asked, c.asked);
    EXPECT_EQ(told, result.cancelled ? 3u : 4u);
    EXPECT_EQ(filesIn(folder.path()), c.files);
    EXPECT_EQ(contentOf(folder / "x - b.w"), c.b);
    EXPECT_EQ(log.lines, Names{c.log});
  }
}

TEST(SaveAll, SavesTheCollectionAsOneFile) {
  const TempFolder folder;
  Collection collection;
  addWaves(collection, {u"a"});
  Logged log;
  EXPECT_TRUE(saveAll({.collection = &collection,
                       .kind = ItemKind::Collection,
                       .row = LinkedRow,
                       .rows = kRows,
                       .folder = folder.path(),
                       .baseName = u"bank",
                       .options = {},
                       .onCollision = {},
                       .onFile = {}})
                  .ok)
      << toUtf8(lastError());
  EXPECT_EQ(filesIn(folder.path()), Names{"bank.c"});
  EXPECT_EQ(log.lines, Names{"Saved 1 collection!"});
}

TEST(SaveAll, OneFailureDoesNotStopTheOthers) {
  const TempFolder folder;
  Collection collection;
  addWaves(collection, {u"a", u"b", u"c"});
  collection.all<Waveform>()[1]->frames = 0;
  const SaveAllResult result = saveAll({.collection = &collection,
                                        .kind = ItemKind::Waveform,
                                        .row = WaveRow,
                                        .rows = kRows,
                                        .folder = folder.path(),
                                        .baseName = {},
                                        .options = {},
                                        .onCollision = {},
                                        .onFile = {}});
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.saved, 2u);
  EXPECT_EQ(toUtf8(lastError()), "Empty item - nothing to save");
  EXPECT_EQ(filesIn(folder.path()), (Names{"a.w", "c.w"}));
}

TEST(SaveAll, CollisionQuestion) {
  EXPECT_EQ(toUtf8(collisionQuestion("/x/a.wav")),
            "The auto-named file \"a.wav\" already exists!\nWhat do you want to do with it?");
}

}  // namespace
}  // namespace vemko::io
