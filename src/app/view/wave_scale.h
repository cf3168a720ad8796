#pragma once
// Room of what the desktop's views compute without a window: scales, rulers, layouts, hit testing.
#include <cstdint>

namespace vemko::view {

/// Which frames of a waveform a view shows, and where. Pixels count from the left edge of the picture; a
/// frame f covers the pixels from xOf(f) to xOf(f + 1).
class WaveScale {
 public:
  static constexpr double kMaxPixelsPerFrame = 64;

  /// All of a waveform of this length.
  void setFrames(std::uint32_t frames);
  /// Shows the same frames and more at the right; all of the waveform stays all of it.
  void setWidth(int pixels);

  std::uint32_t frames() const { return frames_; }
  int width() const { return width_; }
  double firstFrame() const { return first_; }
  double endFrame() const { return first_ + width_ * framesPerPixel_; }
  double visibleFrames() const { return width_ * framesPerPixel_; }
  double framesPerPixel() const { return framesPerPixel_; }
  bool showsAll() const;
  bool isClosest() const { return framesPerPixel_ <= closest(); }

  double frameAt(double x) const { return first_ + x * framesPerPixel_; }
  double xOf(double frame) const { return (frame - first_) / framesPerPixel_; }
  /// The frame boundary nearest to x, 0 to frames().
  std::uint32_t boundaryAt(double x) const;

  /// The frames per pixel times `factor`; what is at x stays there as far as the ends allow.
  void zoom(double factor, double x);
  void showAll();
  void show(double first, double end);
  void scrollTo(double first);
  void scrollBy(double pixels) { scrollTo(first_ + pixels * framesPerPixel_); }
  /// Scrolls as little as needed for the frame to be inside the view with a margin.
  void reveal(double frame);

 private:
  double closest() const;
  double farthest() const;
  void set(double first, double framesPerPixel);

  std::uint32_t frames_ = 0;
  int width_ = 1;
  double first_ = 0;
  double framesPerPixel_ = 1;
};

}  // namespace vemko::view
