// The clipboard between two instances of the program, and big collections.
#include <algorithm>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include "app/gui/clipboard.h"
#include "app/gui/collection_tree.h"
#include "app/gui/waveform_list.h"
#include "gui/driver.h"

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
  ~OtherInstance() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
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
    wxUIActionSimulator simulator;
    simulator.MouseMove(wxPoint(300, 103));  // its first row
    simulator.MouseClick();
    settle();
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

double millisecondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// The limits are for a program that is ten times slower than the released one.
TEST_F(Instances, TenThousandItemsShowNoDelay) {
  Collection& collection = document().collection();
  for (int i = 0; i < 5000; ++i) {
    createWaveform(collection, toUtf16("Wave " + std::to_string(i * 7919 % 5000)));
    createInstrument(collection, toUtf16("Instrument " + std::to_string(i)));
  }
  const ItemId wave = collection.all<Waveform>().at(2500)->id();
  const ItemId instrument = collection.all<Instrument>().at(2500)->id();
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
      {"undo", [] { document().undo(); }},
      {"sort", [] { document().sort(app::Document::SortKey::Name); }},
      {"select all waveforms", [] { window().list().selectAll(); }},
  };
  for (const Case& each : cases) {
    const double milliseconds = millisecondsOf([&] {
      each.work();
      settle();
    });
    RecordProperty(each.name, static_cast<int>(milliseconds));
    std::printf("  %s: %.0f ms\n", each.name, milliseconds);
    EXPECT_LT(milliseconds, 1500) << each.name;
  }
}

// A bank of 140 MB, where one is installed.
TEST_F(Instances, ABigBankStaysUsableWhileItsSamplesLoad) {
  const Path bank = "/usr/share/sounds/sf2/FluidR3_GM.sf2";
  if (!fileExists(bank)) GTEST_SKIP() << bank << " is not there";
  const double opening = millisecondsOf([&] { open({bank}); });
  const auto waveforms = document().collection().all<Waveform>();
  ASSERT_GT(waveforms.size(), 500u);
  EXPECT_TRUE(std::ranges::any_of(waveforms, [](const Waveform* wave) { return !wave->buffer; }));
  double slowest = 0, first = 0;
  for (std::size_t i = 0; i < waveforms.size(); i += 50) {
    const double milliseconds = millisecondsOf([&] {
      document().selectWaveforms({waveforms[i]->id()});
      handleEvents();
    });
    if (i == 0) first = milliseconds;
    slowest = std::max(slowest, milliseconds);
  }
  std::printf("  open: %.0f ms, first waveform: %.0f ms, slowest click: %.0f ms\n", opening, first, slowest);
  EXPECT_LT(opening, 10000);
  EXPECT_LT(slowest, 1000);
}

}  // namespace
}  // namespace vemko::test
