#pragma once
// Connections of the articulation graph: what drives which value of a voice, and by how much.
#include <cstdint>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "base/log.h"
#include "core/slot_values.h"

namespace vemko::dls {

/// Sources and controls.
namespace source {
inline constexpr std::uint16_t None = 0, Lfo = 1, Velocity = 2, Key = 3, Eg1 = 4, Eg2 = 5, PitchWheel = 6,
                               PolyPressure = 7, ChannelPressure = 8, Vibrato = 9, ModWheel = 0x81,
                               Volume = 0x87, Pan = 0x8A, Expression = 0x8B, Reverb = 0xDB, Chorus = 0xDD,
                               BendRange = 0x100, FineTune = 0x101, CoarseTune = 0x102;
}  // namespace source

/// Destinations.
namespace destination {
inline constexpr std::uint16_t Gain = 1, Pitch = 3, Pan = 4, Chorus = 0x80, Reverb = 0x81,
                               LfoFrequency = 0x104, LfoDelay = 0x105, VibratoFrequency = 0x114,
                               VibratoDelay = 0x115, Eg1Attack = 0x206, Eg1Decay = 0x207, Eg1Release = 0x209,
                               Eg1Sustain = 0x20A, Eg1Delay = 0x20B, Eg1Hold = 0x20C, Eg1Shutdown = 0x20D,
                               Eg2Attack = 0x30A, Eg2Decay = 0x30B, Eg2Release = 0x30D, Eg2Sustain = 0x30E,
                               Eg2Delay = 0x30F, Eg2Hold = 0x310, Cutoff = 0x500, Resonance = 0x501;
}  // namespace destination

/// Parts of a level 2 transform word. A level 1 word is only the curve of the result: 1 is concave.
namespace transform {
inline constexpr std::uint16_t ConcaveSource = 1 << 10, BipolarSource = 1 << 14, InvertedSource = 1 << 15;
inline constexpr std::uint16_t VelocityCurve = ConcaveSource | InvertedSource;
}  // namespace transform

struct Connection {
  std::uint16_t source = 0, control = 0, destination = 0;
  std::uint16_t transform = 0;  ///< As at level 2.
  std::int32_t scale = 0;       ///< 16.16 in the destination's unit.

  friend bool operator==(const Connection&, const Connection&) = default;
};
/// Equal for connections of one route, whatever their scale: LFOs, the pitch wheel and pan controllers are
/// bipolar whether the word says so or not.
std::uint64_t routeKey(const Connection& connection);
inline bool isSameRoute(const Connection& a, const Connection& b) { return routeKey(a) == routeKey(b); }

/// The rows of the format's list of connections, art1 and art2.
enum class List : std::uint8_t { Level1, Level2 };

struct Articulation {
  List list = List::Level2;
  std::vector<Connection> connections;  ///< As they came.
};

/// Appends the connections of an "art1" or "art2" body, as many as it holds, whatever it claims.
void readConnections(Bytes body, List list, std::vector<Connection>& connections, Complaints& complaints);
/// The body; transforms that level 1 has no word for are left out there.
std::vector<std::byte> buildConnections(const std::vector<Connection>& connections, List list);

/// What overrides on top of `base`.
std::vector<Connection> overlay(std::vector<Connection> base, const std::vector<Connection>& overrides);
/// Null when the route is not in the list.
const Connection* findRoute(const std::vector<Connection>& connections, const Connection& route);
bool isSameList(const std::vector<Connection>& a, const std::vector<Connection>& b);

}  // namespace vemko::dls
