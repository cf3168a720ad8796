// Connections and slots: the table in both directions, and the rules beside it.
#include "formats/dls/dls_articulation.h"

#include "core/parameters.h"
#include "formats/dls_support.h"

namespace vemko::test {
namespace {

namespace to = dls::destination;
namespace from = dls::source;
using dls::Level;

SlotValues valuesOfList(std::vector<Connection> connections, dls::List list = dls::List::Level2) {
  return dls::valuesOf({list, std::move(connections)});
}

TEST(DlsArticulation, UnitsAreThePublishedOnes) {
  const struct {
    const char* name;
    Connection connection;
    Slot slot;
    double value;
  } cases[] = {
      {"attack of 1 s", connection(0, 0, to::Eg1Attack, 0, 0), 90, 1},
      {"attack of 1/1024 s", connection(0, 0, to::Eg1Attack, 0, -12000), 90, 1 / 1024.0},
      {"attack of no time", {0, 0, to::Eg1Attack, 0, INT32_MIN}, 90, 0},
      {"decay of 2^(1/3) s", connection(0, 0, to::Eg1Decay, 0, 400), 99, 1.259921},
      {"cutoff at key 69", connection(0, 0, to::Cutoff, 0, 6900), slots::FilterCutoff, 440},
      {"half the sustain", connection(0, 0, to::Eg1Sustain, 0, 500), 102, 0.5},
      {"pan full right", connection(0, 0, to::Pan, 0, 500), slots::Pan, 1},
      {"vibrato of 50 cents", connection(from::Vibrato, 0, to::Pitch, 0x4000, 50), slots::PLfoToPitch, 0.5},
      {"tremolo of 3 dB", connection(from::Lfo, 0, to::Gain, 0, 30), slots::VLfoToVolume, 3},
      {"velocity curve", connection(from::Velocity, 0, to::Gain, 0x8400, -960), slots::VelocityResponse, 1},
      {"no velocity", connection(from::Velocity, 0, to::Gain, 0x8400, 0), slots::VelocityResponse, 0},
      {"half a semitone a key", connection(from::Key, 0, to::Pitch, 0, 6400), slots::KeyToPitch, 0.5},
      {"bend of a fourth", connection(from::PitchWheel, from::BendRange, to::Pitch, 0x4000, 32000),
       slots::BendToPitch, 5},
      {"reverb", connection(0, 0, to::Reverb, 0, 300), 60, 0.3},
      {"chorus", connection(0, 0, to::Chorus, 0, 150), 64, 0.15},
      {"reverb controller", connection(from::Reverb, 0, to::Reverb, 0, 500), 61, 0.5},
      {"gain", connection(0, 0, to::Gain, 0, -60), slots::MasterVolume, -6},
      {"resonance", connection(0, 0, to::Resonance, 0, 100), slots::FilterResonance, 10},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    EXPECT_NEAR(valuesOfList({each.connection})[each.slot], each.value, 1e-4 * std::max(1.0, each.value));
  }
  // An open filter with a peak is as open where the list says so as where it does not.
  const Connection peak = connection(0, 0, to::Resonance, 0, 100), open{0, 0, to::Cutoff, 0, INT32_MAX};
  EXPECT_FLOAT_EQ(valuesOfList({peak})[slots::FilterCutoff], 24000);
  EXPECT_EQ(valuesOfList({peak, open}), valuesOfList({peak}));
}

// Values between a parameter's bounds that differ from its default.
std::vector<float> samplesOf(const dls::ConnectionRow& row) {
  const Parameter& parameter = vemko::parameter(row.slot);
  std::vector<float> values;
  for (float part : {0.1f, 0.3f, 0.55f, 0.9f}) {
    float low = std::max(parameter.minimum, -24.0f), high = std::min(parameter.maximum, 24.0f);
    if (row.scale == dls::Scale::Hertz) low = 1, high = row.slot == slots::FilterCutoff ? 12000 : 20;
    if (row.scale == dls::Scale::KeyToTime) low = 0.5, high = 2;
    if (row.slot == slots::KeyToPitch) low = -2.5, high = 2.5;  // as far as the unit reaches
    if (const float value = low + part * (high - low); value != parameter.initial) values.push_back(value);
  }
  return values;
}

// Sets what makes the row's carrier count.
void useCarrier(Carrier carrier, SlotValues& values) {
  const struct {
    Carrier carrier;
    Slot depth;
  } depths[] = {{Carrier::PLfo, 4}, {Carrier::VLfo, 19}, {Carrier::FLfo, 31},
                {Carrier::XLfo, 8}, {Carrier::PEnv, 12}, {Carrier::FEnv, 35}};
  for (const auto& each : depths)
    if (each.carrier == carrier && values[each.depth] == 0) values[each.depth] = 3;
}

TEST(DlsArticulation, EveryRowComesBackAtEveryLevelThatHasIt) {
  for (Level level : {Level::One, Level::Two, Level::TwoPlus, Level::TwoPlusPlus})
    for (const dls::ConnectionRow& row : dls::connectionRows()) {
      if (row.writtenFrom > level || (row.onlyLevel1 && level != Level::One)) continue;
      // Its LFO to pitch is read as the pitch LFO.
      if (level == Level::One && row.carrier == Carrier::XLfo) continue;
      for (float value : samplesOf(row)) {
        SCOPED_TRACE(testing::Message()
                     << "level " << int(level) << ", slot " << int(row.slot) << " = " << value);
        SlotValues values = initialValues();
        values[slots::FilterType] = level == Level::One ? 0.0f : 2.0f;
        values[slots::FilterCutoff] = 1000;
        if (row.slot == slots::FilterResonance) value = std::min(std::abs(value), 22.0f);
        values[row.slot] = value;
        useCarrier(row.carrier, values);
        dls::RegionAmounts amounts = dls::amountsOf(values, level);
        const dls::List list = level == Level::One ? dls::List::Level1 : dls::List::Level2;
        const SlotValues again = dls::valuesOf({list, amounts.connections}, {amounts.gainDb, amounts.cents});
        EXPECT_NEAR(again[row.slot], value, 2e-5 * std::max(1.0f, std::abs(value)));
        EXPECT_NEAR(again[slots::MasterVolume], 0, 1e-4);
      }
    }
}

TEST(DlsArticulation, DefaultsAreNotWritten) {
  for (Level level : {Level::One, Level::Two, Level::TwoPlusPlus})
    EXPECT_TRUE(dls::amountsOf(initialValues(), level).connections.empty());
  EXPECT_EQ(blockOf(valuesOfList({})), ArticulationBlock());
  EXPECT_EQ(blockOf(valuesOfList({connection(from::Velocity, 0, to::Gain, 0x8400, -960),
                                  connection(from::Key, 0, to::Pitch, 0, 12800),
                                  connection(from::Pan, 0, to::Pan, 0x4000, 508),
                                  connection(from::Chorus, 0, to::Chorus, 0, 1000),
                                  connection(0, 0, to::Eg1Sustain, 0, 1000),
                                  {0, 0, to::Cutoff, 0, INT32_MAX}})),
            ArticulationBlock());
}

// The route from one end of the keyboard counts where that from its middle says nothing.
TEST(DlsArticulation, KeysMoveCutoffAndVolumeFromEitherPlace) {
  const Connection cutoff = connection(0, 0, to::Cutoff, 0, 6900);
  const struct {
    const char* name;
    double bipolar, unipolar, semitonesAnOctave, dbAnOctave;
  } cases[] = {
      {"from the middle", 1280, 640, 2.4, 24}, {"from the end", 0, 1280, 1.2, 12}, {"neither", 0, 0, 0, 0}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    const SlotValues values =
        valuesOfList({cutoff, connection(from::Key, 0, to::Cutoff, 0x4000, each.bipolar),
                      connection(from::Key, 0, to::Cutoff, 0, each.unipolar),
                      connection(from::Key, 0, to::Gain, 0x4000, each.bipolar),
                      connection(from::Key, 0, to::Gain, 0, each.unipolar)});
    EXPECT_NEAR(values[slots::KeyToCutoff], each.semitonesAnOctave, 1e-5);
    EXPECT_NEAR(values[slots::KeyToVolume], each.dbAnOctave, 1e-4);
  }
}

// Halves of a cent go towards zero, and it is the sum that is rounded.
TEST(DlsArticulation, Level1RoundsTheTuningTogetherWithTheWaveforms) {
  const struct {
    double cents, ownCents, written;
  } cases[] = {{0.5, 0, 0},   {-0.5, 0, 0}, {0.502, 0, 1}, {0.5, 4, 4},       {-0.5, 5, 4},
               {0.5, -5, -4}, {-0.4, 5, 5}, {-0.6, 5, 4},  {-137.2, 12, -125}};
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::Message() << each.cents << " and " << each.ownCents);
    SlotValues values = initialValues();
    values[slots::MasterTuning] = static_cast<float>(each.cents / 100);
    EXPECT_EQ(dls::level1Cents(values, each.ownCents) + each.ownCents, each.written);
    EXPECT_TRUE(dls::amountsOf(values, Level::One).connections.empty());
  }
}

