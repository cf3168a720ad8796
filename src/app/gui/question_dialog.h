#pragma once
#include <cstddef>
#include <span>
#include <string_view>
#include <wx/dialog.h>

class wxCheckBox;

namespace vemko::gui {

/// A question with buttons of any number and wording; Escape is the last one.
class QuestionDialog : public wxDialog {
 public:
  QuestionDialog(wxWindow* parent, const wxString& title, std::u16string_view question,
                 std::span<const std::u16string_view> buttons);

  /// A check box under the question.
  void addCheck(std::u16string_view label, std::u16string_view hint);
  bool isChecked() const;

  /// The index of the button chosen.
  std::size_t choose();

 private:
  std::size_t buttonCount_;
  wxCheckBox* check_ = nullptr;
};

}  // namespace vemko::gui
