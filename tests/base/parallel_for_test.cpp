#include "base/parallel_for.h"

#include <atomic>
#include <gtest/gtest.h>
#include <vector>

#include "base/last_error.h"
#include "base/text.h"

namespace vemko {
namespace {

TEST(ParallelFor, CallsEachIndexOnce) {
  for (std::size_t count : {0u, 1u, 1000u}) {
    std::vector<std::atomic<int>> calls(count);
    EXPECT_TRUE(parallelFor(count, [&](std::size_t i) { return ++calls[i] == 1; }));
    for (const auto& c : calls) EXPECT_EQ(c, 1);
  }
}

TEST(ParallelFor, BringsTheMessageOfAFailureToTheCaller) {
  std::atomic<int> calls = 0;
  EXPECT_FALSE(parallelFor(100000, [&](std::size_t i) {
    ++calls;
    return i != 5 || fail(u"five");
  }));
  EXPECT_EQ(toUtf8(lastError()), "five");
  EXPECT_LT(calls, 100000);
}

}  // namespace
}  // namespace vemko
