#include "app/gui/format_panel.h"

#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

// By SampleEncoding; what is no encoding of samples has no entry.
constexpr const char* kEncodingLabels[] = {"8-bit PCM",
                                           "12-bit PCM",
                                           "16-bit PCM",
                                           "20-bit PCM",
                                           "24-bit PCM",
                                           "32-bit PCM",
                                           "32-bit float",
                                           "64-bit float",
                                           "mu-law",
                                           "A-law",
                                           "GSM 06.10",
                                           "2-bit ADPCM",
                                           "3-bit ADPCM",
                                           "4-bit ADPCM",
                                           "5-bit ADPCM",
                                           "8-bit PCM (alternative)",
                                           "16-bit PCM (alternative)",
                                           "Compressed"};

}  // namespace

const char* encodingLabel(SampleEncoding encoding) {
  const auto index = static_cast<std::size_t>(encoding);
  return index < std::size(kEncodingLabels) ? kEncodingLabels[index] : "";
}

FormatPanel::FormatPanel(wxWindow* parent) : wxPanel(parent) {
  format_ = new wxChoice(this, wxID_ANY);
  channels_ = new wxChoice(this, wxID_ANY);
  encoding_ = new wxChoice(this, wxID_ANY);
  auto* grid = makeFieldGrid(this);
  addField(*grid, "&File format:", format_);
  addField(*grid, "&Channel format:", channels_);
  addField(*grid, "&Encoding:", encoding_);
  SetSizer(grid);
  format_->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) {
    fillDetails();
    if (onChange) onChange();
  });
  for (wxChoice* choice : {channels_, encoding_})
    choice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) {
      if (onChange) onChange();
    });
}

void FormatPanel::show(ItemKind kind, std::vector<Waveform*> waveforms, int row) {
  waveforms_ = std::move(waveforms);
  rows_.clear();
  format_->Clear();
  for (int each = io::nextWritingRow(0); each != io::kNoRow; each = io::nextWritingRow(each + 1)) {
    if (!io::canHold(each, kind)) continue;
    rows_.push_back(each);
    format_->Append(shown(io::descriptionOf(each)) + " (*." + shown(io::extensionOf(each)) + ")");
    if (each == row) format_->SetSelection(static_cast<int>(rows_.size()) - 1);
  }
  if (!rows_.empty() && format_->GetSelection() < 0) format_->SetSelection(0);
  fillDetails();
}

int FormatPanel::row() const {
  const int chosen = format_->GetSelection();
  return chosen < 0 ? io::kNoRow : rows_[static_cast<std::size_t>(chosen)];
}

io::SaveOptions FormatPanel::options() const {
  io::CapabilityMask requested = 0;
  if (channels_->GetStringSelection() == "Mono") requested |= io::kMono;
  if (channels_->GetStringSelection() == "Stereo") requested |= io::kStereo;
  const int chosen = encoding_->GetSelection();
  const Encoding encoding = chosen < 0 ? Encoding{} : encodings_[static_cast<std::size_t>(chosen)];
  io::SaveOptions options = io::saveOptionsFor(row(), requested | encoding.requested);
  options.setting = encoding.setting;
  return options;
}

void FormatPanel::fillDetails() {
  const io::FormatEntry* entry = io::formatRow(row());
  channels_->Clear();
  for (const std::u16string& text : io::channelFormats(entry ? entry->capabilities : 0, waveforms_))
    channels_->Append(shown(text));
  channels_->SetSelection(0);
  channels_->Enable(channels_->GetCount() > 1);
  fillEncodings(row());
}

// Where a row compresses by a codec, the codec's settings stand in the list.
void FormatPanel::fillEncodings(int row) {
  encoding_->Clear();
  encodings_.clear();
  const io::FormatEntry* entry = io::formatRow(row);
  if (!entry) return;
  auto add = [&](const wxString& label, Encoding encoding) {
    encoding_->Append(label);
    encodings_.push_back(encoding);
  };
  constexpr io::CapabilityMask kCodec = io::encodingBit(SampleEncoding::Codec);
  if ((entry->capabilities & io::kEncodingBits) != kCodec) add("Automatic", {});
  for (std::size_t i = 0; i < std::size(kEncodingLabels); ++i) {
    const io::CapabilityMask bit = io::CapabilityMask{1} << i;
    if (!(entry->capabilities & bit)) continue;
    if (bit != kCodec || !entry->settings) {
      add(kEncodingLabels[i], {bit, 0});
      continue;
    }
    std::u16string label;
    for (int setting = 0; entry->settings(setting, entry->variant, &label) > 0; ++setting)
      add(shown(label), {bit, static_cast<std::uint32_t>(setting)});
  }
  if (encoding_->GetCount() > 0) encoding_->SetSelection(0);
  encoding_->Enable(encoding_->GetCount() > 1);
}

}  // namespace vemko::gui
