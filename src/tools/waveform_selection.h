#pragma once
#include "tools/tool_entry.h"

namespace vemko::tools {

/// The waveforms among the selected items; other kinds are not for waveform tools.
inline std::vector<Waveform*> selectedWaveforms(const ToolContext& context) {
  std::vector<Waveform*> waveforms;
  for (Item* item : context.selection)
    if (item && item->kind() == ItemKind::Waveform) waveforms.push_back(static_cast<Waveform*>(item));
  return waveforms;
}

}  // namespace vemko::tools
