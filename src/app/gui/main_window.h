#pragma once
#include <functional>
#include <wx/filehistory.h>
#include <wx/frame.h>
#include <wx/notebook.h>
#include <wx/splitter.h>

#include "app/document/document.h"
#include "app/document/sample_loader.h"

namespace vemko::gui {

class CollectionTree;
class KeyMapView;
class LogPane;
class StatusLine;
class WaveformList;
class WaveformView;

/// False, after telling the user, when the part has no window.
bool isMade(const wxWindow* part, std::u16string_view message);

/// Shows one document: tree and list, the views of what is selected, the log and the status line. What the
/// commands do stands in the files actions_*.cpp.
class MainWindow : public wxFrame {
 public:
  MainWindow();
  ~MainWindow() override;
  /// False when a part of the window could not be made. The user has been told, and the window is of no use.
  bool isComplete() const { return isComplete_; }

  /// Called once, when the window and all its parts are first seen.
  std::function<void()> onShown;

  app::Document& document() { return document_; }
  const app::Document& document() const { return document_; }
  CollectionTree& tree() { return *tree_; }
  WaveformList& list() { return *list_; }
  WaveformView& waveformView() { return *waveformView_; }
  /// Where the settings say so, the samples of all waveforms load while the window is in use.
  void loadSamplesInBackground();
  void stopLoading() { loader_.stop(); }
  wxFileHistory& recentFiles() { return recentFiles_; }

  enum Page { kWaveformPage, kKeyMapPage, kLogPage };
  /// The page comes to the front and takes the keys.
  void showPage(Page page);
  void focusNextPane();

  /// Shows everything anew, by settings that may have changed.
  void settingsChanged() { documentChanged({.structure = true, .items = {}}); }
  /// "Error!" with the last error message.
  void showLastError();

 private:
  // main_window_layout.cpp
  bool createParts();
  wxWindow* createLeftPane(wxWindow* parent);
  void createPages(wxWindow* parent);
  void restorePlacement();
  void storePlacement();

  // main_window.cpp
  void showParts(bool visible);
  void showPartsWithWindow();
  void documentChanged(const app::DocumentChange& change);
  void selectionChanged();
  void showSelectedItems();
  void showSelectionCount();
  void bringToFront(Page page);
  void showTitle();
  void loadRecentFiles();
  void onColoursChanged(wxSysColourChangedEvent& event);
  void onClose(wxCloseEvent& event);

  bool isComplete_ = false, partsAreShown_ = false;
  app::Document document_;
  app::SampleLoader loader_;
  wxFileHistory recentFiles_;
  StatusLine* status_ = nullptr;
  wxSplitterWindow* columns_ = nullptr;
  wxSplitterWindow* rows_ = nullptr;
  CollectionTree* tree_ = nullptr;
  WaveformList* list_ = nullptr;
  wxNotebook* pages_ = nullptr;
  WaveformView* waveformView_ = nullptr;
  KeyMapView* keyMapView_ = nullptr;
  LogPane* log_ = nullptr;
  ItemId shownWaveform_ = kNoItem, shownInstrument_ = kNoItem;
};

}  // namespace vemko::gui
