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
    {0, 0, -48, 48, Unit::Semitones, u"Master tuning Pitch adjustment", kNone},
    {1, 0, 0, 96, Unit::Semitones, u"Random to Pitch", kBipolar},
    {2, 1, -12, 12, Unit::Semitones, u"Key to Pitch", u"Semitones per key, centered on Root key"},
    {3, 2, -96, 96, Unit::Semitones, u"Pitch bender to Pitch", kBipolar},
    {4, 0, -96, 96, Unit::Semitones, u"P-LFO to Pitch", kBipolar},
    {5, 0, -96, 96, Unit::Semitones, u"Mod wheel to P-LFO to Pitch", kUnipolar},
    {6, 0, -96, 96, Unit::Semitones, u"Aftertouch to P-LFO to Pitch", kUnipolar},
    {7, 0, -96, 96, Unit::Semitones, u"Velocity to P-LFO to Pitch", kBipolar},
    {8, 0, -96, 96, Unit::Semitones, u"X-LFO to Pitch", kBipolar},
    {9, 0, -96, 96, Unit::Semitones, u"Mod wheel to X-LFO to Pitch", kUnipolar},
    {10, 0, -96, 96, Unit::Semitones, u"Aftertouch to X-LFO to Pitch", kUnipolar},
    {11, 0, -96, 96, Unit::Semitones, u"Velocity to X-LFO to Pitch", kBipolar},
    {12, 0, -96, 96, Unit::Semitones, u"P-ENV to Pitch", kBipolar},
    {13, 0, -96, 96, Unit::Semitones, u"Velocity to P-ENV to Pitch", kBipolar},
    {14, 0, -96, 96, Unit::Decibels, u"Master Volume adjustment", kNone},
    {15, 0, 0, 96, Unit::Decibels, u"Random to Volume", kBipolar},
    {16, 0, -24, 24, Unit::DecibelsPerOctave, u"Key to Volume", u"dB per octave, centered on mid-C"},
    {17, 0, -96, 96, Unit::Decibels, u"Mod wheel to Volume", kUnipolar},
    {18, 0, -96, 96, Unit::Decibels, u"Aftertouch to Volume", kUnipolar},
    {19, 0, -96, 96, Unit::Decibels, u"V-LFO to Volume", kBipolar},
    {20, 0, -96, 96, Unit::Decibels, u"Mod wheel to V-LFO to Volume", kUnipolar},
    {21, 0, -96, 96, Unit::Decibels, u"Aftertrouch to V-LFO to Volume", kUnipolar},
    {22, 0, -96, 96, Unit::Decibels, u"Velocity to V-LFO to Volume", kBipolar},
    {23, 1, -1, 1, Unit::Fraction, u"Velocity response", u"100% = GM standard, 50% = half in dB, 0% = none, -100% = inverted"},
    {24, 0, 0, 12, Unit::Choice, u"Filter type", kNone},
    {25, 8000, 8, 24000, Unit::Hertz, u"Filter Cutoff frequency", kNone},
    {26, 0, -128, 128, Unit::Semitones, u"Velocity to Filter Cutoff", kBipolar},
    {27, 0, -128, 128, Unit::Semitones, u"Key number to Filter Cutoff", u"Centered on mid-C"},
    {28, 0, -128, 128, Unit::Semitones, u"Mod wheel to Filter Cutoff", kUnipolar},
    {29, 0, -128, 128, Unit::Semitones, u"Aftertouch to Filter Cutoff", kUnipolar},
    {30, 0, -128, 128, Unit::Semitones, u"CC74 to Filter Cutoff", kUnipolar},
    {31, 0, -128, 128, Unit::Semitones, u"F-LFO to Filter Cutoff", kBipolar},
    {32, 0, -128, 128, Unit::Semitones, u"Mod wheel to F-LFO to Filter Cutoff", kUnipolar},
    {33, 0, -128, 128, Unit::Semitones, u"Aftertouch to F-LFO to Filter Cutoff", kUnipolar},
    {34, 0, -128, 128, Unit::Semitones, u"Velocity to F-LFO to Filter Cutoff", kBipolar},
    {35, 0, -128, 128, Unit::Semitones, u"F-ENV to Filter Cutoff", kBipolar},
    {36, 0, -128, 128, Unit::Semitones, u"Velocity to F-ENV to Filter Cutoff", kBipolar},
    {37, 0, -6, 96, Unit::Decibels, u"Filter Resonance peak height", kNone},
    {38, 0, -96, 96, Unit::Decibels, u"Velocity to Filter Resonance", kBipolar},
    {39, 0, -96, 96, Unit::Decibels, u"Mod wheel to Filter Resonance", kUnipolar},
    {40, 0, -96, 96, Unit::Decibels, u"Aftertouch to Filter Resonance", kUnipolar},
    {41, 0, -96, 96, Unit::Decibels, u"CC71 to Filter Resonance", kUnipolar},
    {42, 0, 0, 2, Unit::Choice, u"EQ 1 Mode", kNone},
    {43, 120, 16, 24000, Unit::Hertz, u"EQ 1 center Frequency", kNone},
    {44, 0, -24, 24, Unit::Decibels, u"EQ 1 Gain", kNone},
    {45, 0.71f, 0.01f, 10, Unit::None, u"EQ 1 Q-value", kBandwidth},
    {46, 0, 0, 2, Unit::Choice, u"EQ 2 Mode", kNone},
    {47, 800, 16, 24000, Unit::Hertz, u"EQ 2 center Frequency", kNone},
    {48, 0, -24, 24, Unit::Decibels, u"EQ 2 Gain", kNone},
    {49, 0.71f, 0.01f, 10, Unit::None, u"EQ 2 Q-value", kBandwidth},
    {50, 0, 0, 2, Unit::Choice, u"EQ 3 Mode", kNone},
    {51, 5000, 16, 24000, Unit::Hertz, u"EQ 3 center Frequency", kNone},
    {52, 0, -24, 24, Unit::Decibels, u"EQ 3 Gain", kNone},
    {53, 0.71f, 0.01f, 10, Unit::None, u"EQ 3 Q-value", kBandwidth},
    {54, 0, -1, 1, Unit::Fraction, u"Pan position", u"-100% = full left | 0% = centered | +100% = full right"},
    {55, 0, 0, 1, Unit::Fraction, u"Random to Pan position", kBipolar},
    {56, 1, -1, 1, Unit::Fraction, u"CC10 to Pan position", kBipolar},
    {57, 0, -1, 1, Unit::PerOctave, u"Key number to Pan position", u"Per octave, centered on mid-C"},
    {58, 0, -1, 1, Unit::Fraction, u"X-LFO to Pan position", kBipolar},
    {59, 0, -1, 1, Unit::Fraction, u"X-ENV to Pan position", kBipolar},
    {60, 0, 0, 1, Unit::Fraction, u"Send channel 1 level", kNone},
    {61, 1, 0, 1, Unit::Fraction, u"CC91 to Send channel 1 level", kUnipolar},
    {62, 0, 0, 1, Unit::Fraction, u"Send channel 2 level", kNone},
    {63, 1, 0, 1, Unit::Fraction, u"CC92 to Send channel 2 level", kUnipolar},
    {64, 0, 0, 1, Unit::Fraction, u"Send channel 3 level", kNone},
    {65, 1, 0, 1, Unit::Fraction, u"CC93 to Send channel 3 level", kUnipolar},
    {66, 0, 0, 1, Unit::Fraction, u"Send channel 3 level", kNone},
    {67, 1, 0, 1, Unit::Fraction, u"CC94 to Send channel 3 level", kUnipolar},
    {68, 0, 0, 255, Unit::Choice, u"P-LFO Wave Shape", kNone},
    {69, 5, 0.01f, 20, Unit::Hertz, u"P-LFO Frequency", kNone},
    {70, 0, 0, 10, Unit::Seconds, u"P-LFO Delay Time", kNone},
    {71, 0, 0, 100, Unit::Seconds, u"P-LFO Ramp/fade-in Time", kNone},
    {72, 0, 0, 255, Unit::Choice, u"V-LFO Wave Shape", kNone},
    {73, 5, 0.01f, 20, Unit::Hertz, u"V-LFO Frequency", kNone},
    {74, 0, 0, 10, Unit::Seconds, u"V-LFO Delay Time", kNone},
    {75, 0, 0, 100, Unit::Seconds, u"V-LFO Ramp/fade-in Time", kNone},
    {76, 0, 0, 255, Unit::Choice, u"F-LFO Wave Shape", kNone},
    {77, 5, 0.01f, 20, Unit::Hertz, u"F-LFO Frequency", kNone},
    {78, 0, 0, 10, Unit::Seconds, u"F-LFO Delay Time", kNone},
    {79, 0, 0, 100, Unit::Seconds, u"F-LFO Ramp/fade-in Time", kNone},
    {80, 0, 0, 255, Unit::Choice, u"F-LFO Wave Shape", kNone},
    {81, 5, 0.01f, 20, Unit::Hertz, u"F-LFO Frequency", kNone},
    {82, 0, 0, 10, Unit::Seconds, u"F-LFO Delay Time", kNone},
    {83, 0, 0, 100, Unit::Seconds, u"F-LFO Ramp/fade-in Time", kNone},
    {84, 0, 0, 1, Unit::Fraction, u"V-ENV Initial Level", kNone},
    {85, 0, 0, 100, Unit::Seconds, u"V-ENV Attack 1 Time", kNone},
    {86, 0, -100, 100, Unit::Percent, u"V-ENV Velocity to Attack 1 Time", kBipolar},
    {87, 1, 0.25f, 4, Unit::Multiplier, u"V-ENV Key number to Attack 1 Time", kPerOctave},
    {88, 0, -100, 100, Unit::Percent, u"V-ENV CC73 to Attack 1 Time", kUnipolar},
    {89, 0, 0, 1, Unit::Fraction, u"V-ENV Attack 1 Level", kNone},
    {90, 0, 0, 100, Unit::Seconds, u"V-ENV Attack 2 Time", kNone},
    {91, 0, -100, 100, Unit::Percent, u"V-ENV Velocity to Attack 2 Time", kBipolar},
    {92, 1, 0.25f, 4, Unit::Multiplier, u"V-ENV Key number to Attack 2 Time", kPerOctave},
    {93, 0, -100, 100, Unit::Percent, u"V-ENV CC73 to Attack 2 Time", kUnipolar},
    {94, 1, 0, 1, Unit::Fraction, u"V-ENV Attack 2 Level", kNone},
    {95, 0, 0, 100, Unit::Seconds, u"V-ENV Decay 1 Time", kNone},
    {96, 0, -100, 100, Unit::Percent, u"V-ENV Velocity to Decay 1 Time", kBipolar},
    {97, 1, 0.25f, 4, Unit::Multiplier, u"V-ENV Key number to Decay 1 Time", kPerOctave},
    {98, 1, 0, 1, Unit::Fraction, u"V-ENV Decay 1 Level", kNone},
    {99, 0, 0, 100, Unit::Seconds, u"V-ENV Decay 2 Time", kNone},
    {100, 0, -100, 100, Unit::Percent, u"V-ENV Velocity to Decay 2 Time", kBipolar},
    {101, 1, 0.25f, 4, Unit::Multiplier, u"V-ENV Key number to Decay 2 Time", kPerOctave},
    {102, 1, 0, 1, Unit::Fraction, u"V-ENV Sustain", u"Decay 2 Level"},
    {103, 0, 0, 100, Unit::Seconds, u"V-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {104, 0, -100, 100, Unit::Percent, u"V-ENV Velocity to Release 1 Rate", kBipolar},
    {105, 1, 0.25f, 4, Unit::Multiplier, u"V-ENV Key number to Release 1 Rate ", kPerOctave},
    {106, 0, -100, 100, Unit::Percent, u"V-ENV CC72 to Release 1 Rate", kUnipolar},
    {107, 0, 0, 100, Unit::Seconds, u"V-ENV CC69 Hold2 Pedal to Release 1 Rate", u"Time added when the pedal is down"},
    {108, 0, 0, 1, Unit::Fraction, u"V-ENV Release 1 Level", kNone},
    {109, 0, 0, 100, Unit::Seconds, u"V-ENV Release 2 Time", kNone},
    {110, 0, 0, 1, Unit::Fraction, u"V-ENV Release 2 Level", kNone},
    {111, 0, 0, 100, Unit::Seconds, u"V-ENV Release 3 Time", kNone},
    {112, 0, 0, 1, Unit::Fraction, u"V-ENV Release 3 Level", kNone},
    {113, 0, 0, 1, Unit::Choice, u"V-ENV Key Release Mode", kNone},
    {114, 0.015f, 0, 100, Unit::Seconds, u"Shutdown Rate", u"On note or key-exclusion, time from full volume to silent"},
};

