#include "app/document/sample_loader.h"

#include <utility>

#include "io/samples.h"

namespace vemko::app {

SampleLoader::SampleLoader(std::function<void(std::function<void()>)> post)
    : post_(std::move(post)), thread_([this] { run(); }) {}

SampleLoader::~SampleLoader() {
  {
    std::lock_guard lock(guard_);
    end_ = true;
    tasks_.clear();
  }
  wake_.notify_one();
  thread_.join();
}

void SampleLoader::start(Collection& collection) {
  stop();
  collection_ = &collection;
  std::deque<Task> tasks;
  std::uint64_t bytes = 0;
  collection.forEach<Waveform>([&](const Waveform& waveform) {
    if (waveform.buffer || !waveform.source) return;
    bytes += std::uint64_t{waveform.frames} * waveform.channels * sizeof(float);
    if (bytes <= kMostBytes) tasks.push_back({waveform.id(), waveform.clone(scratch_)});
  });
  all_ = tasks.size();
  if (tasks.empty()) return;
  {
    std::lock_guard lock(guard_);
    tasks_ = std::move(tasks);
    taskRound_ = round_;
  }
  wake_.notify_one();
}

void SampleLoader::stop() {
  ++round_;
  done_ = all_ = 0;
  collection_ = nullptr;
  std::deque<Task> dropped;
  std::lock_guard lock(guard_);
  tasks_.swap(dropped);
}

void SampleLoader::run() {
  for (;;) {
    auto task = std::make_shared<Task>();
    std::uint64_t round;
    {
      std::unique_lock lock(guard_);
      wake_.wait(lock, [this] { return end_ || !tasks_.empty(); });
      if (end_) return;
      *task = std::move(tasks_.front());
      tasks_.pop_front();
      round = taskRound_;
    }
    // What cannot be loaded says so when it is needed.
    io::loadSamples(static_cast<Waveform&>(*task->copy), true);
    post_([this, alive = std::weak_ptr(alive_), round, task] {
      if (!alive.expired()) deliver(round, task);
    });
  }
}

void SampleLoader::deliver(std::uint64_t round, const std::shared_ptr<Task>& task) {
  if (round != round_ || !collection_) return;
  const auto& copy = static_cast<const Waveform&>(*task->copy);
  auto* waveform = collection_->find<Waveform>(task->id);
  if (waveform && !waveform->buffer && waveform->source == copy.source) waveform->buffer = copy.buffer;
  ++done_;
  if (onProgress) onProgress(done_, all_);
}

}  // namespace vemko::app
