#include "formats/soundfont/sf_modulators.h"

#include <algorithm>
#include <iterator>

#include "core/units.h"

namespace vemko::soundfont {
namespace {

// --- Source operators: index, bit 7 for a MIDI controller, bit 8 for falling, bit 9 for bipolar, curve from
// bit 10 on (0 linear, 1 concave, 2 convex, 3 switch).
constexpr std::uint16_t kController = 0x80, kFalling = 0x100, kBipolar = 0x200, kConcave = 0x400;
constexpr std::uint16_t kVelocity = 2, kKey = 3, kAftertouch = 13, kBend = 14, kBendSensitivity = 16;
constexpr std::uint16_t cc(int number) { return static_cast<std::uint16_t>(kController | number); }
constexpr std::uint16_t kModWheel = cc(1);

// Attenuations grow downwards, so that a rising source needs the opposite sign to be a change of volume. The
// default from velocity to cutoff is left out: the published versions of the format contradict each other
// about it, and most players ignore it.
// clang-format off
constexpr RouteRow kPlainRoutes[] = {
  // source                                destination            controlled by      entry                             sign  default
  {kVelocity | kFalling | kConcave,        gen::Attenuation,      0,                 Entry::VelocityToVolume,            1,    960},
  {kVelocity | kFalling,                   gen::Attenuation,      0,                 Entry::VelocityToVolume,            1,      0},
  {kKey | kFalling | kBipolar,             gen::Attenuation,      0,                 Entry::KeyToVolumeBipolar,          1,      0},
  {kKey | kBipolar,                        gen::Attenuation,      0,                 Entry::KeyToVolumeBipolar,         -1,      0},
  {kKey,                                   gen::Attenuation,      0,                 Entry::KeyToVolumeUnipolar,        -1,      0},
  {kModWheel,                              gen::Attenuation,      0,                 Entry::ModWheelToVolume,           -1,      0},
  {kAftertouch,                            gen::Attenuation,      0,                 Entry::AftertouchToVolume,         -1,      0},
  {kBend | kBipolar,                       gen::FineTune,         kBendSensitivity,  Entry::BendRange,                   1,  12700},
  {kBend | kBipolar | kFalling,            gen::FineTune,         kBendSensitivity,  Entry::BendRange,                  -1,      0},
  {kBend | kBipolar,                       gen::FineTune,         0,                 Entry::BendToPitch,                 1,      0},
  {kBend | kBipolar | kFalling,            gen::FineTune,         0,                 Entry::BendToPitch,                -1,      0},
  {kVelocity | kFalling,                   gen::FilterCutoff,     0,                 Entry::VelocityToCutoff,            1,      0},
  {kVelocity | kFalling | kConcave,        gen::FilterCutoff,     0,                 Entry::VelocityToCutoff,            1,      0},
  {kVelocity,                              gen::FilterCutoff,     0,                 Entry::VelocityToCutoff,           -1,      0},
  {kKey | kBipolar,                        gen::FilterCutoff,     0,                 Entry::KeyToCutoffBipolar,          1,      0},
  {kKey | kBipolar | kFalling,             gen::FilterCutoff,     0,                 Entry::KeyToCutoffBipolar,         -1,      0},
  {kKey,                                   gen::FilterCutoff,     0,                 Entry::KeyToCutoffUnipolar,         1,      0},
  {kModWheel,                              gen::FilterCutoff,     0,                 Entry::ModWheelToCutoff,            1,      0},
  {kAftertouch,                            gen::FilterCutoff,     0,                 Entry::AftertouchToCutoff,          1,      0},
  {cc(74),                                 gen::FilterCutoff,     0,                 Entry::Cc74ToCutoff,                1,      0},
  {kVelocity,                              gen::FilterQ,          0,                 Entry::VelocityToResonance,         1,      0},
  {kModWheel,                              gen::FilterQ,          0,                 Entry::ModWheelToResonance,         1,      0},
  {kAftertouch,                            gen::FilterQ,          0,                 Entry::AftertouchToResonance,       1,      0},
  {cc(71),                                 gen::FilterQ,          0,                 Entry::Cc71ToResonance,             1,      0},
  {kKey | kBipolar,                        gen::Pan,              0,                 Entry::KeyToPan,                    1,      0},
  {kKey | kBipolar | kFalling,             gen::Pan,              0,                 Entry::KeyToPan,                   -1,      0},
  {cc(10) | kBipolar,                      gen::Pan,              0,                 Entry::Cc10ToPan,                   1,    500},
  {cc(10) | kBipolar | kFalling,           gen::Pan,              0,                 Entry::Cc10ToPan,                  -1,      0},
  {cc(91),                                 gen::ReverbSend,       0,                 Entry::Cc91ToReverb,                1,    200},
  {cc(93),                                 gen::ChorusSend,       0,                 Entry::Cc93ToChorus,                1,    200},
  {kModWheel,                              gen::VibLfoToPitch,    0,                 Entry::ModWheelToVibratoPitch,      1,     50},
  {kAftertouch,                            gen::VibLfoToPitch,    0,                 Entry::AftertouchToVibratoPitch,    1,     50},
  {kVelocity,                              gen::VibLfoToPitch,    0,                 Entry::VelocityToVibratoPitch,      1,      0},
  {kModWheel,                              gen::ModLfoToPitch,    0,                 Entry::ModWheelToModLfoPitch,       1,      0},
  {kAftertouch,                            gen::ModLfoToPitch,    0,                 Entry::AftertouchToModLfoPitch,     1,      0},
  {kVelocity,                              gen::ModLfoToPitch,    0,                 Entry::VelocityToModLfoPitch,       1,      0},
  {kModWheel,                              gen::ModLfoToVolume,   0,                 Entry::ModWheelToModLfoVolume,      1,      0},
  {kAftertouch,                            gen::ModLfoToVolume,   0,                 Entry::AftertouchToModLfoVolume,    1,      0},
  {kVelocity,                              gen::ModLfoToVolume,   0,                 Entry::VelocityToModLfoVolume,      1,      0},
  {kModWheel,                              gen::ModLfoToCutoff,   0,                 Entry::ModWheelToModLfoCutoff,      1,      0},
  {kAftertouch,                            gen::ModLfoToCutoff,   0,                 Entry::AftertouchToModLfoCutoff,    1,      0},
  {kVelocity,                              gen::ModLfoToCutoff,   0,                 Entry::VelocityToModLfoCutoff,      1,      0},
  {kVelocity,                              gen::ModEnvToPitch,    0,                 Entry::VelocityToModEnvPitch,       1,      0},
  {kVelocity,                              gen::ModEnvToCutoff,   0,                 Entry::VelocityToModEnvCutoff,      1,      0},
};

constexpr ModulationRow kRows[] = {
  // entry                             slot  factor     only with the filter
  {Entry::ModWheelToVolume,            17,   0.04f,     false},
  {Entry::AftertouchToVolume,          18,   0.04f,     false},
  {Entry::ModWheelToCutoff,            28,   0.01f,     true},
  {Entry::AftertouchToCutoff,          29,   0.01f,     true},
  {Entry::Cc74ToCutoff,                30,   0.01f,     true},
  {Entry::VelocityToResonance,         38,   0.1f,      true},
  {Entry::ModWheelToResonance,         39,   0.1f,      true},
  {Entry::AftertouchToResonance,       40,   0.1f,      true},
  {Entry::Cc71ToResonance,             41,   0.1f,      true},
  {Entry::KeyToPan,                    57,   0.000375f, false},
  {Entry::Cc10ToPan,                   56,   0.002f,    false},
  {Entry::ModWheelToVibratoPitch,      5,    0.01f,     false},
  {Entry::AftertouchToVibratoPitch,    6,    0.01f,     false},
  {Entry::VelocityToVibratoPitch,      7,    0.01f,     false},
  {Entry::ModWheelToModLfoPitch,       9,    0.01f,     false},
  {Entry::AftertouchToModLfoPitch,     10,   0.01f,     false},
  {Entry::VelocityToModLfoPitch,       11,   0.01f,     false},
  {Entry::ModWheelToModLfoVolume,      20,   0.1f,      false},
  {Entry::AftertouchToModLfoVolume,    21,   0.1f,      false},
  {Entry::VelocityToModLfoVolume,      22,   0.1f,      false},
  {Entry::ModWheelToModLfoCutoff,      32,   0.01f,     true},
  {Entry::AftertouchToModLfoCutoff,    33,   0.01f,     true},
  {Entry::VelocityToModLfoCutoff,      34,   0.01f,     true},
  {Entry::VelocityToModEnvPitch,       13,   0.01f,     false},
  {Entry::VelocityToModEnvCutoff,      36,   0.01f,     true},
};

// Routes that exist by default and have no slot: volume and expression.
constexpr Modulator kOtherDefaults[] = {
  {cc(7) | kFalling | kConcave,  gen::Attenuation, 960, 0, 0},
  {cc(11) | kFalling | kConcave, gen::Attenuation, 960, 0, 0},
};
// clang-format on

constexpr std::size_t kTimesWithoutController = std::ranges::count(kTimeControllers, 0);
constexpr std::size_t kEnvelopeRoutes = std::size_t{kTimeStages} * kTimeSources - kTimesWithoutController;
constexpr std::size_t kRouteCount = std::size(kPlainRoutes) + 2 * kEnvelopeRoutes;

// Velocity, key number and a controller to each time of both envelopes, in the order of TimeSource.
constexpr std::array<RouteRow, kRouteCount> makeRoutes() {
  std::array<RouteRow, kRouteCount> rows{};
  std::size_t at = 0;
  for (const RouteRow& row : kPlainRoutes) rows[at++] = row;
  for (int envelope = 0; envelope < 2; ++envelope)
    for (std::size_t stage = 0; stage < kTimeStages; ++stage) {
      const std::uint8_t controller = kTimeControllers[stage];
      const std::uint16_t sources[kTimeSources] = {kVelocity | kBipolar, kVelocity, kKey | kBipolar, kKey,
                                                   cc(controller)};
      for (int source = 0; source < kTimeSources; ++source) {
        if (static_cast<TimeSource>(source) == TimeSource::Controller && controller == 0) continue;
        const auto& times = envelope == 0 ? kModEnvTimes : kVolEnvTimes;
        rows[at++] = {sources[source],
                      times[stage],
                      0,
                      timeEntry(envelope != 0, static_cast<int>(stage), static_cast<TimeSource>(source)),
                      1,
                      0};
      }
    }
  return rows;
}
constexpr auto kRoutes = makeRoutes();

constexpr ModulatorAmounts makeInitialAmounts() {
  ModulatorAmounts amounts;
  for (const RouteRow& row : kRoutes)
    amounts.values[static_cast<std::size_t>(row.entry)] += static_cast<float>(row.sign * row.initial);
  return amounts;
}
constexpr ModulatorAmounts kInitialAmounts = makeInitialAmounts();

}  // namespace

std::span<const RouteRow> routeRows() { return kRoutes; }

const RouteRow* findRoute(const Modulator& modulator) {
  if (modulator.transform != 0) return nullptr;
  const auto row = std::ranges::find_if(kRoutes, [&](const RouteRow& each) {
    return each.source == modulator.source && each.destination == modulator.destination &&
           each.amountSource == modulator.amountSource;
  });
  return row == kRoutes.end() ? nullptr : &*row;
}

std::int16_t initialModulation(const Modulator& modulator) {
  if (const RouteRow* row = findRoute(modulator)) return row->initial;
  for (const Modulator& other : kOtherDefaults)
    if (isSameRoute(modulator, other)) return other.amount;
  return 0;
}

ModulatorAmounts amountsOf(std::span<const Modulator> modulators) {
  ModulatorAmounts amounts = kInitialAmounts;
  for (const Modulator& modulator : modulators)
    if (const RouteRow* row = findRoute(modulator))
      amounts[row->entry] += static_cast<float>(row->sign * (modulator.amount - row->initial));
  return amounts;
}

std::vector<Modulator> modulatorsOf(const ModulatorAmounts& amounts) {
  std::vector<Modulator> modulators;
  const RouteRow* before = nullptr;
  for (const RouteRow& row : kRoutes) {
    const bool isFirst = !before || before->entry != row.entry;
    before = &row;
    const int amount = roundedWithin(static_cast<double>(amounts[row.entry]) * row.sign, -32768, 32767);
    if (isFirst && amount != row.initial)
      modulators.push_back(
          {row.source, row.destination, static_cast<std::int16_t>(amount), row.amountSource, 0});
  }
  return modulators;
}

std::span<const ModulationRow> modulationRows() { return kRows; }

}  // namespace vemko::soundfont
