#pragma once

namespace vemko {

/// Whether standard error goes to a person's terminal rather than to a file or pipe.
bool isErrorTerminal();

}  // namespace vemko
