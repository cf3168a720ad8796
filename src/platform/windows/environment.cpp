#include "platform/environment.h"

#include "platform/windows/system.h"
// The system's headers want its main one first.
#include <algorithm>
#include <shellapi.h>

#include "base/text.h"

namespace vemko {
namespace {

bool comesBefore(const std::wstring& a, const std::wstring& b) {
  return ::CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_LESS_THAN;
}

// The argument itself when it has no wildcards, or nothing fits them. Hidden names want their dot written, as
// in shells elsewhere.
std::vector<std::wstring> filesMeantBy(const std::wstring& argument) {
  const std::size_t nameAt = argument.find_last_of(L"\\/:") + 1;
  const std::wstring pattern = argument.substr(nameAt);
  const bool hasWildcards = pattern.find_first_of(L"*?") != pattern.npos;
  if (!hasWildcards || argument.starts_with(L'-') || argument.starts_with(L"\\\\?\\")) return {argument};
  std::vector<std::wstring> files;
  WIN32_FIND_DATAW found;
  const HANDLE search = ::FindFirstFileW(windows::systemName(argument).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return {argument};
  do {
    const std::wstring name = found.cFileName;
    if (!name.starts_with(L'.') || (pattern.starts_with(L'.') && name != L"." && name != L".."))
      files.push_back(argument.substr(0, nameAt) + name);
  } while (::FindNextFileW(search, &found));
  ::FindClose(search);
  std::ranges::sort(files, comesBefore);
  return files.empty() ? std::vector{argument} : files;
}

}  // namespace

std::optional<std::string> environmentValue(const char* name) {
  const std::wstring wideName = windows::wide(toUtf16(name));
  std::wstring value(128, L'\0');
  for (;;) {
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length =
        ::GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
    if (length == 0 && ::GetLastError() != ERROR_SUCCESS) return std::nullopt;
    const bool fits = length < value.size();
    value.resize(length);
    if (fits) return toUtf8(windows::text(value));
  }
}

// The narrow arguments lack what the system's code page lacks.
std::vector<std::string> programArguments(int count, char** values) {
  int wideCount = 0;
  wchar_t** wideValues = ::CommandLineToArgvW(::GetCommandLineW(), &wideCount);
  if (wideValues == nullptr) return {values, values + count};
  std::vector<std::string> arguments;
  for (int i = 0; i < wideCount; ++i)
    for (const std::wstring& word :
         i == 0 ? std::vector<std::wstring>{wideValues[i]} : filesMeantBy(wideValues[i]))
      arguments.push_back(toUtf8(windows::text(word)));
  ::LocalFree(wideValues);
  return arguments;
}

}  // namespace vemko
