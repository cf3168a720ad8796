#include "platform/process.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/last_error.h"
#include "platform/line_buffer.h"
#include "platform/posix/descriptor.h"

extern char** environ;

namespace vemko {

struct ChildProcess::System {
  pid_t pid = -1;
  posix::Descriptor input;   // The child's standard input, to write to.
  posix::Descriptor output;  // Its standard output, to read from; closed at the end.
  LineBuffer arrived;
  bool ended = false;
  int status = -1;

  ~System() {
    input.reset();
    output.reset();
    wait(0);
  }

  void wait(int flags) {
    if (ended) return;
    int raw = 0;
    const pid_t found = posix::retried([&] { return ::waitpid(pid, &raw, flags); });
    if (found == 0) return;
    ended = true;
    status = found == pid && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  }

  // Waits for output when there is none; false at its end.
  bool readMore() {
    std::array<char, 1 << 16> block;
    const ssize_t count = posix::retried([&] { return ::read(output.get(), block.data(), block.size()); });
    if (count > 0) arrived.append({block.data(), static_cast<std::size_t>(count)});
    if (count <= 0) output.reset();
    return count > 0;
  }
};

namespace {

struct Pipe {
  posix::Descriptor reading, writing;

  bool open() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    reading.reset(ends[0]);
    writing.reset(ends[1]);
    return true;
  }
};

// What the child inherits beyond its three streams: nothing, signals as in a fresh program.
pid_t spawn(const Path& program, const std::vector<std::string>& arguments, const Path& folder, int input,
            int output) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  sigset_t none, defaults;
  ::sigemptyset(&none);
  ::sigemptyset(&defaults);
  ::sigaddset(&defaults, SIGPIPE);
  ::sigaddset(&defaults, SIGXFSZ);
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  if (!folder.empty()) ::posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  errno = error;
  return error == 0 ? pid : -1;
}

}  // namespace

std::optional<Path> findProgram(std::string_view name) {
  const char* folders = std::getenv("PATH");
  std::string_view rest = folders ? folders : "/usr/local/bin:/usr/bin:/bin";
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    const Path path = Path(folder) / name;
    std::error_code ignored;
    if (path.is_absolute() && std::filesystem::is_regular_file(path, ignored) &&
        ::access(path.c_str(), X_OK) == 0)
      return path;
  }
  return std::nullopt;
}

ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() = default;
ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;
ChildProcess& ChildProcess::operator=(ChildProcess&&) noexcept = default;

bool ChildProcess::start(const Path& program, const std::vector<std::string>& arguments, const Path& folder) {
  system_.reset();
  ::signal(SIGPIPE, SIG_IGN);
  Pipe input, output;
  pid_t pid = -1;
  if (input.open() && output.open())
    pid = spawn(program, arguments, folder, input.reading.get(), output.writing.get());
  if (pid < 0) {
    posix::logSystemError(program, errno);
    return fail(u"Could not start program");
  }
  system_ = std::make_unique<System>();
  system_->pid = pid;
  system_->input = std::move(input.writing);
  system_->output = std::move(output.reading);
  return true;
}

bool ChildProcess::running() const {
  if (system_) system_->wait(WNOHANG);
  return system_ && !system_->ended;
}

bool ChildProcess::writeLine(std::string_view line) {
  if (!system_ || !system_->input) return false;
  std::string text(line);
  text += '\n';
  for (std::string_view rest = text; !rest.empty();) {
    const ssize_t done =
        posix::retried([&] { return ::write(system_->input.get(), rest.data(), rest.size()); });
    if (done <= 0) return false;
    rest.remove_prefix(static_cast<std::size_t>(done));
  }
  return true;
}

std::optional<std::string> ChildProcess::readLine() {
  if (!system_) return std::nullopt;
  while (!system_->arrived.hasLine() && system_->output && system_->readMore()) {
  }
  return system_->arrived.takeLine();
}

int ChildProcess::finish() {
  if (!system_) return -1;
  system_->input.reset();
  while (system_->output && system_->readMore()) system_->arrived.clear();
  system_->arrived.clear();
  system_->wait(0);
  return system_->status;
}

void ChildProcess::kill() {
  if (running()) ::kill(system_->pid, SIGKILL);
}

std::size_t ChildProcess::waitForAny(const std::vector<ChildProcess*>& children) {
  std::vector<pollfd> polled(children.size());
  while (!children.empty()) {
    for (std::size_t i = 0; i < children.size(); ++i) {
      System* system = children[i]->system_.get();
      if (system == nullptr || !system->output || system->arrived.hasLine()) return i;
      polled[i] = {system->output.get(), POLLIN, 0};
    }
    if (posix::retried([&] { return ::poll(polled.data(), polled.size(), -1); }) < 0) break;
    for (std::size_t i = 0; i < children.size(); ++i)
      if (polled[i].revents != 0) children[i]->system_->readMore();
  }
  return 0;
}

}  // namespace vemko
