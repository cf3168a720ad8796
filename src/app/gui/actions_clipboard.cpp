#include "app/gui/actions.h"
#include "app/gui/clipboard.h"
#include "app/gui/main_window.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

bool copySelection(MainWindow& window, bool cut) {
  auto copied = window.document().copy(window.document().selection(), cut);
  if (!copied) return false;
  if (putOnClipboard(std::move(*copied))) return true;
  window.showLastError();
  return false;
}

void pasteItems(MainWindow& window, bool link) {
  app::Document& document = window.document();
  auto copied = itemsFromClipboard();
  const auto& items = document.selectedItems();
  const ItemId target = items.empty() ? kNoItem : items.front();
  if (!copied || !document.paste(std::move(*copied), target, link)) window.showLastError();
}

}  // namespace

void copySelected(MainWindow& window) { copySelection(window, false); }

void cutSelected(MainWindow& window) {
  if (copySelection(window, true)) deleteSelected(window);
}

void paste(MainWindow& window) { pasteItems(window, false); }
void pasteLink(MainWindow& window) { pasteItems(window, true); }

}  // namespace vemko::gui
