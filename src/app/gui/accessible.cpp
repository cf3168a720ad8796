#include "app/gui/accessible.h"

#include <algorithm>
#include <string_view>
#include <wx/anybutton.h>
#include <wx/control.h>
#include <wx/window.h>

#include "platform/shared_library.h"

namespace vemko::gui {

#ifdef __WXGTK__
namespace {

/// The functions that give a widget its texts. They belong to libraries that wxWidgets brings along but has
/// no words for.
struct Accessibility {
  SharedLibrary gtk, gobject, atk;
  void* (*accessibleOf)(void* widget) = nullptr;
  unsigned long (*scrolledType)() = nullptr;
  int (*isA)(void* instance, unsigned long type) = nullptr;
  void* (*childOf)(void* widget) = nullptr;
  void (*setName)(void* object, const char* name) = nullptr;
  void (*setDescription)(void* object, const char* description) = nullptr;
  int (*roleForName)(const char* name) = nullptr;
  void (*setRole)(void* object, int role) = nullptr;

  Accessibility() {
    if (!gtk.open({"libgtk-3.so.0"}) || !gobject.open({"libgobject-2.0.so.0"}) ||
        !atk.open({"libatk-1.0.so.0"}))
      return;
    accessibleOf = reinterpret_cast<decltype(accessibleOf)>(gtk.symbol("gtk_widget_get_accessible"));
    scrolledType = reinterpret_cast<decltype(scrolledType)>(gtk.symbol("gtk_scrolled_window_get_type"));
    isA = reinterpret_cast<decltype(isA)>(gobject.symbol("g_type_check_instance_is_a"));
    childOf = reinterpret_cast<decltype(childOf)>(gtk.symbol("gtk_bin_get_child"));
    setName = reinterpret_cast<decltype(setName)>(atk.symbol("atk_object_set_name"));
    setDescription = reinterpret_cast<decltype(setDescription)>(atk.symbol("atk_object_set_description"));
    roleForName = reinterpret_cast<decltype(roleForName)>(atk.symbol("atk_role_for_name"));
    setRole = reinterpret_cast<decltype(setRole)>(atk.symbol("atk_object_set_role"));
  }
  bool isComplete() const {
    return accessibleOf && scrolledType && isA && childOf && setName && setDescription && roleForName &&
           setRole;
  }
};

const Accessibility& service() {
  static const Accessibility service;
  return service;
}

// Of the widget that takes the keys, which may stand within one that scrolls.
void* accessibleOf(wxWindow& window) {
  if (!service().isComplete() || !window.m_widget) return nullptr;
  void* widget = window.m_widget;
  if (window.m_wxwindow && !window.IsTopLevel())
    widget = window.m_wxwindow;
  else if (service().isA(widget, service().scrolledType()))
    widget = service().childOf(widget);
  return widget ? service().accessibleOf(widget) : nullptr;
}

}  // namespace

void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description) {
  void* object = accessibleOf(window);
  if (!object) return;
  service().setName(object, name.utf8_str());
  service().setDescription(object, description.utf8_str());
}

void setAccessibleRole(wxWindow& window, const char* role) {
  if (void* object = accessibleOf(window)) service().setRole(object, service().roleForName(role));
}

void tellNames(wxWindow& parent) {
  // The names that the toolkit gives by itself.
  static constexpr std::string_view kUnnamed[] = {"text",         "choice",
                                                  "check",        "listBox",
                                                  "listCtrl",     "gauge",
                                                  "wxSpinCtrl",   "staticText",
                                                  "panel",        "notebook",
                                                  "dirpicker",    "scrolledWindow",
                                                  "staticBitmap", "wxlistctrlcolumntitles",
                                                  "filepicker"};
  for (wxWindow* child : parent.GetChildren()) {
    // The lines of a list are a window of their own, which takes the keys.
    const wxString name = child->GetName().empty() ? parent.GetName() : child->GetName();
    if (child->GetLabel().empty() && std::ranges::find(kUnnamed, name.utf8_string()) == std::end(kUnnamed))
      if (void* object = accessibleOf(*child)) service().setName(object, name.utf8_str());
    tellNames(*child);
  }
}
#else
// Windows takes the text of a window that draws itself for its name, and that of a button that shows a
// picture alone. Other controls tell about themselves, and take their names from the labels before them.
void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description) {
  const auto* button = wxDynamicCast(&window, wxAnyButton);
  const bool isPicture = button != nullptr && button->HasFlag(wxBU_NOTEXT);
  if (window.IsKindOf(wxCLASSINFO(wxControl)) && !isPicture) return;
  window.SetLabel(description.empty() ? name : name + ", " + description);
}
void setAccessibleRole(wxWindow&, const char*) {}
void tellNames(wxWindow&) {}
#endif

}  // namespace vemko::gui
