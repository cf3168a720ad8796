#include "core/sends.h"

#include <algorithm>
#include <span>

namespace vemko {
namespace {

constexpr int kReverbOrder[] = {0, 1, 3};
constexpr int kChorusOrder[] = {2, 3, 1, 0};

}  // namespace

std::optional<int> findSend(const SendEffects& effects, SendEffect effect) {
  const auto found = std::ranges::find(effects, effect);
  if (found == effects.end()) return std::nullopt;
  return static_cast<int>(found - effects.begin());
}

std::optional<int> claimSend(SendEffects& effects, SendEffect effect) {
  if (const auto held = findSend(effects, effect)) return held;
  const std::span<const int> order =
      effect == SendEffect::Reverb ? std::span<const int>(kReverbOrder) : kChorusOrder;
  for (int channel : order)
    if (SendEffect& place = effects[static_cast<std::size_t>(channel)]; place == SendEffect::None) {
      place = effect;
      return channel;
    }
  return std::nullopt;
}

EffectChannels effectChannels(const SendEffects& effects) {
  SendEffects claimed = effects;
  EffectChannels channels{claimSend(claimed, SendEffect::Reverb).value_or(0), 0, 0, 0};
  channels[1] = claimSend(claimed, SendEffect::Chorus).value_or(channels[0] == 2 ? 0 : 2);
  std::size_t next = 2;
  for (int channel = 0; channel < 4; ++channel)
    if (channel != channels[0] && channel != channels[1] && next < 4) channels[next++] = channel;
  return channels;
}

}  // namespace vemko
