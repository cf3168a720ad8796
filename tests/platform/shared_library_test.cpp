#include "platform/shared_library.h"

#include "support.h"

namespace vemko {
namespace {

TEST(SharedLibrary, OpensTheFirstThatIsThere) {
  SharedLibrary library;
  EXPECT_FALSE(library.open({"libvemko-no-such.so.1", "libvemko-no-such.so"}));
  EXPECT_FALSE(library.isOpen());
  EXPECT_EQ(library.symbol("strlen"), nullptr);
  ASSERT_TRUE(library.open({"libvemko-no-such.so.1", "libm.so.6", "msvcrt.dll"}));
  auto root = reinterpret_cast<double (*)(double)>(library.symbol("sqrt"));
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root(9.0), 3.0);
  EXPECT_EQ(library.symbol("vemko_no_such_symbol"), nullptr);
}

}  // namespace
}  // namespace vemko
