#include "base/parallel_for.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "base/last_error.h"

namespace vemko {

std::size_t processorCount() {
  static const std::size_t count = std::max(1u, std::thread::hardware_concurrency());
  return count;
}

bool parallelFor(std::size_t count, const std::function<bool(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false}, outOfMemory{false};
  std::mutex guard;
  std::u16string message;
  auto tryOne = [&](std::size_t i) {
    if (work(i)) return;
    std::lock_guard lock(guard);
    if (!failed) message = lastError();
    failed = true;
  };
  auto run = [&] {
    for (std::size_t i; !failed && (i = next++) < count;) {
      try {
        tryOne(i);
      } catch (const std::bad_alloc&) {
        failed = outOfMemory = true;
      } catch (const std::length_error&) {
        failed = outOfMemory = true;
      }
    }
  };
  const std::size_t helpers = std::min(count, processorCount());
  std::vector<std::jthread> threads;
  // Where the system gives no more threads, or no memory for them, those that are there do all.
  try {
    for (std::size_t i = 1; i < helpers; ++i) threads.emplace_back(run);
  } catch (const std::system_error&) {
  } catch (const std::bad_alloc&) {
  }
  run();
  threads.clear();  // joins
  if (outOfMemory) throw std::bad_alloc();
  return !failed || fail(message);
}

}  // namespace vemko
