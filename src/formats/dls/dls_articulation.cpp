#include "formats/dls/dls_articulation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "core/feature_use.h"
#include "core/filter.h"
#include "core/key_rules.h"
#include "core/parameters.h"

namespace vemko::dls {
namespace {

constexpr Slot v(Stage stage) { return envelopeSlot(slots::VEnv, stage); }
constexpr Slot p(Stage stage) { return envelopeSlot(slots::PEnv, stage); }
constexpr Slot f(Stage stage) { return envelopeSlot(slots::FEnv, stage); }

constexpr double kUnit = 65536;  // of a scale
constexpr std::int32_t kNoTime = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kOpen = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kFiveHertz = -55791973, kTenMilliseconds = -522494111, kShutdown = -476490788,
                       kFull = 1000 * 65536, kVelocityRange = -960 * 65536, kKeyRange = 12800 * 65536,
                       kPanRange = 508 * 65536;

// Velocity to a time, in percent at its ends; the key number in semitones an octave, and to pan.
constexpr double kVelocityToTime = 0.09375, kKeyToPan = 0.000375;

using enum Scale;
using source::ChannelPressure;
using source::Eg2;
using source::Key;
using source::Lfo;
using source::ModWheel;
using source::None;
using source::PitchWheel;
using source::Velocity;
using source::Vibrato;
namespace to = destination;
constexpr std::uint16_t kBipolar = transform::BipolarSource, kInverted = transform::InvertedSource;

// clang-format off
constexpr ConnectionRow kRows[] = {
  // source         control          destination           transform  slot                            scale      factor           initial           written from          carrier         in use level 1 filter
  {None,            None,            to::Pitch,            0,         slots::MasterTuning,            Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {None,            None,            to::Pan,              0,         slots::Pan,                     Linear,    0.002,          0,                Level::One,           Carrier::None,  false, false, false},
  {None,            None,            to::Cutoff,           0,         slots::FilterCutoff,            Hertz,     1,               kOpen,            Level::Two,           Carrier::None,  false, false, true},
  {None,            None,            to::Resonance,        0,         slots::FilterResonance,         Linear,    0.1,            0,                Level::Two,           Carrier::None,  false, false, true},
  {Lfo,             None,            to::Pitch,            kBipolar,  slots::PLfoToPitch,             Linear,    0.01,           0,                Level::One,           Carrier::PLfo,  false, true,  false},
  {Lfo,             None,            to::Pitch,            kBipolar,  slots::XLfoToPitch,             Linear,    0.01,           0,                Level::One,           Carrier::XLfo,  false, false, false},
  {Lfo,             ModWheel,        to::Pitch,            kBipolar,  slots::ModWheelToPLfoToPitch,   Linear,    0.01,           0,                Level::One,           Carrier::PLfo,  false, true,  false},
  {Lfo,             ModWheel,        to::Pitch,            kBipolar,  9,                              Linear,    0.01,           0,                Level::One,           Carrier::XLfo,  false, false, false},
  {Lfo,             ChannelPressure, to::Pitch,            kBipolar,  10,                             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Lfo,             Velocity,        to::Pitch,            kBipolar,  11,                             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Lfo,             None,            to::Gain,             kBipolar,  slots::VLfoToVolume,            Linear,    0.1,            0,                Level::One,           Carrier::None,  false, false, false},
  {Lfo,             ModWheel,        to::Gain,             kBipolar,  20,                             Linear,    0.1,            0,                Level::One,           Carrier::None,  false, false, false},
  {Lfo,             ChannelPressure, to::Gain,             kBipolar,  21,                             Linear,    0.1,            0,                Level::Two,           Carrier::None,  false, false, false},
  {Lfo,             Velocity,        to::Gain,             kBipolar,  22,                             Linear,    0.1,            0,                Level::Two,           Carrier::None,  false, false, false},
  {Lfo,             None,            to::Cutoff,           kBipolar,  slots::FLfoToCutoff,            Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, true},
  {Lfo,             ModWheel,        to::Cutoff,           kBipolar,  32,                             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, true},
  {Lfo,             ChannelPressure, to::Cutoff,           kBipolar,  33,                             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, true},
  {Lfo,             Velocity,        to::Cutoff,           kBipolar,  34,                             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, true},
  {Vibrato,         None,            to::Pitch,            kBipolar,  slots::PLfoToPitch,             Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Vibrato,         ModWheel,        to::Pitch,            kBipolar,  slots::ModWheelToPLfoToPitch,   Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Vibrato,         ChannelPressure, to::Pitch,            kBipolar,  slots::AftertouchToPLfoToPitch, Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Vibrato,         Velocity,        to::Pitch,            kBipolar,  slots::VelocityToPLfoToPitch,   Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, false},
  {Eg2,             None,            to::Pitch,            0,         slots::PEnvToPitch,             Linear,    0.01,           0,                Level::One,           Carrier::None,  false, false, false},
  {Eg2,             None,            to::Cutoff,           0,         slots::FEnvToCutoff,            Linear,    0.01,           0,                Level::Two,           Carrier::None,  false, false, true},
  {None,            None,            to::VibratoFrequency, 0,         69,                             Hertz,     1,               kFiveHertz,       Level::Two,           Carrier::PLfo,  true,  false, false},
  {None,            None,            to::VibratoDelay,     0,         70,                             Seconds,   1,               kTenMilliseconds, Level::Two,           Carrier::PLfo,  true,  false, false},
  {None,            None,            to::LfoFrequency,     0,         69,                             Hertz,     1,               kFiveHertz,       Level::One,           Carrier::PLfo,  true,  true,  false},
  {None,            None,            to::LfoFrequency,     0,         73,                             Hertz,     1,               kFiveHertz,       Level::One,           Carrier::VLfo,  true,  false, false},
  {None,            None,            to::LfoFrequency,     0,         77,                             Hertz,     1,               kFiveHertz,       Level::Two,           Carrier::FLfo,  true,  false, false},
  {None,            None,            to::LfoFrequency,     0,         81,                             Hertz,     1,               kFiveHertz,       Level::One,           Carrier::XLfo,  true,  false, false},
  {None,            None,            to::LfoDelay,         0,         70,                             Seconds,   1,               kTenMilliseconds, Level::One,           Carrier::PLfo,  true,  true,  false},
  {None,            None,            to::LfoDelay,         0,         74,                             Seconds,   1,               kTenMilliseconds, Level::One,           Carrier::VLfo,  true,  false, false},
  {None,            None,            to::LfoDelay,         0,         78,                             Seconds,   1,               kTenMilliseconds, Level::Two,           Carrier::FLfo,  true,  false, false},
  {None,            None,            to::LfoDelay,         0,         82,                             Seconds,   1,               kTenMilliseconds, Level::One,           Carrier::XLfo,  true,  false, false},
  {None,            None,            to::Eg1Delay,         0,         v(Stage::Attack1Time),          Seconds,   1,               kNoTime,          Level::Two,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Attack,        0,         v(Stage::Attack2Time),          Seconds,   1,               kNoTime,          Level::One,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Hold,          0,         v(Stage::Decay1Time),           Seconds,   1,               kNoTime,          Level::Two,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Decay,         0,         v(Stage::Decay2Time),           Seconds,   1,               kNoTime,          Level::One,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Sustain,       0,         v(Stage::Sustain),              Sustain,   0.001,          kFull,            Level::One,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Release,       0,         v(Stage::Release1Rate),         Seconds,   1,               kNoTime,          Level::One,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg1Shutdown,      0,         v(Stage::ShutdownRate),         Seconds,   1,               kShutdown,        Level::Two,           Carrier::None,  false, false, false},
  {None,            None,            to::Eg2Delay,         0,         p(Stage::Attack1Time),          Seconds,   1,               kNoTime,          Level::Two,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Delay,         0,         f(Stage::Attack1Time),          Seconds,   1,               kNoTime,          Level::Two,           Carrier::FEnv,  false, false, false},
  {None,            None,            to::Eg2Attack,        0,         p(Stage::Attack2Time),          Seconds,   1,               kNoTime,          Level::One,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Attack,        0,         f(Stage::Attack2Time),          Seconds,   1,               kNoTime,          Level::Two,           Carrier::FEnv,  false, false, false},
  {None,            None,            to::Eg2Hold,          0,         p(Stage::Decay1Time),           Seconds,   1,               kNoTime,          Level::Two,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Hold,          0,         f(Stage::Decay1Time),           Seconds,   1,               kNoTime,          Level::Two,           Carrier::FEnv,  false, false, false},
  {None,            None,            to::Eg2Decay,         0,         p(Stage::Decay2Time),           Seconds,   1,               kNoTime,          Level::One,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Decay,         0,         f(Stage::Decay2Time),           Seconds,   1,               kNoTime,          Level::Two,           Carrier::FEnv,  false, false, false},
  {None,            None,            to::Eg2Sustain,       0,         p(Stage::Sustain),              Sustain,   0.001,          kFull,            Level::One,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Sustain,       0,         f(Stage::Sustain),              Sustain,   0.001,          kFull,            Level::Two,           Carrier::FEnv,  false, false, false},
  {None,            None,            to::Eg2Release,       0,         p(Stage::Release1Rate),         Seconds,   1,               kNoTime,          Level::One,           Carrier::PEnv,  false, false, false},
  {None,            None,            to::Eg2Release,       0,         f(Stage::Release1Rate),         Seconds,   1,               kNoTime,          Level::Two,           Carrier::FEnv,  false, false, false},
  {Velocity,        None,            to::Gain,             transform::VelocityCurve, slots::VelocityResponse, Linear, -1 / 960.0, kVelocityRange,   Level::One,           Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg1Delay,         0,         v(Stage::VelocityToAttack1),    Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg1Attack,        0,         v(Stage::VelocityToAttack2),    Linear,    kVelocityToTime, 0,                Level::One,           Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg1Hold,          0,         v(Stage::VelocityToDecay1),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg1Decay,         0,         v(Stage::VelocityToDecay2),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg1Release,       0,         v(Stage::VelocityToRelease1),   Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Velocity,        None,            to::Eg2Delay,         0,         p(Stage::VelocityToAttack1),    Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Delay,         0,         f(Stage::VelocityToAttack1),    Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Attack,        0,         p(Stage::VelocityToAttack2),    Linear,    kVelocityToTime, 0,                Level::One,           Carrier::PEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Attack,        0,         f(Stage::VelocityToAttack2),    Linear,    kVelocityToTime, 0,                Level::Two,           Carrier::FEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Hold,          0,         p(Stage::VelocityToDecay1),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Hold,          0,         f(Stage::VelocityToDecay1),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Decay,         0,         p(Stage::VelocityToDecay2),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Decay,         0,         f(Stage::VelocityToDecay2),     Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Release,       0,         p(Stage::VelocityToRelease1),   Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Velocity,        None,            to::Eg2Release,       0,         f(Stage::VelocityToRelease1),   Linear,    kVelocityToTime, 0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Eg1Delay,         0,         v(Stage::KeyToAttack1),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Key,             None,            to::Eg1Attack,        0,         v(Stage::KeyToAttack2),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Key,             None,            to::Eg1Hold,          0,         v(Stage::KeyToDecay1),          KeyToTime, 1,               0,                Level::Two,           Carrier::None,  false, false, false},
  {Key,             None,            to::Eg1Decay,         0,         v(Stage::KeyToDecay2),          KeyToTime, 1,               0,                Level::One,           Carrier::None,  false, false, false},
  {Key,             None,            to::Eg1Release,       0,         v(Stage::KeyToRelease1),        KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {Key,             None,            to::Eg2Delay,         0,         p(Stage::KeyToAttack1),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Key,             None,            to::Eg2Delay,         0,         f(Stage::KeyToAttack1),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Eg2Attack,        0,         p(Stage::KeyToAttack2),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Key,             None,            to::Eg2Attack,        0,         f(Stage::KeyToAttack2),         KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Eg2Hold,          0,         p(Stage::KeyToDecay1),          KeyToTime, 1,               0,                Level::Two,           Carrier::PEnv,  false, false, false},
  {Key,             None,            to::Eg2Hold,          0,         f(Stage::KeyToDecay1),          KeyToTime, 1,               0,                Level::Two,           Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Eg2Decay,         0,         p(Stage::KeyToDecay2),          KeyToTime, 1,               0,                Level::One,           Carrier::PEnv,  false, false, false},
  {Key,             None,            to::Eg2Decay,         0,         f(Stage::KeyToDecay2),          KeyToTime, 1,               0,                Level::Two,           Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Eg2Release,       0,         p(Stage::KeyToRelease1),        KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::PEnv,  false, false, false},
  {Key,             None,            to::Eg2Release,       0,         f(Stage::KeyToRelease1),        KeyToTime, 1,               0,                Level::TwoPlusPlus,   Carrier::FEnv,  false, false, false},
  {Key,             None,            to::Pitch,            0,         slots::KeyToPitch,              Linear,    1 / 12800.0,     kKeyRange,        Level::Two,           Carrier::None,  false, false, false},
  {Key,             None,            to::Pan,              kBipolar,  slots::KeyToPan,                Linear,    kKeyToPan,       0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {source::Pan,     None,            to::Pan,              kBipolar,  slots::Cc10ToPan,               Linear,    1 / 508.0,       kPanRange,        Level::Two,           Carrier::None,  false, false, false},
  {ModWheel,        None,            to::Gain,             0,         slots::ModWheelToVolume,        Linear,    0.1,            0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {ChannelPressure, None,            to::Gain,             0,         slots::AftertouchToVolume,      Linear,    0.1,            0,                Level::TwoPlusPlus,   Carrier::None,  false, false, false},
  {ModWheel,        None,            to::Cutoff,           0,         slots::ModWheelToCutoff,        Linear,    0.01,           0,                Level::TwoPlusPlus,   Carrier::None,  false, false, true},
  {ChannelPressure, None,            to::Cutoff,           0,         slots::AftertouchToCutoff,      Linear,    0.01,           0,                Level::TwoPlusPlus,   Carrier::None,  false, false, true},
  {Velocity,        None,            to::Resonance,        0,         slots::VelocityToResonance,     Linear,    0.1,            0,                Level::TwoPlusPlus,   Carrier::None,  false, false, true},
  {ModWheel,        None,            to::Resonance,        0,         slots::ModWheelToResonance,     Linear,    0.1,            0,                Level::TwoPlusPlus,   Carrier::None,  false, false, true},
  {ChannelPressure, None,            to::Resonance,        0,         slots::AftertouchToResonance,   Linear,    0.1,            0,                Level::TwoPlusPlus,   Carrier::None,  false, false, true},
};
// clang-format on

// Routes that rules of several slots read and write; the first of each kind is the one that is written.
constexpr Connection kGain{None, None, to::Gain, 0, 0};
constexpr Connection kKeyToGain{Key, None, to::Gain, kBipolar, 0};
constexpr Connection kKeyToGainUnipolar{Key, None, to::Gain, 0, 0};
constexpr Connection kVelocityToCutoff{Velocity, None, to::Cutoff, 0, 0};
constexpr Connection kVelocityToCutoffInverted{Velocity, None, to::Cutoff, kInverted, 0};
constexpr Connection kKeyToCutoff{Key, None, to::Cutoff, kBipolar, 0};
constexpr Connection kKeyToCutoffUnipolar{Key, None, to::Cutoff, 0, 0};
constexpr Connection kBendRange{PitchWheel, source::BendRange, to::Pitch, kBipolar, kKeyRange};
constexpr Connection kBend{PitchWheel, None, to::Pitch, kBipolar, 0};
constexpr Connection kReverb{None, None, to::Reverb, 0, 0}, kChorus{None, None, to::Chorus, 0, 0};
constexpr Connection kReverbControl{source::Reverb, None, to::Reverb, 0, kFull},
    kChorusControl{source::Chorus, None, to::Chorus, 0, kFull};
// Volume and expression, which have no slot.
constexpr Connection kVolume{source::Volume, None, to::Gain, transform::VelocityCurve, kVelocityRange};
constexpr Connection kExpression{source::Expression, None, to::Gain, transform::VelocityCurve,
                                 kVelocityRange};

constexpr Connection kSpecials[] = {kKeyToGain, kVelocityToCutoff, kKeyToCutoff,  kReverb,
                                    kChorus,    kReverbControl,    kChorusControl};
constexpr Connection kReadOnly[] = {kGain, kKeyToGainUnipolar, kVelocityToCutoffInverted,
                                    kKeyToCutoffUnipolar};
constexpr Connection kOthers[] = {kBendRange, kBend, kVolume, kExpression};

constexpr Connection routeOf(const ConnectionRow& row) {
  return {row.source, row.control, row.destination, row.transform, row.initial};
}

// --- One scale

// The published factors, for a scale as it stands in the file.
constexpr double kLogPerScale = 8.813822560682638e-09;  // ln 2 / (1200 x 65536)
constexpr double kScalePerOctave = 1200 * 65536.0;
constexpr double kLogOf440Octave = 3.985596;  // ln 2 x 5.75

double secondsOf(std::int32_t scale) { return scale == kNoTime ? 0 : std::exp(scale * kLogPerScale); }
double hertzOf(std::int32_t scale) { return 440 * std::exp(scale * kLogPerScale - kLogOf440Octave); }

std::int32_t rounded(double scale) {
  if (!(scale > kNoTime)) return kNoTime;
  if (scale >= kOpen) return kOpen;
  return static_cast<std::int32_t>(scale + (scale < 0 ? -0.499 : 0.499));
}

std::int32_t scaleOfSeconds(double seconds) {
  return seconds > 0 ? rounded(kScalePerOctave * std::log2(seconds)) : kNoTime;
}
std::int32_t scaleOfHertz(double hertz) {
  return hertz > 0 ? rounded((std::log(hertz / 440) + kLogOf440Octave) / kLogPerScale) : kNoTime;
}

// For what must not leave the parameter's bounds; depths may, as in other formats.
float bounded(Slot slot, double value) { return boundedValue(slot, static_cast<float>(value)); }

// The value that the published default stands for; an open filter has none.
std::optional<float> initialValue(const ConnectionRow& row) {
  if (row.initial == kOpen) return std::nullopt;
  return row.initial == kTenMilliseconds ? 0.01f : parameter(row.slot).initial;
}

float valueOf(const ConnectionRow& row, std::int32_t scale) {
  if (scale == row.initial && initialValue(row)) return *initialValue(row);
  switch (row.scale) {
    case Scale::Linear:
      return static_cast<float>(row.factor * (scale / kUnit));
    case Scale::Sustain:
      return bounded(row.slot, row.factor * (scale / kUnit));
    case Scale::Hertz:
      return static_cast<float>(hertzOf(scale));
    case Scale::Seconds:
      return static_cast<float>(secondsOf(scale));
    case Scale::KeyToTime:
      return static_cast<float>(std::exp2(scale / kUnit / 12800));
  }
  return 0;
}

std::int32_t scaleOf(const ConnectionRow& row, float value) {
  if (value == initialValue(row)) return row.initial;
  switch (row.scale) {
    case Scale::Linear:
    case Scale::Sustain:
      return rounded(value / row.factor * kUnit);
    case Scale::Hertz:
      return scaleOfHertz(value);
    case Scale::Seconds:
      return scaleOfSeconds(value);
    case Scale::KeyToTime:
      return value > 0 ? rounded(12800 * std::log2(value) * kUnit) : 0;
  }
  return 0;
}

// --- Rules that span several slots. Each has its undo, called in the reverse order.

// A list for many look-ups; of several connections of a route the last one counts.
class Routes {
 public:
  explicit Routes(const std::vector<Connection>& connections) {
    for (const Connection& each : connections) scales_.emplace_back(routeKey(each), each.scale);
    std::ranges::stable_sort(scales_, {}, [](const auto& entry) { return entry.first; });
  }
  std::optional<std::int32_t> scale(const Connection& route) const {
    const auto behind =
        std::ranges::upper_bound(scales_, routeKey(route), {}, [](const auto& entry) { return entry.first; });
    if (behind == scales_.begin() || std::prev(behind)->first != routeKey(route)) return std::nullopt;
    return std::prev(behind)->second;
  }
  std::optional<double> amount(const Connection& route) const {
    const auto found = scale(route);
    return found ? std::optional(*found / kUnit) : std::nullopt;
  }

 private:
  std::vector<std::pair<std::uint64_t, std::int32_t>> scales_;
};

// The times stand before the slots of what the key number does to them.
Slot timeOf(Slot keyToTime) { return static_cast<Slot>(keyToTime - 2); }
static_assert(static_cast<int>(Stage::KeyToAttack1) - static_cast<int>(Stage::Attack1Time) == 2 &&
              static_cast<int>(Stage::KeyToDecay2) - static_cast<int>(Stage::Decay2Time) == 2 &&
              static_cast<int>(Stage::KeyToRelease1) - static_cast<int>(Stage::Release1Rate) == 2);

// The file's time is that of key 0, the slot's that of middle C, five octaves above.
void moveTimesToMiddleC(SlotValues& values) {
  for (const ConnectionRow& row : kRows)
    if (row.scale == Scale::KeyToTime)
      values[timeOf(row.slot)] *= static_cast<float>(std::pow(static_cast<double>(values[row.slot]), 5));
}
// Where the level has no such connection, all keys keep the time of middle C.
void moveTimesToKeyZero(Level level, SlotValues& values) {
  for (const ConnectionRow& row : kRows)
    if (row.scale == Scale::KeyToTime && row.writtenFrom <= level && values[row.slot] > 0)
      values[timeOf(row.slot)] =
          static_cast<float>(values[timeOf(row.slot)] / std::pow(static_cast<double>(values[row.slot]), 5));
}

constexpr double kBipolarKeyToGain = 0.01875, kUnipolarKeyToGain = 0.009375;  // dB an octave of a centibel

void applyKeyToGain(const Routes& routes, SlotValues& values) {
  const double bipolar = routes.amount(kKeyToGain).value_or(0);
  const double unipolar = routes.amount(kKeyToGainUnipolar).value_or(0);
  if (bipolar != 0)
    applyKeyToVolume(static_cast<float>(bipolar * kBipolarKeyToGain), KeySource::Bipolar, values);
  else if (unipolar != 0)
    applyKeyToVolume(static_cast<float>(unipolar * kUnipolarKeyToGain), KeySource::Unipolar, values);
}

void applyVelocityRoute(const Routes& routes, SlotValues& values) {
  double cents = routes.amount(kVelocityToCutoff).value_or(0);
  if (cents == 0) cents = -routes.amount(kVelocityToCutoffInverted).value_or(0);
  applyVelocityToCutoff(static_cast<float>(cents * 0.01), values);
}

constexpr double kBipolarKeyToCutoff = 0.001875, kUnipolarKeyToCutoff = 0.0009375;

void applyKeyRoute(const Routes& routes, SlotValues& values) {
  const double bipolar = routes.amount(kKeyToCutoff).value_or(0);
  const double unipolar = routes.amount(kKeyToCutoffUnipolar).value_or(0);
  if (bipolar != 0)
    applyKeyToCutoff(static_cast<float>(bipolar * kBipolarKeyToCutoff), KeySource::Bipolar, values);
  else if (unipolar != 0)
    applyKeyToCutoff(static_cast<float>(unipolar * kUnipolarKeyToCutoff), KeySource::Unipolar, values);
}

// The default range of the controller is two semitones.
void applyBend(const Routes& routes, SlotValues& values) {
  const double range = routes.amount(kBendRange).value_or(12800);
  const double cents = routes.amount(kBend).value_or(0);
  values[slots::BendToPitch] = static_cast<float>(range / 6400 + cents * 0.01);
}

struct SendRoutes {
  int channel;
  const Connection &level, &controller;
};
std::array<SendRoutes, 2> sendRoutes(const SendChannels& sends) {
  return {{{sends.reverb, kReverb, kReverbControl}, {sends.chorus, kChorus, kChorusControl}}};
}

void applySends(const Routes& routes, const SendChannels& sends, SlotValues& values) {
  for (const SendRoutes& each : sendRoutes(sends)) {
    const Slot level = sendLevelSlot(each.channel), controller = sendControllerSlot(each.channel);
    if (const auto amount = routes.amount(each.level)) values[level] = bounded(level, *amount * 0.001);
    if (const auto amount = routes.amount(each.controller))
      values[controller] = static_cast<float>(*amount * 0.001);
  }
}

// --- All rows

bool readsRow(const ConnectionRow& row, List list) {
  if (row.onlyLevel1) return list == List::Level1;
  // At level 1 these are the pitch LFO's.
  const bool isOtherPitch = row.slot == slots::XLfoToPitch || row.slot == 9;
  return !(isOtherPitch && list == List::Level1);
}

void applyRows(const Routes& routes, List list, bool carriersInUse, SlotValues& values) {
  for (const ConnectionRow& row : kRows) {
    if (row.onlyInUse != carriersInUse || !readsRow(row, list)) continue;
    if (carriersInUse && !isInUse(values, row.carrier)) continue;
    if (const auto scale = routes.scale(routeOf(row)))
      values[row.slot] = valueOf(row, *scale);
    else if (carriersInUse)
      values[row.slot] = valueOf(row, row.initial);
  }
}

bool writesRow(const ConnectionRow& row, Level level, bool hasFilter, const SlotValues& values) {
  if (row.writtenFrom > level || (row.onlyLevel1 && level != Level::One) || (row.needsFilter && !hasFilter))
    return false;
  return isInUse(values, row.carrier);
}

void addUnlessInitial(Connection route, std::int32_t scale, std::vector<Connection>& connections) {
  if (scale == route.scale) return;
  route.scale = scale;
  connections.push_back(route);
}

void undoRows(const SlotValues& values, Level level, bool hasFilter, std::vector<Connection>& connections) {
  std::vector<Connection> done;
  for (const ConnectionRow& row : kRows) {
    const Connection route = routeOf(row);
    if (!writesRow(row, level, hasFilter, values) || row.slot == slots::MasterTuning) continue;
    if (findRoute(done, route)) continue;
    done.push_back(route);
    addUnlessInitial(route, scaleOf(row, values[row.slot]), connections);
  }
}

float highestResonance(Level level) { return level == Level::TwoPlusPlus ? 96 : kModestResonanceDb; }

// What wave sample chunks can say of the tuning: whole cents of 16 bits.
double wholeCents(double cents) {
  return std::trunc(std::clamp(cents, -32000.0, 32000.0) + (cents < 0 ? -0.499 : 0.499));
}

void undoTuning(const SlotValues& values, Level level, RegionAmounts& amounts) {
  amounts.cents = wholeCents(values[slots::MasterTuning] * 100.0);
  if (level == Level::One) return;
  const double rest = values[slots::MasterTuning] * 100.0 - amounts.cents;
  // A float holds the slot to about a thousandth of a cent.
  if (std::abs(rest) > 0.002)
    addUnlessInitial({None, None, to::Pitch, 0, 0}, rounded(rest * kUnit), amounts.connections);
}

// Velocity changes a time by as much as itself at most.
constexpr Stage kVelocityStages[] = {Stage::VelocityToAttack1, Stage::VelocityToAttack2,
                                     Stage::VelocityToDecay1, Stage::VelocityToDecay2,
                                     Stage::VelocityToRelease1};

}  // namespace

std::span<const ConnectionRow> connectionRows() { return kRows; }

SlotValues valuesOf(const Articulation& articulation, const WaveTotals& totals, const SendChannels& sends) {
  const Routes routes(articulation.connections);
  SlotValues values = initialValues();
  applyRows(routes, articulation.list, false, values);
  values[slots::MasterTuning] = static_cast<float>(values[slots::MasterTuning] + totals.cents * 0.01);
  values[slots::MasterVolume] = static_cast<float>(totals.gainDb + routes.amount(kGain).value_or(0) * 0.1);
  applyBend(routes, values);
  applyKeyToGain(routes, values);
  if (routes.scale({None, None, to::Cutoff, 0, 0}).value_or(kOpen) == kOpen)
    values[slots::FilterCutoff] = 24000;
  if (applyOpenFilterRule(values)) {
    applyVelocityRoute(routes, values);
    applyKeyRoute(routes, values);
    applyResonanceToVolume(values);
  }
  moveTimesToMiddleC(values);
  applySends(routes, sends, values);
  applyRows(routes, articulation.list, true, values);
  for (Slot envelope : {slots::VEnv, slots::PEnv, slots::FEnv})
    for (Stage stage : kVelocityStages) {
      const Slot slot = envelopeSlot(envelope, stage);
      values[slot] = boundedValue(slot, values[slot]);
    }
  return values;
}

double level1Cents(const SlotValues& values, double ownCents) {
  return wholeCents(values[slots::MasterTuning] * 100.0 + ownCents) - ownCents;
}

RegionAmounts amountsOf(SlotValues values, Level level, const SendChannels& sends) {
  RegionAmounts amounts;
  const bool hasFilter = level != Level::One && isLowPass(filterTypeOf(values));
  if (level != Level::One)
    for (const SendRoutes& each : sendRoutes(sends)) {
      addUnlessInitial(each.level, rounded(values[sendLevelSlot(each.channel)] * 1000.0 * kUnit),
                       amounts.connections);
      addUnlessInitial(each.controller, rounded(values[sendControllerSlot(each.channel)] * 1000.0 * kUnit),
                       amounts.connections);
    }
  moveTimesToKeyZero(level, values);
  if (hasFilter) {
    values[slots::FilterResonance] =
        std::clamp(values[slots::FilterResonance], 0.0f, highestResonance(level));
    undoResonanceToVolume(values);
    addUnlessInitial(kKeyToCutoff, rounded(undoKeyToCutoff(values) / kBipolarKeyToCutoff * kUnit),
                     amounts.connections);
    addUnlessInitial(kVelocityToCutoff, rounded(undoVelocityToCutoff(values) * 100.0 * kUnit),
                     amounts.connections);
  }
  if (level == Level::TwoPlusPlus)
    addUnlessInitial(kKeyToGain, rounded(undoKeyToVolume(values) / kBipolarKeyToGain * kUnit),
                     amounts.connections);
  undoTuning(values, level, amounts);
  amounts.gainDb = values[slots::MasterVolume];
  undoRows(values, level, hasFilter, amounts.connections);
  return amounts;
}

SlotValues limitedTo(Level level, const SlotValues& before, SlotValues now) {
  if (level == Level::One) return now;
  auto isEdited = [&](Slot slot) { return now[slot] != before[slot]; };
  for (const ConnectionRow& row : kRows)
    if (row.writtenFrom > level && isEdited(row.slot)) now[row.slot] = initialValues()[row.slot];
  if (level < Level::TwoPlusPlus && isEdited(slots::KeyToVolume)) now[slots::KeyToVolume] = 0;
  if (isEdited(slots::FilterResonance))
    now[slots::FilterResonance] = std::min(now[slots::FilterResonance], highestResonance(level));
  return now;
}

Connection initialConnection(const Connection& route) {
  for (const ConnectionRow& row : kRows)
    if (isSameRoute(routeOf(row), route)) return routeOf(row);
  for (std::span<const Connection> list :
       {std::span<const Connection>(kSpecials), std::span<const Connection>(kOthers)})
    for (const Connection& each : list)
      if (isSameRoute(each, route)) return each;
  Connection initial = route;
  initial.scale = 0;
  return initial;
}

bool isReadOnlyRoute(const Connection& route) {
  return std::ranges::any_of(kReadOnly, [&](const Connection& each) { return isSameRoute(each, route); });
}

}  // namespace vemko::dls
