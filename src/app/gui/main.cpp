#include "app/gui/studio_app.h"

wxIMPLEMENT_APP(vemko::gui::StudioApp);
