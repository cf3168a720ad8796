#include "base/parallel_for.h"

#include <atomic>
#include <gtest/gtest.h>
#include <new>
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

// Callers that ask for no result learn of it all the same.
TEST(ParallelFor, RunningOutOfMemoryIsThrownToTheCaller) {
  for (std::size_t failing : {0u, 1u, 99u})
    EXPECT_THROW(
        parallelFor(100, [&](std::size_t i) { return i == failing ? throw std::bad_alloc() : true; }),
        std::bad_alloc);
}

}  // namespace
}  // namespace vemko
