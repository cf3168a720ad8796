#include "app/gui/main_window.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <wx/app.h>
#include <wx/button.h>
#include <wx/display.h>
#include <wx/dnd.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/toolbar.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/collection_tree.h"
#include "app/gui/commands.h"
#include "app/gui/icons.h"
#include "app/gui/key_map_view.h"
#include "app/gui/labels.h"
#include "app/gui/log_pane.h"
#include "app/gui/status_line.h"
#include "app/gui/text.h"
#include "app/gui/waveform_list.h"
#include "app/gui/waveform_view.h"
#include "base/last_error.h"
#include "base/log.h"

namespace vemko::gui {
namespace {

constexpr int kLeastWidth = 480, kLeastHeight = 160;  // the height of what is in the frame
constexpr std::size_t kMostRecentFiles = 12;

class FileTarget : public wxFileDropTarget {
 public:
  explicit FileTarget(MainWindow& window) : window_(window) {}
  bool OnDropFiles(wxCoord, wxCoord, const wxArrayString& names) override {
    std::vector<Path> files;
    for (const wxString& name : names) files.push_back(pathFrom(name));
    // The other program waits until the drop is over; questions come after that.
    window_.CallAfter([&window = window_, files] { openFiles(window, files); });
    return true;
  }

 private:
  MainWindow& window_;
};

}  // namespace

MainWindow::MainWindow()
    : wxFrame(nullptr, wxID_ANY, "Vemko Studio"),
      loader_([](std::function<void()> work) { wxTheApp->CallAfter([work = std::move(work)] { work(); }); }) {
  SetIcons(programIcons());
  isComplete_ = createParts();
  if (!isComplete_) return;
  bindCommands(*this);
  for (wxWindow* pane : {static_cast<wxWindow*>(tree_), static_cast<wxWindow*>(list_)})
    pane->Bind(wxEVT_CONTEXT_MENU, [this, pane](wxContextMenuEvent&) {
      document_.activate(pane == list_);
      const std::unique_ptr<wxMenu> menu(makeItemMenu());
      PopupMenu(menu.get());
    });
  list_->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { showProperties(*this); });
  loadRecentFiles();
  SetDropTarget(new FileTarget(*this));
  loader_.onProgress = [this](std::size_t done, std::size_t all) { status_->showBackground(done, all); };
  document_.onChange = [this](const app::DocumentChange& change) { documentChanged(change); };
  document_.onSelection = [this] { selectionChanged(); };
  Bind(wxEVT_SYS_COLOUR_CHANGED, &MainWindow::onColoursChanged, this);
  Bind(wxEVT_CLOSE_WINDOW, &MainWindow::onClose, this);
  restorePlacement();
  showTitle();
  selectionChanged();
  showPartsWithWindow();
}

// Where a window manager has its say the window is first shown with next to no size, and GTK complains of
// each part that it has to lay out in that. The status line, which minds nothing, stays.
void MainWindow::showParts(bool visible) {
#ifdef __WXGTK__
  for (wxWindow* part : {static_cast<wxWindow*>(GetMenuBar()), static_cast<wxWindow*>(GetToolBar()),
                         static_cast<wxWindow*>(columns_)})
    part->Show(visible);
#endif
  partsAreShown_ = visible;
}

void MainWindow::showPartsWithWindow() {
  const auto showWhenSized = [this] {
    if (partsAreShown_ || !IsShown() || GetClientSize().y < FromDIP(kLeastHeight)) return;
    columns_->SetSize(GetClientSize());
    columns_->UpdateSize();
    rows_->UpdateSize();
    showParts(true);
    SendSizeEvent();
    tree_->SetFocus();
    if (onShown) CallAfter(std::exchange(onShown, {}));
  };
  showParts(false);
  SetMinSize(FromDIP(wxSize(kLeastWidth, 2 * kLeastHeight)));
  Bind(wxEVT_SHOW, [this, showWhenSized](wxShowEvent& event) {
    event.Skip();
    CallAfter(showWhenSized);
  });
  Bind(wxEVT_SIZE, [this, showWhenSized](wxSizeEvent& event) {
    event.Skip();
    if (!partsAreShown_) CallAfter(showWhenSized);
  });
}

MainWindow::~MainWindow() {
  document_.onChange = {};
  document_.onSelection = {};
  io::setRecentFileSink({});
  SetStatusBar(nullptr);
}

void MainWindow::documentChanged(const app::DocumentChange& change) {
  if (change.structure) {
    tree_->reload();
    list_->reload();
  } else {
    tree_->refreshItems(change.items);
    list_->refreshItems();
  }
  showTitle();
  showSelectedItems();
  waveformView_->refreshItem();
}

