#pragma once
#include <cstddef>
#include <memory>
#include <vector>
#include <wx/app.h>

#include "platform/settings_store.h"

namespace vemko::gui {

class MainWindow;

/// The program: settings, who answers the core's questions, the window, and the files to open first.
class StudioApp : public wxApp {
 public:
  bool Initialize(int& count, wxChar** values) override;
  bool OnInit() override;
  int OnRun() override;
  int OnExit() override;

  MainWindow* window() const { return window_; }

 protected:
  void OnInitCmdLine(wxCmdLineParser& parser) override;
  bool OnCmdLineParsed(wxCmdLineParser& parser) override;
  bool OnExceptionInMainLoop() override;

 private:
  std::unique_ptr<SettingsStore> store_;
  MainWindow* window_ = nullptr;
  std::vector<wxString> files_;
  bool isDone_ = false;  // the command line asked for no window
  std::unique_ptr<std::byte[]> reserve_ = std::make_unique<std::byte[]>(1 << 20);
};

}  // namespace vemko::gui
