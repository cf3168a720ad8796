#pragma once
#include <cstddef>
#include <functional>

namespace vemko {

/// At least 1.
std::size_t processorCount();

/// Calls work(i) for every i below `count`, on as many threads as there are processors, each index once and
/// in no fixed order. Stops handing out indexes after a call that returned false, and then returns false with
/// that call's last error message set in the calling thread. Running out of memory in `work` throws
/// std::bad_alloc here; `work` must throw nothing else. Fewer threads than wanted do the same work.
bool parallelFor(std::size_t count, const std::function<bool(std::size_t index)>& work);

}  // namespace vemko
