#include "base/last_error.h"

#include <new>
#include <utility>

namespace vemko {
namespace {

thread_local std::u16string message;
thread_local bool isOutOfMemory = false;

const std::u16string& outOfMemory() {
  static const std::u16string text(kOutOfMemory);
  return text;
}
[[maybe_unused]] const std::u16string& madeAtStart = outOfMemory();

}  // namespace

bool fail(std::u16string_view text) {
  setLastError(text);
  return false;
}

void setLastError(std::u16string_view text) {
  isOutOfMemory = text == kOutOfMemory;
  if (isOutOfMemory) return;
  try {
    message = text;
  } catch (const std::bad_alloc&) {
    isOutOfMemory = true;
  }
}

const std::u16string& lastError() { return isOutOfMemory ? outOfMemory() : message; }

LastErrorKeeper::LastErrorKeeper() noexcept
    : message_(std::move(message)), isOutOfMemory_(std::exchange(isOutOfMemory, false)) {
  message.clear();
}

LastErrorKeeper::~LastErrorKeeper() {
  message = std::move(message_);
  isOutOfMemory = isOutOfMemory_;
}

}  // namespace vemko
