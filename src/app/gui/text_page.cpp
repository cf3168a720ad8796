#include "app/gui/text_page.h"

#include <algorithm>
#include <wx/filedlg.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/mstream.h>
#include <wx/statbmp.h>
#include <wx/textctrl.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

constexpr int kPictureSize = 280;
constexpr std::uint64_t kMostImageBytes = 64 << 20;

}  // namespace

TextPage::TextPage(wxWindow* parent, Items items) : PropertiesPage(parent, std::move(items)) {
  auto* grid = makeFieldGrid(this);
  for (TextProperty property : kTextProperties) {
    if (property == TextProperty::Image) continue;
    const bool isLong = property == TextProperty::Comments;
    const auto text = common([property](const Item& item) { return item.text(property); });
    auto* field = new wxTextCtrl(this, wxID_ANY, shown(text.value_or(u"")), wxDefaultPosition,
                                 FromDIP(wxSize(360, isLong ? 90 : -1)), isLong ? wxTE_MULTILINE : 0);
    if (!text) field->SetHint(kSeveralValues);
    field->Bind(wxEVT_TEXT, [this, at = fields_.size()](wxCommandEvent&) {
      fields_[at].isEdited = true;
      noteModified();
    });
    addField(*grid, shown(textPropertyLabel(property)) + ":", field);
    if (isLong) grid->AddGrowableRow(fields_.size());
    fields_.push_back({property, field});
  }
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kDialogMargin)));
  SetSizer(sizer);
}

void TextPage::store() {
  for (const Field& field : fields_)
    if (field.isEdited)
      for (Item* item : items()) item->setText(field.property, textFrom(field.control->GetValue()));
}

ImagePage::ImagePage(wxWindow* parent, Items items) : PropertiesPage(parent, std::move(items)) {
  const auto isFirst = [this](const Item* item) {
    return std::ranges::equal(item->image(), first().image());
  };
  isSame_ = std::ranges::all_of(this->items(), isFirst);
  if (isSame_) image_.assign(first().image().begin(), first().image().end());
  picture_ = new wxStaticBitmap(this, wxID_ANY, wxBitmapBundle(), wxDefaultPosition,
                                FromDIP(wxSize(kPictureSize, kPictureSize)));
  picture_->SetName("Image");
  auto* loadButton = new wxButton(this, wxID_ANY, "&Load...");
  auto* removeButton = new wxButton(this, wxID_ANY, "&Remove");
  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  buttons->Add(loadButton);
  buttons->Add(removeButton, wxSizerFlags().Border(wxLEFT, FromDIP(kRowGap)));
  caption_ = new wxStaticText(this, wxID_ANY, {});
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->AddStretchSpacer();
  sizer->Add(picture_, wxSizerFlags().Center().Border(wxLEFT | wxTOP | wxRIGHT, FromDIP(kDialogMargin)));
  sizer->Add(caption_, wxSizerFlags().Center().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->AddStretchSpacer();
  sizer->Add(buttons, wxSizerFlags().Center().Border(wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);
  loadButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { load(); });
  removeButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    image_.clear();
    imageEdited();
  });
  showImage();
}

void ImagePage::store() {
  first().setImage(image_);
  for (Item* item : items()) item->shareImage(first());
}

void ImagePage::imageEdited() {
  isSame_ = true;
  noteModified();
  showImage();
}

void ImagePage::showImage() {
  wxImage image;
  if (!image_.empty()) {
    wxLogNull quiet;  // what cannot be shown can still be kept
    wxMemoryInputStream stream(image_.data(), image_.size());
    image.LoadFile(stream);
  }
  picture_->Show(image.IsOk());
  caption_->Show(!image.IsOk());
  caption_->SetLabel(!isSame_         ? wxString(kSeveralValues)
                     : image_.empty() ? wxString("No image")
                                      : wxString("This image cannot be shown."));
  if (!image.IsOk()) {
    Layout();
    return;
  }
  const int size = FromDIP(kPictureSize);
  const double scale = std::min(
      {1.0, static_cast<double>(size) / image.GetWidth(), static_cast<double>(size) / image.GetHeight()});
  image.Rescale(std::max(1, static_cast<int>(image.GetWidth() * scale)),
                std::max(1, static_cast<int>(image.GetHeight() * scale)), wxIMAGE_QUALITY_HIGH);
  picture_->SetBitmap(wxBitmap(image));
  Layout();
}

void ImagePage::load() {
  wxFileDialog dialog(this, "Load an image", {}, {}, "Images|*.jpg;*.jpeg;*.png;*.gif",
                      wxFD_OPEN | wxFD_FILE_MUST_EXIST);
  if (dialog.ShowModal() != wxID_OK) return;
  InputFile file;
  const bool opened = file.open(pathFrom(dialog.GetPath()));
  const Bytes bytes = opened && file.size() <= kMostImageBytes ? file.bytes() : Bytes();
  if (Item::imageMimeType(bytes).empty()) {
    wxMessageBox(opened ? wxString("This is no JPEG, PNG or GIF image.") : shown(lastError()), "Error!",
                 wxOK | wxICON_ERROR, this);
    return;
  }
  image_.assign(bytes.begin(), bytes.end());
  imageEdited();
}

}  // namespace vemko::gui
