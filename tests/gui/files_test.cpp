#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/filepicker.h>
#include <wx/listbox.h>
#include <wx/listctrl.h>
#include <wx/textctrl.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/commands.h"
#include "app/gui/waveform_list.h"
#include "gui/driver.h"
#include "io/open.h"
#include "io/samples.h"

namespace vemko::test {
namespace {

using Files = Gui;

const Path kOrgan = Path(VEMKO_EXAMPLES) / "organ.wav";

Waveform& organ() { return *document().collection().all<Waveform>().at(0); }

std::size_t collectionSize() { return document().collection().count(ItemKind::Waveform); }

TEST_F(Files, SaveAsTellsTheLossAndWritesTheFile) {
  open({kOrgan});
  const Path target = folder_ / "out.wav";
  withDialogs([] { press('S', wxMOD_CONTROL | wxMOD_SHIFT); }, {[&](wxDialog& dialog) {
                choose(control<wxChoice>(dialog, "Item"), "Waveform: Organ A3");
                EXPECT_EQ(control<wxTextCtrl>(dialog, "What is lost").GetValue(), "");
                choose(control<wxChoice>(dialog, "Encoding"), "8-bit PCM");
                EXPECT_EQ(control<wxTextCtrl>(dialog, "What is lost").GetValue(),
                          "Samples: 16-bit precision (\"Organ A3\")");
                control<wxTextCtrl>(dialog, "File name").SetValue(shownPath(target));
                click(button(dialog, "Save"));
              }});
  EXPECT_TRUE(takeMessages().empty());
  Collection saved;
  ASSERT_TRUE(io::openFile(saved, target, false)) << toUtf8(lastError());
  const Waveform& wave = *saved.all<Waveform>().at(0);
  EXPECT_EQ(wave.frames, 26460u);
  EXPECT_EQ(wave.source->encoding(), SampleEncoding::Pcm8);
}

TEST_F(Files, SaveAsKeepsAFileThatTheUserDoesNotGiveUp) {
  open({kOrgan});
  putFile(folder_ / "out.wav", "mine");
  answerMessages(wxID_NO);
  withDialogs([] { press('S', wxMOD_CONTROL | wxMOD_SHIFT); }, {[&](wxDialog& dialog) {
                control<wxTextCtrl>(dialog, "File name").SetValue(shownPath(folder_ / "out.wav"));
                click(button(dialog, "Save"));
                press(WXK_ESCAPE);
              }});
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"File already exists! Overwrite it?"});
  EXPECT_EQ(contentOf(folder_ / "out.wav"), "mine");
}

TEST_F(Files, SaveWritesTheFileItCameFrom) {
  std::filesystem::copy_file(kOrgan, folder_ / "organ.wav");
  open({folder_ / "organ.wav"});
  document().rename(organ().id(), u"Changed");
  EXPECT_EQ(window().GetTitle()[0], '*');
  press('S', wxMOD_CONTROL);
  EXPECT_NE(window().GetTitle()[0], '*') << takeMessages().size();
  Collection saved;
  ASSERT_TRUE(io::openFile(saved, folder_ / "organ.wav", false));
  EXPECT_EQ(saved.all<Waveform>().at(0)->name(), u"Changed");
  EXPECT_EQ(filesIn(folder_.path()), std::vector<std::string>{"organ.wav"});  // no backup stays
}

TEST_F(Files, SaveAllAsksOnceWhatToDoWithExistingFiles) {
  open({kOrgan});
  createWaveform(document().collection(), u"Second").setSamples(SampleBuffer::allocate(100, 1, 44100));
  for (const char* name : {"Organ A3.wav", "Second.wav"}) putFile(folder_ / name, "old");
  wxCommandEvent event(wxEVT_MENU, kSaveAll);
  withDialogs([&] { window().ProcessWindowEvent(event); },
              {[&](wxDialog& dialog) {
                 EXPECT_EQ(dialog.GetTitle(), "Select directory, file format and 'base name'");
                 control<wxDirPickerCtrl>(dialog, "Folder").SetPath(shownPath(folder_.path()));
                 control<wxTextCtrl>(dialog, "Base name").SetValue("");
                 click(button(dialog, "Save all"));
               },
               [](wxDialog& question) {
                 auto& check = dynamic_cast<wxCheckBox&>(control(question, "Don't ask again?"));
                 check.SetValue(true);
                 click(button(question, "Rename it"));
               }});
  EXPECT_EQ(filesIn(folder_.path()),
            (std::vector<std::string>{"Organ A3 (2).wav", "Organ A3.wav", "Second (2).wav", "Second.wav"}));
}

