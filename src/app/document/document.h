#pragma once
// The document that the window shows: one collection with its undo history, selection and changed mark. It
// knows no window; whoever shows it is told what changed. Every change of an item goes through edit(), so
// that it can be taken back under a name.
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/document/clipboard.h"
#include "core/history.h"
#include "io/open.h"
#include "io/save.h"
#include "tools/tool_entry.h"

namespace vemko::app {

/// What a view has to look at again.
struct DocumentChange {
  /// Items came, went, moved, or all of them are others now.
  bool structure = false;
  /// Items whose content changed; meaningless with `structure`.
  std::vector<ItemId> items;
};

class Document {
 public:
  Document();
  Document(const Document&) = delete;

  Collection& collection() { return collection_; }
  const Collection& collection() const { return collection_; }

  /// Told after each change; may be empty.
  std::function<void(const DocumentChange&)> onChange;
  /// Told after the selection changed; may be empty.
  std::function<void()> onSelection;

  // --- Files
  /// Opens into the collection. Merging is a step that can be undone; replacing forgets all steps. Fails with
  /// the last error message set; what a failing reader added stays.
  bool open(const Path& file, io::OpenMode mode);
  /// Back to an empty collection.
  void startNew();
  /// Saves the item, or what the row stores of it; songs as events where the row has them. The collection
  /// counts as unchanged when it was saved itself, or the file that it came from was written.
  bool save(Item& item, const Path& file, int row, const io::SaveOptions& options);
  /// Saves every item of the request's kind of this collection.
  io::SaveAllResult saveAll(io::SaveAllRequest request);

  // --- The changed mark and the title
  bool isChanged() const { return revision_ != savedRevision_; }
  /// "*Name - Vemko Studio"; the star marks unsaved changes.
  std::u16string title() const;

  // --- Undo
  const History& history() const { return history_; }
  bool undo();
  bool redo();

  /// Ids of items that an edit created, for undo to remove.
  using Created = std::vector<ItemId>;
  enum class Touches { Content, Structure };
  /// Runs `change` as one step. `items` are those that it changes, moves or removes, the latter two with
  /// everything below them (withDescendants()); what it adds it puts into `created`. A `change` that answers
  /// false has changed nothing, and leaves no step.
  bool edit(std::u16string stepName, std::span<const ItemId> items, Touches touches,
            const std::function<bool(Created& created)>& change);
  /// The items and everything below them, each once.
  std::vector<ItemId> withDescendants(std::span<const ItemId> items) const;

  /// Those of the items that do not lie below another one of them.
  std::vector<ItemId> withoutDescendants(std::span<const ItemId> items) const;

  /// A tool applied to items of the document, as one step. False as tools::applyTool().
  bool applyTool(const tools::ToolEntry& tool, tools::ToolContext& context);

  // --- Editing the tree. Each is one step; false when there is nothing to do, or, with the last error
  // message set, when it cannot be done.
  bool rename(ItemId item, std::u16string_view name);
  /// Removes the items with everything below them. Regions keep their links to removed waveforms.
  bool remove(std::span<const ItemId> items);
  /// Moves items of one kind before the target, when it is of their kind, or to the end of its children.
  bool move(std::span<const ItemId> items, ItemId target);
  /// Moves an item up (-1) or down (+1) among its siblings, or among all of its kind when it has no parent.
  bool moveBy(ItemId item, int steps);
  /// A new instrument, layer, region, song or track; below, beside or near the target, where its kind lets
  /// it. The new item is selected. Regions made while one waveform is selected play it.
  bool create(ItemKind kind, ItemId target);
  /// Lets the regions among the items play the waveform.
  bool linkWaveform(std::span<const ItemId> items, ItemId waveform);
  enum class SortKey { Name, Program };
  /// Puts instruments and songs (by name), or instruments (by bank and program), in order.
  bool sort(SortKey key);

  // --- Clipboard
  /// Tells this document from all others, also those of other instances.
  std::uint64_t identity() const { return identity_; }
  /// The items with everything below them and what they play; nothing when there are none.
  std::optional<CopiedItems> copy(std::span<const ItemId> items, bool cut = false) const;
  /// Adds copies: top items and waveforms to the collection, others to the target or what is around it. What
  /// comes from this document keeps playing its waveforms, and is named "Copy of ..." unless it was cut. With
  /// `link`, waveforms of this document become regions that play them; those that were deleted since come
  /// back. The pasted items are selected.
  bool paste(CopiedItems copied, ItemId target, bool link);

  // --- Selection: in the tree, and in the list of waveforms. Ids of items that have gone are dropped.
  const std::vector<ItemId>& selectedItems() const { return selectedItems_; }
  const std::vector<ItemId>& selectedWaveforms() const { return selectedWaveforms_; }
  /// Where the user has it so, what lies below items that were not selected before is selected too, and the
  /// waveforms that the items play.
  void selectItems(std::vector<ItemId> items);
  void selectWaveforms(std::vector<ItemId> waveforms);
  /// What a command works on: the selection that was made last; empty when that is.
  const std::vector<ItemId>& selection() const {
    return waveformsActive_ ? selectedWaveforms_ : selectedItems_;
  }
  bool waveformsAreActive() const { return waveformsActive_; }
  /// Makes one of the two selections the one that commands work on.
  void activate(bool waveforms) { waveformsActive_ = waveforms; }
  /// The selected items themselves; the collection where its own id is among them.
  std::vector<Item*> selectedTargets() const;
  /// The item of that id, the collection for its own.
  Item* find(ItemId id) const;

 private:
  struct PastePlace {
    ItemId parent = kNoItem;
  };
  std::optional<PastePlace> placeFor(ItemKind kind, ItemId target, bool link) const;
  void dropKnownWaveforms(CopiedItems& copied, bool link) const;
  std::vector<ItemId> placeCopies(CopiedItems& copied, std::span<const PastePlace> places, bool own,
                                  Created& created);
  void whileSaving(const std::function<void()>& work);
  void takeStep(DocumentChange change);
  void tell(const DocumentChange& change);
  void dropGoneSelection();
  std::vector<ItemId> withNewSubItems(std::vector<ItemId> items) const;
  void selectPlayedWaveforms();

  mutable Collection collection_;
  std::uint64_t identity_;
  History history_;
  std::vector<ItemId> selectedItems_, selectedWaveforms_;
  bool waveformsActive_ = false;

  // Every state of the collection has a number; undo and redo go back and forth between them.
  std::uint64_t revision_ = 0, savedRevision_ = 0, lastRevision_ = 0;
  // On the other side of a step, and what the step changes either way.
  struct Revision {
    std::uint64_t number;
    DocumentChange change;
  };
  std::vector<Revision> past_, future_;
};

}  // namespace vemko::app
