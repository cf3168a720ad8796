#include "app/gui/studio_app.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <wx/cmdline.h>
#include <wx/image.h>
#include <wx/msgdlg.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/colour_scheme.h"
#include "app/gui/decision_dialogs.h"
#include "app/gui/main_window.h"
#include "app/gui/text.h"
#include "base/last_error.h"
#include "base/log.h"
#include "base/version.h"
#include "platform/process.h"

namespace vemko::gui {

bool StudioApp::Initialize(int& count, wxChar** values) {
  prepareProcess();
  store_ = std::make_unique<SettingsStore>();
  app::loadSettings(*store_);
  return wxApp::Initialize(count, values);
}

bool StudioApp::OnInit() {
  SetAppName("vemko-studio");
  SetAppDisplayName(kProductName);
  if (!wxApp::OnInit()) return false;
  if (isDone_) return true;
  wxInitAllImageHandlers();
  applyColourScheme();
  window_ = new MainWindow;
  if (!window_->isComplete()) {
    window_->Destroy();
    return false;
  }
  SetTopWindow(window_);
  installDecisionDialogs(*window_);

  std::vector<Path> files;
  for (const wxString& file : files_) files.push_back(pathFrom(file));
  const app::ShellSettings& shell = app::appSettings().shell;
  if (files.empty() && shell.reopenLastSession && !shell.lastFiles.empty())
    files.push_back(pathOf(shell.lastFiles.front()));
  // The window is seen before the first file is read.
  if (!files.empty()) window_->onShown = [this, files] { openFiles(*window_, files); };
  window_->Show();
  return true;
}

// What needs memory and knows no way on ends here; everything else fails with a message of its own.
bool StudioApp::OnExceptionInMainLoop() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    reserve_.reset();  // for the box
    wxMessageBox("Out of memory - Vemko Studio will terminate", "Error!", wxOK | wxICON_ERROR);
    std::_Exit(EXIT_FAILURE);
  }
}

int StudioApp::OnRun() { return isDone_ ? 0 : wxApp::OnRun(); }

int StudioApp::OnExit() {
  if (store_ && !app::saveSettings(*store_)) logWarning(lastError());
  return wxApp::OnExit();
}

void StudioApp::OnInitCmdLine(wxCmdLineParser& parser) {
  wxApp::OnInitCmdLine(parser);
  parser.AddSwitch({}, "version", "print the version and exit");
  parser.AddParam("FILE", wxCMD_LINE_VAL_STRING, wxCMD_LINE_PARAM_OPTIONAL | wxCMD_LINE_PARAM_MULTIPLE);
}

bool StudioApp::OnCmdLineParsed(wxCmdLineParser& parser) {
  if (parser.Found("version")) {
    std::printf("%s %s\n", kProductName, kVersion);
    isDone_ = true;  // a refusal to start would be a failure
    return true;
  }
  for (std::size_t i = 0; i < parser.GetParamCount(); ++i) files_.push_back(parser.GetParam(i));
  return wxApp::OnCmdLineParsed(parser);
}

}  // namespace vemko::gui
