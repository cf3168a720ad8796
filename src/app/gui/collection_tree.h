#pragma once
#include <unordered_map>
#include <unordered_set>
#include <vector>
#include <wx/treectrl.h>

#include "app/document/document.h"

namespace vemko::gui {

/// The collection as a tree: instruments with layers and regions, songs with tracks. Branches are filled when
/// they are opened first.
class CollectionTree : public wxTreeCtrl {
 public:
  CollectionTree(wxWindow* parent, app::Document& document);
  ~CollectionTree() override;

  /// Builds the tree anew, keeping what is open, selected and in view.
  void reload();
  void refreshItems(const std::vector<ItemId>& items);
  /// Opens the way to the items and selects them.
  void showSelection();
  void renameSelected();
  void selectAll();

 private:
  void showIcons();
  wxTreeItemId addNode(wxTreeItemId parent, const Item& item);
  void fill(wxTreeItemId node);
  ItemId itemOf(wxTreeItemId node) const;
  wxTreeItemId reveal(ItemId item);
  void beginRename(wxTreeItemId node);
  void onFocus(wxFocusEvent& event);
  void onEndEdit(wxTreeEvent& event);
  void onBeginDrag(wxTreeEvent& event);
  void onEndDrag(wxTreeEvent& event);
  void selectionMayHaveChanged();
  void tellSelection();
  void tellReaders();

  app::Document& document_;
  std::unordered_map<ItemId, wxTreeItemId> nodes_;
  std::unordered_set<ItemId> filled_;
  std::vector<ItemId> dragged_;
  bool showing_ = false;
  bool tellPending_ = false;
  bool renaming_ = false;
};

}  // namespace vemko::gui
