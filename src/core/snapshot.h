#pragma once
// The state of some items at a moment, for undo. Sample buffers are shared with the live items, which make
// them their own before they change them, so a snapshot costs the items' records only.
#include <memory>
#include <span>
#include <vector>

#include "core/collection.h"

namespace vemko {

class Snapshot {
 public:
  /// Remembers these items; ids that are not in the collection are remembered as absent.
  static Snapshot capture(Collection& collection, std::span<const ItemId> items);

  /// Puts the items back as they were, under their ids: changed ones are restored, removed ones return, ones
  /// that were absent go. Returns the snapshot that undoes this.
  Snapshot restore(Collection& collection);

  /// Bytes that would be freed with this snapshot: its records, and the sample buffers that nobody else
  /// shares.
  std::size_t memoryUse() const;

 private:
  struct Entry {
    ItemId id;
    std::unique_ptr<Item> state;  // null: absent
  };
  std::vector<Entry> entries_;
};

}  // namespace vemko
