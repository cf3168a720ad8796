#include "app/gui/decision_dialogs.h"

#include <optional>
#include <wx/filedlg.h>
#include <wx/stopwatch.h>
#include <wx/window.h>

#include "app/app_settings.h"
#include "app/gui/question_dialog.h"
#include "app/gui/text.h"
#include "base/version.h"
#include "io/decisions.h"

namespace vemko::gui {
namespace {

enum class RawAnswer { Ok, Cancel, AlwaysOk, AlwaysCancel };
constexpr std::u16string_view kRawButtons[] = {u"OK", u"Allways OK", u"Allways Cancel", u"Cancel"};
constexpr RawAnswer kRawAnswers[] = {RawAnswer::Ok, RawAnswer::AlwaysOk, RawAnswer::AlwaysCancel,
                                     RawAnswer::Cancel};

std::optional<RawAnswer> rememberedAnswer;

// Questions come while something is under way; its wait cursor would stay over the dialog.
struct NoWaitCursor {
  NoWaitCursor() {
    for (; wxIsBusy(); ++depth) wxEndBusyCursor();
  }
  ~NoWaitCursor() {
    for (; depth > 0; --depth) wxBeginBusyCursor();
  }
  int depth = 0;
};

std::size_t askOver(wxWindow& window, std::u16string_view question,
                    std::span<const std::u16string_view> buttons) {
  NoWaitCursor arrow;
  return QuestionDialog(&window, kProductName, question, buttons).choose();
}

std::optional<Path> locateOver(wxWindow& window, std::u16string_view title, std::u16string_view wanted) {
  NoWaitCursor arrow;
  const wxString name = shown(wanted).AfterLast('/').AfterLast('\\');
  wxString caption = shown(title);
  if (!caption.Contains(name)) caption += " " + name;
  wxFileDialog dialog(&window, caption, shown(app::appSettings().shell.lastPathIn), name, "All files|*",
                      wxFD_OPEN | wxFD_FILE_MUST_EXIST);
  if (dialog.ShowModal() != wxID_OK) return std::nullopt;
  return pathFrom(dialog.GetPath());
}

std::optional<io::RawFormat> confirmRawOver(wxWindow& window, std::u16string_view question,
                                            const Path& file) {
  RawAnswer answer = rememberedAnswer.value_or(RawAnswer::Cancel);
  if (!rememberedAnswer) {
    NoWaitCursor arrow;
    QuestionDialog dialog(&window, shownPath(file.filename()), question, kRawButtons);
    answer = kRawAnswers[dialog.choose()];
    if (answer == RawAnswer::AlwaysOk || answer == RawAnswer::AlwaysCancel) rememberedAnswer = answer;
  }
  if (answer == RawAnswer::Cancel || answer == RawAnswer::AlwaysCancel) return std::nullopt;
  return io::RawFormat{};
}

}  // namespace

void installDecisionDialogs(wxWindow& window) {
  io::setDecisions(
      {[&window](auto question, auto buttons) { return askOver(window, question, buttons); },
       [&window](auto title, auto wanted) { return locateOver(window, title, wanted); },
       [&window](auto question, const Path& file) { return confirmRawOver(window, question, file); }});
}

void forgetRawAnswers() { rememberedAnswer.reset(); }

}  // namespace vemko::gui
