// The window's parts, and where they stand.
#include <wx/button.h>
#include <wx/display.h>
#include <wx/msgdlg.h>
#include <wx/sizer.h>
#include <wx/toolbar.h>

#include "app/app_settings.h"
#include "app/gui/collection_tree.h"
#include "app/gui/commands.h"
#include "app/gui/key_map_view.h"
#include "app/gui/log_pane.h"
#include "app/gui/main_window.h"
#include "app/gui/status_line.h"
#include "app/gui/text.h"
#include "app/gui/waveform_list.h"
#include "app/gui/waveform_view.h"

namespace vemko::gui {
namespace {

constexpr int kDefaultWidth = 1100, kDefaultHeight = 720;
constexpr double kListShare = 0.45;  // of the right side's height
constexpr std::u16string_view kNoSplit = u"Couldn't create split window";

}  // namespace

bool isMade(const wxWindow* part, std::u16string_view message) {
  if (part && part->GetHandle()) return true;
  wxMessageBox(shown(message), "Error!", wxOK | wxICON_ERROR);
  return false;
}

bool MainWindow::createParts() {
  SetMenuBar(makeMenuBar());
  fillToolBar(*CreateToolBar(wxTB_HORIZONTAL | wxTB_FLAT));
  status_ = new StatusLine(this);
  if (!isMade(status_, u"Couldn't create status bar")) return false;
  SetStatusBar(status_);
  constexpr long kStyle = wxSP_LIVE_UPDATE | wxSP_NOBORDER;
  columns_ = new wxSplitterWindow(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, kStyle);
  if (!isMade(columns_, kNoSplit)) return false;
  columns_->SetMinimumPaneSize(FromDIP(120));
  wxWindow* left = createLeftPane(columns_);
  if (!left) return false;
  rows_ = new wxSplitterWindow(columns_, wxID_ANY, wxDefaultPosition, wxDefaultSize, kStyle);
  if (!isMade(rows_, kNoSplit)) return false;
  rows_->SetMinimumPaneSize(FromDIP(80));
  rows_->SetSashGravity(kListShare);
  list_ = new WaveformList(rows_, document_);
  if (!isMade(list_, u"Couldn't create Waveforms list view")) return false;
  createPages(rows_);
  rows_->SplitHorizontally(list_, pages_);
  columns_->SplitVertically(left, rows_, FromDIP(app::appSettings().shell.leftPaneWidth));
  return true;
}

wxWindow* MainWindow::createLeftPane(wxWindow* parent) {
  auto* pane = new wxPanel(parent);
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  struct SortButton {
    const char* label;
    const char* tip;
    int command;
  };
  for (const auto& [label, tip, command] :
       {SortButton{"Name", "Put instruments and songs in the order of their names", kSortByName},
        SortButton{"Program", "Put instruments in the order of bank and program", kSortByProgram}}) {
    auto* button = new wxButton(pane, command, label, wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    if (!isMade(button, u"Couldn't create coll sort buttons")) return nullptr;
    button->SetToolTip(tip);
    button->Bind(wxEVT_BUTTON, [this, id = command](wxCommandEvent&) {
      wxCommandEvent event(wxEVT_MENU, id);
      ProcessWindowEvent(event);
    });
    buttons->Add(button, 1);
  }
  tree_ = new CollectionTree(pane, document_);
  if (!isMade(tree_, u"Couldn't create collection tree view")) return nullptr;
  sizer->Add(buttons, 0, wxEXPAND);
  sizer->Add(tree_, 1, wxEXPAND);
  pane->SetSizer(sizer);
  return pane;
}

void MainWindow::createPages(wxWindow* parent) {
  pages_ = new wxNotebook(parent, wxID_ANY);
  waveformView_ = new WaveformView(pages_);
  waveformView_->onEdit = [this](std::u16string step, std::function<void(Waveform&)> change) {
    const ItemId ids[] = {shownWaveform_};
    document_.edit(std::move(step), ids, app::Document::Touches::Content, [&](app::Document::Created&) {
      auto* waveform = document_.collection().find<Waveform>(shownWaveform_);
      if (waveform) change(*waveform);
      return waveform != nullptr;
    });
  };
  keyMapView_ = new KeyMapView(pages_);
  keyMapView_->onRegionSelected = [this](ItemId region) {
    document_.selectItems({region});
    tree_->showSelection();
  };
  log_ = new LogPane(pages_);
  pages_->AddPage(waveformView_, "Waveform");
  pages_->AddPage(keyMapView_, "Key map");
  pages_->AddPage(log_, "Log");
}

void MainWindow::restorePlacement() {
  const app::ShellSettings& settings = app::appSettings().shell;
  const app::ScreenPair size =
      settings.windowSize.value_or(app::ScreenPair{FromDIP(kDefaultWidth), FromDIP(kDefaultHeight)});
  SetSize(wxSize(size.x, size.y));
  // A screen that was there last time may be gone.
  if (settings.windowPosition && wxDisplay::GetFromPoint({settings.windowPosition->x + 50,
                                                          settings.windowPosition->y + 20}) != wxNOT_FOUND)
    Move(settings.windowPosition->x, settings.windowPosition->y);
  SendSizeEvent();  // the split is a share of the height until it has been moved
  if (settings.listHeight > 0) rows_->SetSashPosition(FromDIP(settings.listHeight));
}

void MainWindow::storePlacement() {
  app::ShellSettings& settings = app::appSettings().shell;
  if (!IsMaximized() && !IsIconized()) {
    settings.windowPosition = app::ScreenPair{GetPosition().x, GetPosition().y};
    settings.windowSize = app::ScreenPair{GetSize().x, GetSize().y};
  }
  settings.leftPaneWidth = ToDIP(columns_->GetSashPosition());
  settings.listHeight = ToDIP(rows_->GetSashPosition());
  list_->storeWidths();
  settings.lastFiles.clear();
  for (std::size_t i = 0; i < recentFiles_.GetCount(); ++i)
    settings.lastFiles.push_back(textFrom(recentFiles_.GetHistoryFile(i)));
}

}  // namespace vemko::gui
