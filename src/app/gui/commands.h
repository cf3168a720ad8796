#pragma once
// Every command of the main window, as one table from which menu bar, toolbar and accelerators are made.
#include <span>
#include <string_view>
#include <wx/defs.h>
#include <wx/string.h>

class wxFrame;
class wxMenu;
class wxMenuBar;
class wxToolBar;

namespace vemko::gui {

class MainWindow;

enum CommandId {
  kFirstCommand = wxID_HIGHEST + 1,
  kCollectionInformation,
  kSaveAll,
  kRename,
  kPasteLink,
  kProcess,
  kNewInstrument,
  kNewLayer,
  kNewRegion,
  kNewSong,
  kNewTrack,
  kLinkWaveform,
  kMoveUp,
  kMoveDown,
  kSortByName,
  kSortByProgram,
  kShowWaveform,
  kShowKeyMap,
  kShowLog,
  kNextPane,
};

struct Command {
  int id;            ///< wxID_SEPARATOR for a line in the menu; the other fields but the menu are empty then.
  const char* menu;  ///< "&File", or "&Edit|&New" for a menu within a menu.
  const char* label;           ///< With mnemonic and accelerator: "&Open...\tCtrl+O".
  const char* help;            ///< Shown in the status line and as the tool's tip.
  std::string_view icon = {};  ///< With an icon it also stands in the toolbar; see icons.h.
  void (*run)(MainWindow&) = nullptr;
  bool (*enabled)(const MainWindow&) = nullptr;           ///< Null: always.
  wxString (*dynamicLabel)(const MainWindow&) = nullptr;  ///< Replaces the label before the tab.
  bool (*checked)(const MainWindow&) = nullptr;           ///< Makes it a check item.
};

std::span<const Command> commands();

wxMenuBar* makeMenuBar();
/// The commands for what is selected, for the menu of the right button.
wxMenu* makeItemMenu();
/// Fills the toolbar, anew when the colours have changed, with the commands that have an icon, a gap between
/// menus.
void fillToolBar(wxToolBar& bar);
/// Binds every command to the window, enabled and labelled by the table.
void bindCommands(MainWindow& window);

}  // namespace vemko::gui
