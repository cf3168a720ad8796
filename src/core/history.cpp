#include "core/history.h"

#include <utility>

namespace vemko {

HistoryOptions& historyOptions() {
  static HistoryOptions options;
  return options;
}

void History::add(std::u16string name, Snapshot before) {
  steps_.resize(done_);
  steps_.push_back({std::move(name), std::move(before)});
  ++done_;
  keepToLimit();
}

bool History::undo(Collection& collection) {
  if (!canUndo()) return false;
  Step& step = steps_[--done_];
  step.other = step.other.restore(collection);
  keepToLimit();
  return true;
}

bool History::redo(Collection& collection) {
  if (!canRedo()) return false;
  Step& step = steps_[done_++];
  step.other = step.other.restore(collection);
  keepToLimit();
  return true;
}

std::u16string_view History::undoName() const {
  return canUndo() ? steps_[done_ - 1].name : std::u16string_view();
}
std::u16string_view History::redoName() const {
  return canRedo() ? steps_[done_].name : std::u16string_view();
}

std::size_t History::memoryUse() const {
  std::vector<const Snapshot*> snapshots;
  for (const Step& step : steps_) snapshots.push_back(&step.other);
  return Snapshot::memoryUse(snapshots);
}

void History::clear() {
  steps_.clear();
  done_ = 0;
}

// A step can be done again only after all those before it, so that of these the last ones go.
void History::keepToLimit() {
  const std::uint64_t limit = std::uint64_t{historyOptions().memoryMiB} << 20;
  while (steps_.size() > 1 && memoryUse() > limit) {
    if (done_ > 1) {
      steps_.pop_front();
      --done_;
    } else {
      steps_.pop_back();
    }
  }
}

}  // namespace vemko
