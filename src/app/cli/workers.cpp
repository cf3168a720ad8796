#include "app/cli/workers.h"

#include <algorithm>
#include <deque>

#include "app/cli/arguments.h"
#include "base/parallel_for.h"
#include "platform/interruption.h"
#include "platform/process.h"

namespace vemko::cli {
namespace {

// A worker gets tasks ahead, so that it need not wait for the next one: few when few are left, that no other
// worker runs dry, and so little text that it always fits the pipe.
constexpr std::size_t kMostAhead = 16, kMostBytesAhead = 4096;

// Fewer are done before the workers have started.
constexpr std::size_t kManyTasks = 16;

struct Worker {
  ChildProcess process;
  bool started = false;
  std::deque<std::size_t> tasks;  // handed over, in order
  std::size_t bytesAhead = 0;
};

class Pool {
 public:
  Pool(std::span<const app::BatchTask> tasks, std::size_t jobs, const std::vector<std::string>& arguments,
       const TaskDone& done)
      : tasks_(tasks), arguments_(arguments), done_(done), workers_(jobs) {
    for (std::size_t i = 0; i < tasks.size(); ++i) waiting_.push_back(i);
  }

  /// Until every task is done, no worker can be started, or the program is to end; the tasks that are to be
  /// done here then. Workers end what they are at when they see that nobody listens any more.
  std::deque<std::size_t> run() {
    while (!isInterrupted() && feedAll()) receiveOne();
    return isInterrupted() ? std::deque<std::size_t>() : waiting_;
  }

 private:
  // False when no worker is at work then.
  bool feedAll() {
    bool working = false;
    for (Worker& worker : workers_) {
      while (!waiting_.empty() && hasRoom(worker) && ensureStarted(worker)) feed(worker);
      working = working || !worker.tasks.empty();
    }
    return working;
  }

  bool hasRoom(const Worker& worker) const {
    const std::size_t share = waiting_.size() / (4 * workers_.size());
    return worker.tasks.empty() ||
           (worker.tasks.size() < std::min(kMostAhead, share) && worker.bytesAhead < kMostBytesAhead);
  }

  bool ensureStarted(Worker& worker) {
    if (!worker.started) {
      worker.process = ChildProcess();
      worker.started = worker.process.start(programPath(), arguments_);
    }
    return worker.started;
  }

  void feed(Worker& worker) {
    const std::string line = taskLine(tasks_[waiting_.front()]);
    worker.tasks.push_back(waiting_.front());
    waiting_.pop_front();
    worker.bytesAhead += line.size();
    if (!worker.process.writeLine(line)) bury(worker);
  }

  void receiveOne() {
    std::vector<ChildProcess*> processes;
    std::vector<Worker*> working;
    for (Worker& worker : workers_) {
      if (worker.tasks.empty()) continue;
      processes.push_back(&worker.process);
      working.push_back(&worker);
    }
    Worker& worker = *working[ChildProcess::waitForAny(processes)];
    const std::optional<std::string> line = worker.process.readLine();
    std::optional<TaskReport> report = line ? parseReportLine(*line) : std::nullopt;
    if (!report) return isInterrupted() ? worker.tasks.clear() : bury(worker);
    const std::size_t task = worker.tasks.front();
    worker.tasks.pop_front();
    worker.bytesAhead -= std::min(worker.bytesAhead, taskLine(tasks_[task]).size());
    done_(task, std::move(*report));
  }

  // The task at which the worker died has failed, those behind it go to other workers.
  void bury(Worker& worker) {
    worker.process.kill();
    worker.started = false;
    const std::size_t task = worker.tasks.front();
    waiting_.insert(waiting_.begin(), worker.tasks.begin() + 1, worker.tasks.end());
    worker.tasks.clear();
    worker.bytesAhead = 0;
    TaskReport report;
    report.error = "The conversion ended unexpectedly";
    done_(task, std::move(report));
  }

  std::span<const app::BatchTask> tasks_;
  const std::vector<std::string>& arguments_;
  const TaskDone& done_;
  std::vector<Worker> workers_;
  std::deque<std::size_t> waiting_;
};

}  // namespace

std::size_t jobCount(int jobs, std::size_t tasks, bool independent) {
  if (jobs == kJobsUnset) jobs = independent && tasks >= kManyTasks ? 0 : 1;
  return jobs > 0 ? static_cast<std::size_t>(jobs) : processorCount();
}

void runOnWorkers(std::span<const app::BatchTask> tasks, std::size_t jobs,
                  const std::vector<std::string>& workerArguments, const RunTask& runHere,
                  const TaskDone& done) {
  for (std::size_t task : Pool(tasks, std::min(jobs, tasks.size()), workerArguments, done).run())
    done(task, runHere(tasks[task]));
}

}  // namespace vemko::cli
