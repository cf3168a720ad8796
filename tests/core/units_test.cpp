#include "core/units.h"

#include <gtest/gtest.h>

namespace vemko {
namespace {

TEST(Units, TimecentsRoundLongTimes) {
  struct Case {
    const char* name;
    int timecents;
    float seconds;
  };
  // clang-format off
  const Case cases[] = {
    {"published minimum",    -32768, 0.0f},
    {"last zero",            -12000, 0.0f},
    {"first above zero",     -11999, 0.000977127f},
    {"one second",           0,      1.0f},
    {"unrounded",            365,    1.234705f},
    {"two seconds",          1200,   2.0f},
    {"hundredths",           2147,   3.46f},   // 3.4569
    {"still hundredths",     5501,   23.99f},  // 23.990
    {"tenths",               5890,   30.0f},   // 30.03
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NEAR(secondsFromTimecents(c.timecents), c.seconds, c.seconds * 1e-5);
  }
}

TEST(Units, AbsoluteCentsRoundByMagnitude) {
  struct Case {
    const char* name;
    int cents;
    float hertz;
  };
  // clang-format off
  const Case cases[] = {
    {"fully open",      13500,  20000.0f},
    {"beyond",          32767,  20000.0f},
    {"just below open", 13499,  19900.0f},
    {"tens",            9000,   1480.0f},  // 1479.98
    {"ones",            6900,   440.0f},   // 439.99
    {"hundredths",      0,      8.18f},
    {"very slow",       -16000, 0.0f},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_FLOAT_EQ(hertzFromAbsoluteCents(c.cents), c.hertz);
  }
}

// What a file is read to is what it is written to and read to again.
TEST(Units, InversesGiveTheValueBack) {
  for (int amount = -32768; amount <= 32767; ++amount) {
    const float seconds = secondsFromTimecents(amount);
    if (amount <= 8000) {
      ASSERT_EQ(secondsFromTimecents(timecentsFromSeconds(seconds)), seconds) << amount;
    }
    const float hertz = hertzFromAbsoluteCents(amount);
    ASSERT_EQ(hertzFromAbsoluteCents(absoluteCentsFromHertz(hertz)), hertz) << amount;
  }
}

TEST(Units, InversesStayNearTheAmount) {
  for (int amount = -11999; amount <= 8000; ++amount)
    ASSERT_NEAR(timecentsFromSeconds(secondsFromTimecents(amount)), amount, 4) << amount;
  for (int amount = 1500; amount < 13500; ++amount)
    ASSERT_NEAR(absoluteCentsFromHertz(hertzFromAbsoluteCents(amount)), amount, 9) << amount;
}

}  // namespace
}  // namespace vemko
