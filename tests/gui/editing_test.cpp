#include <wx/clipbrd.h>
#include <wx/dnd.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/textctrl.h>
#include <wx/toolbar.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/clipboard.h"
#include "app/gui/collection_tree.h"
#include "app/gui/colour_scheme.h"
#include "app/gui/palette.h"
#include "app/gui/waveform_list.h"
#include "app/gui/waveform_view.h"
#include "core/parameters.h"
#include "gui/driver.h"

namespace vemko::test {
namespace {

using Editing = Gui;

const Path kOrgan = Path(VEMKO_EXAMPLES) / "organ.wav";

Waveform& organ() { return *document().collection().all<Waveform>().at(0); }

void selectOrgan() {
  open({kOrgan});
  wxRect row;
  window().list().GetItemRect(0, row);
  click(window().list(), {row.x + 60, row.y + row.height / 2});
  ASSERT_TRUE(waitUntil([] { return document().selectedWaveforms().size() == 1; }));
}

TEST_F(Editing, RenamesInPlaceAndTakesItBack) {
  selectOrgan();
  press(WXK_F2);
  type("Flute");
  press(WXK_RETURN);
  ASSERT_TRUE(waitUntil([] { return organ().name() == u"Flute"; }));
  EXPECT_EQ(window().GetTitle()[0], '*');
  EXPECT_EQ(window().list().GetItemText(0, 0), "Flute");
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(organ().name(), u"Organ A3");
  EXPECT_NE(window().GetTitle()[0], '*');
  press('Z', wxMOD_CONTROL | wxMOD_SHIFT);
  EXPECT_EQ(organ().name(), u"Flute");
}

TEST_F(Editing, AClickTakesTheSelectionFromWhatAnInstrumentPlays) {
  Collection& collection = document().collection();
  for (const char16_t* name : {u"First", u"Second", u"Third"}) createWaveform(collection, name);
  Layer& layer = createLayer(createInstrument(collection, {}), {});
  const ItemId third = collection.all<Waveform>().at(2)->id();
  createRegion(layer, {}, {.waveform = serialOf(third)});
  window().settingsChanged();
  document().selectItems({layer.parent});
  settle();
  EXPECT_EQ(document().selectedWaveforms(), std::vector<ItemId>{third});
  wxRect row;
  window().list().GetItemRect(0, row);
  click(window().list(), {row.x + 60, row.y + row.height / 2});
  EXPECT_EQ(document().selectedWaveforms(), std::vector<ItemId>{collection.all<Waveform>().at(0)->id()});
  press(WXK_DOWN);  // the keys belong to the list, though another page came to the front
  EXPECT_EQ(document().selectedWaveforms(), std::vector<ItemId>{collection.all<Waveform>().at(1)->id()});
  press(WXK_F6);
  press(WXK_F6);
  press(WXK_HOME);
  EXPECT_FALSE(document().waveformsAreActive());
}

TEST_F(Editing, DeletesWithTheKey) {
  selectOrgan();
  press(WXK_DELETE);
  EXPECT_EQ(document().collection().count(ItemKind::Waveform), 0u);
  EXPECT_EQ(window().list().GetItemCount(), 0);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(window().list().GetItemCount(), 1);
}

TEST_F(Editing, BuildsAnInstrumentFromAWaveform) {
  selectOrgan();
  for (ItemKind kind : {ItemKind::Instrument, ItemKind::Layer, ItemKind::Region}) {
    createItem(window(), kind);
    settle();
    press(WXK_ESCAPE);  // leaves the name as it is
  }
  const auto regions = regionsOf(document().collection());
  ASSERT_EQ(regions.size(), 1u);
  EXPECT_EQ(regions[0]->waveform(), &organ());
  ASSERT_EQ(document().selectedItems().size(), 1u);
  EXPECT_EQ(document().selectedItems()[0], regions[0]->id());
}

TEST_F(Editing, CopiesAndPastesWithKeys) {
  selectOrgan();
  press('C', wxMOD_CONTROL);
  press('V', wxMOD_CONTROL);
  ASSERT_TRUE(waitUntil([] { return document().collection().count(ItemKind::Waveform) == 2; }));
  EXPECT_EQ(document().collection().all<Waveform>().at(1)->name(), u"Copy of Organ A3");
  EXPECT_EQ(document().history().undoName(), u"Paste");
}

TEST_F(Editing, OtherProgramsGetAndGiveWaveData) {
  selectOrgan();
  press('C', wxMOD_CONTROL);
  wxCustomDataObject wave(wxDataFormat("audio/x-wav"));
  {
    wxClipboardLocker lock;
    ASSERT_TRUE(wxTheClipboard->GetData(wave));
  }
  ASSERT_GT(wave.GetSize(), 44u);
  EXPECT_EQ(std::string(static_cast<const char*>(wave.GetData()), 4), "RIFF");
  {
    wxClipboardLocker lock;  // now nothing but the wave, as another program would put it
    auto* alone = new wxCustomDataObject(wxDataFormat("audio/x-wav"));
    alone->SetData(wave.GetSize(), wave.GetData());
    wxTheClipboard->SetData(alone);
  }
  press('V', wxMOD_CONTROL);
  ASSERT_EQ(document().collection().count(ItemKind::Waveform), 2u);
  const Waveform& pasted = *document().collection().all<Waveform>().at(1);
  EXPECT_EQ(pasted.name(), u"Pasted waveform");
  EXPECT_EQ(pasted.frames, 26460u);
  EXPECT_NE(pasted.mainLoop(), nullptr);
}

TEST_F(Editing, PastingNothingSaysSo) {
  {
    wxClipboardLocker lock;
    wxTheClipboard->SetData(new wxTextDataObject("text"));
  }
  press('V', wxMOD_CONTROL);
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"No compatible data on the clipboard"});
}

