#include "io/open.h"

#include <gtest/gtest.h>
#include <new>

#include "base/log.h"
#include "base/progress.h"
#include "collections.h"
#include "io/decisions.h"
#include "support.h"

namespace vemko::io {
namespace {

using test::putFile;
using test::TempFolder;

enum Behaviour : std::uint32_t { Reads, Fails, Throws, AddsNothing, OpensAgain };

bool readScripted(Collection& collection, InputFile&, std::uint32_t behaviour);
int probeLetter(Bytes head, std::uint32_t variant, std::uint64_t) {
  return !head.empty() && static_cast<std::uint32_t>(head[0]) == 'a' + variant ? 6 : 0;
}
int probeAny(Bytes, std::uint32_t, std::uint64_t) { return 2; }

constexpr KindMask kWave = kindBit(ItemKind::Waveform);
constexpr FormatEntry kRows[] = {
    {u"*", readScripted, nullptr, probeAny, u"Unrecognized", kWave, 0, kAllFeatures, Reads, nullptr},
    {u"a", readScripted, nullptr, probeLetter, u"Reads", kWave, 0, kAllFeatures, Reads, nullptr},
    {u"b", readScripted, nullptr, probeLetter, u"Fails", kWave, 0, kAllFeatures, Fails, nullptr},
    {u"c", readScripted, nullptr, probeLetter, u"Throws", kWave, 0, kAllFeatures, Throws, nullptr},
    {u"d", readScripted, nullptr, probeLetter, u"Adds nothing", kWave, 0, kAllFeatures, AddsNothing, nullptr},
    {u"e", readScripted, nullptr, probeLetter, u"Opens again", kWave, 0, kAllFeatures, OpensAgain, nullptr},
};

bool readScripted(Collection& collection, InputFile& file, std::uint32_t behaviour) {
  EXPECT_TRUE(isBusy());
  EXPECT_EQ(file.position(), 0u);
  if (behaviour == AddsNothing) return true;
  createWaveform(collection, u"wave");
  if (behaviour == Fails) return fail(u"Not a scripted file");
  if (behaviour == Throws) throw std::bad_alloc();
  if (behaviour == OpensAgain) {
    EXPECT_TRUE(openFile(collection, file.path().parent_path() / "a", false, kRows));
    EXPECT_TRUE(isBusy());
    const auto waves = collection.all<Waveform>();
    EXPECT_EQ(waves.front()->name(), waves.back()->name()) << "items must not change under a reader's hands";
  }
  return true;
}

struct Observer {
  std::vector<std::u16string> statuses, logged;
  int waiting = 0, waits = 0;
  ProgressSink progressBefore =
      setProgressSink({[this](std::u16string_view text) { statuses.emplace_back(text); },
                       {},
                       [this](bool on) { waiting += on ? 1 : -1, waits += on; }});
  LogSink logBefore = setLogSink([this](LogLevel, std::u16string_view line) { logged.emplace_back(line); });
  ~Observer() {
    setProgressSink(progressBefore);
    setLogSink(logBefore);
  }
};

TEST(Open, ReportsEachOutcome) {
  const TempFolder folder;
  struct Case {
    const char* content;
    bool allowRaw;
    const char16_t* error;  // null: succeeds
    std::size_t waveforms;
    int row;
  };
  for (const Case& c : {
           Case{"a", false, nullptr, 1, 1},
           Case{"b", false, u"Not a scripted file", 1, 2},
           Case{"c", false, u"Out of memory", 1, 3},
           Case{"d", false, u"Empty collection", 0, 4},
           Case{"x", true, nullptr, 1, 0},
           Case{"x", false, u"Not detected as any supported file type", 0, -1},
           Case{"", true, u"File is of zero size", 0, -1},
       }) {
    SCOPED_TRACE(c.content);
    const Observer observer;
    putFile(folder / "file.dat", c.content);
    Collection collection;
    EXPECT_EQ(openFile(collection, folder / "file.dat", c.allowRaw, kRows), c.error == nullptr)
        << toUtf8(lastError());
    if (c.error) {
      EXPECT_EQ(toUtf8(lastError()), toUtf8(c.error));
    }
    EXPECT_EQ(collection.count(ItemKind::Waveform), c.waveforms);
    EXPECT_EQ(collection.formatRow, c.row);
    EXPECT_EQ(collection.formatConfidence, c.row > 0 ? 66 : 0);
    if (c.row >= 0) {
      EXPECT_EQ(collection.text(TextProperty::SourceFile), textOf(folder / "file.dat"));
    }
    EXPECT_FALSE(isBusy());
    EXPECT_EQ(observer.waiting, 0);
    EXPECT_EQ(observer.waits, c.row >= 0 ? 1 : 0);
  }
  Collection collection;
  EXPECT_FALSE(openFile(collection, folder / "missing", true, kRows));
  EXPECT_EQ(toUtf8(lastError()), "Could not open file");
  EXPECT_FALSE(openFile(collection, folder / "file.dat", true, {}));
}

TEST(Open, StaysBusyWhileAReaderOpensAnotherFile) {
  const TempFolder folder;
  putFile(folder / "a", "a");
  putFile(folder / "e", "e");
  Collection collection;
  ASSERT_TRUE(openFile(collection, folder / "e", false, kRows)) << toUtf8(lastError());
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Waveform)),
            (std::vector<std::string>{"wave", "wave 2"}));
  EXPECT_EQ(collection.file, folder / "e");
  EXPECT_FALSE(isBusy());
}

