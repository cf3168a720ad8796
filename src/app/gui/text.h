#pragma once
// Between the model's text and that of the window.
#include <string_view>
#include <wx/strconv.h>
#include <wx/string.h>

#include "base/text.h"
#include "platform/files.h"

namespace vemko::gui {

/// Names of files that are no UTF-8 survive the way there and back.
inline const wxMBConvUTF8& textConversion() {
  static const wxMBConvUTF8 conversion(wxMBConvUTF8::MAP_INVALID_UTF8_TO_PUA);
  return conversion;
}

inline wxString shown(std::u16string_view text) {
  const std::string utf8 = toUtf8(text);
  return wxString(utf8.data(), textConversion(), utf8.size());
}
inline wxString shownPath(const Path& path) { return shown(textOf(path)); }

inline std::u16string textFrom(const wxString& text) {
  const wxCharBuffer utf8 = text.mb_str(textConversion());
  return toUtf16({utf8.data(), utf8.length()});
}
inline Path pathFrom(const wxString& text) { return pathOf(textFrom(text)); }

}  // namespace vemko::gui
