// The dialogs that files, formats and several items at once bring up.
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/filedlg.h>
#include <wx/filepicker.h>
#include <wx/listbox.h>
#include <wx/notebook.h>
#include <wx/textctrl.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/commands.h"
#include "app/gui/labels.h"
#include "app/gui/waveform_list.h"
#include "codecs/raw_samples.h"
#include "core/parameters.h"
#include "formats/soundfont_support.h"
#include "gui/driver.h"
#include "io/fixup.h"
#include "io/loss_report.h"
#include "io/open.h"

namespace vemko::test {
namespace {

using Dialogs = Gui;

const Path kOrgan = Path(VEMKO_EXAMPLES) / "organ.wav";

Collection& collection() { return document().collection(); }
Waveform& waveform(std::size_t index) { return *collection().all<Waveform>().at(index); }

void showPage(wxDialog& dialog, const wxString& title) {
  for (wxWindow* child : dialog.GetChildren())
    if (auto* book = dynamic_cast<wxNotebook*>(child))
      for (std::size_t i = 0; i < book->GetPageCount(); ++i)
        if (book->GetPageText(i) == title) book->SetSelection(i);
  settle();
}

// The field of that name on the page in front.
template <class T>
T& field(wxDialog& dialog, const wxString& name) {
  for (wxWindow* child : dialog.GetChildren())
    if (auto* book = dynamic_cast<wxNotebook*>(child)) return control<T>(*book->GetCurrentPage(), name);
  throw std::runtime_error("no pages");
}

void write(wxTextCtrl& field, const wxString& text) {
  field.SetFocus();
  field.SetValue(text);
}

void editSelected(DialogStep step) {
  withDialogs([] { press(WXK_RETURN, wxMOD_ALT); }, {std::move(step)});
}

TEST_F(Dialogs, SeveralWaveformsAreChangedInOneStep) {
  for (const char16_t* name : {u"One", u"Two", u"Three"}) createWaveform(collection(), name);
  waveform(0).rootKey = 40;
  for (std::size_t i : {0u, 1u, 2u}) waveform(i).rate = 32000;
  waveform(0).setText(TextProperty::Artist, u"First");
  window().settingsChanged();
  window().list().SetFocus();
  document().selectWaveforms({waveform(0).id(), waveform(1).id()});
  settle();
  editSelected([](wxDialog& dialog) {
    EXPECT_EQ(dialog.GetTitle(), "Properties of 2 waveforms");
    EXPECT_EQ(field<wxTextCtrl>(dialog, "Sample rate").GetValue(), "32000");
    EXPECT_EQ(field<wxTextCtrl>(dialog, "Root key").GetValue(), "") << "they differ";
    EXPECT_EQ(field<wxTextCtrl>(dialog, "Root key").GetHint(), "(several values)");
    write(field<wxTextCtrl>(dialog, "Fine tune"), "200");
    click(button(dialog, "OK"));
    EXPECT_TRUE(dialog.IsModal());
    write(field<wxTextCtrl>(dialog, "Fine tune"), "12");
    showPage(dialog, "Texts");
    EXPECT_EQ(field<wxTextCtrl>(dialog, "Artist").GetValue(), "");
    write(field<wxTextCtrl>(dialog, "Product"), "Both");
    click(button(dialog, "OK"));
  });
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"Fine tune: a number from -128 to 127 is expected"});
  EXPECT_EQ(document().history().undoName(), u"Change properties of 2 waveforms");
  for (std::size_t i : {0u, 1u}) {
    EXPECT_EQ(waveform(i).fineTuneCents, 12);
    EXPECT_EQ(waveform(i).text(TextProperty::Product), u"Both");
  }
  EXPECT_EQ(waveform(0).rootKey, 40) << "what was not touched";
  EXPECT_EQ(waveform(1).rootKey, 60);
  EXPECT_EQ(waveform(0).text(TextProperty::Artist), u"First");
  EXPECT_EQ(waveform(2).fineTuneCents, 0);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(waveform(0).fineTuneCents, 0);
  EXPECT_EQ(waveform(1).text(TextProperty::Product), u"");
}

