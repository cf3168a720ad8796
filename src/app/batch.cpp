#include "app/batch.h"

#include <new>
#include <utility>

#include "app/merge.h"
#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "io/open.h"

namespace vemko::app {
namespace {

// The index of the first input that could not be opened, the number of inputs when all were.
std::size_t openInputs(Collection& collection, const BatchTask& task, bool allowRawImport) {
  const bool alone = task.inputs.size() == 1;
  Merge merge(collection);
  for (std::size_t i = 0; i < task.inputs.size(); ++i) {
    Collection source;
    if (folderExists(task.inputs[i])) {
      setLastError(u"This is a folder");
      return i;
    }
    if (!io::openFile(alone ? collection : source, task.inputs[i], allowRawImport)) return i;
    if (!alone) merge.add(source);
  }
  if (!alone) merge.finish();
  return task.inputs.size();
}

ItemKind kindToSave(const Collection& collection, const BatchTarget& target) {
  if (target.kind) return *target.kind;
  if (io::canHold(target.row, ItemKind::Collection)) return ItemKind::Collection;
  for (ItemKind kind : {ItemKind::Instrument, ItemKind::Song, ItemKind::Waveform})
    if (io::canHold(target.row, kind) && collection.count(kind) > 0) return kind;
  if (!io::canHold(target.row, ItemKind::Waveform)) {
    for (ItemKind kind : {ItemKind::Instrument, ItemKind::Song})
      if (io::canHold(target.row, kind)) return kind;
  }
  return collection.count(ItemKind::Song) > 0 ? ItemKind::Song : ItemKind::Waveform;
}

using Losses = std::vector<io::Loss>;
Losses lossesOf(const Item& item, const BatchTarget& target, const io::SaveOptions& options) {
  return target.reportLosses ? io::lossesOfSaving(item, target.row, options) : Losses();
}

void saveOne(Item& item, Path file, const BatchTarget& target, const io::SaveOptions& options,
             BatchResult& result) {
  if (target.onExists != OnExists::Overwrite && fileExists(file)) {
    if (target.onExists == OnExists::Skip) {
      result.outputs.push_back({.file = file, .skipped = true, .losses = {}});
      result.ok = true;
      return;
    }
    if (target.onExists == OnExists::Fail) {
      result.error = u"File already exists";
      result.failedOutput = file;
      return;
    }
    if (target.onExists == OnExists::Rename) file = io::freeFileName(file, fileExists);
  }
  Losses losses = lossesOf(item, target, options);
  const int better = io::rowThatKeepsMore(item, target.row, options, losses);
  result.ok = io::saveWithBackup(&item, file, target.row, options, false);
  if (result.ok) {
    if (better != io::kNoRow) logWarning(io::moreKeptText(better));
    result.outputs.push_back({.file = file, .skipped = false, .losses = std::move(losses)});
  } else {
    result.error = lastError();
    result.failedOutput = file;
  }
}

// The last failure, and how many others there were.
struct Failures {
  std::size_t count = 0;
  std::u16string last;
  Path lastFile;

  void add(std::u16string_view message, const Path& file) {
    ++count;
    last = message;
    lastFile = file;
  }
  std::u16string text(std::size_t total) const {
    return last + toUtf16(formatted(" (%zu of %zu files)", count, total));
  }
};

void saveSeveral(Collection& collection, ItemKind kind, const BatchTask& task, const BatchTarget& target,
                 const io::SaveOptions& options, BatchResult& result) {
  Failures failures;
  bool exists = false;
  io::SaveAllRequest request{.collection = &collection,
                             .kind = kind,
                             .row = target.row,
                             .folder = task.severalOutput.parent_path(),
                             .baseName = textOf(task.severalOutput.filename()),
                             .options = options,
                             .onCollision = {},
                             .onFile = {}};
  request.onCollision = [&](const Path&, bool&) {
    if (target.onExists == OnExists::Overwrite) return io::CollisionAnswer::Overwrite;
    if (target.onExists == OnExists::Rename) return io::CollisionAnswer::Rename;
    exists = true;
    return io::CollisionAnswer::Skip;
  };
  request.onFile = [&](const Item& item, const Path& file, bool saved) {
    const bool skipped = std::exchange(exists, false);
    if (saved || (skipped && target.onExists == OnExists::Skip))
      result.outputs.push_back(
          {.file = file, .skipped = skipped, .losses = skipped ? Losses() : lossesOf(item, target, options)});
    else
      failures.add(skipped ? std::u16string_view(u"File already exists") : lastError(), file);
  };
  const bool started = io::saveAll(request).ok || failures.count > 0 || !result.outputs.empty();
  result.ok = started && failures.count == 0;
  if (!result.ok) result.error = started ? failures.text(collection.count(kind)) : lastError();
  result.failedOutput = failures.lastFile;
}

void saveItems(Collection& collection, const BatchTask& task, const BatchTarget& target,
               BatchResult& result) {
  const ItemKind kind = kindToSave(collection, target);
  io::SaveOptions options = io::saveOptionsFor(target.row, target.requested);
  options.tellsLosses = !target.reportLosses;
  options.extra = static_cast<std::uint32_t>(target.sampleFiles);
  options.setting = target.setting;
  if (kind == ItemKind::Song)
    options.requested |= io::capabilitiesOf(target.row).capabilities & io::kMidiEvents;
  if (kind == ItemKind::Collection) return saveOne(collection, task.output, target, options, result);
  const std::vector<Item*> items = collection.allOf(kind);
  if (items.size() == 1) return saveOne(*items.front(), task.output, target, options, result);
  if (items.size() > 1 && task.severalOutput.empty())
    result.error = toUtf16(std::to_string(items.size())) + u" " + std::u16string(displayWord(kind)) +
                   u"s do not fit into one file of this format, give a folder for them";
  else
    saveSeveral(collection, kind, task, target, options, result);
}

}  // namespace

BatchResult convert(const BatchTask& task, const BatchTarget& target) {
  BatchResult result;
  try {
    Collection collection;
    const std::size_t opened = openInputs(collection, task, target.allowRawImport);
    if (opened == task.inputs.size()) {
      saveItems(collection, task, target, result);
    } else {
      result.failedInput = opened;
      result.error = lastError();
    }
  } catch (const std::bad_alloc&) {
    result.ok = false;
    result.error = u"Out of memory";
  }
  return result;
}

}  // namespace vemko::app
