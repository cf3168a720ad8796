#pragma once
// Undo and redo: named steps of one collection, each with the snapshot that takes it back or does it again.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "core/snapshot.h"

namespace vemko {

struct HistoryOptions {
  std::uint32_t memoryMiB = 256;  ///< What all steps together may keep in memory.
};
/// The options in force.
HistoryOptions& historyOptions();

/// The oldest steps go when the memory that the steps keep exceeds the limit; the latest step that can be
/// taken back is kept in any case. Samples that a step shares with the collection's items cost nothing.
class History {
 public:
  /// A step that has just been done, with the state before it; what was taken back can no longer be redone.
  void add(std::u16string name, Snapshot before);

  /// Take the latest step back, and do the one that was taken back last again. False when there is none.
  /// Pointers to the step's items become invalid.
  bool undo(Collection& collection);
  bool redo(Collection& collection);

  bool canUndo() const { return done_ > 0; }
  bool canRedo() const { return done_ < steps_.size(); }
  /// The names of the steps that would be taken back or done again next; empty when there is none.
  std::u16string_view undoName() const;
  std::u16string_view redoName() const;

  /// All steps, oldest first; the first doneCount() of them can be taken back, the others done again.
  std::size_t stepCount() const { return steps_.size(); }
  std::size_t doneCount() const { return done_; }
  std::u16string_view stepName(std::size_t step) const { return steps_[step].name; }

  std::size_t memoryUse() const;
  void clear();

 private:
  struct Step {
    std::u16string name;
    Snapshot other;  // the state on the other side of the step
  };
  void keepToLimit();

  std::deque<Step> steps_;
  std::size_t done_ = 0;
};

}  // namespace vemko
