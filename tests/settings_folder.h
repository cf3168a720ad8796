#pragma once
#include "platform/environment.h"
#include "platform/settings_store.h"
#include "support.h"
#include "system/system.h"

namespace vemko::test {

/// Sets an environment variable while it lives; null removes it.
class EnvironmentVariable {
 public:
  EnvironmentVariable(const std::string& name, const char* value)
      : name_(name), before_(environmentValue(name.c_str())) {
    setEnvironment(name, value);
  }
  ~EnvironmentVariable() { setEnvironment(name_, before_ ? before_->c_str() : nullptr); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  std::string name_;
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
  std::pair<std::string, std::string> setting_ = settingsVariable(folder_.path());
  EnvironmentVariable variable_{setting_.first, setting_.second.c_str()};
};

/// Stores a value as it may stand there: "dword:-1", "hex:01 ff" or "string:text".
inline void storeSetting(std::string_view name, std::string_view value) {
  SettingsStore store;
  const std::size_t colon = value.find(':');
  const std::string_view form = value.substr(0, colon), text = value.substr(colon + 1);
  if (form == "dword") {
    store.writeDword(name, static_cast<std::uint32_t>(std::stoll(std::string(text))));
  } else if (form == "hex") {
    std::vector<std::byte> bytes;
    for (std::size_t at = 0; at < text.size(); at += 3)
      bytes.push_back(static_cast<std::byte>(std::stoi(std::string(text.substr(at, 2)), nullptr, 16)));
    store.writeBinary(name, bytes);
  } else {
    store.writeString(name, toUtf16(text));
  }
  ASSERT_TRUE(store.save()) << toUtf8(lastError());
}

}  // namespace vemko::test
