// Loaded before the C library into the program under test (LD_PRELOAD), it lets one call of the system fail.
// In the environment:
//   VEMKO_FAULT  "KIND N": the N-th call of that kind fails, counted from 1, those after it succeed. Kinds:
//                  open, read, map, write, short (a write takes half of the bytes, and the next one fails),
//                  sync, close, rename, unlink, allocate; shrink: before the N-th read or mapping the file
//                  loses its second half.
//   VEMKO_FIRED  a file that is created when it has happened.
// Only files below the current folder count, hidden ones left out, and allocations from the first of them on.
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kMaxDescriptors = 1024;
std::atomic<bool> watched[kMaxDescriptors];
std::atomic<bool> isCounting = false;
std::atomic<long> calls = 0;

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool isKind(const char* kind) {
  static const char* wanted = std::getenv("VEMKO_FAULT");
  const std::size_t length = std::strlen(kind);
  return wanted && std::strncmp(wanted, kind, length) == 0 && wanted[length] == ' ';
}

// The call is the one to fail.
bool strikes(const char* kind) {
  if (!isKind(kind)) return false;
  static const long wanted = std::atol(std::strchr(std::getenv("VEMKO_FAULT"), ' '));
  if (++calls != wanted) return false;
  const int fd =
      static_cast<int>(::syscall(SYS_openat, AT_FDCWD, std::getenv("VEMKO_FIRED"), O_CREAT | O_WRONLY, 0600));
  ::syscall(SYS_close, fd);
  return true;
}

bool isWatched(int fd) { return fd >= 0 && fd < kMaxDescriptors && watched[fd]; }

// Below the current folder, hidden ones left out.
bool isWatched(const char* path) {
  static char folder[PATH_MAX] = "";
  static const std::size_t length = ::getcwd(folder, sizeof folder) ? std::strlen(folder) : 0;
  if (path[0] != '/') return path[0] != '.';
  return std::strncmp(path, folder, length) == 0 && path[length] == '/' && path[length + 1] != '.';
}

int refuse(int error) {
  errno = error;
  return -1;
}

void maybeShrink(int fd) {
  struct stat status;
  if (!strikes("shrink") || ::fstat(fd, &status) != 0) return;
  char link[64];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  if (::truncate(link, status.st_size / 2) != 0) std::abort();
}

// 0: as asked, else the number of bytes to write, or -1 for the failure.
ssize_t writable(int fd, std::size_t count) {
  static std::atomic<bool> failsNext = false;
  if (!isWatched(fd)) return 0;
  if (failsNext.exchange(false) || strikes("write")) return refuse(ENOSPC);
  if (count < 2 || !strikes("short")) return 0;
  failsNext = true;
  return static_cast<ssize_t>(count / 2);
}

void* allocate(std::size_t bytes, std::size_t alignment) {
  if (isCounting && strikes("allocate")) return nullptr;
  if (alignment <= alignof(std::max_align_t)) return std::malloc(bytes > 0 ? bytes : 1);
  return std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t bytes, std::size_t alignment) {
  if (void* memory = allocate(bytes, alignment)) return memory;
  throw std::bad_alloc();
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (isWatched(path) && strikes("open")) return refuse(EACCES);
  const int fd = next<int(const char*, int, ...)>("open")(path, flags, mode);
  if (fd >= 0 && fd < kMaxDescriptors) watched[fd] = isWatched(path);
  if (isWatched(fd)) isCounting = true;
  return fd;
}

int close(int fd) {
  const bool fails = isWatched(fd) && strikes("close");
  if (fd >= 0 && fd < kMaxDescriptors) watched[fd] = false;
  const int result = next<int(int)>("close")(fd);
  return fails ? refuse(EIO) : result;
}

ssize_t write(int fd, const void* data, std::size_t count) {
  const ssize_t part = writable(fd, count);
  return part < 0 ? -1
                  : next<ssize_t(int, const void*, std::size_t)>("write")(
                        fd, data, part > 0 ? static_cast<std::size_t>(part) : count);
}

ssize_t pwrite(int fd, const void* data, std::size_t count, off_t at) {
  const ssize_t part = writable(fd, count);
  return part < 0 ? -1
                  : next<ssize_t(int, const void*, std::size_t, off_t)>("pwrite")(
                        fd, data, part > 0 ? static_cast<std::size_t>(part) : count, at);
}

ssize_t sendfile(int to, int from, off_t* at, std::size_t count) {
  const ssize_t part = writable(to, count);
  return part < 0 ? -1
                  : next<ssize_t(int, int, off_t*, std::size_t)>("sendfile")(
                        to, from, at, part > 0 ? static_cast<std::size_t>(part) : count);
}

ssize_t pread(int fd, void* data, std::size_t count, off_t at) {
  if (isWatched(fd)) maybeShrink(fd);
  if (isWatched(fd) && strikes("read")) return refuse(EIO);
  return next<ssize_t(int, void*, std::size_t, off_t)>("pread")(fd, data, count, at);
}

void* mmap(void* at, std::size_t count, int protection, int flags, int fd, off_t offset) {
  if (isWatched(fd) && strikes("map")) return errno = ENOMEM, MAP_FAILED;
  void* mapped = reinterpret_cast<void*>(::syscall(SYS_mmap, at, count, protection, flags, fd, offset));
  if (isWatched(fd)) maybeShrink(fd);
  return mapped;
}

int fsync(int fd) {
  if (isWatched(fd) && strikes("sync")) return refuse(EIO);
  return next<int(int)>("fsync")(fd);
}

int rename(const char* from, const char* to) {
  if (isWatched(from) && strikes("rename")) return refuse(EACCES);
  return next<int(const char*, const char*)>("rename")(from, to);
}

int unlink(const char* path) {
  if (isWatched(path) && strikes("unlink")) return refuse(EACCES);
  return next<int(const char*)>("unlink")(path);
}

}  // extern "C"

void* operator new(std::size_t bytes) { return allocateOrThrow(bytes, 1); }
void* operator new[](std::size_t bytes) { return allocateOrThrow(bytes, 1); }
void* operator new(std::size_t bytes, std::align_val_t a) {
  return allocateOrThrow(bytes, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t bytes, std::align_val_t a) {
  return allocateOrThrow(bytes, static_cast<std::size_t>(a));
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes, 1); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes, 1); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
