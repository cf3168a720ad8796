#pragma once
#include <functional>
#include <span>

#include "app/cli/worker_protocol.h"

namespace vemko::cli {

/// The number of processes that --jobs asks for: 0 is one a processor, and so is leaving it to us where many
/// `tasks` that do not know of each other are to be done.
std::size_t jobCount(int jobs, std::size_t tasks, bool independent);

using RunTask = std::function<TaskReport(const app::BatchTask&)>;
/// Called as tasks end, in any order.
using TaskDone = std::function<void(std::size_t index, TaskReport report)>;

/// Runs the tasks on that many processes of this program. A process that dies fails the task it was at and is
/// replaced. Where no process can be started the tasks run here. Returns early when the program is to end.
void runOnWorkers(std::span<const app::BatchTask> tasks, std::size_t jobs,
                  const std::vector<std::string>& workerArguments, const RunTask& runHere,
                  const TaskDone& done);

}  // namespace vemko::cli
