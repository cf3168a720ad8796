#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/last_error.h"
#include "base/text.h"
#include "platform/file_identity.h"
#include "platform/posix/descriptor.h"

namespace vemko {
namespace {

std::optional<struct stat> statusOf(const Path& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

bool haveSameIdentity(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

Path folderOf(const Path& path) { return path.has_parent_path() ? path.parent_path() : Path("."); }

// Two names of one file, as opposed to two spellings of one name.
bool areHardLinks(const Path& a, const Path& b) {
  struct stat statusA, statusB;
  if (::lstat(a.c_str(), &statusA) != 0 || ::lstat(b.c_str(), &statusB) != 0) return false;
  if (!haveSameIdentity(statusA, statusB) || statusA.st_nlink < 2) return false;
  return !equalsIgnoringCase(textOf(a.filename()), textOf(b.filename())) ||
         !isSameFile(folderOf(a), folderOf(b));
}

Path homeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  struct passwd entry;
  struct passwd* found = nullptr;
  std::array<char, 4096> buffer;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
    return found->pw_dir;
  return "/";
}

}  // namespace

std::u16string textOf(const Path& path) { return toUtf16(path.native()); }

// The system would take the name up to a zero, which is another file's.
Path pathOf(std::u16string_view text) {
  std::u16string name(text);
  std::replace(name.begin(), name.end(), u'\0', u'\uFFFD');
  return toUtf8(name);
}

bool fileExists(const Path& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

bool folderExists(const Path& path) {
  auto status = statusOf(path);
  return status && S_ISDIR(status->st_mode);
}

std::optional<std::uint64_t> fileSize(const Path& path) {
  auto status = statusOf(path);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

std::optional<FileIdentity> fileIdentity(const Path& path) {
  const auto state = fileState(path);
  return state ? std::optional(state->identity) : std::nullopt;
}

std::optional<FileState> fileState(const Path& path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  const bool isRegular = S_ISREG(status->st_mode);
  return FileState{{status->st_dev, status->st_ino},
                   isRegular ? static_cast<std::uint64_t>(status->st_size) : 0};
}

bool isSameFile(const Path& a, const Path& b) {
  auto statusA = statusOf(a), statusB = statusOf(b);
  return statusA && statusB && haveSameIdentity(*statusA, *statusB);
}

bool removeFile(const Path& path) {
  if (::unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return true;
  posix::logSystemError(path, errno);
  return fail(u"Could not delete file");
}

bool replaceFile(const Path& from, const Path& to) {
  // rename() leaves two links to one file as they are.
  const bool linked = areHardLinks(from, to);
  if (::rename(from.c_str(), to.c_str()) == 0) return !linked || removeFile(from);
  posix::logSystemError(to, errno);
  return fail(u"Could not rename file");
}

void flushFolder(const Path& folder) {
  if (auto fd = posix::openPath(folder.empty() ? Path(".") : folder, O_RDONLY | O_DIRECTORY))
    ::fsync(fd.get());
}

Path programPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

Path settingsFolder() {
  const char* configured = std::getenv("XDG_CONFIG_HOME");
  Path base = configured != nullptr && *configured == '/' ? Path(configured) : homeFolder() / ".config";
  return base / "vemko-studio";
}

}  // namespace vemko