TEST_F(Editing, DroppedFilesOpen) {
  auto& target = dynamic_cast<wxFileDropTarget&>(*window().GetDropTarget());
  wxArrayString names;
  names.Add(shownPath(kOrgan));
  EXPECT_TRUE(target.OnDropFiles(10, 10, names));
  EXPECT_TRUE(waitUntil([] { return document().collection().count(ItemKind::Waveform) == 1; }));
  EXPECT_EQ(window().recentFiles().GetHistoryFile(0), shownPath(kOrgan));
}

TEST_F(Editing, RenamesInTheTree) {
  Instrument& instrument = createInstrument(document().collection(), u"Old", Patch::of(0, 0, 7));
  window().settingsChanged();
  document().selectItems({instrument.id()});
  window().tree().showSelection();
  press(WXK_F2);
  type("Grand");
  press(WXK_RETURN);
  ASSERT_TRUE(waitUntil([] { return document().collection().all<Instrument>().at(0)->name() == u"Grand"; }));
  settle();
  wxTreeItemIdValue cookie;
  CollectionTree& tree = window().tree();
  EXPECT_EQ(tree.GetItemText(tree.GetFirstChild(tree.GetRootItem(), cookie)), "000:007  Grand");
}

TEST_F(Editing, DraggingALoopIsAStep) {
  selectOrgan();
  const std::uint32_t start = organ().mainLoop()->start;
  window().waveformView().onEdit(u"Move loop", [](Waveform& wave) { wave.mainLoop()->start = 5; });
  EXPECT_EQ(document().history().undoName(), u"Move loop");
  EXPECT_EQ(organ().mainLoop()->start, 5u);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(organ().mainLoop()->start, start);
}

TEST_F(Editing, PropertiesChangeTheRootKey) {
  selectOrgan();
  withDialogs([] { press(WXK_RETURN, wxMOD_ALT); }, {[](wxDialog& dialog) {
                control<wxTextCtrl>(dialog, "Root key").SetValue("H9");
                click(button(dialog, "OK"));
                EXPECT_TRUE(dialog.IsModal());
                press(WXK_ESCAPE);
              }});
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"Root key: a key from C-1 to G9 is expected"});
  EXPECT_EQ(organ().rootKey, 57);
  withDialogs([] { press(WXK_RETURN, wxMOD_ALT); }, {[](wxDialog& dialog) {
                control<wxTextCtrl>(dialog, "Root key").SetValue("C4");
                click(button(dialog, "OK"));
              }});
  EXPECT_EQ(organ().rootKey, 60);
  EXPECT_EQ(document().history().undoName(), u"Change properties of waveform");
}

