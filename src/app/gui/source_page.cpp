#include "app/gui/source_page.h"

#include "app/gui/field_page.h"
#include "app/gui/format_panel.h"
#include "app/gui/labels.h"
#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

const Waveform& asWaveform(const Item& item) { return static_cast<const Waveform&>(item); }

struct Fact {
  const char* label;
  wxString (*text)(const Item& waveform);
  bool isChosen = false;  ///< By the user, of raw samples.
};

constexpr Fact kFacts[] = {
    {"Length:",
     [](const Item& item) {
       const Waveform& wave = asWaveform(item);
       return wxString::Format("%u frames, ", wave.frames) + lengthText(wave.frames, wave.rate);
     }},
    {"Channels:", [](const Item& item) { return channelsText(asWaveform(item).channels); }, true},
    {"Stored in:",
     [](const Item& item) {
       const auto& source = asWaveform(item).source;
       const auto file = source ? source->file() : nullptr;
       return file ? shownPath(file->path()) : wxString("memory");
     }},
    {"Encoding:",
     [](const Item& item) {
       const auto& source = asWaveform(item).source;
       return source ? wxString(encodingLabel(source->encoding())) : wxString("none");
     },
     true},
    {"Samples:",
     [](const Item& item) {
       const Waveform& wave = asWaveform(item);
       if (wave.buffer) return wxString(wave.sourceIsIntact() ? "as in the file, loaded" : "edited");
       return wxString(wave.source ? "as in the file, read when they are needed" : "none");
     }},
};

}  // namespace

SourcePage::SourcePage(wxWindow* parent, Items waveforms) : PropertiesPage(parent, std::move(waveforms)) {
  const bool isRaw = haveRawSamples(items());
  auto* grid = makeFieldGrid(this);
  for (const Fact& fact : kFacts) {
    if (isRaw && fact.isChosen) continue;
    const auto text = common(fact.text);
    auto* value = new wxStaticText(this, wxID_ANY, text ? *text : wxString(kSeveralValues), wxDefaultPosition,
                                   wxDefaultSize, wxST_ELLIPSIZE_MIDDLE);
    value->SetToolTip(text ? *text : wxString());
    addField(*grid, fact.label, value);
  }
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags().Expand().Border(wxALL, FromDIP(kDialogMargin)));
  if (isRaw) {
    auto* title = new wxStaticText(this, wxID_ANY, "The file tells nothing about its samples. Take them as:");
    sizer->Add(title, wxSizerFlags().Border(wxLEFT | wxRIGHT, FromDIP(kDialogMargin)));
    format_ = new FieldPage(this, items(), rawSampleFields());
    sizer->Add(format_, wxSizerFlags().Expand());
  }
  SetSizer(sizer);
}

bool SourcePage::check() { return !format_ || format_->check(); }
void SourcePage::store() {
  if (format_) format_->store();
}
bool SourcePage::isModified() const { return format_ && format_->isModified(); }

}  // namespace vemko::gui
