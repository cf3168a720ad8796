#pragma once
#include <deque>
#include <mutex>
#include <utility>
#include <wx/textctrl.h>

#include "base/log.h"

namespace vemko::gui {

/// Shows what the core logs, also from worker threads.
class LogPane : public wxTextCtrl {
 public:
  explicit LogPane(wxWindow* parent);
  ~LogPane() override;

 private:
  void showPending();

  std::mutex guard_;
  std::deque<std::pair<LogLevel, std::u16string>> pending_;
};

}  // namespace vemko::gui
