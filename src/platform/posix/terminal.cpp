#include "platform/terminal.h"

#include <unistd.h>

namespace vemko {

bool isErrorTerminal() { return ::isatty(STDERR_FILENO) == 1; }

}  // namespace vemko
