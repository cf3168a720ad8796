#include <wx/aboutdlg.h>
#include <wx/dialog.h>

#include "app/gui/actions.h"
#include "app/gui/colour_scheme.h"
#include "app/gui/icons.h"
#include "app/gui/layout.h"
#include "app/gui/main_window.h"
#include "app/gui/preferences_dialog.h"
#include "app/gui/text.h"
#include "base/version.h"

namespace vemko::gui {

void showPreferences(MainWindow& window) {
  if (!editPreferences(&window)) return;
  applyColourScheme();
  window.settingsChanged();
}

void showAbout(MainWindow& window) {
  wxAboutDialogInfo info;
  info.SetName(kProductName);
  info.SetVersion(kVersion);
  info.SetDescription(
      "A studio for sampled sound: opens, converts and edits\n"
      "audio files, sampler instruments and songs.");
  info.SetIcon(programIcons().GetIcon(wxSize(64, 64)));
  wxAboutBox(info, &window);
}

void showCollectionInformation(MainWindow& window) {
  wxDialog dialog(&window, wxID_ANY, "Collection information");
  wxFlexGridSizer* grid = makeFieldGrid(&dialog);
  const auto lines = collectionInformation(window.document().collection());
  constexpr const char* kLabels[] = {"Instruments:", "Waveforms:", "Synths:", "Songs:"};
  auto row = [&](const wxString& label, wxString value) {
    value.Replace("\t", " ");
    grid->Add(new wxStaticText(&dialog, wxID_ANY, label));
    grid->Add(new wxStaticText(&dialog, wxID_ANY, value));
  };
  row("Name:", shown(window.document().collection().displayName()));
  for (std::size_t i = 0; i < lines.size(); ++i) row(kLabels[i], shown(lines[i]));
  finishDialog(dialog, grid, "&Close", false);
  dialog.ShowModal();
}

}  // namespace vemko::gui
