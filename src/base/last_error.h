#pragma once
// The program's one last error message. A routine that fails says why with `return fail(u"...")`; its callers
// pass the false upwards untouched, and whoever talks to the user shows the text. Worker threads have a
// message of their own, which parallelFor hands to the thread that waits for them.
#include <string>
#include <string_view>

namespace vemko {

inline constexpr std::u16string_view kOutOfMemory = u"Out of memory";

/// Sets the last error message and returns false. Never throws: without the memory for another message it is
/// "Out of memory".
bool fail(std::u16string_view message);

void setLastError(std::u16string_view message);
const std::u16string& lastError();

/// Keeps the message through a clean-up that could set another one; there is none in the meantime.
class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept;
  ~LastErrorKeeper();
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  std::u16string message_;
  bool isOutOfMemory_;
};

}  // namespace vemko
