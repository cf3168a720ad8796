#include <gtest/gtest.h>
#include <windows.h>

#include "base/text.h"
#include "system/system.h"

namespace vemko::test {
namespace {

// Keys of tests; those of this process are gone when it ends.
const std::wstring kKeys = L"Software\\Quorvel-Labs\\Tests";

std::wstring keyOfProcess() { return kKeys + L"\\" + std::to_wstring(::GetCurrentProcessId()); }

class Keys : public testing::Environment {
 public:
  void TearDown() override {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, keyOfProcess().c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, kKeys.c_str());  // stays while another process has some
  }
};
const auto* const kKeysEnvironment = testing::AddGlobalTestEnvironment(new Keys);

std::wstring wide(const std::string& utf8) { return Path(utf8).native(); }

HANDLE createInheritable(const Path& path) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, &inherited,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Always in quotes, so that this is another way than the studio's own.
std::wstring quoted(const std::wstring& word) {
  std::wstring text = L"\"";
  for (std::size_t i = 0; i <= word.size(); ++i) {
    std::size_t slashes = 0;
    for (; i < word.size() && word[i] == L'\\'; ++i) ++slashes;
    const bool beforeQuote = i == word.size() || word[i] == L'"';
    text.append(beforeQuote ? slashes * 2 : slashes, L'\\');
    if (i == word.size()) break;
    if (word[i] == L'"') text += L'\\';
    text += word[i];
  }
  return text + L'"';
}

}  // namespace

void setEnvironment(const std::string& name, const char* value) {
  ::SetEnvironmentVariableW(wide(name).c_str(), value == nullptr ? nullptr : wide(value).c_str());
}

std::pair<std::string, std::string> settingsVariable(const Path& folder) {
  std::wstring name = folder.native();
  for (wchar_t& c : name)
    if (c == L'\\') c = L'/';
  return {"VEMKO_SETTINGS_KEY", Path(keyOfProcess() + L"\\" + name).string()};
}

bool makePipe(const Path&) { return false; }

FileSizeLimit::FileSizeLimit(std::uint64_t) {}
FileSizeLimit::~FileSizeLimit() = default;

ProcessId startProcess(const Path& program, const std::vector<std::string>& arguments,
                       const RunOptions& options) {
  std::wstring line = quoted(program.native());
  for (const std::string& argument : arguments) line += L" " + quoted(wide(argument));
  const auto [variable, settings] = settingsVariable(options.folder / ".config");
  setEnvironment(variable, settings.c_str());
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
  start.hStdOutput = createInheritable(options.folder / ".out");
  start.hStdError = createInheritable(options.folder / ".err");
  PROCESS_INFORMATION started{};
  bool ok = false;
  // A busy Wine that has just lost a process now and then fails to start the next one.
  for (int attempt = 0; attempt < 5 && !ok; ++attempt) {
    if (attempt > 0) ::Sleep(200);
    ok = ::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                          options.folder.c_str(), &start, &started);
    if (!ok && ::GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  ::CloseHandle(start.hStdOutput);
  ::CloseHandle(start.hStdError);
  setEnvironment(variable, nullptr);
  EXPECT_TRUE(ok) << program << ": error " << ::GetLastError();
  if (ok) ::CloseHandle(started.hThread);
  return reinterpret_cast<ProcessId>(started.hProcess);
}

int waitForProcess(ProcessId process) {
  const HANDLE handle = reinterpret_cast<HANDLE>(process);
  DWORD status = 127;
  ::WaitForSingleObject(handle, INFINITE);
  ::GetExitCodeProcess(handle, &status);
  ::CloseHandle(handle);
  return static_cast<int>(status);
}

void killProcess(ProcessId process) {
  ::TerminateProcess(reinterpret_cast<HANDLE>(process), static_cast<UINT>(-1));
}

}  // namespace vemko::test
