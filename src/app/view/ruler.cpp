#include "app/view/ruler.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"

namespace vemko::view {
namespace {

struct Step {
  double size;  // from one major tick to the next
  int parts;    // minor steps in it
};

// Above a second, what clocks count in; below, and for frames, 1, 2 and 5 of every power of ten.
constexpr Step kClockSteps[] = {{1, 10},   {2, 4},    {5, 5},     {10, 10},    {15, 3},   {30, 6},
                                {60, 6},   {120, 4},  {300, 5},   {600, 10},   {900, 3},  {1800, 6},
                                {3600, 6}, {7200, 4}, {18000, 5}, {36000, 10}, {86400, 4}};

Step decimalStep(double atLeast) {
  const double power = std::pow(10, std::floor(std::log10(atLeast)));
  for (const auto& [factor, parts] : {Step{1, 10}, Step{2, 4}, Step{5, 5}})
    if (power * factor >= atLeast * (1 - 1e-9)) return {power * factor, parts};
  return {power * 10, 10};
}

Step clockStep(double atLeast) {
  if (atLeast <= 0.5) return decimalStep(atLeast);
  for (const Step& step : kClockSteps)
    if (step.size >= atLeast) return step;
  return decimalStep(atLeast);
}

int decimalsOf(double step) {
  return step >= 1 ? 0 : std::min(6, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
}

template <class Label>
std::vector<Tick> ticks(const WaveScale& scale, Step step, double framesPerUnit, Label label) {
  const double minor = step.size / step.parts * framesPerUnit;  // in frames
  const double last = std::min(scale.endFrame(), static_cast<double>(scale.frames()));
  std::vector<Tick> made;
  // From the tick before the left edge, whose label may reach into the picture.
  auto index = static_cast<std::int64_t>(std::floor(scale.firstFrame() / minor)) / step.parts * step.parts;
  for (; static_cast<double>(index) * minor <= last; ++index) {
    const bool isMajor = index % step.parts == 0;
    Tick tick{scale.xOf(static_cast<double>(index) * minor), isMajor, {}};
    const std::int64_t major = index / step.parts;
    if (isMajor) tick.label = label(static_cast<double>(major) * step.size);
    made.push_back(std::move(tick));
  }
  return made;
}

}  // namespace

std::vector<Tick> timeTicks(const WaveScale& scale, std::uint32_t rate, double labelPixels) {
  if (rate == 0 || scale.frames() == 0) return {};
  const Step step = clockStep(std::max(1e-6, scale.framesPerPixel() * labelPixels / rate));
  const int decimals = decimalsOf(step.size);
  return ticks(scale, step, rate, [&](double seconds) { return timeText(seconds, decimals); });
}

std::vector<Tick> frameTicks(const WaveScale& scale, double labelPixels) {
  if (scale.frames() == 0) return {};
  Step step = decimalStep(std::max(1.0, scale.framesPerPixel() * labelPixels));
  if (step.size < step.parts) step.parts = static_cast<int>(step.size);
  return ticks(scale, step, 1, [](double frame) { return frameText(static_cast<std::uint64_t>(frame)); });
}

std::string timeText(double seconds, int decimals) {
  const double unit = std::pow(10, decimals);
  const auto units = static_cast<std::uint64_t>(std::llround(std::max(0.0, seconds) * unit));
  const auto perSecond = static_cast<std::uint64_t>(unit);
  const auto whole = units / perSecond;
  const auto hours = static_cast<unsigned>(whole / 3600), minutes = static_cast<unsigned>(whole / 60 % 60);
  const auto secs = static_cast<unsigned>(whole % 60);
  std::string text =
      hours ? formatted("%u:%02u:%02u", hours, minutes, secs) : formatted("%u:%02u", minutes, secs);
  if (decimals > 0) text += formatted(".%0*u", decimals, static_cast<unsigned>(units % perSecond));
  return text;
}

std::string frameText(std::uint64_t frame) {
  std::string text = std::to_string(frame);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ' ');
  return text;
}

std::string frameText(std::uint32_t frame, std::uint8_t hundredths) {
  return frameText(std::uint64_t{frame}) + (hundredths ? formatted(".%02d", hundredths) : "");
}

}  // namespace vemko::view
