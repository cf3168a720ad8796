#include "tools/equal_loudness.h"

#include <algorithm>
#include <cmath>

#include "base/wider_vectors.h"

namespace vemko::tools {
namespace {

struct CurvePoint {
  double hertz;
  double decibels;
};

// The level that sounds equally loud at each frequency.
// clang-format off
constexpr CurvePoint kCurve[] = {
    {    0, 120},   {   20, 113},   {   30, 103},   {   40,  97},   {   50,  93},   {   60,  91},
    {   70,  89},   {   80,  87},   {   90,  86},   {  100,  85},   {  200,  78},   {  300,  76},
    {  400,  76},   {  500,  76},   {  600,  76},   {  700,  77},   {  800,  78},   {  900,  79.5},
    { 1000,  80},   { 1500,  79},   { 2000,  77},   { 2500,  74},   { 3000,  71.5}, { 3700,  70},
    { 4000,  70.5}, { 5000,  74},   { 6000,  79},   { 7000,  84},   { 8000,  86},   { 9000,  86},
    {10000,  85},   {12000,  95},   {15000, 110},   {20000, 125},   {24000, 140},
};
// clang-format on

double curveAt(double hertz) {
  const auto next = std::ranges::find_if(kCurve, [=](const CurvePoint& p) { return hertz < p.hertz; });
  if (next == std::end(kCurve)) return std::end(kCurve)[-1].decibels;
  const CurvePoint &low = next[-1], &high = next[0];
  return low.decibels + (high.decibels - low.decibels) * (hertz - low.hertz) / (high.hertz - low.hertz);
}

constexpr std::size_t kRun = 512;  // filtered samples at a time, few enough for the fastest cache

// Each tap serves the two samples that lie symmetrically. Four taps a pass let the sums stay in registers
// for four terms; more would need more addresses than there are registers.
VEMKO_WIDER void filterRun(const float* __restrict taps, const float* __restrict samples, std::size_t count,
                           std::ptrdiff_t channels, float* __restrict filtered) {
  constexpr std::ptrdiff_t kHalf = kHalfTaps;
  std::fill_n(filtered, count, 0.0f);
  for (std::ptrdiff_t t = 0; t < kHalf; t += 4) {
    const float tap0 = taps[t], tap1 = taps[t + 1], tap2 = taps[t + 2], tap3 = taps[t + 3];
    const float* late0 = samples + (kHalf - 1 - t) * channels;
    const float *late1 = late0 - channels, *late2 = late1 - channels, *late3 = late2 - channels;
    const float* early0 = samples + (t - kHalf) * channels;
    const float *early1 = early0 + channels, *early2 = early1 + channels, *early3 = early2 + channels;
    for (std::size_t i = 0; i < count; ++i)
      filtered[i] = filtered[i] + tap0 * (late0[i] + early0[i]) + tap1 * (late1[i] + early1[i]) +
                    tap2 * (late2[i] + early2[i]) + tap3 * (late3[i] + early3[i]);
  }
}

double squaresOf(const float* samples, std::size_t count) {
  std::array<double, 8> lanes{};
  std::size_t i = 0;
  for (; i + lanes.size() <= count; i += lanes.size())
    for (std::size_t l = 0; l < lanes.size(); ++l) lanes[l] += double{samples[i + l]} * samples[i + l];
  for (; i < count; ++i) lanes[0] += double{samples[i]} * samples[i];
  double sum = 0;
  for (double lane : lanes) sum += lane;
  return sum;
}

}  // namespace

EqualLoudnessTaps equalLoudnessTaps(std::uint32_t rate) {
  std::array<double, kHalfTaps> amplitudes;
  for (std::size_t k = 0; k < kHalfTaps; ++k)
    amplitudes[k] = std::exp((70 - curveAt(static_cast<double>(k) * rate * 0.007936508)) * 0.115129255);
  EqualLoudnessTaps taps;
  for (std::size_t t = 0; t < kHalfTaps; ++t) {
    const double angle = static_cast<double>(t) * 0.04908738521234052 + 0.02454369260617026;
    double sum = amplitudes[0] * 0.5;
    for (std::size_t k = 1; k < kHalfTaps; ++k) {
      const double term = amplitudes[k] * std::cos(static_cast<double>(k) * angle);
      sum += k % 2 == 0 ? term : -term;
    }
    taps[t] = static_cast<float>(sum * 0.015625);
  }
  return taps;
}

double filteredSquares(const EqualLoudnessTaps& taps, const float* samples, std::size_t count,
                       std::size_t channels) {
  std::array<float, kRun> filtered;
  double sum = 0;
  for (std::size_t run; count > 0; samples += run, count -= run) {
    run = std::min(count, kRun);
    filterRun(taps.data(), samples, run, static_cast<std::ptrdiff_t>(channels), filtered.data());
    sum += squaresOf(filtered.data(), run);
  }
  return sum;
}

}  // namespace vemko::tools
