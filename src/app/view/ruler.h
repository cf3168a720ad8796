#pragma once
// Ticks and labels along a waveform.
#include <cstdint>
#include <string>
#include <vector>

#include "app/view/wave_scale.h"

namespace vemko::view {

struct Tick {
  double x = 0;
  bool isMajor = false;
  std::string label;  ///< ASCII; of major ticks only.
};

/// Ticks at round times or frames of what is visible, from left to right. Labels are at least `labelPixels`
/// apart. None for a rate of 0 or without frames.
std::vector<Tick> timeTicks(const WaveScale& scale, std::uint32_t rate, double labelPixels);
std::vector<Tick> frameTicks(const WaveScale& scale, double labelPixels);

/// "0:07.250", "1:02:07.250": hours only where there are some, as many decimals (0 to 6) as asked for.
std::string timeText(double seconds, int decimals = 3);
/// "1 234 567"
std::string frameText(std::uint64_t frame);
/// With hundredths where there are some: "1 234.25".
std::string frameText(std::uint32_t frame, std::uint8_t hundredths);

}  // namespace vemko::view
