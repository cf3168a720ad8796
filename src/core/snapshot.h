#pragma once
// The state of some items at a moment, for undo. Sample buffers are shared with the live items, which make
// them their own before they change them, so a snapshot costs the items' records only.
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/collection.h"

namespace vemko {

class Snapshot {
 public:
  /// Remembers these items and their places among their parents' children; ids that are not in the collection
  /// are remembered as absent. kNoItem stands for the texts of the collection itself. Whoever is going to
  /// move or remove items names everything below them too.
  static Snapshot capture(Collection& collection, std::span<const ItemId> items);

  /// Items that have come since capture(): remembered as absent.
  void addAbsent(std::span<const ItemId> items);

  /// Puts the items back as they were, under their ids: changed ones are restored, together with their places
  /// where reorder() moved them since; removed ones return to their places in the enumeration and among their
  /// parents' children; ones that were absent go. Items that are not part of the snapshot stay; a returning
  /// item whose parent is gone has none. Pointers to restored items become invalid. Returns the snapshot that
  /// undoes this; this one is used up.
  Snapshot restore(Collection& collection);

  /// Bytes that would be freed with this snapshot: its records, and the sample buffers that nobody else
  /// shares.
  std::size_t memoryUse() const;
  /// The same for several snapshots that go together.
  static std::size_t memoryUse(std::span<const Snapshot* const> snapshots);

 private:
  struct Entry {
    ItemId id;
    std::unique_ptr<Item> state;  // null: absent
  };
  // The children of a parent that is no entry itself.
  using ChildLists = std::unordered_map<ItemId, std::vector<ItemId>>;

  // The collection's own texts, when its id (kNoItem) is among the items.
  struct Texts {
    std::u16string name;
    std::vector<std::pair<TextProperty, std::u16string>> texts;
    std::shared_ptr<const std::vector<std::byte>> image;
  };

  void rememberChildren(const Collection& collection, ItemId parent);
  std::unique_ptr<Item> exchange(Collection& collection, Entry& entry);

  std::vector<Entry> entries_;
  std::unordered_set<ItemId> ids_;
  ChildLists childLists_;
  std::optional<Texts> texts_;
};

}  // namespace vemko
