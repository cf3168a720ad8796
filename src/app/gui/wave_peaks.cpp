#include "app/gui/wave_peaks.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <semaphore>
#include <thread>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"

namespace vemko::gui {
namespace {

// Long enough for most waveforms to be drawn at once, too short to be felt.
constexpr std::chrono::milliseconds kWaitForPicture{30};
constexpr std::uint64_t kLeastMargin = 8192;  // frames fetched on either side of those that are visible

}  // namespace

struct WavePeaks::Job {
  SampleAccess access;
  std::shared_ptr<PeakPyramid> pyramid;
  std::uint64_t first = 0, end = 0;            // of a window
  std::shared_ptr<const SampleWindow> window;  // read when done
  std::u16string error;                        // likewise
  std::stop_source stop;
  std::counting_semaphore<> hasPicture{0};
  std::atomic<bool> isDone{false};
  std::jthread thread;  // the last member: joined before the others go
};

WavePeaks::WavePeaks(std::function<void()> onMore) : onMore_(std::move(onMore)) {}

WavePeaks::~WavePeaks() {
  clear();
  retired_.clear();  // joins
}

void WavePeaks::launch(const std::shared_ptr<Job>& job, std::function<bool(Job&)> work) {
  // The thread is owned by the job, which outlives it.
  job->thread = std::jthread([this, &job = *job, work = std::move(work)] {
    if (!work(job)) job.error = lastError();
    job.access = {};
    job.isDone = true;
    job.hasPicture.release();
    onMore_();
  });
}

void WavePeaks::retire(std::shared_ptr<Job>& job) {
  std::erase_if(retired_, [](const auto& each) { return each->isDone.load(); });
  if (!job) return;
  job->stop.request_stop();
  retired_.push_back(std::exchange(job, nullptr));
}

void WavePeaks::clear() {
  retire(building_);
  retire(fetching_);
  shown_ = coming_ = nullptr;
  window_ = nullptr;
  error_.clear();
}

void WavePeaks::start(const Waveform& waveform, bool keepPicture) {
  retire(building_);
  retire(fetching_);
  window_ = nullptr;
  error_.clear();
  auto job = std::make_shared<Job>();
  job->access = accessTo(waveform);
  coming_ = job->pyramid = std::make_shared<PeakPyramid>(job->access.frames, job->access.channels);
  const bool keeps = keepPicture && shown_ && shown_->frames() == coming_->frames() &&
                     shown_->channels() == coming_->channels();
  if (!keeps) shown_ = coming_;
  if (job->access.isEmpty()) return;
  building_ = job;
  launch(job, [this](Job& work) {
    return work.pyramid->build(work.access, work.stop.get_token(), [&] {
      work.hasPicture.release();
      onMore_();
    });
  });
  (void)job->hasPicture.try_acquire_for(kWaitForPicture);
}

const PeakPyramid* WavePeaks::pyramid() {
  const bool isOver = building_ && building_->isDone;
  if (isOver && !building_->error.empty()) {
    error_ = std::exchange(building_->error, {});
    logWarning(error_);
  }
  if (coming_ && (isOver || coming_->isComplete())) shown_ = coming_;
  return shown_.get();
}

FrameSpan WavePeaks::samples(const Waveform& waveform, std::uint64_t first, std::uint64_t end) {
  if (waveform.buffer) return {0, waveform.buffer->channels(), std::as_const(*waveform.buffer).samples()};
  if (fetching_ && fetching_->isDone) {
    window_ = fetching_->window;
    if (window_) retire(fetching_);
  }
  end = std::min<std::uint64_t>(end, waveform.frames);
  if (window_ && window_->covers(first, end)) return {window_->first, window_->channels, window_->samples};
  const bool isComing = fetching_ && first >= fetching_->first && end <= fetching_->end;
  if (!isComing) fetch(waveform, first, end);
  return {};
}

void WavePeaks::fetch(const Waveform& waveform, std::uint64_t first, std::uint64_t end) {
  retire(fetching_);
  const std::uint64_t margin = std::max(end - first, kLeastMargin);
  auto job = std::make_shared<Job>();
  job->access = accessTo(waveform);
  if (job->access.isEmpty()) return;
  job->first = first > margin ? first - margin : 0;
  job->end = std::min<std::uint64_t>(end + margin, waveform.frames);
  fetching_ = job;
  launch(job, [](Job& work) {
    work.window = readWindow(work.access, work.first, work.end, work.stop.get_token());
    return work.window != nullptr;
  });
}

}  // namespace vemko::gui