constexpr Parameter kXEnvelopeRows[] = {
    {177, 0, -1, 1, Unit::Fraction, u"X-ENV Initial Level", kNone},
    {178, 0, 0, 100, Unit::Seconds, u"X-ENV Attack 1 Time", kNone},
    {179, 0, 0, 0, Unit::None, kNone, kNone},
    {180, 1, 1, 1, Unit::None, kNone, kNone},
    {181, 0, 0, 0, Unit::Percent, u"X-ENV CC73 to Attack 1 Time", kUnipolar},
    {182, 1, -1, 1, Unit::Fraction, u"X-ENV Attack 1 Level", kNone},
    {183, 0, 0, 100, Unit::Seconds, u"X-ENV Attack 2 Time", kNone},
    {184, 0, 0, 0, Unit::None, kNone, kNone},
    {185, 1, 1, 1, Unit::None, kNone, kNone},
    {186, 0, 0, 0, Unit::Percent, u"X-ENV CC73 to Attack 2 Time", kUnipolar},
    {187, 0, -1, 1, Unit::Fraction, u"X-ENV Attack 2 Level", kNone},
    {188, 0, 0, 100, Unit::Seconds, u"X-ENV Decay 1 Time", kNone},
    {189, 0, 0, 0, Unit::None, kNone, kNone},
    {190, 1, 1, 1, Unit::None, kNone, kNone},
    {191, -1, -1, 1, Unit::Fraction, u"X-ENV Decay 1 Level", kNone},
    {192, 0, 0, 100, Unit::Seconds, u"X-ENV Decay 2 Time", kNone},
    {193, 0, 0, 0, Unit::None, kNone, kNone},
    {194, 0, 0, 0, Unit::None, kNone, kNone},
    {195, 0, -1, 1, Unit::Fraction, u"X-ENV Sustain | Decay 2 Level", kNone},
    {196, 0, 0, 100, Unit::Seconds, u"X-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {197, 0, 0, 0, Unit::None, kNone, kNone},
    {198, 1, 1, 1, Unit::None, kNone, kNone},
    {199, 0, 0, 0, Unit::Percent, u"X-ENV CC72 to Release 1 Rate", kUnipolar},
    {200, 0, 0, 0, Unit::None, kNone, kNone},
    {201, 0, -1, 1, Unit::Fraction, u"X-ENV Release 1 Level", kNone},
    {202, 0, 0, 100, Unit::Seconds, u"X-ENV Release 2 Time", kNone},
    {203, 0, -1, 1, Unit::Fraction, u"X-ENV Release 2 Level", kNone},
    {204, 0, 0, 100, Unit::Seconds, u"X-ENV Release 3 Time", kNone},
    {205, 0, -1, 1, Unit::Fraction, u"X-ENV Release 3 Level", kNone},
    {206, 1, 0, 1, Unit::Choice, u"X-ENV Key Release Mode", kNone},
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
    return {slot, 0, 0, 0, Unit::None, kNone, kNone};
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
  *next = {kSlotCount - 1, 0, 0, 0, Unit::None, kNone, kNone};
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
