#include "platform/terminal.h"

#include <cstdio>
#include <io.h>

namespace vemko {

bool isErrorTerminal() { return ::_isatty(::_fileno(stderr)) != 0; }

}  // namespace vemko
