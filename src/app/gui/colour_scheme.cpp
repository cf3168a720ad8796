#include "app/gui/colour_scheme.h"

#include <wx/defs.h>

#include "app/app_settings.h"
#include "platform/shared_library.h"

namespace vemko::gui {

#ifdef __WXGTK__
namespace {

/// The toolkit's settings; they belong to libraries that wxWidgets brings along but has no words for.
struct ToolkitSettings {
  SharedLibrary gtk, gobject;
  void* (*defaults)() = nullptr;
  void (*reset)(void* settings, const char* name) = nullptr;
  void (*set)(void* object, const char* name, ...) = nullptr;

  ToolkitSettings() {
    if (!gtk.open({"libgtk-3.so.0"}) || !gobject.open({"libgobject-2.0.so.0"})) return;
    defaults = reinterpret_cast<decltype(defaults)>(gtk.symbol("gtk_settings_get_default"));
    reset = reinterpret_cast<decltype(reset)>(gtk.symbol("gtk_settings_reset_property"));
    set = reinterpret_cast<decltype(set)>(gobject.symbol("g_object_set"));
  }
  bool isComplete() const { return defaults && reset && set; }
};

}  // namespace

bool canChooseColours() { return true; }

void applyColourScheme() {
  static const ToolkitSettings toolkit;
  void* settings = toolkit.isComplete() ? toolkit.defaults() : nullptr;
  if (!settings) return;
  enum { kAsSystem, kLight, kDark };
  const int scheme = app::appSettings().shell.darkMode;
  constexpr const char *kPrefersDark = "gtk-application-prefer-dark-theme", *kTheme = "gtk-theme-name";
  constexpr void* kEnd = nullptr;
  // The theme comes last: wxWidgets forgets the colours it has looked up when that is set.
  if (scheme == kLight || scheme == kDark) {
    toolkit.set(settings, kPrefersDark, scheme == kDark ? 1 : 0, kEnd);
    toolkit.set(settings, kTheme, "Adwaita", kEnd);
  } else {
    toolkit.reset(settings, kPrefersDark);
    toolkit.reset(settings, kTheme);
  }
}
#else
bool canChooseColours() { return false; }
void applyColourScheme() {}
#endif

}  // namespace vemko::gui
