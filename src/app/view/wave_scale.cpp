#include "app/view/wave_scale.h"

#include <algorithm>
#include <cmath>

namespace vemko::view {
namespace {

constexpr double kRevealMargin = 0.1;  // of the width

}  // namespace

double WaveScale::farthest() const { return frames_ ? static_cast<double>(frames_) / width_ : 1; }

double WaveScale::closest() const { return std::min(1 / kMaxPixelsPerFrame, farthest()); }

bool WaveScale::showsAll() const { return framesPerPixel_ >= farthest() * (1 - 1e-9); }

void WaveScale::set(double first, double framesPerPixel) {
  framesPerPixel_ = std::clamp(framesPerPixel, closest(), farthest());
  first_ = std::clamp(first, 0.0, std::max(0.0, frames_ - visibleFrames()));
}

void WaveScale::setFrames(std::uint32_t frames) {
  frames_ = frames;
  showAll();
}

void WaveScale::setWidth(int pixels) {
  const bool all = showsAll();
  width_ = std::max(1, pixels);
  set(first_, all ? farthest() : framesPerPixel_);
}

std::uint32_t WaveScale::boundaryAt(double x) const {
  return static_cast<std::uint32_t>(std::clamp(std::round(frameAt(x)), 0.0, static_cast<double>(frames_)));
}

void WaveScale::zoom(double factor, double x) {
  const double held = frameAt(x);
  const double framesPerPixel = std::clamp(framesPerPixel_ * factor, closest(), farthest());
  set(held - x * framesPerPixel, framesPerPixel);
}

void WaveScale::showAll() { set(0, farthest()); }

void WaveScale::show(double first, double end) { set(first, (end - first) / width_); }

void WaveScale::scrollTo(double first) { set(first, framesPerPixel_); }

void WaveScale::reveal(double frame) {
  const double margin = visibleFrames() * kRevealMargin;
  if (frame < first_ + margin)
    scrollTo(frame - margin);
  else if (frame > endFrame() - margin)
    scrollTo(frame + margin - visibleFrames());
}

}  // namespace vemko::view
