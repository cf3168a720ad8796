#include "app/gui/properties_dialog.h"

#include <algorithm>
#include <wx/msgdlg.h>
#include <wx/notebook.h>

#include "app/gui/articulation_page.h"
#include "app/gui/field_page.h"
#include "app/gui/layout.h"
#include "app/gui/loop_page.h"
#include "app/gui/source_page.h"
#include "app/gui/text.h"
#include "app/gui/text_page.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

class PropertiesDialog : public wxDialog {
 public:
  PropertiesDialog(wxWindow* parent, app::Document& document, Item& item)
      : wxDialog(
            parent, wxID_ANY,
            "Properties of " + shown(displayWord(item.kind())) + " \"" + shown(item.displayName()) + "\"",
            wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
        document_(document),
        item_(item) {
    book_ = new wxNotebook(this, wxID_ANY);
    addPages();
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(book_, wxSizerFlags(1).Expand());
    finishDialog(*this, content, "&OK");
    Bind(wxEVT_BUTTON, &PropertiesDialog::onOk, this, wxID_OK);
  }

 private:
  void addPages() {
    if (!fieldsOf(item_.kind()).empty()) addPage(new FieldPage(book_, item_), "Parameters");
    if (ArticulationPage::blockOf(item_)) addPage(new ArticulationPage(book_, item_), "Articulation");
    if (item_.kind() == ItemKind::Waveform) {
      const auto& waveform = static_cast<const Waveform&>(item_);
      addPage(new LoopPage(book_, waveform), "Loops and markers");
      addPage(new SourcePage(book_, waveform), "Source");
    }
    addPage(new TextPage(book_, item_), "Texts");
    addPage(new ImagePage(book_, item_), "Image");
  }

  void addPage(PropertiesPage* page, const wxString& title) {
    pages_.push_back(page);
    book_->AddPage(page, title);
  }

  void onOk(wxCommandEvent& event) {
    std::vector<PropertiesPage*> modified;
    std::ranges::copy_if(pages_, std::back_inserter(modified),
                         [](const PropertiesPage* page) { return page->isModified(); });
    PropertiesPage* wrong = nullptr;
    const ItemId ids[] = {item_.kind() == ItemKind::Collection ? kNoItem : item_.id()};
    const std::u16string step = u"Change properties of " + std::u16string(displayWord(item_.kind()));
    if (!modified.empty())
      document_.edit(step, ids, app::Document::Touches::Content, [&](app::Document::Created&) {
        for (PropertiesPage* page : modified)
          if (!page->store(item_)) wrong = page;
        return wrong == nullptr;
      });
    if (!wrong) return event.Skip();
    book_->SetSelection(static_cast<std::size_t>(std::ranges::find(pages_, wrong) - pages_.begin()));
    wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
  }

  app::Document& document_;
  Item& item_;
  wxNotebook* book_;
  std::vector<PropertiesPage*> pages_;
};

}  // namespace

void editProperties(wxWindow* parent, app::Document& document, ItemId id) {
  Item* item = document.find(id);
  if (item) PropertiesDialog(parent, document, *item).ShowModal();
}

}  // namespace vemko::gui