TEST(DlsArticulation, ResonanceIsBoundedByTheLevel) {
  SlotValues values = initialValues();
  values[slots::FilterType] = 2;
  values[slots::FilterCutoff] = 1000;
  values[slots::FilterResonance] = 30;
  const struct {
    Level level;
    double centibels, gainDb;
  } cases[] = {{Level::Two, 225, 11.25}, {Level::TwoPlus, 225, 11.25}, {Level::TwoPlusPlus, 300, 15}};
  for (const auto& each : cases) {
    SCOPED_TRACE(int(each.level));
    const dls::RegionAmounts amounts = dls::amountsOf(values, each.level);
    const Connection* resonance = dls::findRoute(amounts.connections, connection(0, 0, to::Resonance, 0, 0));
    ASSERT_TRUE(resonance);
    EXPECT_EQ(resonance->scale, each.centibels * 65536);
    EXPECT_DOUBLE_EQ(amounts.gainDb, each.gainDb);
  }
}

TEST(DlsArticulation, RulesOverSeveralSlotsComeBack) {
  const struct {
    const char* name;
    std::vector<std::pair<Slot, float>> slots;
    Level level;
  } cases[] = {
      {"velocity to cutoff", {{24, 2.0f}, {25, 2000.0f}, {26, -12.0f}}, Level::Two},
      {"key to cutoff", {{24, 2.0f}, {25, 2000.0f}, {27, 6.0f}}, Level::Two},
      {"both with a peak",
       {{24, 2.0f}, {25, 2000.0f}, {26, 7.0f}, {27, -6.0f}, {37, 12.0f}, {14, -3.0f}},
       Level::Two},
      {"key to volume", {{16, 6.0f}, {14, -1.0f}}, Level::TwoPlusPlus},
      {"key to decay", {{99, 2.0f}, {101, 0.5f}}, Level::One},
      {"sends", {{60, 0.25f}, {61, 0.5f}, {64, 0.75f}, {65, 0.0f}}, Level::Two},
      {"half a cent", {{0, 1.125f}}, Level::Two},
      {"three carriers of one LFO",
       {{8, 1.0f}, {19, 2.0f}, {81, 3.0f}, {73, 3.0f}, {82, 0.5f}, {74, 0.5f}},
       Level::Two},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    SlotValues values = initialValues();
    for (const auto& [slot, value] : each.slots) values[slot] = value;
    const dls::RegionAmounts amounts = dls::amountsOf(values, each.level);
    const dls::List list = each.level == Level::One ? dls::List::Level1 : dls::List::Level2;
    const SlotValues again = dls::valuesOf({list, amounts.connections}, {amounts.gainDb, amounts.cents});
    for (const auto& [slot, value] : each.slots)
      EXPECT_NEAR(again[slot], value, 1e-4 * std::max(1.0f, std::abs(value))) << int(slot);
  }
}

