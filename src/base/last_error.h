#pragma once
// The program's one last error message. A routine that fails says why with `return fail(u"...")`; its callers
// pass the false upwards untouched, and whoever talks to the user shows the text. Worker threads have a
// message of their own, which parallelFor hands to the thread that waits for them.
#include <string>
#include <string_view>

namespace vemko {

/// Sets the last error message and returns false.
bool fail(std::u16string_view message);

void setLastError(std::u16string_view message);
const std::u16string& lastError();

}  // namespace vemko
