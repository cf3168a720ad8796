#include <gtest/gtest.h>
#include <wx/dcclient.h>
#include <wx/dcmemory.h>
#include <wx/image.h>

#include "app/gui/key_map_view.h"
#include "app/gui/palette.h"
#include "app/gui/waveform_view.h"
#include "base/text.h"
#include "gui/view_driver.h"

namespace vemko::gui {
namespace {

using namespace test;

constexpr int kWidth = 800;
constexpr std::uint32_t kFrames = 8000;  // ten in a pixel
constexpr int kSpanLane = 28;            // y in the lane of spans when there are no markers
constexpr int kWaves = 150;              // y in the waves

/// A square wave that crosses zero every 35 frames, with one loop.
class WaveformViewTest : public testing::Test {
 protected:
  void SetUp() override {
    Waveform& wave = createWaveform(collection, u"wave");
    auto buffer = SampleBuffer::allocate(kFrames, 1, 8000);
    for (std::uint32_t i = 0; i < kFrames; ++i) buffer->samples()[i] = i / 35 % 2 ? -0.5f : 0.5f;
    wave.setSamples(std::move(buffer));
    wave.rate = 8000;
    loop = wave.addLoop({.startFrames = 2000, .endFrames = 6000}, u"", true, false);
    id = wave.id();
    frame = new wxFrame(nullptr, wxID_ANY, "test", wxPoint(0, 0));
    view = new WaveformView(frame);
    view->onEdit = [this](std::u16string name, std::function<void(Waveform&)> change) {
      steps.push_back(toUtf8(name));
      change(*collection.find<Waveform>(id));
      view->refreshItem();
    };
    view->show(&collection, id);
    frame->SetClientSize(kWidth, 300);
    frame->Show();
    frame->Raise();
    ASSERT_TRUE(waitUntil([&] { return view->canvas()->GetClientSize().x == kWidth; }));
    view->canvas()->SetFocus();
    settle();
  }
  void TearDown() override {
    frame->Destroy();
    settle(20);
  }
  const LoopRecord& record() { return *collection.find<Waveform>(id)->findRecord(loop); }

