#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/process.h"

namespace vemko {
namespace {

UINT consoleCodePageBefore = 0;

void restoreConsole() { ::SetConsoleOutputCP(consoleCodePageBefore); }

}  // namespace

// What the program writes is UTF-8 with plain line ends, into files, pipes and the console.
void prepareProcess() {
  for (std::FILE* stream : {stdin, stdout, stderr}) ::_setmode(::_fileno(stream), _O_BINARY);
  consoleCodePageBefore = ::GetConsoleOutputCP();
  if (consoleCodePageBefore != 0 && consoleCodePageBefore != CP_UTF8 && ::SetConsoleOutputCP(CP_UTF8))
    std::atexit(restoreConsole);
  // Errors are reported, not asked about, and libraries are not taken from a folder of somebody's files.
  ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  ::SetDllDirectoryW(L"");
}

}  // namespace vemko