void MainWindow::selectionChanged() {
  if (!document_.waveformsAreActive()) list_->showSelection();
  showSelectedItems();
}

// The first of the selected waveforms, and the instrument that the first selected item is part of.
void MainWindow::showSelectedItems() {
  const auto& waveforms = document_.selectedWaveforms();
  const ItemId waveform = waveforms.empty() ? kNoItem : waveforms.front();
  if (waveform != shownWaveform_) waveformView_->finishEdit();
  if (std::exchange(shownWaveform_, waveform) != waveform)
    waveformView_->show(&document_.collection(), waveform);

  const auto& items = document_.selectedItems();
  const ItemId first = items.empty() ? kNoItem : items.front();
  const Item* instrument = first == kNoItem ? nullptr : document_.find(first);
  while (instrument && instrument->kind() != ItemKind::Instrument)
    instrument = document_.collection().find(instrument->parent);
  const bool isNew =
      std::exchange(shownInstrument_, instrument ? instrument->id() : kNoItem) != shownInstrument_;
  keyMapView_->show(&document_.collection(), shownInstrument_);
  keyMapView_->select(kindOf(first) == ItemKind::Region ? first : kNoItem);

  // A page that was chosen for the other kind of item gives way; the log stays when it is looked at.
  if (document_.waveformsAreActive() && waveform != kNoItem && pages_->GetSelection() == kKeyMapPage)
    bringToFront(kWaveformPage);
  else if (!document_.waveformsAreActive() && isNew && instrument && pages_->GetSelection() == kWaveformPage)
    bringToFront(kKeyMapPage);
  showSelectionCount();
}

void MainWindow::showSelectionCount() {
  const auto& collection = document_.collection();
  const std::size_t selected = document_.selection().size();
  status_->showSelection(selected > 1
                             ? countText(selected, "item") + " selected"
                             : countText(collection.count(ItemKind::Instrument), "instrument") + ", " +
                                   countText(collection.count(ItemKind::Waveform), "waveform"));
}

// The notebook hands the keys to its page; they stay where the user selects.
void MainWindow::bringToFront(Page page) {
  wxWindow* const focus = FindFocus();
  pages_->ChangeSelection(page);
  if (focus) focus->SetFocus();
}

void MainWindow::showPage(Page page) {
  pages_->ChangeSelection(page);
  wxWindow* const views[] = {waveformView_->canvas(), keyMapView_, log_};
  views[page]->SetFocus();
}

void MainWindow::focusNextPane() {
  if (tree_->HasFocus())
    list_->SetFocus();
  else if (wxWindow* focus = FindFocus(); focus && (focus == list_ || focus->GetParent() == list_))
    showPage(static_cast<Page>(pages_->GetSelection()));
  else
    tree_->SetFocus();
}

void MainWindow::loadSamplesInBackground() {
  if (app::appSettings().shell.asyncWaveLoad) loader_.start(document_.collection());
}

void MainWindow::showTitle() { SetTitle(shown(document_.title())); }

void MainWindow::loadRecentFiles() {
  const auto& files = app::appSettings().shell.lastFiles;
  const std::size_t count = std::min(files.size(), kMostRecentFiles);
  for (std::size_t i = count; i-- > 0;) recentFiles_.AddFileToHistory(shown(files[i]));
  auto* menu = new wxMenu;
  recentFiles_.UseMenu(menu);
  recentFiles_.AddFilesToMenu();
  GetMenuBar()->GetMenu(0)->Insert(2, wxID_ANY, "Open &recent", menu);
  Bind(
      wxEVT_MENU,
      [this](wxCommandEvent& event) {
        openRecent(*this, static_cast<std::size_t>(event.GetId() - recentFiles_.GetBaseId()));
      },
      recentFiles_.GetBaseId(), recentFiles_.GetBaseId() + recentFiles_.GetMaxFiles() - 1);
  io::setRecentFileSink([this](const Path& path) {
    std::error_code ignored;
    recentFiles_.AddFileToHistory(shownPath(std::filesystem::absolute(path, ignored)));
  });
}

// The toolkit's own controls follow by themselves, and what is drawn gets the event too.
void MainWindow::onColoursChanged(wxSysColourChangedEvent& event) {
  event.Skip();
  fillToolBar(*GetToolBar());
}

void MainWindow::showLastError() { wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this); }

void MainWindow::onClose(wxCloseEvent& event) {
  if (event.CanVeto() && !mayDiscard(*this)) {
    event.Veto();
    return;
  }
  storePlacement();
  Destroy();
}

}  // namespace vemko::gui
