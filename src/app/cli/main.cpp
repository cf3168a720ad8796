#include <cstdlib>
#include <exception>
#include <new>

#include "app/cli/commands.h"
#include "app/cli/output.h"
#include "platform/environment.h"
#include "platform/interruption.h"
#include "platform/process.h"

namespace vemko::cli {
namespace {

// Opening and saving recover from running short of memory: the file at hand fails. Where nothing can be given
// up the program ends with these words, wherever in it that is.
[[noreturn]] void endWithoutMemory() {
  std::fputs("Out of memory - Vemko Studio will terminate\n", stderr);
  std::_Exit(kSomeFailed);
}

[[noreturn]] void endUncaught() {
  try {
    if (std::current_exception()) std::rethrow_exception(std::current_exception());
  } catch (const std::bad_alloc&) {
    endWithoutMemory();
  } catch (...) {
  }
  std::abort();
}

// What only reads has nothing to take back: it ends at once.
bool writesFiles(Command command) {
  return command == Command::Convert || command == Command::ConvertWorker || command == Command::Process ||
         command == Command::ProcessWorker;
}

int run(const Arguments& arguments) {
  switch (arguments.command) {
    case Command::Finished:
      return arguments.status;
    case Command::Formats:
      return runFormats(arguments.formats);
    case Command::Detect:
      return runDetect(arguments.detect);
    case Command::Info:
      return runInfo(arguments.info);
    case Command::Compare:
      return runCompare(arguments.compare);
    case Command::Convert:
      return runConvert(arguments.convert, arguments.workerArguments);
    case Command::ConvertWorker:
      return runConvertWorker(arguments.convert);
    case Command::Process:
      return runProcess(arguments.process);
    case Command::ProcessWorker:
      return runProcessWorker(arguments.process);
    case Command::Config:
      return runConfig(arguments.config);
  }
  return kUsage;
}

}  // namespace
}  // namespace vemko::cli

int main(int count, char** values) {
  using namespace vemko::cli;
  vemko::prepareProcess();
  std::set_terminate(endUncaught);
  try {
    const Arguments arguments = parseArguments(vemko::programArguments(count, values));
    if (writesFiles(arguments.command)) vemko::noteInterruptions();
    const int status = run(arguments);
    vemko::endIfInterrupted();
    return finishOutput() || status != kDone ? status : kSomeFailed;
  } catch (const std::bad_alloc&) {
    endWithoutMemory();
  }
}
