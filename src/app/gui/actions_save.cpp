#include <algorithm>
#include <wx/msgdlg.h>

#include "app/gui/actions.h"
#include "app/gui/loss_panel.h"
#include "app/gui/main_window.h"
#include "app/gui/question_dialog.h"
#include "app/gui/save_all_dialog.h"
#include "app/gui/save_dialog.h"
#include "app/gui/text.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

// What may be saved by itself: the selected item, those that own it, the waveform that it plays, and the
// collection.
std::vector<Item*> candidates(app::Document& document) {
  std::vector<Item*> items;
  auto add = [&](Item* item) {
    if (item && std::ranges::find(items, item) == items.end()) items.push_back(item);
  };
  for (Item* item : document.selectedTargets()) {
    add(io::storedItemFor(*item));
    if (items.size() == 1) break;
  }
  add(&document.collection());
  for (ItemId id : document.selectedWaveforms()) {
    add(document.find(id));
    break;
  }
  return items;
}

bool saveShowingErrors(MainWindow& window, Item& item, const Path& path, int row,
                       const io::SaveOptions& options) {
  if (window.document().save(item, path, row, options)) return true;
  window.showLastError();
  return false;
}

// What "Save" writes back to the collection's own file: the collection, or the one waveform of an audio file.
Item* itemOfFile(Collection& collection) {
  const int row = collection.formatRow;
  const io::FormatEntry* entry = io::formatRow(row);
  if (collection.file.empty() || !entry || !entry->writer) return nullptr;
  if (io::canHold(row, ItemKind::Collection)) return &collection;
  for (ItemKind kind : {ItemKind::Instrument, ItemKind::Song, ItemKind::Waveform})
    if (io::canHold(row, kind) && collection.count(kind) == 1 &&
        (kind != ItemKind::Waveform || collection.count(ItemKind::Instrument) == 0))
      return collection.allOf(kind)[0];
  return nullptr;
}

enum class LossAnswer { Save, SaveAs, Cancel };

LossAnswer askLosses(MainWindow& window, const wxString& lines) {
  constexpr std::u16string_view kButtons[] = {u"&Save anyway", u"Save &as...", u"&Cancel"};
  constexpr LossAnswer kAnswers[] = {LossAnswer::Save, LossAnswer::SaveAs, LossAnswer::Cancel};
  const std::u16string question = u"This save loses:\n\n" + textFrom(lines);
  return kAnswers[QuestionDialog(&window, "Save", question, kButtons).choose()];
}

}  // namespace

bool saveAs(MainWindow& window) {
  SaveDialog dialog(&window, candidates(window.document()));
  if (dialog.ShowModal() != wxID_OK) return false;
  return saveShowingErrors(window, dialog.item(), dialog.path(), dialog.row(), dialog.options());
}

bool save(MainWindow& window) {
  Collection& collection = window.document().collection();
  Item* item = itemOfFile(collection);
  if (!item) return saveAs(window);
  const io::SaveOptions options = io::saveOptionsFor(collection.formatRow, 0);
  if (const wxString lines = lossLines(*item, collection.formatRow, options); !lines.empty())
    switch (askLosses(window, lines)) {
      case LossAnswer::Save:
        break;
      case LossAnswer::SaveAs:
        return saveAs(window);
      case LossAnswer::Cancel:
        return false;
    }
  const Path path = collection.file;
  return saveShowingErrors(window, *item, path, collection.formatRow, options);
}

void saveAll(MainWindow& window) {
  SaveAllDialog dialog(&window, window.document().collection());
  if (dialog.ShowModal() != wxID_OK) return;
  setLastError({});
  const io::SaveAllResult result = window.document().saveAll(dialog.request());
  if (!result.ok && !result.cancelled) window.showLastError();
}

bool mayDiscard(MainWindow& window) {
  if (!window.document().isChanged()) return true;
  constexpr std::u16string_view kButtons[] = {u"&Save", u"&Discard", u"&Cancel"};
  std::u16string question = u"\"";
  question += window.document().collection().displayName();
  question += u"\" has changes that are not saved.";
  switch (QuestionDialog(&window, "Vemko Studio", question, kButtons).choose()) {
    case 0:
      return save(window);
    case 1:
      return true;
    default:
      return false;
  }
}

}  // namespace vemko::gui
