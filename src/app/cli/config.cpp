#include "app/cli/commands.h"
#include "app/cli/output.h"
#include "app/settings.h"
#include "base/last_error.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

std::string textOfSetting(const app::SettingRow& row) {
  return printable(toUtf8(settingText(row).value_or(u"")));
}

int listSettings() {
  for (const app::SettingRow& row : app::settingRows())
    printLine(std::string(row.name) + " = " + textOfSetting(row));
  return kDone;
}

int changeSetting(const app::SettingRow& row, std::string_view value, SettingsStore& store) {
  if (!app::setSettingText(row, toUtf16(value))) {
    printError(row.name, toUtf8(lastError()));
    return kUsage;
  }
  if (app::saveSettings(store)) return kDone;
  printError("settings", toUtf8(lastError()));
  return kSomeFailed;
}

}  // namespace

void useSettings() {
  SettingsStore store;
  app::loadSettings(store);
}

int runConfig(const ConfigArguments& arguments) {
  using Action = ConfigArguments::Action;
  SettingsStore store;
  app::loadSettings(store);
  if (arguments.action == Action::List) return listSettings();
  const app::SettingRow* row = app::findSetting(arguments.name);
  if (!row) return usageError("no setting is named \"" + arguments.name + "\"", "vemko config list");
  if (arguments.action == Action::Set) return changeSetting(*row, arguments.value, store);
  printLine(textOfSetting(*row));
  return kDone;
}

}  // namespace vemko::cli
