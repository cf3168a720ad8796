#include "app/gui/waveform_list.h"
#include "gui/driver.h"

namespace vemko::test {
namespace {

// The first file of tests, and so the first test: the file stood on the command line.
TEST(CommandLine, TheFileIsOpen) {
  ASSERT_TRUE(waitUntil([] { return document().collection().count(ItemKind::Waveform) == 1; }));
  settle();
  EXPECT_EQ(window().GetTitle(), "New collection - Vemko Studio");
  EXPECT_EQ(window().list().GetItemCount(), 1);
  EXPECT_EQ(window().list().GetItemText(0, 0), "Organ A3");
  EXPECT_EQ(window().list().GetItemText(0, 1), "0.600 s");
  EXPECT_EQ(window().list().GetItemText(0, 4), "A3");
  EXPECT_EQ(window().list().GetItemText(0, 5), "Forward");
  // Samples load in the background.
  EXPECT_TRUE(waitUntil([] { return document().collection().all<Waveform>().at(0)->buffer != nullptr; }));
}

}  // namespace
}  // namespace vemko::test