TEST(DlsArticulation, KeysChangeTimesAroundMiddleC) {
  // A decay of 8 s at key 0 that halves every octave is 1/4 s at middle C.
  const SlotValues values = valuesOfList(
      {connection(0, 0, to::Eg1Decay, 0, 3600), connection(from::Key, 0, to::Eg1Decay, 0, -12800)});
  EXPECT_NEAR(values[99], 0.25, 1e-5);
  EXPECT_NEAR(values[101], 0.5, 1e-6);
}

TEST(DlsArticulation, TimesStayThoseOfMiddleCWhereKeysChangeNone) {
  for (Level level : {Level::One, Level::Two, Level::TwoPlus})
    for (auto [time, key] : {std::pair<Slot, Slot>{90, 92}, {103, 105}, {121, 123}}) {
      SCOPED_TRACE(testing::Message() << "level " << int(level) << ", slot " << int(time));
      SlotValues values = initialValues();
      useCarrier(Carrier::PEnv, values);
      values[time] = 0.5f;
      values[key] = 2;
      const dls::List list = level == Level::One ? dls::List::Level1 : dls::List::Level2;
      const SlotValues again = dls::valuesOf({list, dls::amountsOf(values, level).connections});
      EXPECT_NEAR(again[time], 0.5, 1e-5);
      EXPECT_EQ(again[key], 1);
    }
}

TEST(DlsArticulation, TheLfoOfLevel1IsThePitchLfo) {
  const std::vector<Connection> list = {connection(from::Lfo, 0, to::Pitch, 0, 12),
                                        connection(from::Lfo, from::ModWheel, to::Pitch, 0, 50),
                                        connection(0, 0, to::LfoDelay, 0, 0)};
  const SlotValues one = valuesOfList(list, dls::List::Level1), two = valuesOfList(list);
  EXPECT_FLOAT_EQ(one[slots::PLfoToPitch], 0.12f);
  EXPECT_FLOAT_EQ(one[slots::ModWheelToPLfoToPitch], 0.5f);
  EXPECT_FLOAT_EQ(one[70], 1);
  EXPECT_FLOAT_EQ(one[slots::XLfoToPitch], 0);
  EXPECT_FLOAT_EQ(two[slots::XLfoToPitch], 0.12f);
  EXPECT_FLOAT_EQ(two[82], 1);
  EXPECT_FLOAT_EQ(two[slots::PLfoToPitch], 0);
}

}  // namespace
}  // namespace vemko::test
