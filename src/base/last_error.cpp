#include "base/last_error.h"

namespace vemko {
namespace {
thread_local std::u16string message;
}

bool fail(std::u16string_view text) {
  message = text;
  return false;
}

void setLastError(std::u16string_view text) { message = text; }
const std::u16string& lastError() { return message; }

}  // namespace vemko
