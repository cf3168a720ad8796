#include "io/save.h"

#include <algorithm>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"
#include "base/memory.h"
#include "base/progress.h"
#include "base/text.h"
#include "io/companion_files.h"
#include "io/loss_report.h"
#include "io/open.h"
#include "io/save_steps.h"
#include "io/save_target.h"

namespace vemko::io {
namespace {

bool saving = false;
RenderHooks hooks;

struct SavingFlag {
  SavingFlag() { saving = true; }
  ~SavingFlag() { saving = false; }
};

// A file that replaces another one is brought to the disk; others are left to the system, which keeps the
// conversion of thousands of small files fast.
bool writeFile(Item& item, SaveTarget& target, FormatWriter writer, const SaveOptions& options) {
  showStatus(u"Writing: " + textOf(target.path()));
  OutputFile file;
  return target.create(file) && callWriter(item, file, writer, options) &&
         (!target.replacesFile() || file.flushToDisk()) && file.close();
}

bool save(Item* item, int row, const Path& path, const SaveOptions& options, bool tidy, FormatRows rows) {
  WaitCursor wait;
  SavingFlag flag;
  CompanionFiles own;
  SaveOptions ofThis = options;
  if (!ofThis.companions) ofThis.companions = &own;
  ofThis.companions->keepLast();
  const bool ok = withinMemory([&] {
    PreparedItem prepared;
    if (!prepareItem(item, row, options, tidy, rows, prepared)) return false;
    SaveTarget target(path);
    if (!target.pinSources() || !target.setAside() ||
        !writeFile(*prepared.item, target, formatRow(row, rows)->writer, ofThis))
      return false;
    target.finish();
    return true;
  });
  if (!ok) ofThis.companions->removeLast();
  return ok;
}

void takeOverFile(Item& item, const Path& path, int row) {
  if (item.kind() != ItemKind::Collection) return;
  Collection& collection = item.collection();
  collection.file = path;
  collection.setText(TextProperty::SourceFile, textOf(path));
  collection.formatRow = row;
}

}  // namespace

bool isSaving() { return saving; }
void setRenderHooks(RenderHooks newHooks) { hooks = std::move(newHooks); }
const RenderHooks& renderHooks() { return hooks; }

SaveOptions saveOptionsFor(int row, CapabilityMask requested, FormatRows rows) {
  const FormatEntry* entry = formatRow(row, rows);
  return {.requested = requested, .variant = entry ? entry->variant : 0};
}

bool saveItem(Item* item, int row, const Path& path, const SaveOptions& options, FormatRows rows) {
  return save(item, row, path, options, true, rows);
}

bool callWriter(Item& item, OutputFile& file, FormatWriter writer, const SaveOptions& options) {
  return withinMemory([&] { return writer(item, file, options); });
}

bool saveReported(Item* item, const Path& path, int row, const SaveOptions& options, bool report, bool tidy,
                  FormatRows rows) {
  return withinMemory([&] {
    if (report) showStatus(u"Saving");
    // The tidying may remove the item itself where it is a part, but never the whole.
    Item* const stored = item ? storedItemFor(*item) : nullptr;
    std::vector<Loss> losses;
    int better = kNoRow;
    if (stored && options.tellsLosses && rows.data() == formatTable().data()) {
      losses = lossesOfSaving(*stored, row, options);
      better = rowThatKeepsMore(*stored, row, options, losses);
    }
    const bool ok = save(item, row, path, options, tidy, rows);
    if (ok)
      takeOverFile(*stored, path, row);
    else
      showStatus(u"Failed to Save.");
    if (ok && report) {
      logInfo(u"Saved: " + textOf(path) + u" (" + sizeText(fileSize(path).value_or(0)) + u")");
      showStatus(u"Saved: " + textOf(path));
    }
    for (const Loss& loss : losses)
      if (ok) logWarning(u"Not kept: " + lossText(loss));
    if (ok && better != kNoRow) logWarning(moreKeptText(better));
    if (report) noteRecentFile(path);
    return ok;
  });
}

bool saveWithBackup(Item* item, const Path& path, int row, const SaveOptions& options, bool report,
                    FormatRows rows) {
  return saveReported(item, path, row, options, report, true, rows);
}

std::u16string sizeText(std::uint64_t bytes) {
  auto text = [](std::uint64_t number, const char* unit) {
    return toUtf16(formatted("%llu %s", static_cast<unsigned long long>(number), unit));
  };
  if (bytes < 1024) return text(bytes, "Bytes");
  auto inThousands = [](std::uint64_t number) { return number / 1024 + (number % 1024 >= 512 ? 1 : 0); };
  const std::uint64_t kiloBytes = inThousands(bytes);
  return kiloBytes < 1024 ? text(kiloBytes, "KB") : text(inThousands(kiloBytes), "MB");
}

std::vector<std::u16string> channelFormats(CapabilityMask capabilities,
                                           std::span<Waveform* const> waveforms) {
  if ((capabilities & (kMono | kStereo | kLinkedStereo)) == 0) return {u"N/A"};
  auto allHave = [waveforms](std::uint8_t channels) {
    return std::ranges::all_of(waveforms, [=](const Waveform* wave) { return wave->channels == channels; });
  };
  std::u16string_view found = allHave(1) ? u"Mono" : allHave(2) ? u"Stereo" : u"mixed";
  std::vector<std::u16string> entries = {u"Auto <" + std::u16string(found) + u">"};
  if (capabilities & kMono) entries.emplace_back(u"Mono");
  if (capabilities & (kStereo | kLinkedStereo)) entries.emplace_back(u"Stereo");
  return entries;
}

}  // namespace vemko::io
