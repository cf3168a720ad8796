#pragma once
// The tables of a bank to be written, as bytes.
#include <optional>
#include <vector>

#include "base/bytes.h"
#include "formats/soundfont/sf_bank_plan.h"

namespace vemko::soundfont {

/// Where a pooled sample's data ended up in the file.
struct SamplePosition {
  std::uint32_t start = 0, end = 0;
  bool isCompressed = false;
};

/// The chunk with all nine tables but the sample headers, which are known last. Nothing, with "Save failed -
/// Too much data!..." set, when 16-bit indexes do not reach.
std::optional<std::vector<std::byte>> buildZoneTables(const BankPlan& plan);

/// The chunk of sample headers; `positions` has one entry a ChannelData of the pool.
std::vector<std::byte> buildSampleHeaders(const SamplePool& pool,
                                          const std::vector<SamplePosition>& positions);

}  // namespace vemko::soundfont
