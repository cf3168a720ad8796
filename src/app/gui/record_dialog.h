#pragma once
#include "core/loop_record.h"

class wxWindow;

namespace vemko::gui {

/// Lets the user change a loop or marker of a waveform of that length; false when it was left as it is.
bool editRecord(wxWindow* parent, LoopRecord& record, std::uint32_t frames);

}  // namespace vemko::gui
