#include "app/gui/losses.h"

#include "app/gui/text.h"

namespace vemko::gui {

wxString lossLines(const Item& item, int row, const io::SaveOptions& options) {
  wxString text;
  for (const io::Loss& loss : io::lossesOfSaving(item, row, options))
    text += (text.empty() ? "" : "\n") + shown(io::lossText(loss));
  return text;
}

}  // namespace vemko::gui
