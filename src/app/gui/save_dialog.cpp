#include "app/gui/save_dialog.h"

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/msgdlg.h>
#include <wx/textctrl.h>
#include <wx/utils.h>

#include "app/app_settings.h"
#include "app/gui/format_panel.h"
#include "app/gui/layout.h"
#include "app/gui/loss_panel.h"
#include "app/gui/text.h"
#include "app/save_formats.h"

namespace vemko::gui {
namespace {

wxString itemLabel(const Item& item) {
  wxString word = shown(displayWord(item.kind()));
  word[0] = wxToupper(word[0]);
  return word + ": " + shown(item.displayName());
}

Path proposedPath(const Item& item, int row) {
  const Path& origin = item.collection().file;
  const bool sameStem = item.kind() == ItemKind::Collection && !origin.empty();
  const std::u16string stem = io::safeStem(sameStem ? textOf(origin.stem()) : item.displayName());
  const Path name = io::autoFileName({}, stem, io::extensionOf(row));
  return folderToSaveIn(item.collection()) / name;
}

}  // namespace

Path folderToSaveIn(const Collection& collection) {
  const std::u16string& last = app::appSettings().shell.lastPathOut;
  const Path folder = last.empty() ? collection.file.parent_path() : pathOf(last);
  return wxFileName::IsDirWritable(shownPath(folder)) ? folder : pathFrom(wxGetHomeDir());
}

SaveDialog::SaveDialog(wxWindow* parent, std::vector<Item*> items)
    : wxDialog(parent, wxID_ANY, "Save as", wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      items_(std::move(items)) {
  auto* fields = makeFieldGrid(this);
  item_ = new wxChoice(this, wxID_ANY);
  for (const Item* item : items_) item_->Append(itemLabel(*item));
  item_->SetSelection(0);
  addField(*fields, "&Item:", item_);

  path_ = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(420, -1)));
  auto* button = new wxButton(this, wxID_ANY, "&Browse...");
  auto* row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(path_, wxSizerFlags(1).CenterVertical());
  row->Add(button, wxSizerFlags().Border(wxLEFT, FromDIP(kRowGap)));
  addField(*fields, "File &name:", path_, row);

  format_ = new FormatPanel(this);
  losses_ = new LossPanel(this);
  auto* content = new wxBoxSizer(wxVERTICAL);
  content->Add(fields, wxSizerFlags().Expand());
  content->Add(format_, wxSizerFlags().Expand().Border(wxTOP, FromDIP(kDialogMargin)));
  content->Add(losses_, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kDialogMargin)));
  finishDialog(*this, content, "&Save");

  item_->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { showItem(); });
  button->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { browse(); });
  format_->onChange = [this] { formatChanged(); };
  Bind(wxEVT_BUTTON, &SaveDialog::onOk, this, wxID_OK);
  showItem();
  path_->SetFocus();
}

Item& SaveDialog::item() const { return *items_[static_cast<std::size_t>(item_->GetSelection())]; }
int SaveDialog::row() const { return format_->row(); }
Path SaveDialog::path() const { return pathFrom(path_->GetValue()); }
io::SaveOptions SaveDialog::options() const { return format_->options(); }

void SaveDialog::showItem() {
  format_->show(item().kind(), waveformsOf(item()), app::saveFormatRow(item().kind()));
  path_->SetValue(shownPath(proposedPath(item(), row())));
  path_->SetInsertionPointEnd();
  showLosses();
}

void SaveDialog::formatChanged() {
  Path path = this->path();
  path.replace_extension(pathOf(io::extensionOf(row())));
  path_->SetValue(shownPath(path));
  showLosses();
}

void SaveDialog::showLosses() {
  const Item* const items[] = {&item()};
  losses_->show(items, row(), options());
}

void SaveDialog::browse() {
  const wxString extension = shown(io::extensionOf(row()));
  wxFileDialog dialog(
      this, "Save as", shownPath(path().parent_path()), shownPath(path().filename()),
      shown(io::descriptionOf(row())) + " (*." + extension + ")|*." + extension + "|All files|*", wxFD_SAVE);
  if (dialog.ShowModal() == wxID_OK) path_->SetValue(dialog.GetPath());
}

void SaveDialog::onOk(wxCommandEvent& event) {
  if (!path().has_filename()) return;
  if (fileExists(path()) && wxMessageBox("File already exists! Overwrite it?", "Save as",
                                         wxYES_NO | wxNO_DEFAULT | wxICON_WARNING, this) != wxYES)
    return;
  app::appSettings().shell.lastPathOut = textOf(path().parent_path());
  app::setSaveFormatRow(item().kind(), row());
  event.Skip();
}

}  // namespace vemko::gui
