#include "app/gui/save_all_dialog.h"

#include <algorithm>
#include <wx/button.h>
#include <wx/choice.h>
#include <wx/filepicker.h>
#include <wx/textctrl.h>

#include "app/app_settings.h"
#include "app/gui/format_panel.h"
#include "app/gui/layout.h"
#include "app/gui/loss_panel.h"
#include "app/gui/question_dialog.h"
#include "app/gui/save_dialog.h"
#include "app/gui/text.h"
#include "app/save_formats.h"

namespace vemko::gui {
namespace {

constexpr ItemKind kKinds[] = {ItemKind::Waveform, ItemKind::Instrument, ItemKind::Song,
                               ItemKind::Collection};
constexpr const char* kKindLabels[] = {"All waveforms", "All instruments", "All songs", "The collection"};

// The setting's default stands for waveforms; the other kinds follow by their numbers.
constexpr int kModeOfWaveforms = 214;

io::CollisionAnswer askCollision(wxWindow* parent, const Path& file, bool& forAll) {
  QuestionDialog dialog(parent, "Save all", io::collisionQuestion(file), io::kCollisionButtons);
  dialog.addCheck(io::kCollisionForAll, io::kCollisionForAllHint);
  const auto answer = static_cast<io::CollisionAnswer>(dialog.choose());
  forAll = dialog.isChecked();
  return answer;
}

}  // namespace

SaveAllDialog::SaveAllDialog(wxWindow* parent, Collection& collection)
    : wxDialog(parent, wxID_ANY, "Select directory, file format and 'base name'", wxDefaultPosition,
               wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      collection_(collection) {
  auto* fields = makeFieldGrid(this);
  kind_ = new wxChoice(this, wxID_ANY);
  for (const char* label : kKindLabels) kind_->Append(label);
  const app::ShellSettings& settings = app::appSettings().shell;
  const auto chosen =
      std::ranges::find(kKinds, static_cast<ItemKind>(settings.saveAllMode - kModeOfWaveforms));
  kind_->SetSelection(chosen == std::end(kKinds) ? 0 : static_cast<int>(chosen - kKinds));
  addField(*fields, "&Save:", kind_);
  const Path folder = folderToSaveIn(collection);
  folder_ = new wxDirPickerCtrl(this, wxID_ANY, shownPath(folder), "Folder", wxDefaultPosition,
                                FromDIP(wxSize(480, -1)), wxDIRP_USE_TEXTCTRL);
  addField(*fields, "Fol&der:", folder_);
  baseName_ = new wxTextCtrl(this, wxID_ANY, shownPath(collection.file.stem()));
  baseName_->SetToolTip("Files are named \"Base name - Item name\"; empty: after their items alone");
  addField(*fields, "&Base name:", baseName_);

  format_ = new FormatPanel(this);
  losses_ = new LossPanel(this);
  auto* content = new wxBoxSizer(wxVERTICAL);
  content->Add(fields, wxSizerFlags().Expand());
  content->Add(format_, wxSizerFlags().Expand().Border(wxTOP, FromDIP(kDialogMargin)));
  content->Add(losses_, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kDialogMargin)));
  finishDialog(*this, content, "Save &all");
  format_->onChange = [this] { showLosses(); };
  kind_->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { showKind(); });
  showKind();
}

io::SaveAllRequest SaveAllDialog::request() const {
  io::SaveAllRequest request;
  request.collection = &collection_;
  request.kind = kind();
  request.row = format_->row();
  request.folder = pathFrom(folder_->GetPath());
  request.baseName = textFrom(baseName_->GetValue());
  request.options = format_->options();
  request.onCollision = [parent = GetParent()](const Path& file, bool& forAll) {
    return askCollision(parent, file, forAll);
  };
  app::ShellSettings& settings = app::appSettings().shell;
  settings.lastPathOut = textOf(request.folder);
  settings.saveAllMode = kModeOfWaveforms + static_cast<int>(request.kind);
  return request;
}

ItemKind SaveAllDialog::kind() const { return kKinds[kind_->GetSelection()]; }

void SaveAllDialog::showKind() {
  format_->show(kind(), waveformsOf(collection_), app::saveFormatRow(kind()));
  showLosses();
}

void SaveAllDialog::showLosses() {
  std::vector<const Item*> items{&collection_};
  if (kind() != ItemKind::Collection) {
    const auto all = collection_.allOf(kind());
    items.assign(all.begin(), all.end());
  }
  losses_->show(items, format_->row(), format_->options());
}

}  // namespace vemko::gui
