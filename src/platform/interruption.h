#pragma once

namespace vemko {

/// From now on the first request to end the program (Ctrl-C, a signal that means as much) is noted instead of
/// obeyed: writing to files fails with "Interrupted", so that what is half written goes and an old file comes
/// back. The second request ends the program at once.
void noteInterruptions();

bool isInterrupted();

/// Ends the program as the request would have done, if there was one.
void endIfInterrupted();

}  // namespace vemko
