#include "app/cli/workers.h"

#include <algorithm>

#include "platform/process.h"

namespace vemko::cli {
namespace {

constexpr std::size_t kIdle = static_cast<std::size_t>(-1);

struct Worker {
  ChildProcess process;
  bool started = false;
  std::size_t task = kIdle;
};

class Pool {
 public:
  Pool(std::span<const app::BatchTask> tasks, std::size_t jobs, const std::vector<std::string>& arguments,
       const TaskDone& done)
      : tasks_(tasks), arguments_(arguments), done_(done), workers_(jobs) {}

  /// Until every task is done or no worker can be started; the first task that was not begun.
  std::size_t run() {
    while (feedIdle()) receiveOne();
    return next_;
  }

 private:
  // Gives every idle worker a task; false when no worker is at work then.
  bool feedIdle() {
    bool working = false;
    for (Worker& worker : workers_) {
      while (worker.task == kIdle && next_ < tasks_.size() && ensureStarted(worker)) feed(worker);
      working = working || worker.task != kIdle;
    }
    return working;
  }

  bool ensureStarted(Worker& worker) {
    if (!worker.started) {
      worker.process = ChildProcess();
      worker.started = worker.process.start(programPath(), arguments_);
    }
    return worker.started;
  }

  void feed(Worker& worker) {
    worker.task = next_++;
    if (!worker.process.writeLine(taskLine(tasks_[worker.task]))) finish(worker, std::nullopt);
  }

  void receiveOne() {
    std::vector<ChildProcess*> processes;
    std::vector<Worker*> working;
    for (Worker& worker : workers_) {
      if (worker.task == kIdle) continue;
      processes.push_back(&worker.process);
      working.push_back(&worker);
    }
    Worker& worker = *working[ChildProcess::waitForAny(processes)];
    const std::optional<std::string> line = worker.process.readLine();
    finish(worker, line ? parseReportLine(*line) : std::nullopt);
  }

  void finish(Worker& worker, std::optional<TaskReport> report) {
    const std::size_t task = std::exchange(worker.task, kIdle);
    if (!report) {
      worker.process.kill();
      worker.started = false;
      report = TaskReport{};
      report->error = "The conversion ended unexpectedly";
    }
    done_(task, std::move(*report));
  }

  std::span<const app::BatchTask> tasks_;
  const std::vector<std::string>& arguments_;
  const TaskDone& done_;
  std::vector<Worker> workers_;
  std::size_t next_ = 0;
};

}  // namespace

void runOnWorkers(std::span<const app::BatchTask> tasks, std::size_t jobs,
                  const std::vector<std::string>& workerArguments, const RunTask& runHere,
                  const TaskDone& done) {
  std::size_t next = Pool(tasks, std::min(jobs, tasks.size()), workerArguments, done).run();
  for (; next < tasks.size(); ++next) done(next, runHere(tasks[next]));
}

}  // namespace vemko::cli
