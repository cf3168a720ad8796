#include "io/open.h"

#include <utility>

#include "base/log.h"
#include "base/memory.h"
#include "base/progress.h"
#include "io/decisions.h"
#include "io/detect.h"
#include "io/fixup.h"
#include "io/missing_file.h"

namespace vemko::io {
namespace {

bool busy = false;
std::function<void(const Path&)> recentFileSink;

/// Sets the busy flag while it lives; a reader that opens further files leaves it set for the outer one.
class BusyScope {
 public:
  BusyScope() : before_(std::exchange(busy, true)) {}
  ~BusyScope() { busy = before_; }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

 private:
  bool before_;
};

std::size_t countItems(const Collection& collection) {
  std::size_t count = 0;
  for (int kind = 0; kind < kItemKindCount; ++kind) count += collection.count(static_cast<ItemKind>(kind));
  return count;
}

bool runReader(const FormatEntry& entry, Collection& collection, InputFile& file) {
  BusyScope scope;
  WaitCursor cursor;
  const bool ok = entry.reader(collection, file, entry.variant);
  return file.isIntact() ? ok : fail(u"Reading from file failed");
}

void noteOrigin(Collection& collection, const Path& path, const Detection& found) {
  collection.formatRow = found.row;
  collection.formatConfidence = found.confidence;
  collection.file = path;
  collection.setText(TextProperty::SourceFile, textOf(path));
}

/// Everything but the fix-up pass, for which the file need no longer be open.
bool detectAndRead(Collection& collection, const Path& path, bool allowRawImport, FormatRows rows) {
  InputFile file;
  if (!file.open(path)) return false;
  if (file.size() == 0) return fail(u"File is of zero size");
  const Detection found = detect(path, file, rows);
  const FormatEntry* entry = formatRow(found.row, rows);
  if (!entry) return false;
  if (found.confidence == 0 && !allowRawImport) return fail(u"Not detected as any supported file type");

  if (!busy) noteOrigin(collection, path, found);
  const std::size_t itemsBefore = countItems(collection);
  if (!runReader(*entry, collection, file)) return false;
  return countItems(collection) > itemsBefore || fail(u"Empty collection");
}

}  // namespace

bool isBusy() { return busy; }

bool openFile(Collection& collection, const Path& path, bool allowRawImport, FormatRows rows) {
  return withinMemory([&] {
    if (!busy) resetMissingFileSearch();
    if (!detectAndRead(collection, path, allowRawImport, rows)) return false;
    return busy || fixUp(collection, kAllKinds, true);
  });
}

bool openAudioFile(Collection& collection, const Path& path, FormatRows rows) {
  InputFile file;
  if (!file.open(path)) return false;
  if (file.size() == 0) return fail(u"File is of zero size");
  const Detection found = detect(path, file, rows);
  const FormatEntry* entry = formatRow(found.row, rows);
  if (!entry) return false;
  if (found.confidence == 0 || entry->kinds != kindBit(ItemKind::Waveform))
    return fail(u"Not a supported import file type");
  Collection opened;
  if (!runReader(*entry, opened, file)) return false;
  if (opened.count(ItemKind::Waveform) == 0) return fail(u"Empty collection");
  collection.absorb(opened);
  return true;
}

bool openWithMode(Collection& collection, const Path& path, OpenMode mode, bool report, FormatRows rows) {
  if (mode == OpenMode::Cancel) return fail(u"");
  WaitCursor cursor;
  showStatus(u"Reading: " + textOf(path));
  bool opened;
  if (mode == OpenMode::Merge) {
    Collection merged;
    opened = openFile(merged, path, true, rows);
    collection.absorb(merged);
  } else {
    collection.clear();
    opened = openFile(collection, path, true, rows);
  }
  if (!opened || !report) return opened;
  logInfo((mode == OpenMode::Merge ? u"Merged " : u"Opened ") + textOf(path));
  noteRecentFile(path);
  return true;
}

OpenMode askOpenMode(const Collection& collection) {
  if (collection.count(ItemKind::Waveform) == 0 && collection.count(ItemKind::Instrument) == 0)
    return OpenMode::Replace;
  constexpr std::u16string_view kButtons[] = {u"&Merge w current", u"&Replace current", u"&Cancel"};
  constexpr OpenMode kModes[] = {OpenMode::Merge, OpenMode::Replace, OpenMode::Cancel};
  return kModes[ask(u"How would you like to open the file?", kButtons, 2)];
}

void setRecentFileSink(std::function<void(const Path&)> sink) { recentFileSink = std::move(sink); }

void noteRecentFile(const Path& path) {
  if (recentFileSink) recentFileSink(path);
}

}  // namespace vemko::io
