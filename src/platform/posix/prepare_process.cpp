#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "platform/process.h"

namespace vemko {

void prepareProcess() {
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
  int fd = ::open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO) fd = ::dup(fd);
  if (fd > STDERR_FILENO) ::close(fd);
}

}  // namespace vemko
