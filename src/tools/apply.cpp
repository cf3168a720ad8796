#include <new>

#include "base/last_error.h"
#include "base/log.h"
#include "base/memory.h"
#include "base/progress.h"
#include "base/text.h"
#include "io/samples.h"
#include "tools/tool_entry.h"
#include "tools/waveform_selection.h"

namespace vemko::tools {
namespace {

bool loadSelected(ToolContext& context) {
  std::vector<Waveform*> waveforms = selectedWaveforms(context);
  std::erase_if(waveforms, [](const Waveform* waveform) { return waveform->frames == 0; });
  if (io::loadSamples(waveforms)) return true;
  reportFailure(context, nullptr);
  return false;
}

Snapshot captureSelected(const ToolContext& context) {
  Collection* collection = nullptr;
  std::vector<ItemId> items;
  for (const Item* item : context.selection)
    if (item) {
      collection = &item->collection();
      items.push_back(item->id());
    }
  return collection ? Snapshot::capture(*collection, items) : Snapshot();
}

}  // namespace

void reportFailure(ToolContext& context, const Item* item) {
  // A copy: what shows it may fail at something else meanwhile.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const std::u16string message = lastError();
  if (context.showError)
    context.showError(item, message);
  else
    logWarning(item ? item->displayName() + u": " + message : message);
}

std::u16string applyReport(std::uint32_t processedCount, std::u16string_view toolName) {
  const std::u16string name(toolName);
  if (processedCount == 0) return u"No items were modified by " + name;
  return u"Processed " + toUtf16(std::to_string(processedCount)) + u" item" +
         (processedCount == 1 ? u" using " : u"s using ") + name;
}

bool applyTool(const ToolEntry& tool, ToolContext& context) {
  WaitCursor wait;
  context.toolName = tool.name;
  context.processedCount = 0;
  bool ok = true;
  try {
    // Remembered before samples are loaded: deferred ones are then changed in place, and undo defers them
    // again instead of keeping a copy.
    Snapshot before = context.history ? captureSelected(context) : Snapshot();
    if (context.list == ToolList::Waveform && !loadSelected(context)) return false;
    showStatus(u"Processing");
    ok = withinMemory([&] {
      tool.apply(context);
      return true;
    });
    // Also what was changed before memory ran out.
    if (context.history && context.processedCount > 0)
      context.history->add(std::u16string(tool.name), std::move(before));
  } catch (const std::bad_alloc&) {
    ok = fail(u"Out of memory");
  }
  if (ok)
    showStatus(applyReport(context.processedCount, tool.name));
  else
    reportFailure(context, nullptr);
  return ok;
}

}  // namespace vemko::tools
