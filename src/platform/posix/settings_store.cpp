#include "platform/settings_store.h"

// The parser's text is UTF-8 as the file is; some distributions want its code asked for.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/last_error.h"
#include "platform/files.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/settings_text.h"

namespace vemko {
namespace {

constexpr char kSection[] = "settings";
constexpr std::uint64_t kMaxFileBytes = 16 << 20;

// A link is followed, so that saving replaces the file that it leads to and not the link.
Path settingsFile() {
  Path file = settingsFolder() / "settings.ini";
  std::error_code error;
  Path target = std::filesystem::canonical(file, error);
  return error ? file : target;
}

// True also when there is no file yet.
bool loadFile(const Path& path, CSimpleIniA& ini) {
  if (!fileExists(path)) return true;
  InputFile file;
  if (!file.open(path)) return false;
  if (file.size() > kMaxFileBytes) return fail(u"Reading from file failed");
  std::string content(static_cast<std::size_t>(file.size()), '\0');
  return file.readAt(0, std::as_writable_bytes(std::span(content))) && ini.LoadData(content) == SI_OK;
}

bool writeFile(const Path& path, const CSimpleIniA& ini) {
  std::string content;
  if (ini.Save(content) != SI_OK) return fail(u"Writing to file failed");
  Path fresh = path;
  fresh += ".new";
  OutputFile file;
  if (!file.create(fresh)) return false;
  if (file.write(asBytes(content)) && file.flushToDisk() && file.close() && replaceFile(fresh, path))
    return true;
  removeFile(fresh);
  return fail(u"Writing to file failed");
}

bool makeFolder(const Path& folder) {
  std::error_code error;
  if (std::filesystem::create_directories(folder, error))
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  return folderExists(folder) || fail(u"Could not create file");
}

}  // namespace

struct SettingsStore::System {
  std::unique_ptr<CSimpleIniA> ini = std::make_unique<CSimpleIniA>(true);
  std::vector<std::string> changed;  // Names of values that the file does not hold yet.

  std::string_view text(std::string_view name) const {
    const char* value = ini->GetValue(kSection, std::string(name).c_str());
    return value == nullptr ? std::string_view() : value;
  }

  void write(std::string_view name, const std::string& value) {
    if (text(name) == value) return;
    changed.emplace_back(name);
    ini->SetValue(kSection, changed.back().c_str(), value.c_str());
  }
};

SettingsStore::SettingsStore() : system_(std::make_unique<System>()) {
  loadFile(settingsFile(), *system_->ini);
}
SettingsStore::~SettingsStore() = default;

std::optional<std::vector<std::byte>> SettingsStore::readBinary(std::string_view name) const {
  return posix::parseBinary(system_->text(name));
}
std::optional<std::uint32_t> SettingsStore::readDword(std::string_view name) const {
  return posix::parseDword(system_->text(name));
}
std::optional<std::u16string> SettingsStore::readString(std::string_view name) const {
  return posix::parseString(system_->text(name));
}

void SettingsStore::writeBinary(std::string_view name, Bytes value) {
  system_->write(name, posix::binaryText(value));
}
void SettingsStore::writeDword(std::string_view name, std::uint32_t value) {
  system_->write(name, posix::dwordText(value));
}
void SettingsStore::writeString(std::string_view name, std::u16string_view value) {
  system_->write(name, posix::stringText(value));
}

// What another program has saved in the meantime stays, as it would with one stored value per setting: only
// the values that were changed here go over the file's.
bool SettingsStore::save() {
  if (system_->changed.empty()) return true;
  const Path file = settingsFile();
  if (!makeFolder(file.parent_path())) return false;
  auto lock = posix::openPath(file.parent_path(), O_RDONLY | O_DIRECTORY);
  if (lock) posix::retried([&] { return ::flock(lock.get(), LOCK_EX); });

  auto merged = std::make_unique<CSimpleIniA>(true);
  if (!loadFile(file, *merged)) return fail(u"Writing to file failed");
  for (const std::string& name : system_->changed)
    merged->SetValue(kSection, name.c_str(), system_->ini->GetValue(kSection, name.c_str()));
  if (!writeFile(file, *merged)) return false;
  flushFolder(file.parent_path());
  system_->ini = std::move(merged);
  system_->changed.clear();
  return true;
}

}  // namespace vemko
