// A thread for each child reads its output: pipes of this kind cannot be waited for otherwise, and the system
// waits for a few dozen things at once only.
#include "platform/process.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/last_error.h"
#include "base/text.h"
#include "platform/environment.h"
#include "platform/line_buffer.h"
#include "platform/windows/system.h"

namespace vemko {
namespace {

using windows::Handle;

// What the system gives a program that Ctrl+C ends; crashes have codes from 0xC0000000 on, too.
constexpr DWORD kKilled = 0xC000013A, kFirstCrash = 0xC0000000;

// For all children, so that one wait can cover several.
struct Arrivals {
  std::mutex guard;
  std::condition_variable changed;
};

Arrivals& arrivals() {
  static Arrivals all;
  return all;
}

}  // namespace

struct ChildProcess::System {
  Handle process;
  Handle input;   // The child's standard input, to write to.
  Handle output;  // Its standard output, read by the thread.
  std::thread reader;
  // Under the guard.
  LineBuffer arrived;
  bool atEnd = false;

  ~System() {
    input.reset();
    if (reader.joinable()) reader.join();
    if (process) ::WaitForSingleObject(process.get(), INFINITE);
  }

  void read() {
    std::array<char, 1 << 16> block;
    for (;;) {
      DWORD count = 0;
      const bool ok = ::ReadFile(output.get(), block.data(), block.size(), &count, nullptr) && count > 0;
      {
        std::lock_guard lock(arrivals().guard);
        arrived.append({block.data(), ok ? count : 0});
        atEnd = !ok;
      }
      arrivals().changed.notify_all();
      if (!ok) return;
    }
  }
};

namespace {

// Of the two ends only one is for the child; that one is inheritable, by whom is told when it starts.
struct Pipe {
  Handle reading, writing;

  bool open(bool childReads) {
    HANDLE from = nullptr, to = nullptr;
    if (!::CreatePipe(&from, &to, nullptr, 0)) return false;
    reading.reset(from);
    writing.reset(to);
    return ::SetHandleInformation((childReads ? reading : writing).get(), HANDLE_FLAG_INHERIT,
                                  HANDLE_FLAG_INHERIT) != 0;
  }
};

Handle inheritableError() {
  const HANDLE own = ::GetStdHandle(STD_ERROR_HANDLE), self = ::GetCurrentProcess();
  HANDLE copy = nullptr;
  if (own == nullptr || own == INVALID_HANDLE_VALUE ||
      !::DuplicateHandle(self, own, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS))
    return {};
  return Handle(copy);
}

// As the system's own function takes a command line apart: backslashes count only before a quote.
void appendQuoted(std::wstring& line, std::wstring_view word) {
  if (!line.empty()) line += L' ';
  if (!word.empty() && word.find_first_of(L" \t\n\v\"") == word.npos) {
    line += word;
    return;
  }
  line += L'"';
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') line.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    line += c;
  }
  line.append(backslashes, L'\\');
  line += L'"';
}

// The handles that the child inherits: these and no others, whatever else is started at the same time.
class Inherited {
 public:
  explicit Inherited(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
    std::erase(handles_, nullptr);
    SIZE_T bytes = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &bytes);
    memory_.resize(bytes);
    ok_ = ::InitializeProcThreadAttributeList(list(), 1, 0, &bytes) != 0;
    ok_ = ok_ && ::UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                             handles_.size() * sizeof(HANDLE), nullptr, nullptr);
  }
  ~Inherited() {
    if (ok_) ::DeleteProcThreadAttributeList(list());
  }
  Inherited(const Inherited&) = delete;
  Inherited& operator=(const Inherited&) = delete;

  bool ok() const { return ok_; }
  LPPROC_THREAD_ATTRIBUTE_LIST list() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
  }

 private:
  std::vector<HANDLE> handles_;
  std::vector<std::byte> memory_;
  bool ok_ = false;
};

