// Generators and modulators to slots, and back.
#include <random>

#include "core/parameters.h"
#include "formats/soundfont/sf_articulation.h"
#include "formats/soundfont_support.h"

namespace vemko::test {
namespace {

using namespace soundfont;

struct Expected {
  int slot;
  float value;
};

constexpr float kUnset = -9999;  // expected of a slot that must not be set

void expectSlots(const ArticulationBlock& block, const std::vector<Expected>& expected) {
  for (const Expected& each : expected) {
    const auto slot = static_cast<Slot>(each.slot);
    if (each.value == kUnset)
      EXPECT_FALSE(block.isSet(slot)) << "slot " << each.slot << " is " << block.get(slot);
    else
      EXPECT_NEAR(block.get(slot), each.value, std::abs(each.value) * 1e-5 + 1e-6) << "slot " << each.slot;
  }
}

TEST(SoundFontSlots, FollowGenerators) {
  struct Case {
    const char* name;
    std::vector<Generator> instrument, preset;
    std::vector<Expected> expected;
  };
  // clang-format off
  const Case cases[] = {
    {"nothing given",         {}, {}, {{14, 0}, {2, 1}, {3, 2}, {23, 1}, {24, kUnset}, {25, kUnset}, {37, kUnset}, {5, 0.5f}, {6, 0.5f},
                                       {61, 0.2f}, {65, 0.2f}, {56, 1}, {69, 8.18f}, {103, kUnset}, {102, kUnset}}},
    {"attenuation",           {amount(gen::Attenuation, 100)}, {}, {{14, -4}}},
    {"attenuation adds",      {amount(gen::Attenuation, 100)}, {amount(gen::Attenuation, 50)}, {{14, -6}}},
    {"never louder",          {amount(gen::Attenuation, 100)}, {amount(gen::Attenuation, -300)}, {{14, 0}}},
    {"tuning",                {amount(gen::CoarseTune, -2), amount(gen::FineTune, 50)}, {amount(gen::FineTune, 70)}, {{0, -0.8f}}},
    {"scale tuning",          {amount(gen::ScaleTuning, 50)}, {}, {{2, 0.5f}}},
    {"pan",                   {amount(gen::Pan, 500)}, {}, {{54, 1}}},
    {"pan beyond",            {amount(gen::Pan, 500)}, {amount(gen::Pan, 100)}, {{54, 1}}},
    {"wide open filter",      {amount(gen::FilterCutoff, 13500)}, {}, {{24, kUnset}, {25, kUnset}}},
    {"beyond wide open",      {amount(gen::FilterCutoff, 14000), amount(gen::ModEnvToCutoff, -2400)}, {}, {{24, kUnset}, {35, kUnset}}},
    {"open with a peak",      {amount(gen::FilterQ, 100)}, {}, {{24, 2}, {25, 20000}, {37, 10}, {14, -5}}},
    {"filter",                {amount(gen::FilterCutoff, 9000)}, {}, {{24, 2}, {25, 1480}, {37, kUnset}}},
    {"filter from the preset",{}, {amount(gen::FilterCutoff, -4500)}, {{24, 2}, {25, 1480}}},
    {"peak lowers the volume",{amount(gen::FilterCutoff, 6900), amount(gen::FilterQ, 100), amount(gen::Attenuation, 100)}, {}, {{25, 440}, {37, 10}, {14, -9}}},
    {"volume envelope",       {amount(gen::VolEnvDelay, 0), amount(gen::VolEnvAttack, 1200), amount(gen::VolEnvHold, -1200),
                               amount(gen::VolEnvDecay, 2400), amount(gen::VolEnvSustain, 480), amount(gen::VolEnvRelease, 5890)}, {},
                              {{85, 1}, {90, 2}, {95, 0.5f}, {99, 4}, {102, 0.5f}, {103, 30}}},
    {"published minimum",     {amount(gen::VolEnvAttack, -32768)}, {}, {{90, kUnset}}},
    {"silent sustain",        {amount(gen::VolEnvSustain, 1440)}, {}, {{102, 0}}},
    {"modulation envelope",   {amount(gen::ModEnvAttack, 0), amount(gen::ModEnvSustain, 250), amount(gen::ModEnvToPitch, 1200)}, {},
                              {{12, 12}, {121, 1}, {133, 0.75f}, {152, 1}, {164, 0.75f}}},
    {"key to hold and decay", {amount(gen::KeyToVolEnvHold, 100), amount(gen::KeyToVolEnvDecay, -100)}, {}, {{97, 0.5f}, {101, 2}}},
    {"vibrato",               {amount(gen::VibLfoToPitch, 50), amount(gen::VibLfoFrequency, -1200), amount(gen::VibLfoDelay, 0)}, {},
                              {{4, 0.5f}, {69, 4.09f}, {70, 1}}},
    {"modulation LFO: pitch", {amount(gen::ModLfoToPitch, 100), amount(gen::ModLfoFrequency, 1200)}, {}, {{8, 1}, {81, 16.35f}, {73, kUnset}}},
    {"modulation LFO: volume",{amount(gen::ModLfoToVolume, 60), amount(gen::ModLfoDelay, 0)}, {}, {{19, 6}, {73, 8.18f}, {74, 1}, {81, kUnset}}},
    {"modulation LFO: filter",{amount(gen::ModLfoToCutoff, 600), amount(gen::FilterCutoff, 9000)}, {}, {{31, 6}, {77, 8.18f}}},
    {"unused LFO",            {amount(gen::ModLfoFrequency, 1200)}, {}, {{73, kUnset}, {77, kUnset}, {81, kUnset}}},
    {"sends",                 {amount(gen::ReverbSend, 500)}, {amount(gen::ChorusSend, 250)}, {{60, 0.5f}, {64, 0.25f}, {62, kUnset}, {66, kUnset}}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ReadBank bank(simpleBank(c.instrument, {}, c.preset));
    ASSERT_TRUE(bank.ok) << toUtf8(lastError());
    expectSlots(effective(bank.region()), c.expected);
  }
}

// Source operators: 0x100 falling, 0x200 bipolar, 0x400 concave; 2 velocity, 3 key, 13 pressure, 14 bend,
// 0x80 + number a controller.
TEST(SoundFontSlots, FollowModulators) {
  struct Case {
    const char* name;
    std::vector<Modulator> instrument, preset;
    std::vector<Expected> expected;
  };
  // clang-format off
  const Case cases[] = {
    {"default replaced",         {route(0x502, 48, 480)}, {}, {{23, 0.5f}}},
    {"preset adds to default",   {}, {route(0x502, 48, 480)}, {{23, 1.5f}}},
    {"preset adds to replaced",  {route(0x502, 48, 0)}, {route(0x502, 48, 480)}, {{23, 0.5f}}},
    {"other source, same effect",{route(0x502, 48, 0), route(0x102, 48, 960)}, {}, {{23, 1}}},
    {"other amount source",      {route(0x502, 48, 480, 0x81)}, {}, {{23, 1}}},
    {"last of a route counts",   {route(0x81, 6, 10), route(0x81, 6, 30)}, {}, {{5, 0.3f}}},
    {"pressure vibrato off",     {route(13, 6, 0)}, {}, {{6, kUnset}}},
    {"no bend",                  {route(0x20E, 52, 0, 16)}, {}, {{3, 0}}},
    {"inverse bend",             {route(0x20E, 52, 0, 16), route(0x30E, 52, 12700, 16)}, {}, {{3, -2}}},
    {"wide bend",                {route(0x20E, 52, 1000)}, {}, {{3, 12}}},
    {"key to volume",            {route(0x303, 48, 100)}, {}, {{16, 0.75f}, {14, -0.25f}}},
    {"key to volume, from key 0",{route(3, 48, -100)}, {}, {{16, 0.375f}, {14, 1.875f}}},
    {"mod wheel to volume",      {route(0x81, 48, 100)}, {}, {{17, -4}}},
    {"pressure to volume",       {route(13, 48, -100)}, {}, {{18, 4}}},
    {"key to pan",               {route(0x203, 17, 400)}, {}, {{57, 0.15f}}},
    {"CC10 to pan",              {route(0x28A, 17, 250)}, {}, {{56, 0.5f}}},
    {"CC91 and CC93",            {route(0xDB, 16, 1000), route(0xDD, 15, 0)}, {}, {{61, 1}, {65, 0}}},
    {"mod wheel to cutoff, off", {route(0x81, 8, 1200)}, {}, {{28, kUnset}, {24, kUnset}}},
    {"velocity to attack",       {route(0x202, 34, -400), route(2, 34, -100)}, {}, {{91, -84.375f}}},
    {"key to release",           {route(0x203, 38, 6400)}, {}, {{105, 2}}},
    {"key to attack of both",    {route(3, 26, -12800)}, {}, {{123, 0.5f}, {154, 0.5f}}},
    {"CC73 to delay and attack", {route(0xC9, 33, 80), route(0xC9, 34, 400)}, {}, {{88, 15}, {93, 75}, {106, kUnset}}},
    {"CC72 to release of both",  {route(0xC8, 30, -800)}, {}, {{137, -100}, {168, -100}, {106, kUnset}}},
    {"unknown route",            {route(0x502, 34, 100)}, {}, {{91, kUnset}}},
  };
  const Case filterCases[] = {
    {"velocity",                 {route(0x102, 8, -2400)}, {}, {{26, 12}, {25, 2960}}},
    {"key",                      {route(0x203, 8, 1200)}, {}, {{27, 2.25f}, {25, 1480 * 0.957603f}}},
    {"key from 0",               {route(3, 8, 1200)}, {}, {{27, 1.125f}, {25, 1480 * 1.383910f}}},
    {"first form wins",          {route(0x203, 8, 1200), route(3, 8, 1200)}, {}, {{27, 2.25f}}},
    {"mod wheel, pressure, CC74",{route(0x81, 8, 1200), route(13, 8, -100), route(0xCA, 8, 50)}, {}, {{28, 12}, {29, -1}, {30, 0.5f}}},
    {"to resonance",             {route(2, 9, 10), route(0x81, 9, 20), route(13, 9, 30), route(0xC7, 9, 40)}, {}, {{38, 1}, {39, 2}, {40, 3}, {41, 4}}},
    {"disabled default",         {route(0x102, 8, 0, 0xD02)}, {}, {{26, kUnset}, {25, 1480}}},
  };
  // clang-format on
  auto check = [](const Case& c, std::vector<Generator> generators) {
    SCOPED_TRACE(c.name);
    ReadBank bank(simpleBank(std::move(generators), c.instrument, {}, c.preset));
    ASSERT_TRUE(bank.ok) << toUtf8(lastError());
    expectSlots(effective(bank.region()), c.expected);
  };
  for (const Case& c : cases) check(c, {});
  for (const Case& c : filterCases) check(c, {amount(gen::FilterCutoff, 9000)});
}

// Amounts may move within what reading rounds, slots may not.
TEST(SoundFontSlots, SurviveTheWayBack) {
  std::mt19937 random(11);
  auto between = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  std::vector<const RouteRow*> routes;
  const RouteRow* before = nullptr;
  for (const RouteRow& row : routeRows()) {
    const bool isKey = (row.source & 0xFF) == 3;
    const bool isUnipolarTime = row.entry >= Entry::Times && (row.source & 0x280) == 0;
    if ((!before || before->entry != row.entry) && !isUnipolarTime && !(isKey && row.destination >= 25) &&
        row.entry != Entry::KeyToVolumeUnipolar && row.entry != Entry::KeyToCutoffUnipolar &&
        row.entry != Entry::BendRange)
      routes.push_back(&row);
    before = &row;
  }
  for (int round = 0; round < 3000; ++round) {
    Generators generators;
    for (const GeneratorRow& row : generatorRows())
      if (between(0, 3) == 0)
        generators[row.generator] = static_cast<std::int16_t>(between(row.minimum, row.maximum));
    // Times of what is not heard are not written.
    for (int depth : {gen::VibLfoToPitch, gen::ModEnvToPitch})
      generators[depth] = static_cast<std::int16_t>(between(1, 100));
    generators[gen::CoarseTune] = static_cast<std::int16_t>(between(-12, 12));
    generators[gen::FineTune] = static_cast<std::int16_t>(between(-99, 99));
    std::vector<Modulator> modulators;
    for (const RouteRow* row : routes)
      if (between(0, 3) == 0)
        modulators.push_back(route(row->source, row->destination, between(-500, 500), row->amountSource));
    const ArticulationBlock block = articulationOf(generators, modulators);
    const ZoneAmounts amounts = amountsOf(block);
    const ArticulationBlock again = articulationOf(amounts.generators, amounts.modulators);
    if (block == again) continue;
    for (int slot = 0; slot < kSlotCount; ++slot)
      EXPECT_EQ(block.get(static_cast<Slot>(slot)), again.get(static_cast<Slot>(slot)))
          << "slot " << slot << " in round " << round;
    return;
  }
}

// Each generator alone comes back within the steps that reading rounds to.
TEST(SoundFontSlots, GiveGeneratorsBack) {
  for (const GeneratorRow& row : generatorRows()) {
    if (row.onlyInUse) continue;
    SCOPED_TRACE("generator " + std::to_string(row.generator));
    const bool isCutoff = row.generator == gen::FilterCutoff;
    const int tolerance = row.scale == Scale::Hertz     ? (isCutoff ? 9 : 5)
                          : row.scale == Scale::Seconds ? 4
                                                        : 0;
    for (int value :
         {-11000, -1200, -400, -1, 0, 1, 7, 100, 450, 960, 1000, 4400, 5000, 7000, 9001, 12000, 13499}) {
      if (value < std::max<int>(row.minimum, isCutoff ? 1500 : -1200) || value > row.maximum) continue;
      if (row.scale == Scale::Sustain && row.generator == gen::VolEnvSustain && value > 960) continue;
      Generators generators;
      generators[row.generator] = static_cast<std::int16_t>(value);
      if (row.carrier == Carrier::PEnv || row.carrier == Carrier::FEnv) generators[gen::ModEnvToPitch] = 100;
      const bool needsFilter = row.slot >= 24 && row.slot <= 41;
      if (needsFilter && !isCutoff) generators[gen::FilterCutoff] = 9000;
      const ZoneAmounts back = amountsOf(articulationOf(generators, {}));
      EXPECT_NEAR(back.generators[row.generator], value, tolerance);
    }
  }
}

}  // namespace
}  // namespace vemko::test
