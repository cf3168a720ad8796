#include "app/gui/text_page.h"

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

TextPage::TextPage(wxWindow* parent, const Item& item) : PropertiesPage(parent) {
  auto* grid = makeFieldGrid(this);
  for (TextProperty property : kTextProperties) {
    if (property == TextProperty::Image) continue;
    const bool isLong = property == TextProperty::Comments;
    auto* field = new wxTextCtrl(this, wxID_ANY, shown(item.text(property)), wxDefaultPosition,
                                 FromDIP(wxSize(360, isLong ? 90 : -1)), isLong ? wxTE_MULTILINE : 0);
    field->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { noteModified(); });
    addField(*grid, shown(textPropertyLabel(property)) + ":", field);
    if (isLong) grid->AddGrowableRow(fields_.size());
    fields_.emplace_back(property, field);
  }
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kDialogMargin)));
  SetSizer(sizer);
}

bool TextPage::store(Item& item) {
  for (const auto& [property, field] : fields_) item.setText(property, textFrom(field->GetValue()));
  return true;
}

ImagePage::ImagePage(wxWindow* parent, const Item& item)
    : PropertiesPage(parent), image_(item.image().begin(), item.image().end()) {
  picture_ = new wxStaticBitmap(this, wxID_ANY, wxBitmapBundle(), wxDefaultPosition,
                                FromDIP(wxSize(kPictureSize, kPictureSize)));
  picture_->SetName("Image");
  auto* loadButton = new wxButton(this, wxID_ANY, "&Load...");
  auto* removeButton = new wxButton(this, wxID_ANY, "&Remove");
  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  buttons->Add(loadButton);
  buttons->Add(removeButton, wxSizerFlags().Border(wxLEFT, FromDIP(kRowGap)));
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(picture_, wxSizerFlags(1).Center().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->Add(buttons, wxSizerFlags().Center().Border(wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);
  loadButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { load(); });
  removeButton->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    image_.clear();
    noteModified();
    showImage();
  });
  showImage();
}

bool ImagePage::store(Item& item) {
  item.setImage(image_);
  return true;
}

void ImagePage::showImage() {
  wxImage image;
  if (!image_.empty()) {
    wxLogNull quiet;  // what cannot be shown can still be kept
    wxMemoryInputStream stream(image_.data(), image_.size());
    image.LoadFile(stream);
  }
  if (!image.IsOk()) {
    picture_->SetBitmap(wxBitmapBundle());
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
  noteModified();
  showImage();
}

}  // namespace vemko::gui