// What people really have: names in their own language, damaged files, places where nobody may write.
TEST_F(Files, OddNamesAndDamagedFilesAreNoTrouble) {
  const std::string content = contentOf(kOrgan);
  std::string longName(240, 'x');
  for (const std::string& name :
       {std::string("with  spaces & signs %s #1.wav"), std::string("\xE6\x97\xA5\xE6\x9C\xAC \xC3\xBC.wav"),
        std::string("no utf-8 \xFF\xFE.wav"), longName + ".wav"}) {
    SCOPED_TRACE(name);
    putFile(folder_ / name, content);
    document().startNew();
    open({folder_ / name});
    ASSERT_EQ(collectionSize(), 1u);
    const std::u16string odd = u"a\u0627\u0644 \U0001F3B9 && \t|" + std::u16string(5000, u'n');
    document().rename(organ().id(), odd);
    settle();
    EXPECT_FALSE(window().list().GetItemText(0, 0).empty());
    press('S', wxMOD_CONTROL);
    EXPECT_NE(window().GetTitle()[0], '*');
    EXPECT_EQ(window().recentFiles().GetHistoryFile(0), shownPath(folder_ / name));
  }
  EXPECT_TRUE(takeMessages().empty());
  struct Case {
    const char* name;
    std::string content;
    wxString message;
  };
  const Case cases[] = {{"empty.wav", "", "File is of zero size"},
                        {"none.wav", "-", "Could not open file"},
                        {"cut.sf2", content.substr(0, 4) + "xxxxsfbk", {}}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    document().startNew();
    if (each.content != "-") putFile(folder_ / each.name, each.content);
    open({folder_ / each.name});
    const auto messages = takeMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(messages[0].StartsWith(shownPath(folder_ / each.name)));
    EXPECT_TRUE(messages[0].EndsWith(each.message)) << messages[0];
    EXPECT_EQ(collectionSize(), 0u);
  }
}

TEST_F(Files, AFailedSaveTellsWhy) {
  open({kOrgan});
  withDialogs([] { press('S', wxMOD_CONTROL | wxMOD_SHIFT); }, {[&](wxDialog& dialog) {
                choose(control<wxChoice>(dialog, "Item"), "Waveform: Organ A3");
                control<wxTextCtrl>(dialog, "File name").SetValue(shownPath(folder_ / "no folder" / "a.wav"));
                click(button(dialog, "Save"));
              }});
  EXPECT_EQ(takeMessages(), std::vector<wxString>{"Could not create file"});
  EXPECT_TRUE(filesIn(folder_.path()).empty());
}

TEST_F(Files, ClosingWithChangesAsks) {
  open({kOrgan});
  document().rename(organ().id(), u"Changed");
  withDialogs([] { press('Q', wxMOD_CONTROL); },
              {[](wxDialog& question) { click(button(question, "Cancel")); }});
  EXPECT_EQ(organ().name(), u"Changed");
  EXPECT_TRUE(window().IsShown());
}

TEST_F(Files, OpeningMoreAsksAndMerges) {
  open({kOrgan});
  std::filesystem::copy_file(kOrgan, folder_ / "second.wav");
  withDialogs([&] { open({folder_ / "second.wav"}); },
              {[](wxDialog& question) { click(button(question, "Merge w current")); }});
  EXPECT_EQ(document().collection().count(ItemKind::Waveform), 2u);
  press('Z', wxMOD_CONTROL);
  EXPECT_EQ(document().collection().count(ItemKind::Waveform), 1u);
}

TEST_F(Files, RawBytesAreOffered) {
  putFile(folder_ / "noise.xyz", std::string(1000, '\x40'));
  putFile(folder_ / "more.xyz", std::string(1000, '\x40'));
  withDialogs(
      [&] {
        open({folder_ / "noise.xyz", folder_ / "more.xyz"});
      },
      {[](wxDialog& question) { click(button(question, "Allways OK")); }});
  EXPECT_EQ(document().collection().count(ItemKind::Waveform), 2u);
  withDialogs([&] { open({folder_ / "noise.xyz"}); },
              {[](wxDialog& question) { click(button(question, "Replace current")); },
               [](wxDialog& question) { click(button(question, "Discard")); },
               [](wxDialog& question) { click(button(question, "Cancel")); }});  // asked anew
  EXPECT_EQ(document().collection().count(ItemKind::Waveform), 0u);
}

TEST_F(Files, ProcessAppliesAToolWithItsOptions) {
  open({kOrgan});
  window().list().SetFocus();
  document().selectWaveforms({organ().id()});
  ASSERT_TRUE(io::loadSamples(organ(), true));
  const float before = std::as_const(*organ().buffer).samples()[1000];
  withDialogs([] { press('P', wxMOD_CONTROL); }, {[](wxDialog& dialog) {
                auto& tools = control<wxListBox>(dialog, "Tools");
                EXPECT_EQ(tools.GetStringSelection(), "Adjust volume/gain");
                control<wxTextCtrl>(dialog, "Adjust the volume by:").SetValue("-12");
                click(button(dialog, "OK"));
              }});
  EXPECT_NEAR(std::as_const(*organ().buffer).samples()[1000], before / 4, 0.01);
  EXPECT_EQ(document().history().undoName(), u"Adjust volume/gain");
  press('Z', wxMOD_CONTROL);
  ASSERT_TRUE(io::loadSamples(organ(), true));
  EXPECT_EQ(std::as_const(*organ().buffer).samples()[1000], before);
}

TEST_F(Files, PreferencesTakeEffect) {
  open({kOrgan});
  EXPECT_EQ(window().list().GetItemText(0, 4), "A3");
  withDialogs([] { showPreferences(window()); }, {[](wxDialog& dialog) {
                auto& check =
                    dynamic_cast<wxCheckBox&>(control(dialog, "Show note names instead of numbers"));
                click(check, {8, check.GetClientSize().y / 2});
                click(button(dialog, "OK"));
              }});
  EXPECT_EQ(window().list().GetItemText(0, 4), "57");
  app::appSettings().shell.showNoteNames = true;
}

}  // namespace
}  // namespace vemko::test
