#include "app/gui/commands.h"

#include <algorithm>
#include <string>
#include <wx/menu.h>
#include <wx/textentry.h>
#include <wx/toolbar.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/icons.h"
#include "app/gui/main_window.h"
#include "app/gui/text.h"
#include "app/gui/waveform_view.h"

namespace vemko::gui {
namespace {

using Sort = app::Document::SortKey;

bool hasSelection(const MainWindow& window) { return !window.document().selection().empty(); }
// One, with or without what lies below it.
bool hasOneItem(const MainWindow& window) {
  const app::Document& document = window.document();
  if (document.waveformsAreActive() || document.selection().size() < 2)
    return !document.waveformsAreActive() && !document.selection().empty();
  return app::appSettings().shell.autoSelectSubItems &&
         document.withoutDescendants(document.selection()).size() == 1;
}
// Items that can be deleted or moved; the collection itself cannot.
bool hasItems(const MainWindow& window) {
  const auto& selection = window.document().selection();
  return !selection.empty() && selection.front() != kNoItem;
}
bool hasContent(const MainWindow& window) {
  const Collection& collection = window.document().collection();
  for (ItemKind kind : {ItemKind::Waveform, ItemKind::Instrument, ItemKind::Song, ItemKind::Synth})
    if (collection.count(kind) > 0) return true;
  return false;
}
bool hasRegionAndWaveform(const MainWindow& window) {
  const auto& items = window.document().selectedItems();
  return window.document().selectedWaveforms().size() == 1 && !items.empty() &&
         kindOf(items.front()) == ItemKind::Region;
}
bool hasInstruments(const MainWindow& window) {
  return window.document().collection().count(ItemKind::Instrument) > 0;
}

wxString withName(const wxString& verb, std::u16string_view step) {
  wxString label = verb;
  if (!step.empty()) label += " " + shown(step);
  label.Replace("&", "&&");
  return "&" + label;
}

constexpr const char *kFile = "&File", *kEdit = "&Edit", *kItems = "&Items", *kNew = "&Items|&New",
                     *kView = "&View", *kHelp = "&Help";

constexpr Command line(const char* menu) { return {wxID_SEPARATOR, menu, "", ""}; }

// clang-format off
const Command kCommands[] = {
  {wxID_NEW, kFile, "&New collection\tCtrl+N", "Start with an empty collection", "new", newCollection},
  {wxID_OPEN, kFile, "&Open...\tCtrl+O", "Open files of any format", "open", openWithDialog},
  line(kFile),
  {wxID_SAVE, kFile, "&Save\tCtrl+S", "Save in the file that the collection came from", "save", [](MainWindow& w) { save(w); }, hasContent},
  {wxID_SAVEAS, kFile, "Save &as...\tCtrl+Shift+S", "Save an item or the collection in any format", {}, [](MainWindow& w) { saveAs(w); }, hasContent},
  {kSaveAll, kFile, "Save a&ll...", "Save every item of a kind to a file of its own", {}, saveAll, hasContent},
  line(kFile),
  {kCollectionInformation, kFile, "Collection &information...\tCtrl+D", "What the collection holds", {}, showCollectionInformation},
  line(kFile),
  {wxID_EXIT, kFile, "&Quit\tCtrl+Q", "Close the window", {}, closeWindow},

  {wxID_UNDO, kEdit, "&Undo\tCtrl+Z", "Take the last step back", "undo", undo,
   [](const MainWindow& w) { return w.document().history().canUndo(); },
   [](const MainWindow& w) { return withName("Undo", w.document().history().undoName()); }},
  {wxID_REDO, kEdit, "&Redo\tCtrl+Shift+Z", "Do the step again that was taken back", "redo", redo,
   [](const MainWindow& w) { return w.document().history().canRedo(); },
   [](const MainWindow& w) { return withName("Redo", w.document().history().redoName()); }},
  line(kEdit),
  {wxID_CUT, kEdit, "Cu&t\tCtrl+X", "Copy the selected items, then delete them", "cut", cutSelected, hasItems},
  {wxID_COPY, kEdit, "&Copy\tCtrl+C", "Copy the selected items", "copy", copySelected, hasItems},
  {wxID_PASTE, kEdit, "&Paste\tCtrl+V", "Add copies of what was copied", "paste", paste},
  {kPasteLink, kEdit, "Paste &link\tCtrl+Shift+V", "Add regions that play the waveforms that were copied", {}, pasteLink},
  line(kEdit),
  {wxID_DELETE, kEdit, "&Delete\tDel", "Delete the selected items", "delete", deleteSelected, hasItems},
  {kRename, kEdit, "Re&name\tF2", "Rename the selected item in place", {}, renameSelected, hasSelection},
  {wxID_SELECTALL, kEdit, "Select &all\tCtrl+A", "Select everything in the tree or list", {}, selectAll},
  line(kEdit),
  {wxID_PREFERENCES, kEdit, "Pr&eferences...\tCtrl+,", "How the studio shows and opens things", {}, showPreferences},

  {kNewInstrument, kNew, "&Instrument", "Add an instrument", {}, [](MainWindow& w) { createItem(w, ItemKind::Instrument); }},
  {kNewLayer, kNew, "&Layer", "Add a layer to the selected instrument", {}, [](MainWindow& w) { createItem(w, ItemKind::Layer); }},
  {kNewRegion, kNew, "&Region", "Add a region to the selected layer; it plays the selected waveform", {}, [](MainWindow& w) { createItem(w, ItemKind::Region); }},
  {kNewSong, kNew, "&Song", "Add a song", {}, [](MainWindow& w) { createItem(w, ItemKind::Song); }},
  {kNewTrack, kNew, "&Track", "Add a track to the selected song", {}, [](MainWindow& w) { createItem(w, ItemKind::Track); }},
  {wxID_PROPERTIES, kItems, "&Properties...\tAlt+Return", "Texts, ranges, tuning, articulation and loops of the selected item", "properties", showProperties, hasSelection},
  {kProcess, kItems, "P&rocess items...\tCtrl+P", "Apply a tool to the selected items", "process", processSelected, hasSelection},
  line(kItems),
  {kLinkWaveform, kItems, "Play selected &waveform\tCtrl+L", "Let the selected regions play the waveform that is selected in the list", {}, linkSelectedWaveform, hasRegionAndWaveform},
  {kMoveUp, kItems, "Move &up\tAlt+Up", "Move the item before its neighbour", {}, [](MainWindow& w) { moveSelected(w, -1); }, hasOneItem},
  {kMoveDown, kItems, "Move &down\tAlt+Down", "Move the item behind its neighbour", {}, [](MainWindow& w) { moveSelected(w, 1); }, hasOneItem},
  {kSortByName, kItems, "Sort by &name", "Put instruments and songs in the order of their names", {}, [](MainWindow& w) { sortItems(w, Sort::Name); }},
  {kSortByProgram, kItems, "Sort by &program", "Put instruments in the order of bank and program", {}, [](MainWindow& w) { sortItems(w, Sort::Program); }, hasInstruments},

  {kShowWaveform, kView, "&Waveform\tCtrl+1", "Show the selected waveform", {}, [](MainWindow& w) { w.showPage(MainWindow::kWaveformPage); }},
  {kShowKeyMap, kView, "&Key map\tCtrl+2", "Show the regions of the selected instrument", {}, [](MainWindow& w) { w.showPage(MainWindow::kKeyMapPage); }},
  {kShowLog, kView, "&Log\tCtrl+3", "Show what was noted while opening and saving", {}, [](MainWindow& w) { w.showPage(MainWindow::kLogPage); }},
  line(kView),
  {kNextPane, kView, "&Next pane\tF6", "Go from the tree to the list to the view below it", {}, [](MainWindow& w) { w.focusNextPane(); }},

  {wxID_ABOUT, kHelp, "&About Vemko Studio", "Version and licence", {}, showAbout},
};
// clang-format on

// The menu of a path "&File" or "&Items|&New", made where it does not exist yet.
wxMenu* menuFor(wxMenuBar& bar, const wxString& path) {
  wxString inner;
  const wxString outer = path.BeforeFirst('|', &inner);
  wxMenu* menu = nullptr;
  for (std::size_t i = 0; i < bar.GetMenuCount() && !menu; ++i)
    if (bar.GetMenuLabel(i) == outer) menu = bar.GetMenu(i);
  if (!menu) bar.Append(menu = new wxMenu, outer);
  if (inner.empty()) return menu;
  for (wxMenuItem* item : menu->GetMenuItems())
    if (item->IsSubMenu() && item->GetItemLabel() == inner) return item->GetSubMenu();
  auto* below = new wxMenu;
  menu->AppendSubMenu(below, inner);
  return below;
}

void updateCommand(const MainWindow& window, const Command& command, wxUpdateUIEvent& event) {
  if (command.enabled) event.Enable(command.enabled(window));
  if (command.checked) event.Check(command.checked(window));
  // A tool has no room for a label.
  if (!command.dynamicLabel || !dynamic_cast<wxMenu*>(event.GetEventObject())) return;
  const wxString label = command.dynamicLabel(window);
  wxString accelerator = wxString(command.label).AfterFirst('\t');
  event.SetText(accelerator.empty() ? label : label + "\t" + accelerator);
}

// While text is edited in place, keys that are commands of the window belong to the text.
bool runInText(int id) {
  auto* text = dynamic_cast<wxTextEntry*>(wxWindow::FindFocus());
  if (!text) return false;
  switch (id) {
    case wxID_CUT:
      text->Cut();
      return true;
    case wxID_COPY:
      text->Copy();
      return true;
    case wxID_PASTE:
      text->Paste();
      return true;
    case wxID_UNDO:
      text->Undo();
      return true;
    case wxID_REDO:
      text->Redo();
      return true;
    case wxID_SELECTALL:
      text->SelectAll();
      return true;
    case wxID_DELETE: {
      long from = 0, to = 0;
      text->GetSelection(&from, &to);
      if (from == to) to = std::min(from + 1, text->GetLastPosition());
      text->Remove(from, to);
      return true;
    }
    default:
      return false;
  }
}

}  // namespace

std::span<const Command> commands() { return kCommands; }

wxMenuBar* makeMenuBar() {
  auto* bar = new wxMenuBar;
  for (const Command& command : kCommands) {
    wxMenu* menu = menuFor(*bar, command.menu);
    if (command.id == wxID_SEPARATOR)
      menu->AppendSeparator();
    else
      menu->Append(command.id, command.label, command.help, command.checked ? wxITEM_CHECK : wxITEM_NORMAL);
  }
  return bar;
}

wxMenu* makeItemMenu() {
  constexpr int kIds[] = {wxID_PROPERTIES, kProcess,   wxID_SEPARATOR, wxID_CUT, wxID_COPY,
                          wxID_PASTE,      kPasteLink, wxID_SEPARATOR, kRename,  wxID_DELETE};
  auto* menu = new wxMenu;
  for (int id : kIds) {
    if (id == wxID_SEPARATOR) menu->AppendSeparator();
    for (const Command& command : kCommands)
      if (command.id == id && id != wxID_SEPARATOR) menu->Append(id, command.label, command.help);
  }
  return menu;
}

void fillToolBar(wxToolBar& bar) {
  bar.ClearTools();
  std::string_view menu;
  for (const Command& command : kCommands) {
    if (command.icon.empty()) continue;
    if (!menu.empty() && menu != command.menu) bar.AddSeparator();
    menu = command.menu;
    const wxString label = wxMenuItem::GetLabelText(command.label).BeforeFirst('\t');
    bar.AddTool(command.id, label, icon(command.icon), command.help);
  }
  bar.Realize();
}

void bindCommands(MainWindow& window) {
  for (const Command& command : kCommands) {
    if (command.id == wxID_SEPARATOR) continue;
    window.Bind(
        wxEVT_MENU,
        [&window, &command](wxCommandEvent&) {
          if (runInText(command.id)) return;
          window.waveformView().finishEdit();
          command.run(window);
        },
        command.id);
    if (!command.enabled && !command.dynamicLabel && !command.checked) continue;
    window.Bind(
        wxEVT_UPDATE_UI,
        [&window, &command](wxUpdateUIEvent& event) { updateCommand(window, command, event); }, command.id);
  }
}

}  // namespace vemko::gui
