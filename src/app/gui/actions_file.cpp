#include <wx/filedlg.h>
#include <wx/msgdlg.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/decision_dialogs.h"
#include "app/gui/fixup_dialog.h"
#include "app/gui/main_window.h"
#include "app/gui/text.h"
#include "base/last_error.h"
#include "base/progress.h"
#include "io/registry.h"

namespace vemko::gui {
namespace {

// "All supported files" with every extension, then one entry for each description.
wxString openWildcards() {
  wxString all, single;
  for (int row = io::nextReadingRow(1); row != io::kNoRow; row = io::nextReadingRow(row + 1)) {
    const wxString pattern = "*." + shown(io::extensionOf(row));
    const wxString patterns = pattern + ";" + pattern.Upper();
    all += (all.empty() ? "" : ";") + patterns;
    single += "|" + shown(io::descriptionOf(row)) + " (" + pattern + ")|" + patterns;
  }
  return "All supported files|" + all + single + "|All files|*";
}

}  // namespace

void newCollection(MainWindow& window) {
  if (mayDiscard(window)) window.document().startNew();
}

void openWithDialog(MainWindow& window) {
  wxFileDialog dialog(&window, "Open", shown(app::appSettings().shell.lastPathIn), {}, openWildcards(),
                      wxFD_OPEN | wxFD_FILE_MUST_EXIST | wxFD_MULTIPLE);
  if (dialog.ShowModal() != wxID_OK) return;
  wxArrayString names;
  dialog.GetPaths(names);
  std::vector<Path> files;
  for (const wxString& name : names) files.push_back(pathFrom(name));
  openFiles(window, files);
}

void openFiles(MainWindow& window, const std::vector<Path>& files) {
  if (files.empty()) return;
  app::Document& document = window.document();
  io::OpenMode mode = io::askOpenMode(document.collection());
  if (mode == io::OpenMode::Cancel || (mode == io::OpenMode::Replace && !mayDiscard(window))) return;
  if (app::appSettings().shell.confirmFixup && !confirmFixups(&window)) return;
  window.stopLoading();
  forgetRawAnswers();
  for (const Path& file : files) {
    std::error_code ignored;
    app::appSettings().shell.lastPathIn = textOf(std::filesystem::absolute(file, ignored).parent_path());
    setLastError({});
    if (!document.open(file, mode) && !lastError().empty())
      wxMessageBox(shownPath(file) + "\n\n" + shown(lastError()), "Error!", wxOK | wxICON_ERROR, &window);
    mode = io::OpenMode::Merge;
  }
  window.loadSamplesInBackground();
  showStatus(document.collection().file.empty() ? u"" : u"Opened " + textOf(files.back()));
  if (document.collection().count(ItemKind::Instrument) == 0) {
    const auto waveforms = document.collection().allOf(ItemKind::Waveform);
    if (!waveforms.empty()) document.selectWaveforms({waveforms[0]->id()});
  }
}

void openRecent(MainWindow& window, std::size_t index) {
  openFiles(window, {pathFrom(window.recentFiles().GetHistoryFile(index))});
}

void closeWindow(MainWindow& window) { window.Close(); }

}  // namespace vemko::gui