  Collection collection;
  ItemId id = kNoItem;
  std::uint32_t loop = 0;
  wxFrame* frame = nullptr;
  WaveformView* view = nullptr;
  std::vector<std::string> steps;
};

TEST_F(WaveformViewTest, DraggingMovesEndsAndBandsInOneStep) {
  drag(*view->canvas(), 200, 300, kSpanLane);
  EXPECT_EQ(record().start, 3000u);
  drag(*view->canvas(), 599, 649, kSpanLane);
  EXPECT_NEAR(record().end, 6490, 10);
  const std::uint32_t length = record().end - record().start;
  drag(*view->canvas(), 450, 350, kSpanLane);
  EXPECT_EQ(record().start, 2000u);
  EXPECT_EQ(record().end - record().start, length);
  drag(*view->canvas(), 200, 250, kWaves);
  EXPECT_EQ(record().start, 2500u) << "by its line in the waves";
  EXPECT_EQ(steps, std::vector<std::string>(4, "Move loop"));
}

TEST_F(WaveformViewTest, EscapeGivesUpADrag) {
  drag(*view->canvas(), 200, 300, kSpanLane, false);
  press(WXK_ESCAPE);
  wxUIActionSimulator().MouseUp();
  settle();
  EXPECT_EQ(record().start, 2000u);
  EXPECT_TRUE(steps.empty());
}

TEST_F(WaveformViewTest, DraggingInTheWavesSelects) {
  int told = 0;
  view->onSelectionChanged = [&] { ++told; };
  drag(*view->canvas(), 400, 300, kWaves);
  ASSERT_TRUE(view->selection());
  EXPECT_EQ(view->selection()->start, 3000u);
  EXPECT_EQ(view->selection()->end, 4000u);
  EXPECT_GT(told, 0);
  clickAt(*view->canvas(), 450, kWaves);
  EXPECT_FALSE(view->selection());
  press('A', wxMOD_CONTROL);
  ASSERT_TRUE(view->selection());
  EXPECT_EQ(view->selection()->end, kFrames);
  EXPECT_TRUE(steps.empty());
}

TEST_F(WaveformViewTest, KeysMoveTheActiveHandle) {
  press(WXK_TAB);
  for (int i = 0; i < 3; ++i) press(WXK_RIGHT);
  view->finishEdit();
  EXPECT_EQ(record().start, 2003u);
  EXPECT_EQ(steps.size(), 1u) << "one step for a run of keys";
  press(WXK_RIGHT);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(steps.size(), 2u) << "a command finds the step";
  press(WXK_TAB);
  press(WXK_LEFT, wxMOD_CONTROL);
  EXPECT_TRUE(waitUntil([&] { return steps.size() == 3; })) << "after a pause by itself";
  EXPECT_EQ(record().end, 5920u);
  press(WXK_LEFT, wxMOD_SHIFT);
  view->finishEdit();
  EXPECT_EQ(record().end % 35, 0u) << "a zero crossing";
  EXPECT_LT(record().end, 5920u);
}

TEST_F(WaveformViewTest, FollowsWhatBecomesOfTheWaveform) {
  drag(*view->canvas(), 300, 400, kWaves);
  ASSERT_TRUE(view->selection());
  Waveform& wave = *collection.find<Waveform>(id);
  wave.setSamples(SampleBuffer::allocate(100, 2, 8000));
  std::ranges::fill(wave.buffer->samples(), 0.25f);
  view->refreshItem();
  settle();
  EXPECT_FALSE(view->selection()) << "it lay behind the new end";
  collection.remove(wave);
  view->refreshItem();
  settle();
  press(WXK_TAB);
  view->show(nullptr, kNoItem);
  settle();
}

TEST_F(WaveformViewTest, DrawsTheWave) {
  view->canvas()->Refresh();
  settle();
  wxBitmap picture(view->canvas()->GetClientSize());
  {
    wxMemoryDC memory(picture);
    wxClientDC screen(view->canvas());
    memory.Blit(wxPoint(0, 0), picture.GetSize(), &screen, wxPoint(0, 0));
  }
  const wxImage image = picture.ConvertToImage();
  const auto isWave = [&](int x, int y) {
    const Palette palette = currentPalette();
    const wxColour colour(image.GetRed(x, y), image.GetGreen(x, y), image.GetBlue(x, y));
    return colour == palette.wave || colour == palette.waveBody;
  };
  int columns = 0, above = 0;
  for (int x = 0; x < kWidth; ++x) {
    bool isDrawn = false;
    for (int y = 45; y < image.GetHeight() - 20; ++y) isDrawn |= isWave(x, y);
    columns += isDrawn;
    above += isWave(x, 50);
  }
  EXPECT_GT(columns, kWidth * 9 / 10);
  EXPECT_EQ(above, 0) << "half of full scale does not reach so high";
}

TEST(KeyMapView, ClicksAndKeysSelectRegions) {
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"instrument");
  Layer& layer = createLayer(instrument, u"");
  const ItemId wide = createRegion(layer, u"wide", {.keys = {0, 127}}).id();
  const ItemId narrow = createRegion(layer, u"narrow", {.keys = {60, 70}, .velocities = {0, 126}}).id();
  const ItemId high = createRegion(layer, u"high", {.keys = {100, 110}, .velocities = {0, 126}}).id();
  auto* frame = new wxFrame(nullptr, wxID_ANY, "test", wxPoint(0, 0));
  auto* view = new KeyMapView(frame);
  std::vector<ItemId> selected;
  view->onRegionSelected = [&](ItemId region) { selected.push_back(region); };
  view->show(&collection, instrument.id());
  frame->SetClientSize(kWidth, 300);
  frame->Show();
  frame->Raise();
  ASSERT_TRUE(waitUntil([&] { return view->GetClientSize().x == kWidth; }));
  settle();
  const int x = 34 + (kWidth - 34 - 10) * 65 / 128;
  for (int i = 0; i < 3; ++i) clickAt(*view, x, 120);
  EXPECT_EQ(selected, (std::vector<ItemId>{narrow, wide, narrow}));
  press(WXK_RIGHT);
  EXPECT_EQ(selected.back(), high);
  press(WXK_HOME);
  EXPECT_EQ(selected.back(), wide);
  const std::size_t told = selected.size();
  view->select(high);
  press(WXK_LEFT);
  EXPECT_NE(selected.back(), high);
  EXPECT_EQ(selected.size(), told + 1) << "a selection from outside is not told";
  collection.remove(instrument);
  view->show(&collection, kNoItem);
  settle();
  clickAt(*view, x, 120);
  EXPECT_EQ(selected.size(), told + 1);
  frame->Destroy();
  settle(20);
}

}  // namespace
}  // namespace vemko::gui
