#include "platform/interruption.h"

#include <atomic>

#include "platform/windows/system.h"

namespace vemko {
namespace {

std::atomic<bool> interrupted{false};

// Runs in a thread of its own; true means that the request is taken care of.
BOOL WINAPI note(DWORD event) {
  return (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) && !interrupted.exchange(true);
}

}  // namespace

void noteInterruptions() { ::SetConsoleCtrlHandler(note, TRUE); }

bool isInterrupted() { return interrupted; }

void endIfInterrupted() {
  if (interrupted) ::ExitProcess(STATUS_CONTROL_C_EXIT);
}

}  // namespace vemko
