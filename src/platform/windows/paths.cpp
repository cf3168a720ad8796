#include <algorithm>
#include <atomic>
#include <shlobj.h>

#include "base/last_error.h"
#include "base/text.h"
#include "platform/file_identity.h"
#include "platform/windows/system.h"

namespace vemko {
namespace {

using windows::systemName;

std::optional<BY_HANDLE_FILE_INFORMATION> statusOf(const Path& path) {
  BY_HANDLE_FILE_INFORMATION status;
  const auto file = windows::openForStatus(path);
  if (!file || !::GetFileInformationByHandle(file.get(), &status)) return std::nullopt;
  return status;
}

bool haveSameIdentity(const BY_HANDLE_FILE_INFORMATION& a, const BY_HANDLE_FILE_INFORMATION& b) {
  return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber && a.nFileIndexHigh == b.nFileIndexHigh &&
         a.nFileIndexLow == b.nFileIndexLow;
}

// Two names of one file, as opposed to two spellings of one name.
bool areHardLinks(const Path& a, const Path& b) {
  const auto statusA = statusOf(a), statusB = statusOf(b);
  if (!statusA || !statusB || !haveSameIdentity(*statusA, *statusB) || statusA->nNumberOfLinks < 2)
    return false;
  const std::wstring nameA = windows::finalName(a), nameB = windows::finalName(b);
  return !nameA.empty() && !nameB.empty() &&
         ::CompareStringOrdinal(nameA.c_str(), -1, nameB.c_str(), -1, TRUE) != CSTR_EQUAL;
}

// Whether a name may go or be replaced is the folder's to decide, as on POSIX systems, not the file's.
void clearReadOnly(const std::wstring& name) {
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  constexpr DWORD kNoFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) &&
      !(attributes & kNoFile))
    ::SetFileAttributesW(name.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
}

bool meansNone(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
         error == ERROR_BAD_PATHNAME || error == ERROR_DIRECTORY;
}

// Its name is free at once, whoever reads from it; systems and file systems before Windows 10 cannot.
bool removeAtOnce(const Path& path) {
  constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
  DWORD deleteByName = 0x1 | 0x2 | 0x10;  // delete, POSIX semantics, read-only files too
  const windows::Handle file(::CreateFileW(systemName(path).c_str(), DELETE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  return file && ::SetFileInformationByHandle(file.get(), kDispositionEx, &deleteByName, sizeof deleteByName);
}

// A file that is open keeps its name until it is closed, so that it gets another one first.
bool removeBehindAnotherName(const Path& path) {
  const std::wstring name = systemName(path);
  clearReadOnly(name);
  static std::atomic<unsigned> serial = 0;
  Path other = path;
  other.replace_filename(".vemko-" + std::to_string(::GetCurrentProcessId()) + "-" +
                         std::to_string(serial++));
  const std::wstring otherName = systemName(other);
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  const bool isFile = attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
  const bool renamed = isFile && ::MoveFileExW(name.c_str(), otherName.c_str(), 0);
  const std::wstring& gone = renamed ? otherName : name;
  if (windows::retriedWhileShared([&gone] { return ::DeleteFileW(gone.c_str()) != 0; })) return true;
  const DWORD error = ::GetLastError();
  if (renamed) ::MoveFileExW(otherName.c_str(), name.c_str(), 0);
  ::SetLastError(error);
  return false;
}

}  // namespace

std::u16string textOf(const Path& path) { return windows::text(path.native()); }

// The system would take the name up to a zero, which is another file's.
Path pathOf(std::u16string_view text) {
  std::wstring name = windows::wide(text);
  std::replace(name.begin(), name.end(), L'\0', L'\uFFFD');
  return name;
}

bool fileExists(const Path& path) {
  return ::GetFileAttributesW(systemName(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool folderExists(const Path& path) {
  const auto status = statusOf(path);
  return status && (status->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::optional<std::uint64_t> fileSize(const Path& path) {
  const auto status = statusOf(path);
  if (!status || (status->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) return std::nullopt;
  return std::uint64_t{status->nFileSizeHigh} << 32 | status->nFileSizeLow;
}

std::optional<FileIdentity> fileIdentity(const Path& path) {
  const auto state = fileState(path);
  return state ? std::optional(state->identity) : std::nullopt;
}

std::optional<FileState> fileState(const Path& path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  const bool isFolder = (status->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return FileState{
      {status->dwVolumeSerialNumber, std::uint64_t{status->nFileIndexHigh} << 32 | status->nFileIndexLow},
      isFolder ? 0 : std::uint64_t{status->nFileSizeHigh} << 32 | status->nFileSizeLow};
}

bool isSameFile(const Path& a, const Path& b) {
  const auto statusA = statusOf(a), statusB = statusOf(b);
  return statusA && statusB && haveSameIdentity(*statusA, *statusB);
}

bool removeFile(const Path& path) {
  if (removeAtOnce(path) || removeBehindAnotherName(path) || meansNone(::GetLastError())) return true;
  windows::logSystemError(path, ::GetLastError());
  return fail(u"Could not delete file");
}

bool replaceFile(const Path& from, const Path& to) {
  const std::wstring fromName = systemName(from), toName = systemName(to);
  // The system may leave two links to one file as they are.
  const bool linked = areHardLinks(from, to);
  if (!linked) clearReadOnly(toName);
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (windows::retriedWhileShared([&] { return ::MoveFileExW(fromName.c_str(), toName.c_str(), kHow) != 0; }))
    return !linked || removeFile(from);
  windows::logSystemError(to, ::GetLastError());
  return fail(u"Could not rename file");
}

void flushFolder(const Path& folder) {
  const windows::Handle handle(::CreateFileW(systemName(folder.empty() ? Path(".") : folder).c_str(),
                                             GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (handle) ::FlushFileBuffers(handle.get());
}

Path programPath() {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = ::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (length < name.size()) {
      name.resize(length);
      return name;
    }
    name.resize(name.size() * 2);
  }
}

Path settingsFolder() {
  wchar_t* found = nullptr;
  Path folder;
  if (SUCCEEDED(::SHGetKnownFolderPath(FOLDERID_RoamingAppData, 0, nullptr, &found)) && found)
    folder = Path(found) / "Vemko Studio";
  ::CoTaskMemFree(found);
  return folder;
}

}  // namespace vemko
