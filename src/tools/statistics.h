#pragma once
// The numbers of "Statistics for the waveform".
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/waveform.h"

namespace vemko::tools {

/// Of several waveforms taken together; all 0 without samples.
struct Statistics {
  std::uint64_t samples = 0;  ///< Of all channels.
  double seconds = 0;
  float peak = 0;
  float rms = 0;  ///< Over all samples.
  float minimum = 0;
  float maximum = 0;
  double mean = 0;
  float maximumDelta = 0;           ///< Between consecutive samples of one channel.
  std::uint64_t zeroCrossings = 0;  ///< Pairs of consecutive samples of one channel with opposite signs.
};
/// Waveforms without samples in memory do not count.
Statistics statisticsOf(std::span<Waveform* const> waveforms);

struct StatisticsRow {
  std::u16string_view label;
  std::u16string value;
};
std::vector<StatisticsRow> statisticsRows(const Statistics& statistics);

}  // namespace vemko::tools
