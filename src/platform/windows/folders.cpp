#include "platform/folders.h"

#include "base/last_error.h"
#include "platform/windows/system.h"

namespace vemko {
namespace {

namespace fs = std::filesystem;
using windows::systemName;

// There is one permission that files have for everybody: to be written.
constexpr fs::perms kReadOnly = fs::perms(0444), kReadAndWrite = fs::perms(0666);
constexpr fs::perms kAnyWrite = fs::perms(0222);

bool isDots(const wchar_t* name) {
  const std::wstring_view text = name;
  return text == L"." || text == L"..";
}

}  // namespace

FileKind fileKind(const Path& path) {
  const auto file = windows::openForStatus(path);
  BY_HANDLE_FILE_INFORMATION status;
  if (!file) return FileKind::None;
  if (::GetFileType(file.get()) != FILE_TYPE_DISK) return FileKind::Other;
  if (!::GetFileInformationByHandle(file.get(), &status)) return FileKind::None;
  return status.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? FileKind::Folder : FileKind::Regular;
}

// Other reparse points, of clouds and compressors, are files and folders of their own.
bool isLink(const Path& path) {
  WIN32_FIND_DATAW found;
  const HANDLE search = ::FindFirstFileW(systemName(path).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  ::FindClose(search);
  const bool isReparsePoint = found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT;
  return isReparsePoint && IsReparseTagNameSurrogate(found.dwReserved0);
}

Path behindLinks(const Path& path) {
  if (!isLink(path)) return path;
  const std::wstring name = windows::finalName(path);
  return name.empty() ? path : Path(name);
}

std::optional<fs::perms> filePermissions(const Path& path) {
  if (fileKind(path) != FileKind::Regular) return std::nullopt;
  const DWORD attributes = ::GetFileAttributesW(systemName(path).c_str());
  return attributes & FILE_ATTRIBUTE_READONLY ? kReadOnly : kReadAndWrite;
}

void setFilePermissions(const Path& path, fs::perms permissions) {
  const std::wstring name = systemName(path);
  DWORD attributes = ::GetFileAttributesW(name.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return;
  const bool mayBeWritten = (permissions & kAnyWrite) != fs::perms::none;
  if (mayBeWritten == !(attributes & FILE_ATTRIBUTE_READONLY)) return;
  ::SetFileAttributesW(name.c_str(), attributes ^ FILE_ATTRIBUTE_READONLY);
}

std::vector<FolderEntry> listFolder(const Path& folder) {
  std::vector<FolderEntry> entries;
  WIN32_FIND_DATAW found;
  const HANDLE search = ::FindFirstFileW(systemName(folder / "*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return entries;
  do {
    const bool isFolder = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
    if (!isDots(found.cFileName)) entries.push_back({folder / found.cFileName, isFolder});
  } while (::FindNextFileW(search, &found));
  ::FindClose(search);
  return entries;
}

bool createFolders(const Path& folder) {
  if (folderExists(folder)) return true;
  const Path above = folder.parent_path();
  if (!above.empty() && above != folder && !createFolders(above)) return false;
  if (::CreateDirectoryW(systemName(folder).c_str(), nullptr) || folderExists(folder)) return true;
  windows::logSystemError(folder, ::GetLastError());
  return fail(u"Could not create folder");
}

void removeEmptyFolder(const Path& folder) {
  if (!isLink(folder)) ::RemoveDirectoryW(systemName(folder).c_str());
}

}  // namespace vemko