TEST(Open, ReplacesOrMerges) {
  const TempFolder folder;
  putFile(folder / "good", "a");
  putFile(folder / "bad", "b");
  std::vector<Path> recent;
  setRecentFileSink([&](const Path& path) { recent.push_back(path); });
  struct Case {
    const char* file;
    OpenMode mode;
    bool opened;
    std::size_t waveforms;
    const char16_t* logged;
  };
  for (const Case& c : {
           Case{"good", OpenMode::Replace, true, 1, u"Opened "},
           Case{"good", OpenMode::Merge, true, 3, u"Merged "},
           Case{"bad", OpenMode::Merge, false, 3, nullptr},
           Case{"missing", OpenMode::Merge, false, 2, nullptr},
           Case{"missing", OpenMode::Replace, false, 0, nullptr},
           Case{"good", OpenMode::Cancel, false, 2, nullptr},
       }) {
    SCOPED_TRACE(c.file + std::string(" ") + std::to_string(static_cast<int>(c.mode)));
    Collection collection;
    createWaveform(collection, u"old");
    createWaveform(collection, u"older");
    recent.clear();
    const Observer observer;
    EXPECT_EQ(openWithMode(collection, folder / c.file, c.mode, true, kRows), c.opened)
        << toUtf8(lastError());
    EXPECT_EQ(collection.count(ItemKind::Waveform), c.waveforms);
    EXPECT_EQ(observer.waiting, 0);
    EXPECT_EQ(recent.size(), c.opened ? 1u : 0u);
    if (c.opened) {
      EXPECT_EQ(observer.statuses.front(), u"Reading: " + textOf(folder / c.file));
    }
    if (c.logged) {
      EXPECT_EQ(observer.logged, std::vector{c.logged + textOf(folder / c.file)});
    }
  }
  setRecentFileSink({});
}

TEST(Open, AsksForTheModeOnlyWhenThereIsSomethingToLose) {
  struct Script {
    std::size_t answer = 0;
    int asked = 0;
  } script;
  const Decisions before =
      setDecisions({[&](std::u16string_view question, std::span<const std::u16string_view> buttons) {
                      ++script.asked;
                      EXPECT_EQ(question, u"How would you like to open the file?");
                      EXPECT_EQ(buttons.size(), 3u);
                      return script.answer;
                    },
                    {},
                    {}});
  Collection collection;
  createSong(collection, u"song");
  EXPECT_EQ(askOpenMode(collection), OpenMode::Replace);
  EXPECT_EQ(script.asked, 0);
  createInstrument(collection, u"instrument");
  constexpr OpenMode kModes[] = {OpenMode::Merge, OpenMode::Replace, OpenMode::Cancel, OpenMode::Cancel};
  for (script.answer = 0; script.answer < 4; ++script.answer)
    EXPECT_EQ(askOpenMode(collection), kModes[script.answer]);
  setDecisions({});
  EXPECT_EQ(askOpenMode(collection), OpenMode::Cancel);
  EXPECT_FALSE(confirmRaw(u"?", "file"));
  EXPECT_FALSE(locateFile(u"?", u"file"));
  setDecisions(before);
}

}  // namespace
}  // namespace vemko::io
