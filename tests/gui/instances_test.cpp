// The clipboard between two instances of the program, and big collections.
#include <algorithm>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "app/app_settings.h"
#include "app/gui/clipboard.h"
#include "app/gui/collection_tree.h"
#include "app/gui/waveform_list.h"
#include "app/gui/waveform_view.h"
#include "gui/driver.h"
#include "io/open.h"

namespace vemko::test {
namespace {

using Instances = Gui;

const Path kOrgan = Path(VEMKO_EXAMPLES) / "organ.wav";

/// The program itself with a file, in front of this one.
class OtherInstance {
 public:
  explicit OtherInstance(const Path& file) {
    child_ = ::fork();
    if (child_ != 0) return;
    ::execl(VEMKO_STUDIO, VEMKO_STUDIO, file.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ~OtherInstance() { kill(); }
  bool hasEnded() {
    if (child_ > 0 && ::waitpid(child_, nullptr, WNOHANG) == child_) child_ = -1;
    return child_ <= 0;
  }
  void takeKeys() const {
    wxUIActionSimulator user;
    user.MouseMove(wxPoint(300, 103));  // its first row
    user.MouseClick();
    settle();
  }
  void kill() {
    if (child_ <= 0) return;
    ::kill(child_, SIGKILL);
    ::waitpid(std::exchange(child_, -1), nullptr, 0);
  }

 private:
  pid_t child_;
};

TEST_F(Instances, ExchangeItemsByTheClipboard) {
  const OtherInstance other(kOrgan);
  // Until the other has opened its file and taken the keys: it selects its only waveform then.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::optional<app::CopiedItems> items;
  while (!items && std::chrono::steady_clock::now() < end) {
    for (int i = 0; i < 20; ++i) settle();
    other.takeKeys();
    press('C', wxMOD_CONTROL);
    for (int i = 0; i < 5; ++i) settle();
    items = gui::itemsFromClipboard();
  }
  ASSERT_TRUE(items) << toUtf8(lastError());
  ASSERT_TRUE(document().paste(std::move(*items), kNoItem, false)) << toUtf8(lastError());
  const Waveform& wave = *document().collection().all<Waveform>().at(0);
  EXPECT_EQ(wave.name(), u"Organ A3");
  EXPECT_EQ(wave.frames, 26460u);
  EXPECT_NE(wave.mainLoop(), nullptr);
}

TEST_F(Instances, PlacesAndSizesAreKept) {
  const app::AppSettings before = app::appSettings();
  app::ShellSettings& shell = app::appSettings().shell;
  shell.windowPosition = app::ScreenPair{30, 20};
  shell.windowSize = app::ScreenPair{1000, 650};
  shell.leftPaneWidth = 260;
  shell.listHeight = 190;
  shell.waveformColumnWidths = {180, 90, 85, 75, 95};
  const auto told = [] {
    const app::ShellSettings& now = app::appSettings().shell;
    std::vector<int> all{now.windowPosition->x, now.windowPosition->y, now.windowSize->x,
                         now.windowSize->y,     now.leftPaneWidth,     now.listHeight};
    all.insert(all.end(), now.waveformColumnWidths.begin(), now.waveformColumnWidths.end());
    return all;
  };
  const std::vector<int> expected = told();
  SettingsStore store;
  ASSERT_TRUE(app::saveSettings(store)) << toUtf8(lastError());
  {
    OtherInstance other(kOrgan);
    for (int i = 0; i < 400 && !other.hasEnded(); ++i) {
      settle();
      if (i % 20 == 19) wxUIActionSimulator().Char('Q', wxMOD_CONTROL);
    }
    EXPECT_TRUE(other.hasEnded());
  }
  app::appSettings() = {};
  SettingsStore written;
  app::loadSettings(written);
  EXPECT_EQ(told(), expected);
  app::appSettings() = before;
}

double millisecondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// What the sanitizers cost.
#ifdef __SANITIZE_ADDRESS__
constexpr int kSlower = 10;
#else
constexpr int kSlower = 1;
#endif

TEST_F(Instances, TenThousandItemsShowNoDelay) {
  Collection& collection = document().collection();
  constexpr int kItems = 5000;  // of both kinds, ten thousand in all
  for (int i = 0; i < kItems; ++i) {
    createWaveform(collection, toUtf16("Wave " + std::to_string(i * 7919 % kItems)));
    createInstrument(collection, toUtf16("Instrument " + std::to_string(i * 7919 % kItems)));
  }
  const ItemId wave = collection.all<Waveform>().at(kItems / 2)->id();
  const ItemId instrument = collection.all<Instrument>().at(kItems / 2)->id();
  struct Case {
    const char* name;
    std::function<void()> work;
  };
  const Case cases[] = {
      {"show all", [] { window().settingsChanged(); }},
      {"select a waveform", [&] { document().selectWaveforms({wave}); }},
      {"select an instrument",
       [&] {
         document().selectItems({instrument});
         window().tree().showSelection();
       }},
      {"rename", [&] { document().rename(instrument, u"Another name"); }},
      {"rename a waveform", [&] { document().rename(wave, u"Another name"); }},
      {"undo", [] { document().undo(); }},
      {"sort", [] { document().sort(app::Document::SortKey::Name); }},
      {"select all waveforms", [] { window().list().selectAll(); }},
  };
  for (const Case& each : cases) {
    const double milliseconds = millisecondsOf([&] {
      each.work();
      handleEvents();
    });
    settle();
    std::printf("  %s: %.0f ms\n", each.name, milliseconds);
    EXPECT_LT(milliseconds, 100 * kSlower) << each.name;
  }
}

// The samples of a bank of 140 MB load while the user clicks about.
TEST_F(Instances, ABigBankStaysUsableWhileItsSamplesLoad) {
  const Path bank = "/usr/share/sounds/sf2/FluidR3_GM.sf2";
  if (!fileExists(bank)) GTEST_SKIP() << bank << " is not there";
  const double opening = millisecondsOf([&] { open({bank}); });
  ASSERT_GT(document().collection().count(ItemKind::Waveform), 500u);
  const auto isLoading = [] {
    return std::ranges::any_of(document().collection().all<Waveform>(),
                               [](const Waveform* wave) { return !wave->buffer; });
  };
  EXPECT_TRUE(isLoading());
  window().showPage(MainWindow::kWaveformPage);
  wxRect row;
  window().list().GetItemRect(0, row);
  wxUIActionSimulator user;
  double slowestClick = 0, slowestPicture = 0;
  for (int i = 0; i < 8; ++i) {
    const wxPoint at =
        window().list().ClientToScreen(wxPoint(row.x + 60, row.y + row.height * (2 * i + 1) / 2));
    user.MouseMove(at);
    handleEvents();
    const auto former = document().selectedWaveforms();
    const auto start = std::chrono::steady_clock::now();
    user.MouseClick();
    const auto since = [&] {
      return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    };
    ASSERT_TRUE(waitUntil([&] { return document().selectedWaveforms() != former; }));
    slowestClick = std::max(slowestClick, since());
    ASSERT_TRUE(waitUntil([] { return showsWave(*window().waveformView().canvas()); }));
    slowestPicture = std::max(slowestPicture, since());
  }
  std::printf("  open: %.0f ms, slowest click: %.0f ms, slowest picture: %.0f ms after the click%s\n",
              opening, slowestClick, slowestPicture, isLoading() ? ", still loading" : "");
  EXPECT_LT(slowestClick, 100 * kSlower);
  EXPECT_LT(slowestPicture, 200 * kSlower);
}

// What the user has on the disk when the program dies in the middle of a save.
TEST_F(Instances, ACrashWhileSavingLosesNothing) {
  const Path file = folder_ / "long.wav", backup = folder_ / "long.wav.bak";
  Waveform& wave = createWaveform(document().collection(), u"Long");
  constexpr std::uint32_t kFrames = 40'000'000;
  wave.setSamples(SampleBuffer::allocate(kFrames, 1, 48000));
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  ASSERT_TRUE(io::saveItem(&wave, row, file, io::saveOptionsFor(row, 0))) << toUtf8(lastError());
  document().startNew();
  const auto size = std::filesystem::file_size(file);
  int killedMidway = 0;
  for (int delay : {0, 15, 40}) {
    OtherInstance other(file);
    const auto isSaving = [&] { return fileExists(backup); };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isSaving() && std::chrono::steady_clock::now() < end) {
      for (int i = 0; i < 10; ++i) settle();
      other.takeKeys();
      wxUIActionSimulator().Char('S', wxMOD_CONTROL);
      for (int i = 0; i < 200 && !isSaving(); ++i) wxMilliSleep(2);
    }
    ASSERT_TRUE(isSaving()) << "the other instance does not save";
    wxMilliSleep(delay);
    other.kill();
    if (!fileExists(backup)) continue;  // it was quicker
    ++killedMidway;
    EXPECT_EQ(std::filesystem::file_size(backup), size);
    InputFile kept;
    ASSERT_TRUE(kept.open(backup));
    Collection collection;
    std::filesystem::rename(backup, file);
    ASSERT_TRUE(io::openFile(collection, file, false)) << toUtf8(lastError());
    EXPECT_EQ(collection.all<Waveform>().at(0)->frames, kFrames);
  }
  EXPECT_GT(killedMidway, 0);
}

}  // namespace
}  // namespace vemko::test
