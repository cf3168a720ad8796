#pragma once
// Deferred samples of 24 bits that a bank keeps in two places: the upper 16 bits in one chunk, the lower 8 in
// another.
#include <memory>
#include <span>

#include "core/sample_source.h"

namespace vemko::soundfont {

/// Where the two parts of a sample's points lie.
struct SplitSamples {
  std::uint64_t highOffset = 0;  ///< 2 bytes a point, little-endian.
  std::uint64_t lowOffset = 0;   ///< 1 byte a point.
  std::uint64_t points = 0;
};

std::shared_ptr<const SampleSource> makeSplitSource(std::shared_ptr<SourceFile> file,
                                                    const SplitSamples& place);

/// The place of the points if the source is one of these, else null.
const SplitSamples* splitSamplesOf(const SampleSource* source);

/// Takes 24-bit points apart: the upper two bytes and the lowest one of each.
void splitPoints(Bytes pcm24, std::span<std::byte> high, std::span<std::byte> low);

}  // namespace vemko::soundfont
