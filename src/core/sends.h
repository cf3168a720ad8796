#pragma once
// The four effect send channels of an instrument: which effect each leads to.
#include <array>
#include <cstdint>
#include <optional>

#include "core/articulation.h"

namespace vemko {

enum class SendEffect : std::uint8_t { None, Chorus, Reverb };
using SendEffects = std::array<SendEffect, 4>;

/// The channel (0..3) that leads to the effect, nothing when none does.
std::optional<int> findSend(const SendEffects& effects, SendEffect effect);
/// The channel that leads to the effect, made to do so if none did: reverb takes the first free one of the
/// channels 0, 1 and 3, chorus of 2, 3, 1 and 0, so that each has the channel of its own controller (CC 91
/// and CC 93) where it can. Nothing when none of them is free.
std::optional<int> claimSend(SendEffects& effects, SendEffect effect);

/// The channels that lead to the reverb and the chorus, claimed where none did, and then the others.
using EffectChannels = std::array<int, 4>;
EffectChannels effectChannels(const SendEffects& effects);

constexpr Slot sendLevelSlot(int channel) { return static_cast<Slot>(60 + 2 * channel); }
constexpr Slot sendControllerSlot(int channel) { return static_cast<Slot>(61 + 2 * channel); }

}  // namespace vemko
