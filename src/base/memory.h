#pragma once
// Running out of memory fails the work at hand, not the program.
#include <new>
#include <stdexcept>

#include "base/last_error.h"

namespace vemko {

/// Calls `work`, which returns whether it succeeded. When more memory is asked for than there is, or than a
/// container can ever hold, fails with "Out of memory".
template <class Work>
bool withinMemory(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return fail(kOutOfMemory);
  } catch (const std::length_error&) {
    return fail(kOutOfMemory);
  }
}

}  // namespace vemko
