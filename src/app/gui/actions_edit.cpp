#include <wx/textctrl.h>

#include "app/app_settings.h"
#include "app/gui/actions.h"
#include "app/gui/collection_tree.h"
#include "app/gui/main_window.h"
#include "app/gui/process_dialog.h"
#include "app/gui/properties_dialog.h"
#include "app/gui/waveform_list.h"
#include "app/gui/waveform_view.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

// An operation that answers false without a message had nothing to do.
void perform(MainWindow& window, bool (*work)(app::Document&)) {
  setLastError({});
  if (!work(window.document()) && !lastError().empty()) window.showLastError();
}

}  // namespace

void undo(MainWindow& window) { window.document().undo(); }
void redo(MainWindow& window) { window.document().redo(); }

void renameSelected(MainWindow& window) {
  if (window.document().waveformsAreActive())
    window.list().renameSelected();
  else
    window.tree().renameSelected();
}

void deleteSelected(MainWindow& window) {
  perform(window, [](app::Document& document) {
    const std::vector<ItemId> items = document.selection();
    return document.remove(items);
  });
}

void selectAll(MainWindow& window) {
  wxWindow* canvas = window.waveformView().canvas();
  if (canvas->HasFocus()) {  // all frames
    wxKeyEvent key(wxEVT_KEY_DOWN);
    key.m_keyCode = 'A';
    key.SetControlDown(true);
    canvas->ProcessWindowEvent(key);
    return;
  }
  if (window.document().waveformsAreActive())
    window.list().selectAll();
  else
    window.tree().selectAll();
}

void createItem(MainWindow& window, ItemKind kind) {
  setLastError({});
  const auto& items = window.document().selectedItems();
  const ItemId target = items.empty() ? kNoItem : items.front();
  if (window.document().create(kind, target))
    window.tree().renameSelected();
  else if (!lastError().empty())
    window.showLastError();
}

void moveSelected(MainWindow& window, int steps) {
  const auto& items = window.document().selectedItems();
  if (!items.empty()) window.document().moveBy(items.front(), steps);
}

void linkSelectedWaveform(MainWindow& window) {
  app::Document& document = window.document();
  if (document.selectedWaveforms().size() == 1)
    document.linkWaveform(document.selectedItems(), document.selectedWaveforms().front());
}

void showProperties(MainWindow& window) {
  app::Document& document = window.document();
  // Sub-items that were selected along with an item are not what is meant.
  const bool takesTops = app::appSettings().shell.autoSelectSubItems;
  const std::vector<ItemId> items =
      takesTops ? document.withoutDescendants(document.selection()) : document.selection();
  editProperties(&window, document, items);
}

void processSelected(MainWindow& window) {
  // The range belongs to the waveform that is shown.
  const bool one = window.document().selectedWaveforms().size() == 1;
  processItems(&window, window.document(), one ? window.waveformView().selection() : std::nullopt);
}

void sortItems(MainWindow& window, app::Document::SortKey key) { window.document().sort(key); }

}  // namespace vemko::gui