Handle spawn(const Path& program, const std::vector<std::string>& arguments, const Path& folder, HANDLE input,
             HANDLE output) {
  std::wstring line;
  appendQuoted(line, program.native());
  for (const std::string& argument : arguments) appendQuoted(line, windows::wide(toUtf16(argument)));
  const Handle error = inheritableError();
  Inherited inherited({input, output, error.get()});
  if (!inherited.ok()) return {};
  STARTUPINFOEXW start{};
  start.StartupInfo.cb = sizeof start;
  start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  start.StartupInfo.hStdInput = input;
  start.StartupInfo.hStdOutput = output;
  start.StartupInfo.hStdError = error.get();
  start.lpAttributeList = inherited.list();
  // Without a console of ours the child would open one.
  const DWORD flags =
      EXTENDED_STARTUPINFO_PRESENT | (::GetConsoleWindow() == nullptr ? DWORD{CREATE_NO_WINDOW} : 0);
  // A child that crashes ends; it does not ask anybody what to do about it. Children take this over.
  const UINT errorMode = ::GetErrorMode();
  ::SetErrorMode(errorMode | SEM_NOGPFAULTERRORBOX);
  PROCESS_INFORMATION started{};
  const bool ok =
      ::CreateProcessW(windows::systemName(program).c_str(), line.data(), nullptr, nullptr, TRUE, flags,
                       nullptr, folder.empty() ? nullptr : folder.c_str(), &start.StartupInfo, &started);
  ::SetErrorMode(errorMode);
  if (!ok) return {};
  ::CloseHandle(started.hThread);
  return Handle(started.hProcess);
}

}  // namespace

std::optional<Path> findProgram(std::string_view name) {
  const std::u16string folders = toUtf16(environmentValue("PATH").value_or(""));
  for (std::u16string_view rest = folders; !rest.empty();) {
    const std::u16string_view folder = rest.substr(0, rest.find(u';'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    Path path = pathOf(folder) / pathOf(toUtf16(name));
    path += ".exe";
    if (path.is_absolute() && fileSize(path)) return path;
  }
  return std::nullopt;
}

ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() = default;
ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;
ChildProcess& ChildProcess::operator=(ChildProcess&&) noexcept = default;

bool ChildProcess::start(const Path& program, const std::vector<std::string>& arguments, const Path& folder) {
  system_.reset();
  Pipe input, output;
  Handle process;
  if (input.open(true) && output.open(false))
    process = spawn(program, arguments, folder, input.reading.get(), output.writing.get());
  if (!process) {
    windows::logSystemError(program, ::GetLastError());
    return fail(u"Could not start program");
  }
  system_ = std::make_unique<System>();
  system_->process = std::move(process);
  system_->input = std::move(input.writing);
  system_->output = std::move(output.reading);
  output.writing.reset();
  system_->reader = std::thread(&System::read, system_.get());
  return true;
}

bool ChildProcess::running() const {
  return system_ && ::WaitForSingleObject(system_->process.get(), 0) == WAIT_TIMEOUT;
}

bool ChildProcess::writeLine(std::string_view line) {
  if (!system_ || !system_->input) return false;
  std::string text(line);
  text += '\n';
  for (std::string_view rest = text; !rest.empty();) {
    DWORD done = 0;
    if (!::WriteFile(system_->input.get(), rest.data(), static_cast<DWORD>(rest.size()), &done, nullptr) ||
        done == 0)
      return false;
    rest.remove_prefix(done);
  }
  return true;
}

std::optional<std::string> ChildProcess::readLine() {
  if (!system_) return std::nullopt;
  std::unique_lock lock(arrivals().guard);
  arrivals().changed.wait(lock, [this] { return system_->arrived.hasLine() || system_->atEnd; });
  return system_->arrived.takeLine();
}

int ChildProcess::finish() {
  if (!system_) return -1;
  system_->input.reset();
  if (system_->reader.joinable()) system_->reader.join();
  system_->arrived.clear();
  ::WaitForSingleObject(system_->process.get(), INFINITE);
  DWORD status = kKilled;
  ::GetExitCodeProcess(system_->process.get(), &status);
  return status >= kFirstCrash ? -1 : static_cast<int>(status);
}

void ChildProcess::kill() {
  if (running()) ::TerminateProcess(system_->process.get(), kKilled);
}

std::size_t ChildProcess::waitForAny(const std::vector<ChildProcess*>& children) {
  std::size_t first = 0;
  auto isReady = [&] {
    for (first = 0; first < children.size(); ++first) {
      System* system = children[first]->system_.get();
      if (system == nullptr || system->atEnd || system->arrived.hasLine()) return true;
    }
    first = 0;
    return children.empty();
  };
  std::unique_lock lock(arrivals().guard);
  arrivals().changed.wait(lock, isReady);
  return first;
}

}  // namespace vemko
