#include "core/units.h"

#include <cmath>

namespace vemko {
namespace {

constexpr double kLogPerCent = 0.0005776226753368974;  // ln 2 / 1200
constexpr double kKeyZeroHertz = 8.176;

double roundedTo(double value, double perUnit, double unit) {
  return std::trunc(value * perUnit + 0.5) * unit;
}

}  // namespace

float secondsFromTimecents(int timecents) {
  if (timecents <= -12000) return 0;
  double seconds = std::exp(timecents * kLogPerCent);
  if (seconds > 24)
    seconds = roundedTo(seconds, 10, 0.1);
  else if (seconds > 2)
    seconds = roundedTo(seconds, 100, 0.01);
  return static_cast<float>(seconds);
}

int timecentsFromSeconds(double seconds) {
  return seconds > 0 ? roundedWithin(std::log(seconds) / kLogPerCent, -12000, 32767) : -12000;
}

float hertzFromAbsoluteCents(int cents) {
  if (cents >= 13500) return 20000;
  double hertz = kKeyZeroHertz * std::exp2(cents / 1200.0);
  if (hertz >= 1000)
    hertz = roundedTo(hertz, 0.1, 10);
  else if (hertz >= 100)
    hertz = roundedTo(hertz, 1, 1);
  else
    hertz = roundedTo(hertz, 100, 0.01);
  return static_cast<float>(hertz);
}

int absoluteCentsFromHertz(double hertz) {
  return hertz > 0 ? roundedWithin(1200 * std::log2(hertz / kKeyZeroHertz), -16000, 13500) : -16000;
}

int roundedWithin(double value, int minimum, int maximum) {
  if (!(value > minimum)) return minimum;
  if (value >= maximum) return maximum;
  return static_cast<int>(std::lround(value));
}

}  // namespace vemko
