#pragma once
// Speaker orders: Vorbis and Opus have their own for more than two channels, everything else that of WAVE.
#include <cstdint>
#include <span>

namespace vemko {

/// For reorderChannels; empty where the orders are the same.
std::span<const std::uint8_t> waveOrderFromXiph(std::uint8_t channels);
std::span<const std::uint8_t> xiphOrderFromWave(std::uint8_t channels);

}  // namespace vemko