TEST_F(Dialogs, EveryFieldOfARegionComesBack) {
  Layer& layer = createLayer(createInstrument(collection(), {}), {});
  const ItemId id = createRegion(layer, u"Region").id();
  window().settingsChanged();
  document().selectItems({id});
  settle();
  struct Case {
    const char* page;
    const char* field;
    const char* value;
  };
  const Case cases[] = {
      {"Parameters", "Lowest key", "C3"},        {"Parameters", "Highest key", "50"},
      {"Parameters", "Lowest velocity", "10"},   {"Parameters", "Highest velocity", "100"},
      {"Parameters", "Root key", "A4"},          {"Parameters", "Fixed velocity", "99"},
      {"Parameters", "Exclusive group", "3"},    {"Parameters", "Delay", "0.5"},
      {"Parameters", "Plays from", "1000"},      {"Parameters", "Plays to", "2000"},
      {"Cross-fades", "Keys, fade in to", "60"}, {"Cross-fades", "Velocities, fade out from", "90"}};
  for (int round : {0, 1})
    editSelected([&](wxDialog& dialog) {
      for (const Case& each : cases) {
        SCOPED_TRACE(each.field);
        showPage(dialog, each.page);
        auto& text = field<wxTextCtrl>(dialog, each.field);
        if (round == 0) write(text, each.value);
        if (round == 1) {
          EXPECT_TRUE(text.GetValue() == each.value ||
                      keyFromText(text.GetValue()) == keyFromText(each.value));
        }
      }
      click(button(dialog, "OK"));
    });
  const Region& region = *collection().find<Region>(id);
  EXPECT_EQ(region.keys, (MidiRange{48, 50}));
  EXPECT_EQ(region.rootKey, 69);
  EXPECT_EQ(region.fixedVelocity, 99);
  EXPECT_EQ(region.fixedKey, Region::kNotSet) << "left empty";
  EXPECT_EQ(region.section, (PlaySection{1000, 2000}));
  EXPECT_EQ(region.fadeInKeys, (MidiRange{0, 60}));
  EXPECT_EQ(region.fadeOutVelocities, (MidiRange{90, 127}));
  EXPECT_EQ(document().history().undoName(), u"Change properties of region");
  EXPECT_EQ(document().history().stepCount(), 1u) << "the second time nothing was changed";
}

TEST_F(Dialogs, ArticulationOfSeveralLevels) {
  constexpr Slot kVolume = slots::MasterVolume;
  Instrument& first = createInstrument(collection(), u"First");
  Instrument& second = createInstrument(collection(), u"Second");
  Layer& layer = createLayer(first, {});
  layer.articulation.set(kVolume, -20);
  first.articulation.set(kVolume, -6);
  second.articulation.set(kVolume, -3);
  second.articulation.set(slots::RandomToVolume, 2);
  const ItemId ids[] = {first.id(), second.id(), layer.id()};
  auto volumeOf = [&](int i) { return collection().find<Instrument>(ids[i])->articulation.get(kVolume); };
  window().settingsChanged();
  app::appSettings().shell.propagateDeltas = true;
  document().selectItems({ids[0], ids[1]});
  settle();
  editSelected([](wxDialog& dialog) {
    showPage(dialog, "Articulation");
    auto& groups = field<wxListBox>(dialog, "Groups");
    groups.SetSelection(1);
    wxCommandEvent event(wxEVT_LISTBOX, groups.GetId());
    groups.ProcessWindowEvent(event);
    settle();
    EXPECT_FALSE(button(dialog, "Copy group").IsEnabled());
    const wxString name = "Random to Volume";
    auto* set = dynamic_cast<wxCheckBox*>(&control(dialog, name, wxCLASSINFO(wxCheckBox)));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->Get3StateValue(), wxCHK_UNDETERMINED);
    auto& volume =
        dynamic_cast<wxTextCtrl&>(control(dialog, "Master Volume adjustment", wxCLASSINFO(wxTextCtrl)));
    EXPECT_EQ(volume.GetValue(), "");
    write(volume, "-1");
    click(button(dialog, "OK"));
  });
  app::appSettings().shell.propagateDeltas = false;
  EXPECT_EQ(volumeOf(0), -1);
  EXPECT_EQ(volumeOf(1), -1);
  EXPECT_EQ(collection().find<Layer>(ids[2])->articulation.get(kVolume), -15) << "the same difference";
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(volumeOf(1), -3);
  EXPECT_EQ(collection().find<Layer>(ids[2])->articulation.get(kVolume), -20);
}

