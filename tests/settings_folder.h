#pragma once
#include <cstdlib>

#include "support.h"

namespace vemko::test {

/// Sets an environment variable while it lives; null removes it.
class EnvironmentVariable {
 public:
  EnvironmentVariable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(value);
  }
  ~EnvironmentVariable() { set(before_ ? before_->c_str() : nullptr); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  void set(const char* value) { value == nullptr ? ::unsetenv(name_) : ::setenv(name_, value, 1); }

  const char* name_;
  std::optional<std::string> before_;
};

/// A user without settings, while it lives.
class SettingsFolder {
 public:
  const Path& root() const { return folder_.path(); }
  Path file() const { return settingsFolder() / "settings.ini"; }
  void putSettings(std::string_view content) {
    std::filesystem::create_directories(settingsFolder());
    putFile(file(), content);
  }

 private:
  TempFolder folder_;
  EnvironmentVariable variable_{"XDG_CONFIG_HOME", folder_.path().c_str()};
};

}  // namespace vemko::test
