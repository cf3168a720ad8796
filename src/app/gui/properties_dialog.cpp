#include "app/gui/properties_dialog.h"

#include <algorithm>
#include <wx/msgdlg.h>
#include <wx/notebook.h>

#include "app/app_settings.h"
#include "app/gui/articulation_page.h"
#include "app/gui/field_page.h"
#include "app/gui/labels.h"
#include "app/gui/layout.h"
#include "app/gui/loop_page.h"
#include "app/gui/source_page.h"
#include "app/gui/text.h"
#include "app/gui/text_page.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

using Items = PropertiesPage::Items;

bool haveOneKind(const Items& items) {
  return std::ranges::all_of(items, [&](const Item* item) { return item->kind() == items[0]->kind(); });
}

// "waveform "Kick"", "3 waveforms", "3 items".
wxString titleOf(const Items& items) {
  const wxString word = haveOneKind(items) ? shown(displayWord(items[0]->kind())) : wxString("item");
  if (items.size() > 1) return countText(items.size(), word);
  return word + " \"" + shown(items[0]->displayName()) + "\"";
}

std::u16string stepNameOf(const Items& items) {
  const std::u16string step = u"Change properties of ";
  if (items.size() == 1) return step + std::u16string(displayWord(items[0]->kind()));
  return step + textFrom(titleOf(items));
}

class PropertiesDialog : public wxDialog {
 public:
  PropertiesDialog(wxWindow* parent, app::Document& document, Items items)
      : wxDialog(parent, wxID_ANY, "Properties of " + titleOf(items), wxDefaultPosition, wxDefaultSize,
                 wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
        document_(document),
        items_(std::move(items)) {
    book_ = new wxNotebook(this, wxID_ANY);
    addPages();
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(book_, wxSizerFlags(1).Expand());
    finishDialog(*this, content, "OK");
    turnPagesByKey(*this, *book_);
    Bind(wxEVT_BUTTON, &PropertiesDialog::onOk, this, wxID_OK);
  }

 private:
  void addPages() {
    const auto isWaveform = [](const Item* item) { return item->kind() == ItemKind::Waveform; };
    const auto hasLevel = [](Item* item) { return app::articulationOf(*item) != nullptr; };
    if (const auto fields = fieldsOf(items_); !fields.empty())
      addPage(new FieldPage(book_, items_, fields), "Parameters");
    if (const auto fields = fadeFieldsOf(items_); !fields.empty())
      addPage(new FieldPage(book_, items_, fields), "Cross-fades");
    if (std::ranges::all_of(items_, hasLevel)) addPage(new ArticulationPage(book_, items_), "Articulation");
    if (std::ranges::all_of(items_, isWaveform)) {
      if (items_.size() == 1)
        addPage(new LoopPage(book_, static_cast<Waveform&>(*items_[0])), "Loops and markers");
      addPage(new SourcePage(book_, items_), "Source");
    }
    addPage(new TextPage(book_, items_), "Texts");
    addPage(new ImagePage(book_, items_), "Image");
  }

  void addPage(PropertiesPage* page, const wxString& title) {
    pages_.push_back(page);
    book_->AddPage(page, title);
  }

  // What the step changes: with differences that go down also what is below the items.
  std::vector<ItemId> touched() const {
    std::vector<ItemId> ids;
    for (const Item* item : items_)
      ids.push_back(item->kind() == ItemKind::Collection ? kNoItem : item->id());
    return app::appSettings().shell.propagateDeltas ? document_.withDescendants(ids) : ids;
  }

  void onOk(wxCommandEvent& event) {
    std::vector<PropertiesPage*> modified;
    std::ranges::copy_if(pages_, std::back_inserter(modified),
                         [](const PropertiesPage* page) { return page->isModified(); });
    for (PropertiesPage* page : modified) {
      if (page->check()) continue;
      book_->SetSelection(static_cast<std::size_t>(std::ranges::find(pages_, page) - pages_.begin()));
      wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
      return;
    }
    if (!modified.empty())
      document_.edit(stepNameOf(items_), touched(), app::Document::Touches::Content,
                     [&](app::Document::Created&) {
                       for (PropertiesPage* page : modified) page->store();
                       return true;
                     });
    event.Skip();
  }

  app::Document& document_;
  Items items_;
  wxNotebook* book_;
  std::vector<PropertiesPage*> pages_;
};

}  // namespace

void editProperties(wxWindow* parent, app::Document& document, std::span<const ItemId> ids) {
  Items items;
  for (ItemId id : ids)
    if (Item* item = document.find(id)) items.push_back(item);
  if (!items.empty()) PropertiesDialog(parent, document, std::move(items)).ShowModal();
}

}  // namespace vemko::gui
