#pragma once
#include <functional>
#include <vector>
#include <wx/dialog.h>

#include "app/document/document.h"

class wxChoice;
class wxListBox;
class wxScrolledWindow;

namespace vemko::gui {

/// "Process items": the tools that the selection offers, each with a page made from its option rows.
class ProcessDialog : public wxDialog {
 public:
  /// `range` is the selection in the waveform view.
  ProcessDialog(wxWindow* parent, app::Document& document, std::optional<tools::FrameRange> range);

  /// Whether the selection offers any tool at all.
  bool hasTools() const { return !lists_.empty(); }
  const tools::ToolEntry* tool() const;
  /// What the chosen tool is to be applied to; its options have been set.
  tools::ToolContext context() const;

 private:
  struct OfferedList {
    tools::ToolContext context;
    std::vector<const tools::ToolEntry*> offered;
  };
  struct OptionControl {
    const tools::ToolOption* option;
    wxWindow* control;
    std::vector<wxWindow*> parts;  // with its labels
  };

  void offer(tools::ToolList list, std::vector<Item*> selection, std::optional<tools::FrameRange> range);
  void showList();
  void showTool();
  void addOption(wxSizer& page, const tools::ToolOption& option);
  /// Takes the controls' values over; false, with the control that is wrong shown, for text that is none.
  bool takeOptions();
  void enableOffered();
  void onOk(wxCommandEvent& event);

  std::vector<OfferedList> lists_;
  std::vector<OptionControl> controls_;
  wxChoice* list_;
  wxListBox* tools_;
  wxScrolledWindow* page_;
};

/// Shows the dialog, applies the tool and shows what it measured.
void processItems(wxWindow* parent, app::Document& document, std::optional<tools::FrameRange> range);

}  // namespace vemko::gui
