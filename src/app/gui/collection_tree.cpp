#include "app/gui/collection_tree.h"

#include <algorithm>

#include "app/gui/accessible.h"
#include "app/gui/icons.h"
#include "app/gui/labels.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

struct NodeItem : wxTreeItemData {
  explicit NodeItem(ItemId item) : id(item) {}
  ItemId id;
};

constexpr ItemKind kRootKinds[] = {ItemKind::Instrument, ItemKind::Synth, ItemKind::Song};

}  // namespace

CollectionTree::CollectionTree(wxWindow* parent, app::Document& document)
    : wxTreeCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                 wxTR_HAS_BUTTONS | wxTR_LINES_AT_ROOT | wxTR_NO_LINES | wxTR_MULTIPLE | wxTR_EDIT_LABELS |
                     wxTR_FULL_ROW_HIGHLIGHT | wxBORDER_NONE),
      document_(document) {
  SetName("Collection");
  setAccessibleRole(*this, "tree");
  showIcons();
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    showIcons();
    event.Skip();
  });
  Bind(wxEVT_TREE_ITEM_EXPANDING, [this](wxTreeEvent& event) { fill(event.GetItem()); });
  Bind(wxEVT_TREE_SEL_CHANGED, [this](wxTreeEvent&) { selectionMayHaveChanged(); });
  Bind(wxEVT_TREE_BEGIN_LABEL_EDIT, [this](wxTreeEvent& event) {
    if (renaming_) return;
    event.Veto();  // the line shows more than the name
    CallAfter([this, node = event.GetItem()] { beginRename(node); });
  });
  Bind(wxEVT_TREE_END_LABEL_EDIT, &CollectionTree::onEndEdit, this);
  Bind(wxEVT_TREE_BEGIN_DRAG, &CollectionTree::onBeginDrag, this);
  Bind(wxEVT_TREE_END_DRAG, &CollectionTree::onEndDrag, this);
  Bind(wxEVT_SET_FOCUS, &CollectionTree::onFocus, this);
  reload();
}

// The toolkit moves focus and selection once more while it takes the window apart.
CollectionTree::~CollectionTree() { SetEvtHandlerEnabled(false); }

void CollectionTree::showIcons() {
  wxVector<wxBitmapBundle> images;
  for (int kind = 0; kind <= static_cast<int>(ItemKind::Collection); ++kind)
    images.push_back(icon(iconName(static_cast<ItemKind>(kind)), 16));
  SetImages(images);
}

void CollectionTree::onFocus(wxFocusEvent& event) {
  document_.activate(false);
  event.Skip();
}

void CollectionTree::reload() {
  std::vector<ItemId> open;
  for (const auto& [id, node] : nodes_)
    if (id != kNoItem && IsExpanded(node)) open.push_back(id);
  const ItemId top = GetFirstVisibleItem().IsOk() ? itemOf(GetFirstVisibleItem()) : kNoItem;

  Freeze();
  showing_ = true;
  DeleteAllItems();
  nodes_.clear();
  filled_.clear();
  const Collection& collection = document_.collection();
  const wxTreeItemId root = AddRoot(shown(collection.displayName()), static_cast<int>(ItemKind::Collection),
                                    -1, new NodeItem(kNoItem));
  nodes_.emplace(kNoItem, root);
  for (ItemKind kind : kRootKinds)
    for (const Item* item : collection.allOf(kind))
      if (item->parent == kNoItem) addNode(root, *item);
  Expand(root);
  for (ItemId id : open)
    if (const wxTreeItemId node = reveal(id); node.IsOk()) Expand(node);
  showing_ = false;
  showSelection();
  if (auto found = nodes_.find(top); top != kNoItem && found != nodes_.end()) ScrollTo(found->second);
  Thaw();
}

void CollectionTree::refreshItems(const std::vector<ItemId>& items) {
  for (ItemId id : items) {
    const Item* item = document_.find(id);
    auto node = nodes_.find(id);
    if (item && node != nodes_.end())
      SetItemText(node->second, id == kNoItem ? shown(item->displayName()) : treeText(*item));
  }
}

void CollectionTree::showSelection() {
  showing_ = true;
  UnselectAll();
  wxTreeItemId first;
  for (ItemId id : document_.selectedItems()) {
    const wxTreeItemId node = reveal(id);
    if (!node.IsOk()) continue;
    SelectItem(node);
    if (!first.IsOk()) first = node;
  }
  if (first.IsOk()) EnsureVisible(first);
  showing_ = false;
  tellReaders();
}

