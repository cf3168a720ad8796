#include "core/parameters.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vemko {
namespace {

constexpr std::u16string_view kNone = u"", kBipolar = u"Bipolar source", kUnipolar = u"Unipolar source",
                              kPerOctave = u"Multiplier per octave from middle-C",
                              kBandwidth = u"Band-width is a function of Center frequency / Q";

// Slots 0 to 114. The names are what users have known for years, slips included.
// clang-format off
constexpr Parameter kLeadingRows[] = {
    {0, Unit::Semitones, 0, -48, 48, u"Master tuning Pitch adjustment", kNone},
    {1, Unit::Semitones, 0, 0, 96, u"Random to Pitch", kBipolar},
    {2, Unit::Semitones, 1, -12, 12, u"Key to Pitch", u"Semitones per key, centered on Root key"},
    {3, Unit::Semitones, 2, -96, 96, u"Pitch bender to Pitch", kBipolar},
    {4, Unit::Semitones, 0, -96, 96, u"P-LFO to Pitch", kBipolar},
    {5, Unit::Semitones, 0, -96, 96, u"Mod wheel to P-LFO to Pitch", kUnipolar},
    {6, Unit::Semitones, 0, -96, 96, u"Aftertouch to P-LFO to Pitch", kUnipolar},
    {7, Unit::Semitones, 0, -96, 96, u"Velocity to P-LFO to Pitch", kBipolar},
    {8, Unit::Semitones, 0, -96, 96, u"X-LFO to Pitch", kBipolar},
    {9, Unit::Semitones, 0, -96, 96, u"Mod wheel to X-LFO to Pitch", kUnipolar},
    {10, Unit::Semitones, 0, -96, 96, u"Aftertouch to X-LFO to Pitch", kUnipolar},
    {11, Unit::Semitones, 0, -96, 96, u"Velocity to X-LFO to Pitch", kBipolar},
    {12, Unit::Semitones, 0, -96, 96, u"P-ENV to Pitch", kBipolar},
    {13, Unit::Semitones, 0, -96, 96, u"Velocity to P-ENV to Pitch", kBipolar},
    {14, Unit::Decibels, 0, -96, 96, u"Master Volume adjustment", kNone},
    {15, Unit::Decibels, 0, 0, 96, u"Random to Volume", kBipolar},
    {16, Unit::DecibelsPerOctave, 0, -24, 24, u"Key to Volume", u"dB per octave, centered on mid-C"},
    {17, Unit::Decibels, 0, -96, 96, u"Mod wheel to Volume", kUnipolar},
    {18, Unit::Decibels, 0, -96, 96, u"Aftertouch to Volume", kUnipolar},
    {19, Unit::Decibels, 0, -96, 96, u"V-LFO to Volume", kBipolar},
    {20, Unit::Decibels, 0, -96, 96, u"Mod wheel to V-LFO to Volume", kUnipolar},
    {21, Unit::Decibels, 0, -96, 96, u"Aftertrouch to V-LFO to Volume", kUnipolar},
    {22, Unit::Decibels, 0, -96, 96, u"Velocity to V-LFO to Volume", kBipolar},
    {23, Unit::Fraction, 1, -1, 1, u"Velocity response", u"100% = GM standard, 50% = half in dB, 0% = none, -100% = inverted"},
    {24, Unit::Choice, 0, 0, 12, u"Filter type", kNone},
    {25, Unit::Hertz, 8000, 8, 24000, u"Filter Cutoff frequency", kNone},
    {26, Unit::Semitones, 0, -128, 128, u"Velocity to Filter Cutoff", kBipolar},
    {27, Unit::Semitones, 0, -128, 128, u"Key number to Filter Cutoff", u"Centered on mid-C"},
    {28, Unit::Semitones, 0, -128, 128, u"Mod wheel to Filter Cutoff", kUnipolar},
    {29, Unit::Semitones, 0, -128, 128, u"Aftertouch to Filter Cutoff", kUnipolar},
    {30, Unit::Semitones, 0, -128, 128, u"CC74 to Filter Cutoff", kUnipolar},
    {31, Unit::Semitones, 0, -128, 128, u"F-LFO to Filter Cutoff", kBipolar},
    {32, Unit::Semitones, 0, -128, 128, u"Mod wheel to F-LFO to Filter Cutoff", kUnipolar},
    {33, Unit::Semitones, 0, -128, 128, u"Aftertouch to F-LFO to Filter Cutoff", kUnipolar},
    {34, Unit::Semitones, 0, -128, 128, u"Velocity to F-LFO to Filter Cutoff", kBipolar},
    {35, Unit::Semitones, 0, -128, 128, u"F-ENV to Filter Cutoff", kBipolar},
    {36, Unit::Semitones, 0, -128, 128, u"Velocity to F-ENV to Filter Cutoff", kBipolar},
    {37, Unit::Decibels, 0, -6, 96, u"Filter Resonance peak height", kNone},
    {38, Unit::Decibels, 0, -96, 96, u"Velocity to Filter Resonance", kBipolar},
    {39, Unit::Decibels, 0, -96, 96, u"Mod wheel to Filter Resonance", kUnipolar},
    {40, Unit::Decibels, 0, -96, 96, u"Aftertouch to Filter Resonance", kUnipolar},
    {41, Unit::Decibels, 0, -96, 96, u"CC71 to Filter Resonance", kUnipolar},
    {42, Unit::Choice, 0, 0, 2, u"EQ 1 Mode", kNone},
    {43, Unit::Hertz, 120, 16, 24000, u"EQ 1 center Frequency", kNone},
    {44, Unit::Decibels, 0, -24, 24, u"EQ 1 Gain", kNone},
    {45, Unit::None, 0.71f, 0.01f, 10, u"EQ 1 Q-value", kBandwidth},
    {46, Unit::Choice, 0, 0, 2, u"EQ 2 Mode", kNone},
    {47, Unit::Hertz, 800, 16, 24000, u"EQ 2 center Frequency", kNone},
    {48, Unit::Decibels, 0, -24, 24, u"EQ 2 Gain", kNone},
    {49, Unit::None, 0.71f, 0.01f, 10, u"EQ 2 Q-value", kBandwidth},
    {50, Unit::Choice, 0, 0, 2, u"EQ 3 Mode", kNone},
    {51, Unit::Hertz, 5000, 16, 24000, u"EQ 3 center Frequency", kNone},
    {52, Unit::Decibels, 0, -24, 24, u"EQ 3 Gain", kNone},
    {53, Unit::None, 0.71f, 0.01f, 10, u"EQ 3 Q-value", kBandwidth},
    {54, Unit::Fraction, 0, -1, 1, u"Pan position", u"-100% = full left | 0% = centered | +100% = full right"},
    {55, Unit::Fraction, 0, 0, 1, u"Random to Pan position", kBipolar},
    {56, Unit::Fraction, 1, -1, 1, u"CC10 to Pan position", kBipolar},
    {57, Unit::PerOctave, 0, -1, 1, u"Key number to Pan position", u"Per octave, centered on mid-C"},
    {58, Unit::Fraction, 0, -1, 1, u"X-LFO to Pan position", kBipolar},
    {59, Unit::Fraction, 0, -1, 1, u"X-ENV to Pan position", kBipolar},
    {60, Unit::Fraction, 0, 0, 1, u"Send channel 1 level", kNone},
    {61, Unit::Fraction, 1, 0, 1, u"CC91 to Send channel 1 level", kUnipolar},
    {62, Unit::Fraction, 0, 0, 1, u"Send channel 2 level", kNone},
    {63, Unit::Fraction, 1, 0, 1, u"CC92 to Send channel 2 level", kUnipolar},
    {64, Unit::Fraction, 0, 0, 1, u"Send channel 3 level", kNone},
    {65, Unit::Fraction, 1, 0, 1, u"CC93 to Send channel 3 level", kUnipolar},
    {66, Unit::Fraction, 0, 0, 1, u"Send channel 3 level", kNone},
    {67, Unit::Fraction, 1, 0, 1, u"CC94 to Send channel 3 level", kUnipolar},
    {68, Unit::Choice, 0, 0, 255, u"P-LFO Wave Shape", kNone},
    {69, Unit::Hertz, 5, 0.01f, 20, u"P-LFO Frequency", kNone},
    {70, Unit::Seconds, 0, 0, 10, u"P-LFO Delay Time", kNone},
    {71, Unit::Seconds, 0, 0, 100, u"P-LFO Ramp/fade-in Time", kNone},
    {72, Unit::Choice, 0, 0, 255, u"V-LFO Wave Shape", kNone},
    {73, Unit::Hertz, 5, 0.01f, 20, u"V-LFO Frequency", kNone},
    {74, Unit::Seconds, 0, 0, 10, u"V-LFO Delay Time", kNone},
    {75, Unit::Seconds, 0, 0, 100, u"V-LFO Ramp/fade-in Time", kNone},
    {76, Unit::Choice, 0, 0, 255, u"F-LFO Wave Shape", kNone},
    {77, Unit::Hertz, 5, 0.01f, 20, u"F-LFO Frequency", kNone},
    {78, Unit::Seconds, 0, 0, 10, u"F-LFO Delay Time", kNone},
    {79, Unit::Seconds, 0, 0, 100, u"F-LFO Ramp/fade-in Time", kNone},
    {80, Unit::Choice, 0, 0, 255, u"F-LFO Wave Shape", kNone},
    {81, Unit::Hertz, 5, 0.01f, 20, u"F-LFO Frequency", kNone},
    {82, Unit::Seconds, 0, 0, 10, u"F-LFO Delay Time", kNone},
    {83, Unit::Seconds, 0, 0, 100, u"F-LFO Ramp/fade-in Time", kNone},
    {84, Unit::Fraction, 0, 0, 1, u"V-ENV Initial Level", kNone},
    {85, Unit::Seconds, 0, 0, 100, u"V-ENV Attack 1 Time", kNone},
    {86, Unit::Percent, 0, -100, 100, u"V-ENV Velocity to Attack 1 Time", kBipolar},
    {87, Unit::Multiplier, 1, 0.25f, 4, u"V-ENV Key number to Attack 1 Time", kPerOctave},
    {88, Unit::Percent, 0, -100, 100, u"V-ENV CC73 to Attack 1 Time", kUnipolar},
    {89, Unit::Fraction, 0, 0, 1, u"V-ENV Attack 1 Level", kNone},
    {90, Unit::Seconds, 0, 0, 100, u"V-ENV Attack 2 Time", kNone},
    {91, Unit::Percent, 0, -100, 100, u"V-ENV Velocity to Attack 2 Time", kBipolar},
    {92, Unit::Multiplier, 1, 0.25f, 4, u"V-ENV Key number to Attack 2 Time", kPerOctave},
    {93, Unit::Percent, 0, -100, 100, u"V-ENV CC73 to Attack 2 Time", kUnipolar},
    {94, Unit::Fraction, 1, 0, 1, u"V-ENV Attack 2 Level", kNone},
    {95, Unit::Seconds, 0, 0, 100, u"V-ENV Decay 1 Time", kNone},
    {96, Unit::Percent, 0, -100, 100, u"V-ENV Velocity to Decay 1 Time", kBipolar},
    {97, Unit::Multiplier, 1, 0.25f, 4, u"V-ENV Key number to Decay 1 Time", kPerOctave},
    {98, Unit::Fraction, 1, 0, 1, u"V-ENV Decay 1 Level", kNone},
    {99, Unit::Seconds, 0, 0, 100, u"V-ENV Decay 2 Time", kNone},
    {100, Unit::Percent, 0, -100, 100, u"V-ENV Velocity to Decay 2 Time", kBipolar},
    {101, Unit::Multiplier, 1, 0.25f, 4, u"V-ENV Key number to Decay 2 Time", kPerOctave},
    {102, Unit::Fraction, 1, 0, 1, u"V-ENV Sustain", u"Decay 2 Level"},
    {103, Unit::Seconds, 0, 0, 100, u"V-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {104, Unit::Percent, 0, -100, 100, u"V-ENV Velocity to Release 1 Rate", kBipolar},
    {105, Unit::Multiplier, 1, 0.25f, 4, u"V-ENV Key number to Release 1 Rate ", kPerOctave},
    {106, Unit::Percent, 0, -100, 100, u"V-ENV CC72 to Release 1 Rate", kUnipolar},
    {107, Unit::Seconds, 0, 0, 100, u"V-ENV CC69 Hold2 Pedal to Release 1 Rate", u"Time added when the pedal is down"},
    {108, Unit::Fraction, 0, 0, 1, u"V-ENV Release 1 Level", kNone},
    {109, Unit::Seconds, 0, 0, 100, u"V-ENV Release 2 Time", kNone},
    {110, Unit::Fraction, 0, 0, 1, u"V-ENV Release 2 Level", kNone},
    {111, Unit::Seconds, 0, 0, 100, u"V-ENV Release 3 Time", kNone},
    {112, Unit::Fraction, 0, 0, 1, u"V-ENV Release 3 Level", kNone},
    {113, Unit::Choice, 0, 0, 1, u"V-ENV Key Release Mode", kNone},
    {114, Unit::Seconds, 0.015f, 0, 100, u"Shutdown Rate", u"On note or key-exclusion, time from full volume to silent"},
};

constexpr Parameter kXEnvelopeRows[] = {
    {177, Unit::Fraction, 0, -1, 1, u"X-ENV Initial Level", kNone},
    {178, Unit::Seconds, 0, 0, 100, u"X-ENV Attack 1 Time", kNone},
    {179, Unit::None, 0, 0, 0, kNone, kNone},
    {180, Unit::None, 1, 1, 1, kNone, kNone},
    {181, Unit::Percent, 0, 0, 0, u"X-ENV CC73 to Attack 1 Time", kUnipolar},
    {182, Unit::Fraction, 1, -1, 1, u"X-ENV Attack 1 Level", kNone},
    {183, Unit::Seconds, 0, 0, 100, u"X-ENV Attack 2 Time", kNone},
    {184, Unit::None, 0, 0, 0, kNone, kNone},
    {185, Unit::None, 1, 1, 1, kNone, kNone},
    {186, Unit::Percent, 0, 0, 0, u"X-ENV CC73 to Attack 2 Time", kUnipolar},
    {187, Unit::Fraction, 0, -1, 1, u"X-ENV Attack 2 Level", kNone},
    {188, Unit::Seconds, 0, 0, 100, u"X-ENV Decay 1 Time", kNone},
    {189, Unit::None, 0, 0, 0, kNone, kNone},
    {190, Unit::None, 1, 1, 1, kNone, kNone},
    {191, Unit::Fraction, -1, -1, 1, u"X-ENV Decay 1 Level", kNone},
    {192, Unit::Seconds, 0, 0, 100, u"X-ENV Decay 2 Time", kNone},
    {193, Unit::None, 0, 0, 0, kNone, kNone},
    {194, Unit::None, 0, 0, 0, kNone, kNone},
    {195, Unit::Fraction, 0, -1, 1, u"X-ENV Sustain | Decay 2 Level", kNone},
    {196, Unit::Seconds, 0, 0, 100, u"X-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {197, Unit::None, 0, 0, 0, kNone, kNone},
    {198, Unit::None, 1, 1, 1, kNone, kNone},
    {199, Unit::Percent, 0, 0, 0, u"X-ENV CC72 to Release 1 Rate", kUnipolar},
    {200, Unit::None, 0, 0, 0, kNone, kNone},
    {201, Unit::Fraction, 0, -1, 1, u"X-ENV Release 1 Level", kNone},
    {202, Unit::Seconds, 0, 0, 100, u"X-ENV Release 2 Time", kNone},
    {203, Unit::Fraction, 0, -1, 1, u"X-ENV Release 2 Level", kNone},
    {204, Unit::Seconds, 0, 0, 100, u"X-ENV Release 3 Time", kNone},
    {205, Unit::Fraction, 0, -1, 1, u"X-ENV Release 3 Level", kNone},
    {206, Unit::Choice, 1, 0, 1, u"X-ENV Key Release Mode", kNone},
};
// clang-format on

constexpr int kEnvelopeSlots = 31;
constexpr std::size_t kLongestName = 48;
using NameText = std::array<char16_t, kLongestName>;

constexpr bool isStageOf(Slot slot, std::initializer_list<Stage> stages) {
  for (Stage stage : stages)
    if (slot == envelopeSlot(slots::VEnv, stage)) return true;
  return false;
}

// Names of the pitch and the filter envelope are those of the volume envelope but for the first letter.
constexpr auto envelopeNames(char16_t letter) {
  std::array<NameText, kEnvelopeSlots> names{};
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::ranges::copy(kLeadingRows[slots::VEnv + i].name, names[i].begin());
    names[i][0] = letter;
  }
  return names;
}
constexpr auto kPEnvelopeNames = envelopeNames(u'P');
constexpr auto kFEnvelopeNames = envelopeNames(u'F');

// The row of a pitch or filter envelope that answers to a row of the volume envelope.
constexpr Parameter envelopeRow(const Parameter& row, Slot envelope, const NameText& name) {
  const auto slot = static_cast<Slot>(row.slot - slots::VEnv + envelope);
  if (isStageOf(row.slot, {Stage::HoldPedalToRelease1, Stage::ShutdownRate}))
    return {slot, Unit::None, 0, 0, 0, kNone, kNone};
  Parameter derived = row;
  derived.slot = slot;
  derived.name = {name.data(), row.name.size()};
  if (isStageOf(row.slot, {Stage::InitialLevel, Stage::Attack1Level, Stage::Attack2Level, Stage::Decay1Level,
                           Stage::Sustain, Stage::Release1Level, Stage::Release2Level, Stage::Release3Level}))
    derived.minimum = -1;
  return derived;
}

constexpr auto kTable = [] {
  std::array<Parameter, kSlotCount> table{};
  auto next = std::ranges::copy(kLeadingRows, table.begin()).out;
  for (std::size_t i = 0; i < kEnvelopeSlots; ++i)
    *next++ = envelopeRow(kLeadingRows[slots::VEnv + i], slots::PEnv, kPEnvelopeNames[i]);
  for (std::size_t i = 0; i < kEnvelopeSlots; ++i)
    *next++ = envelopeRow(kLeadingRows[slots::VEnv + i], slots::FEnv, kFEnvelopeNames[i]);
  next = std::ranges::copy(kXEnvelopeRows, next).out;
  *next = {kSlotCount - 1, Unit::None, 0, 0, 0, kNone, kNone};
  return table;
}();

constexpr bool tableIsSound() {
  for (std::size_t i = 0; i < kTable.size(); ++i) {
    const Parameter& row = kTable[i];
    if (row.slot != i || row.initial < row.minimum || row.initial > row.maximum) return false;
  }
  return true;
}
static_assert(tableIsSound());

}  // namespace

std::span<const Parameter> parameterTable() { return kTable; }

float boundedValue(Slot slot, float value) {
  const Parameter& row = parameter(slot);
  return std::isnan(value) ? row.initial : std::clamp(value, row.minimum, row.maximum);
}

}  // namespace vemko
