// The studio itself, with the tests in place of the user.
#include <cstdlib>
#include <wx/evtloop.h>

#include "app/gui/studio_app.h"
#include "gui/driver.h"

namespace {

class TestedApp : public vemko::gui::StudioApp {
 public:
  int OnRun() override {
    wxEventLoop loop;
    const wxEventLoopActivator active(&loop);
    vemko::test::settle();
    const int result = RUN_ALL_TESTS();
    window()->Destroy();
    vemko::test::settle();
    return result;
  }
};

}  // namespace

wxIMPLEMENT_APP_NO_MAIN(TestedApp);

int main(int count, char** values) {
  testing::InitGoogleTest(&count, values);
  const vemko::test::TempFolder settings;
  ::setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
  std::string program = values[0], file = VEMKO_EXAMPLES "/organ.wav";
  char* arguments[] = {program.data(), file.data(), nullptr};
  int argumentCount = 2;
  return wxEntry(argumentCount, arguments);
}
