#include "app/gui/accessible.h"

#include <wx/window.h>

#include "platform/shared_library.h"

namespace vemko::gui {

#ifdef __WXGTK__
namespace {

/// The functions that give a widget its texts. They belong to libraries that wxWidgets brings along but has
/// no words for.
struct Accessibility {
  SharedLibrary gtk, atk;
  void* (*accessibleOf)(void* widget) = nullptr;
  void (*setName)(void* object, const char* name) = nullptr;
  void (*setDescription)(void* object, const char* description) = nullptr;

  Accessibility() {
    if (!gtk.open({"libgtk-3.so.0"}) || !atk.open({"libatk-1.0.so.0"})) return;
    accessibleOf = reinterpret_cast<decltype(accessibleOf)>(gtk.symbol("gtk_widget_get_accessible"));
    setName = reinterpret_cast<decltype(setName)>(atk.symbol("atk_object_set_name"));
    setDescription = reinterpret_cast<decltype(setDescription)>(atk.symbol("atk_object_set_description"));
  }
  bool isComplete() const { return accessibleOf && setName && setDescription; }
};

}  // namespace

void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description) {
  static const Accessibility service;
  if (!service.isComplete() || !window.GetHandle()) return;
  void* object = service.accessibleOf(window.GetHandle());
  if (!object) return;
  service.setName(object, name.utf8_str());
  service.setDescription(object, description.utf8_str());
}
#else
// Windows takes a window's text for its name.
void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description) {
  window.SetLabel(description.empty() ? name : name + ", " + description);
}
#endif

}  // namespace vemko::gui
