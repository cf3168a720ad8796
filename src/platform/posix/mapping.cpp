#include "platform/posix/mapping.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>

namespace vemko::posix {

// What the signal's handler, in whatever thread it interrupts, may look at: a list that only grows, whose
// entries are used again.
struct Mapping::Guard {
  std::atomic<std::uintptr_t> start = 0;  // 0: nobody's
  std::atomic<std::size_t> bytes = 0;     // whole pages
  std::atomic<bool> isTaken = true;
  std::atomic<bool> isBroken = false;
  Guard* next = nullptr;
};

namespace {

std::atomic<Mapping::Guard*> guards = nullptr;
struct sigaction before;
const auto pageBytes = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));

Mapping::Guard* guardOf(std::uintptr_t address) {
  for (Mapping::Guard* guard = guards; guard; guard = guard->next) {
    const std::uintptr_t start = guard->start;
    if (start != 0 && address >= start && address - start < guard->bytes) return guard;
  }
  return nullptr;
}

// The rest of the view becomes zeros, so that a reader on its way to the end is interrupted once only.
bool showZeros(Mapping::Guard& guard, std::uintptr_t address) {
  const std::uintptr_t page = address - address % pageBytes;
  const std::size_t rest = guard.bytes - (page - guard.start);
  auto* const at =
      reinterpret_cast<void*>(page);  // NOLINT(performance-no-int-to-ptr): the address of a fault
  void* mapped = ::mmap(at, rest, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0);
  return mapped != MAP_FAILED;
}

void onBusError(int, siginfo_t* info, void*) {
  const int error = errno;
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  Mapping::Guard* guard = guardOf(address);
  if (guard && showZeros(*guard, address))
    guard->isBroken = true;
  else
    ::sigaction(SIGBUS, &before, nullptr);  // not ours: it happens again and takes its usual course
  errno = error;
}

bool installHandler() {
  struct sigaction action = {};
  action.sa_sigaction = onBusError;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  ::sigemptyset(&action.sa_mask);
  return ::sigaction(SIGBUS, &action, &before) == 0;
}

Mapping::Guard* takeGuard() {
  for (Mapping::Guard* guard = guards; guard; guard = guard->next)
    if (!guard->isTaken.exchange(true)) return guard;
  auto* fresh = new Mapping::Guard;
  fresh->next = guards;
  while (!guards.compare_exchange_weak(fresh->next, fresh)) continue;
  return fresh;
}

}  // namespace

bool Mapping::map(int fd, std::size_t bytes) {
  [[maybe_unused]] static const bool isInstalled = installHandler();
  guard_ = takeGuard();
  void* mapped = ::mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE, fd, 0);
  if (mapped == MAP_FAILED) return false;
  start_ = mapped;
  bytes_ = bytes;
  guard_->isBroken = false;
  guard_->bytes = (bytes + pageBytes - 1) / pageBytes * pageBytes;
  guard_->start = reinterpret_cast<std::uintptr_t>(mapped);
  return true;
}

bool Mapping::isIntact() const { return !guard_ || !guard_->isBroken; }

Mapping::~Mapping() {
  if (!guard_) return;
  guard_->start = 0;
  if (start_) ::munmap(start_, bytes_);
  guard_->isTaken = false;
}

}  // namespace vemko::posix
