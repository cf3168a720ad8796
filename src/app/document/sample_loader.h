#pragma once
// Loads deferred samples while the window is in use. A thread reads the samples of copies of the waveforms;
// the main thread hands what has come to the waveforms themselves, so that nobody else sees them change.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "core/collection.h"

namespace vemko::app {

class SampleLoader {
 public:
  /// What is loaded ahead may take this much memory; the rest loads when it is needed.
  static constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;

  /// `post` runs a function in the main thread, soon and in order; it may be called from any thread.
  explicit SampleLoader(std::function<void(std::function<void()>)> post);
  ~SampleLoader();
  SampleLoader(const SampleLoader&) = delete;

  /// Begins with the collection's waveforms whose samples are deferred, in order, and forgets former ones.
  /// The collection must outlive the loader or the next stop().
  void start(Collection& collection);
  /// What was loaded until now stays.
  void stop();

  /// Called in the main thread with the number of waveforms done and of all; at the end both are equal.
  std::function<void(std::size_t done, std::size_t all)> onProgress;

 private:
  struct Task {
    ItemId id;
    std::unique_ptr<Item> copy;  // a waveform
  };
  void run();
  void deliver(std::uint64_t round, const std::shared_ptr<Task>& task);

  std::function<void(std::function<void()>)> post_;
  Collection* collection_ = nullptr;
  Collection scratch_;  // the copies' collection
  std::uint64_t round_ = 0;
  std::size_t done_ = 0, all_ = 0;
  std::shared_ptr<int> alive_ = std::make_shared<int>();

  std::mutex guard_;
  std::condition_variable wake_;
  std::deque<Task> tasks_;
  std::uint64_t taskRound_ = 0;
  bool end_ = false;
  std::thread thread_;
};

}  // namespace vemko::app
