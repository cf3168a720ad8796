#include "platform/process.h"
#include "support.h"

namespace vemko {
namespace {

// This process ignores the signal.
TEST(ChildProcess, HasSignalsAsInAFreshProgram) {
  ChildProcess child;
  ASSERT_TRUE(child.start("/bin/sh", {"-c", "kill -PIPE $$; exit 3"})) << toUtf8(lastError());
  EXPECT_EQ(child.finish(), -1);
}

}  // namespace
}  // namespace vemko
