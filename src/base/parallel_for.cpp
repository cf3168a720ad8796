#include "base/parallel_for.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
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
  std::atomic<bool> failed{false};
  std::mutex guard;
  std::u16string message;
  auto run = [&] {
    for (std::size_t i; !failed && (i = next++) < count;) {
      if (work(i)) continue;
      std::lock_guard lock(guard);
      if (!failed.exchange(true)) message = lastError();
    }
  };
  const std::size_t helpers = std::min(count, processorCount());
  std::vector<std::jthread> threads;
  for (std::size_t i = 1; i < helpers; ++i) threads.emplace_back(run);
  run();
  threads.clear();  // joins
  return !failed || fail(message);
}

}  // namespace vemko
