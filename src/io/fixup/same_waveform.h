#pragma once
#include <cstddef>

#include "core/waveform.h"

namespace vemko::io {

/// Equal length, rate, root key, fine tune and volume adjustment, and the same records in the same order, one
/// of them the main loop of both; record ids do not count. Samples and channels are not looked at.
bool playsAlike(const Waveform& a, const Waveform& b);
/// Equal for waveforms that play alike.
std::size_t hashOfPlayback(const Waveform& waveform);

}  // namespace vemko::io
