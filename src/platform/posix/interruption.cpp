#include "platform/interruption.h"

#include <csignal>
#include <initializer_list>

namespace vemko {
namespace {

volatile std::sig_atomic_t received = 0;

void note(int signal) { received = signal; }

}  // namespace

void noteInterruptions() {
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before = {}, action = {};
    // What the caller has switched off stays so, as under nohup.
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
}

bool isInterrupted() { return received != 0; }

void endIfInterrupted() {
  if (received == 0) return;
  ::signal(received, SIG_DFL);
  ::raise(received);
}

}  // namespace vemko