TEST_F(Dialogs, RawSamplesAreTakenAnew) {
  putFile(folder_ / "noise.xyz", std::string(4000, '\x40'));
  withDialogs([&] { open({folder_ / "noise.xyz"}); },
              {[](wxDialog& question) { click(button(question, "OK")); }});
  ASSERT_EQ(collection().count(ItemKind::Waveform), 1u);
  EXPECT_EQ(waveform(0).frames, 2000u);
  ASSERT_TRUE(waitUntil([] { return waveform(0).buffer != nullptr; }));
  window().list().SetFocus();
  document().selectWaveforms({waveform(0).id()});
  settle();
  editSelected([](wxDialog& dialog) {
    showPage(dialog, "Source");
    choose(field<wxChoice>(dialog, "Encoding"), "8-bit signed");
    write(field<wxTextCtrl>(dialog, "Offset"), "1000");
    write(field<wxTextCtrl>(dialog, "Sample rate"), "8000");
    write(field<wxTextCtrl>(dialog, "Channels"), "2");
    click(button(dialog, "OK"));
  });
  EXPECT_EQ(waveform(0).frames, 1500u);
  EXPECT_EQ(waveform(0).channels, 2);
  EXPECT_EQ(waveform(0).rate, 8000u);
  EXPECT_TRUE(rawFormatOf(waveform(0))->signed8);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(waveform(0).frames, 2000u);
  EXPECT_EQ(waveform(0).channels, 1);
}

void answerWithFile(wxDialog& dialog, const Path& file) {
  auto& files = dynamic_cast<wxFileDialog&>(dialog);
  files.SetPath(shownPath(file));
  settle();
  press(WXK_RETURN);
}

TEST_F(Dialogs, MissingFilesAreAskedFor) {
  std::filesystem::create_directory(folder_ / "elsewhere");
  std::filesystem::copy_file(kOrgan, folder_ / "elsewhere" / "a.wav");
  std::filesystem::copy_file(kOrgan, folder_ / "elsewhere" / "b.wav");
  const TempFolder bank;
  putFile(
      bank / "bank.sfz",
      "<region> sample=gone\\a.wav key=60\n<region> sample=gone\\b.wav key=61\n<region> sample=none.wav\n");
  withDialogs([&] { open({bank / "bank.sfz"}); },
              {[&](wxDialog& dialog) {
                 EXPECT_EQ(dynamic_cast<wxFileDialog&>(dialog).GetMessage(),
                           "Please locate the missing file: a.wav");
                 answerWithFile(dialog, folder_ / "elsewhere" / "a.wav");
               },
               [&](wxDialog& dialog) {  // the second one stands beside the first
                 EXPECT_EQ(dynamic_cast<wxFileDialog&>(dialog).GetMessage(),
                           "Please locate the missing file: none.wav");
                 press(WXK_ESCAPE);
               }});
  EXPECT_EQ(takeMessages(), std::vector<wxString>{});
  const auto regions = regionsOf(collection());
  ASSERT_EQ(regions.size(), 3u);
  EXPECT_NE(regions[0]->waveform(), nullptr);
  EXPECT_NE(regions[1]->waveform(), nullptr);
  EXPECT_EQ(regions[2]->waveform(), nullptr);
}

TEST_F(Dialogs, RomSamplesAreAskedFor) {
  Bank rom = simpleBank(), bank = simpleBank();
  rom.samples = {{"Filler"}, {"Piano"}};
  rom.samples[1].points.assign(200, 2000);
  bank.samples[0].name = "Piano";
  bank.samples[0].type = 0x8001;
  putFile(folder_ / "1mgm.sf2", bytesOf(rom));
  putFile(folder_ / "bank.sf2", bytesOf(bank));
  withDialogs([&] { open({folder_ / "bank.sf2"}); },
              {[](wxDialog& question) { click(button(question, "Use 1mgm.sf2")); },
               [&](wxDialog& dialog) {
                 EXPECT_EQ(dynamic_cast<wxFileDialog&>(dialog).GetMessage(), "Please locate 1mgm.sf2");
                 answerWithFile(dialog, folder_ / "1mgm.sf2");
               }});
  ASSERT_EQ(collection().count(ItemKind::Waveform), 1u);
  EXPECT_EQ(waveform(0).frames, 200u);
}