// Every format of articulation, and records: as the pages of the properties put and take them.
TEST_F(Editing, PartsOfItemsGoOverTheClipboard) {
  ArticulationBlock block;
  for (int i = 0; i < kSlotCount; ++i)
    if (const auto slot = static_cast<Slot>(i); !parameter(slot).reserved())
      block.set(slot, parameter(slot).maximum);
  for (int i = 0; i < kSlotGroupCount; ++i) {
    const auto group = static_cast<SlotGroup>(i);
    SCOPED_TRACE(toUtf8(displayWord(group)));
    ASSERT_TRUE(putOnClipboard(app::copyOfGroup(block, group))) << toUtf8(lastError());
    const auto copied = slotsFromClipboard(app::formatOf(group));
    ASSERT_TRUE(copied) << toUtf8(lastError());
    ArticulationBlock pasted;
    app::pasteGroup(*copied, pasted, group);
    EXPECT_TRUE(pasted.isSet(slotsOf(group).first));
    EXPECT_EQ(pasted.get(slotsOf(group).first), block.get(slotsOf(group).first));
  }
  LoopRecord record;
  record.name = u"Here";
  for (auto format : {app::ClipboardFormat::Loop, app::ClipboardFormat::Markers}) {
    ASSERT_TRUE(putOnClipboard({record, record}, format));
    const auto records = recordsFromClipboard(format);
    ASSERT_TRUE(records) << toUtf8(lastError());
    EXPECT_EQ(records->at(1).name, u"Here");
  }
  EXPECT_FALSE(slotsFromClipboard(app::ClipboardFormat::Art));
  EXPECT_EQ(toUtf8(lastError()), "No compatible data on the clipboard");
}

TEST_F(Editing, ColoursChangeAtOnce) {
  selectOrgan();
  wxWindow& canvas = *window().waveformView().canvas();
  for (int scheme : {2, 1, 2, 1}) {
    SCOPED_TRACE(scheme);
    app::appSettings().shell.darkMode = static_cast<std::uint8_t>(scheme);
    applyColourScheme();
    ASSERT_TRUE(waitUntil([&] { return currentPalette().isDark == (scheme == 2); }));
    settle();
    ASSERT_TRUE(waitUntil([&] { return showsWave(canvas); })) << "in the new colours";
    const wxImage picture = pictureOf(canvas);
    const int x = picture.GetWidth() / 2, y = picture.GetHeight() - 30;
    EXPECT_EQ(picture.GetRed(x, y) < 128, scheme == 2);
    const wxImage bar = pictureOf(*window().GetToolBar());
    EXPECT_EQ(bar.GetRed(2, 2) < 128, scheme == 2);
  }
  app::appSettings().shell.darkMode = 0;
  applyColourScheme();
  settle();
}

TEST_F(Editing, KeysThatMovedALoopAreAStepBeforeOthers) {
  selectOrgan();
  const std::uint32_t start = organ().mainLoop()->start;
  window().showPage(MainWindow::kWaveformPage);
  press(WXK_TAB);
  press(WXK_RIGHT);
  EXPECT_EQ(organ().mainLoop()->start, start) << "not yet";
  wxCommandEvent event(wxEVT_MENU, wxID_UNDO);
  window().ProcessWindowEvent(event);
  EXPECT_EQ(organ().mainLoop()->start, start);
  EXPECT_EQ(document().history().redoName(), u"Move loop");
  press(WXK_RIGHT);
  createWaveform(document().collection(), u"Another");
  document().selectWaveforms({document().collection().all<Waveform>().at(1)->id()});
  EXPECT_EQ(organ().mainLoop()->start, start + 1) << "before another waveform is shown";
}

TEST_F(Editing, PartsThatCannotBeMadeAreTold) {
  wxPanel part;  // without a window
  EXPECT_FALSE(isMade(&part, u"Couldn't create split window"));
  EXPECT_TRUE(isMade(&window(), u"Couldn't create status bar"));
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"Couldn't create split window"});
}

}  // namespace
}  // namespace vemko::test
