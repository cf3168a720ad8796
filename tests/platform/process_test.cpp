#include "platform/process.h"

#include <thread>

#include "support.h"
#include "system/system.h"

namespace vemko {
namespace {

const Path kChild = VEMKO_CHILD;

TEST(ChildProcess, TalksInLines) {
  ChildProcess child;
  ASSERT_TRUE(child.start(kChild, {"answer", "got it"})) << toUtf8(lastError());
  EXPECT_TRUE(child.running());
  for (std::string line : {"one", "zwei ü", ""}) {
    EXPECT_TRUE(child.writeLine(line));
    EXPECT_EQ(child.readLine(), "got it " + line);
  }
  EXPECT_TRUE(child.writeLine("a") && child.writeLine("b"));
  EXPECT_EQ(child.readLine(), "got it a");
  EXPECT_EQ(child.readLine(), "got it b");
  EXPECT_EQ(child.finish(), 0);
  EXPECT_FALSE(child.running() || child.writeLine("x") || child.readLine());
}

TEST(ChildProcess, GetsItsWordsAsTheyAre) {
  const std::vector<std::string> words = {
      "plain", "two words", "",      "\"",   "a\"b",  "back\\slash\\", "\\\\\"",  "tab\there",
      "100%",  "*",         "--x=y", "x\\ ", "a b\\", "^&|<>",         "$HOME ;", "C:\\a b\\c"};
  std::vector<std::string> arguments = {"words"};
  arguments.insert(arguments.end(), words.begin(), words.end());
  ChildProcess child;
  ASSERT_TRUE(child.start(kChild, arguments)) << toUtf8(lastError());
  for (const std::string& word : words) EXPECT_EQ(child.readLine(), word);
  EXPECT_EQ(child.finish(), 0);
}

TEST(ChildProcess, ReadsLongLinesAndAnUnfinishedOne) {
  ChildProcess child;
  ASSERT_TRUE(child.start(kChild, {"long"})) << toUtf8(lastError());
  EXPECT_EQ(child.readLine(), std::string(1000000, 'x'));
  EXPECT_EQ(child.readLine(), "");
  EXPECT_EQ(child.readLine(), "end");
  EXPECT_EQ(child.readLine(), std::nullopt);
  EXPECT_EQ(child.finish(), 0);
}

TEST(ChildProcess, TellsHowItEnded) {
  struct Case {
    const char* name;
    std::vector<std::string> arguments;
    int status;
    bool posixOnly = false;
  };
  for (const Case& c :
       {Case{"success", {"exit", "0"}, 0}, Case{"failure", {"exit", "7"}, 7}, Case{"crash", {"crash"}, -1},
        Case{"signal", {"raise", "9"}, -1, true}, Case{"much unread output", {"flood", "5"}, 5}}) {
    if (c.posixOnly && !test::kPosix) continue;
    SCOPED_TRACE(c.name);
    ChildProcess child;
    ASSERT_TRUE(child.start(kChild, c.arguments)) << toUtf8(lastError());
    EXPECT_EQ(child.finish(), c.status);
    EXPECT_EQ(child.finish(), c.status);
    EXPECT_FALSE(child.running());
  }
  ChildProcess none;
  EXPECT_FALSE(none.start("/no/such/program", {}));
  EXPECT_EQ(lastError(), u"Could not start program");
  EXPECT_EQ(none.finish(), -1);
  none.kill();
}

TEST(ChildProcess, CanBeGoneBeforeItIsWrittenTo) {
  ChildProcess child;
  ASSERT_TRUE(child.start(kChild, {"wait"})) << toUtf8(lastError());
  child.kill();
  EXPECT_EQ(child.readLine(), std::nullopt);
  while (child.running()) std::this_thread::yield();  // Its pipes close one after the other.
  EXPECT_FALSE(child.writeLine("x"));
  EXPECT_EQ(child.finish(), -1);
}

// A sibling that held the other's pipe open would keep it from ending.
TEST(ChildProcess, SharesNoPipesWithItsSiblings) {
  std::vector<ChildProcess> children(3);
  for (ChildProcess& child : children) ASSERT_TRUE(child.start(kChild, {"answer"})) << toUtf8(lastError());
  ChildProcess moved = std::move(children[0]);
  EXPECT_EQ(moved.finish(), 0);
  EXPECT_TRUE(children[1].running() && children[2].running());
  EXPECT_EQ(children[1].finish(), 0);
}

TEST(ChildProcess, WaitsForWhoeverIsFirst) {
  ChildProcess half, quick, silent;
  ASSERT_TRUE(half.start(kChild, {"halves"}));
  ASSERT_TRUE(quick.start(kChild, {"two"}));
  ASSERT_TRUE(silent.start(kChild, {"wait"}));
  const std::vector<ChildProcess*> all = {&half, &quick, &silent};
  for (const char* line : {"a", "b"}) {
    ASSERT_EQ(ChildProcess::waitForAny(all), 1u);
    EXPECT_EQ(quick.readLine(), line);
  }
  half.writeLine("go");
  ASSERT_EQ(ChildProcess::waitForAny(all), 0u);
  EXPECT_EQ(half.readLine(), "first second");
  silent.kill();
  ASSERT_EQ(ChildProcess::waitForAny(all), 2u);
  EXPECT_EQ(silent.readLine(), std::nullopt);
  EXPECT_EQ(ChildProcess::waitForAny(all), 2u) << "it stays at its end";
}

}  // namespace
}  // namespace vemko