TEST_F(Dialogs, FixupsAreConfirmedWhereTheUserHasItSo) {
  app::appSettings().shell.confirmFixup = true;
  const io::FixupOptions before = io::fixupOptions();
  withDialogs([] { open({kOrgan}); }, {[](wxDialog& dialog) {
                press(WXK_ESCAPE);
                (void)dialog;
              }});
  EXPECT_EQ(collection().count(ItemKind::Waveform), 0u) << "not opened at all";
  const wxString step = shown(io::fixupSteps()[0].description);
  withDialogs([] { open({kOrgan}); }, {[&](wxDialog& dialog) {
                EXPECT_EQ(dialog.GetTitle(), "Fixing up items");
                for (const io::FixupStep& each : io::fixupSteps()) {
                  if (!each.option) continue;
                  auto& check = dynamic_cast<wxCheckBox&>(control(dialog, shown(each.description)));
                  EXPECT_EQ(check.GetValue(), before.*each.option);
                }
                auto& check = dynamic_cast<wxCheckBox&>(
                    control(dialog, shown(u"Append 32 samples after loops at the end")));
                click(check, {8, check.GetClientSize().y / 2});
                click(button(dialog, "OK"));
              }});
  app::appSettings().shell.confirmFixup = false;
  EXPECT_EQ(collection().count(ItemKind::Waveform), 1u);
  EXPECT_TRUE(io::fixupOptions().append32);
  io::fixupOptions() = before;
}

// Every row that the list offers, with every kind that can be saved.
TEST_F(Dialogs, EverySaveTellsItsLossesFirst) {
  Bank made = simpleBank({amount(gen::FilterCutoff, 6000)});
  putFile(folder_ / "bank.sf2", bytesOf(made));
  open({folder_ / "bank.sf2"});
  document().selectItems({collection().all<Instrument>().at(0)->id()});
  document().selectWaveforms({waveform(0).id()});
  int rows = 0, losing = 0;
  withDialogs([] { press('S', wxMOD_CONTROL | wxMOD_SHIFT); }, {[&](wxDialog& dialog) {
                auto& item = control<wxChoice>(dialog, "Item");
                auto& format = control<wxChoice>(dialog, "File format");
                for (unsigned i = 0; i < item.GetCount(); ++i) {
                  choose(item, item.GetString(i));
                  ASSERT_GT(format.GetCount(), 0u) << item.GetString(i);
                  for (unsigned row = 0; row < format.GetCount(); ++row, ++rows) {
                    choose(format, format.GetString(row));
                    const wxString lines = control<wxTextCtrl>(dialog, "What is lost").GetValue();
                    losing += !lines.empty();
                    const wxString name = control<wxTextCtrl>(dialog, "File name").GetValue();
                    EXPECT_TRUE(format.GetString(row).Contains("*." + name.AfterLast('.'))) << name;
                  }
                }
              }});
  EXPECT_GT(rows, 30);
  EXPECT_GT(losing, 5);
}

TEST_F(Dialogs, SaveAllSumsTheLossesUp) {
  std::filesystem::copy_file(kOrgan, folder_ / "two.wav");
  open({kOrgan});
  withDialogs([&] { open({folder_ / "two.wav"}); },
              {[](wxDialog& question) { click(button(question, "Merge w current")); }});
  ASSERT_EQ(collection().count(ItemKind::Waveform), 2u);
  wxCommandEvent event(wxEVT_MENU, kSaveAll);
  withDialogs([&] { window().ProcessWindowEvent(event); }, {[&](wxDialog& dialog) {
                auto& lost = control<wxTextCtrl>(dialog, "What is lost");
                choose(control<wxChoice>(dialog, "Save"), "All waveforms");
                EXPECT_EQ(lost.GetValue(), "");
                choose(control<wxChoice>(dialog, "Encoding"), "8-bit PCM");
                EXPECT_EQ(lost.GetValue(), "Samples: 16-bit precision (\"" +
                                               shown(waveform(0).displayName()) + "\" and 1 more)");
                choose(control<wxChoice>(dialog, "Save"), "All songs");
              }});
}

}  // namespace
}  // namespace vemko::test