// The lines draw themselves; what is selected is part of the name, which is read when it changes.
void CollectionTree::tellReaders() {
  const auto& selected = document_.selectedItems();
  const Item* first = selected.empty() ? nullptr : document_.find(selected.front());
  wxString name = "Collection";
  if (first) name += ": " + shown(displayWord(first->kind())) + " " + treeText(*first);
  if (selected.size() > 1) name += wxString::Format(", %zu selected", selected.size());
  setAccessibleText(*this, name);
}

void CollectionTree::renameSelected() {
  if (document_.selectedItems().empty()) return;
  if (const wxTreeItemId node = reveal(document_.selectedItems().front()); node.IsOk()) beginRename(node);
}

void CollectionTree::selectAll() {
  std::vector<ItemId> items;
  wxTreeItemIdValue cookie;
  const wxTreeItemId root = GetRootItem();
  for (wxTreeItemId node = GetFirstChild(root, cookie); node.IsOk(); node = GetNextChild(root, cookie))
    items.push_back(itemOf(node));
  document_.selectItems(std::move(items));
  showSelection();
}

wxTreeItemId CollectionTree::addNode(wxTreeItemId parent, const Item& item) {
  const wxTreeItemId node =
      AppendItem(parent, treeText(item), static_cast<int>(item.kind()), -1, new NodeItem(item.id()));
  if (!item.children.empty()) SetItemHasChildren(node);
  nodes_.emplace(item.id(), node);
  return node;
}

void CollectionTree::fill(wxTreeItemId node) {
  const ItemId id = itemOf(node);
  const Item* item = document_.find(id);
  if (id == kNoItem || !item || !filled_.insert(id).second) return;
  for (ItemId child : item->children)
    if (const Item* below = document_.find(child)) addNode(node, *below);
}

ItemId CollectionTree::itemOf(wxTreeItemId node) const {
  const auto* data = node.IsOk() ? static_cast<const NodeItem*>(GetItemData(node)) : nullptr;
  return data ? data->id : kNoItem;
}

// The item's node, its parents' branches filled; none for items that the tree does not show.
wxTreeItemId CollectionTree::reveal(ItemId id) {
  if (auto found = nodes_.find(id); found != nodes_.end()) return found->second;
  const Item* item = document_.collection().find(id);
  if (!item || item->parent == kNoItem) return {};
  const wxTreeItemId above = reveal(item->parent);
  if (!above.IsOk()) return {};
  fill(above);
  auto found = nodes_.find(id);
  return found == nodes_.end() ? wxTreeItemId() : found->second;
}

void CollectionTree::beginRename(wxTreeItemId node) {
  const Item* item = node.IsOk() ? document_.find(itemOf(node)) : nullptr;
  if (!item) return;
  SetItemText(node, shown(item->name()));
  EnsureVisible(node);
  renaming_ = true;
  if (wxTextCtrl* text = EditLabel(node)) setAccessibleText(*text, "Name");
  renaming_ = false;
}

void CollectionTree::onEndEdit(wxTreeEvent& event) {
  const ItemId id = itemOf(event.GetItem());
  event.Veto();
  const bool cancelled = event.IsEditCancelled();
  CallAfter([this, id, cancelled, name = textFrom(event.GetLabel())] {
    if (cancelled || !document_.rename(id, name)) refreshItems({id});
  });
}

void CollectionTree::onBeginDrag(wxTreeEvent& event) {
  dragged_ = document_.selectedItems();
  const ItemId id = itemOf(event.GetItem());
  if (std::ranges::find(dragged_, id) == dragged_.end()) dragged_ = {id};
  if (std::ranges::find(dragged_, kNoItem) == dragged_.end()) event.Allow();
}

// Dropped on an item of its own kind it comes to stand before it, on the kind above it becomes the last
// child.
void CollectionTree::onEndDrag(wxTreeEvent& event) {
  if (event.GetItem().IsOk()) document_.move(dragged_, itemOf(event.GetItem()));
}

void CollectionTree::selectionMayHaveChanged() {
  if (showing_ || tellPending_) return;
  tellPending_ = true;
  CallAfter(&CollectionTree::tellSelection);
}

void CollectionTree::tellSelection() {
  tellPending_ = false;
  wxArrayTreeItemIds nodes;
  GetSelections(nodes);
  std::vector<ItemId> items;
  for (const wxTreeItemId node : nodes) items.push_back(itemOf(node));
  const std::size_t count = items.size();
  document_.selectItems(std::move(items));
  tellReaders();
  if (document_.selectedItems().size() == count) return;
  // Sub-items were selected along; the keys stay where they are.
  const wxTreeItemId current = GetFocusedItem();
  showSelection();
  if (current.IsOk()) SetFocusedItem(current);
}

}  // namespace vemko::gui
