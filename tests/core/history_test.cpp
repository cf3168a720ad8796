#include "core/history.h"

#include <gtest/gtest.h>

namespace vemko {
namespace {

constexpr std::uint32_t kQuarterMiB = 65536;  // frames of a mono wave

struct Limit {
  explicit Limit(std::uint32_t memoryMiB) { historyOptions().memoryMiB = memoryMiB; }
  ~Limit() { historyOptions() = {}; }
};

/// One waveform whose first sample counts the steps.
struct Editor {
  Collection collection;
  ItemId id;
  History history;

  Editor() {
    Waveform& wave = createWaveform(collection, u"0");
    wave.setSamples(SampleBuffer::allocate(kQuarterMiB, 1, 44100));
    wave.editableSamples()[0] = 0;
    id = wave.id();
  }
  Waveform& wave() { return *collection.find<Waveform>(id); }
  void edit(std::u16string name, bool samples = true) {
    Snapshot before = Snapshot::capture(collection, {&id, 1});
    wave().setName(name);
    if (samples) wave().editableSamples()[0] += 1;
    history.add(std::move(name), std::move(before));
  }
  float first() { return wave().buffer->samples()[0]; }
};

TEST(History, WalksBackAndForth) {
  Editor editor;
  EXPECT_FALSE(editor.history.undo(editor.collection));
  EXPECT_FALSE(editor.history.redo(editor.collection));
  for (const char16_t* name : {u"1", u"2", u"3"}) editor.edit(name);
  EXPECT_EQ(editor.history.undoName(), u"3");
  EXPECT_EQ(editor.history.redoName(), u"");
  for (int i = 2; i >= 0; --i) {
    ASSERT_TRUE(editor.history.undo(editor.collection));
    EXPECT_EQ(editor.first(), static_cast<float>(i));
  }
  EXPECT_EQ(editor.wave().name(), u"0");
  EXPECT_FALSE(editor.history.canUndo());
  for (int i = 1; i <= 2; ++i) {
    ASSERT_TRUE(editor.history.redo(editor.collection));
    EXPECT_EQ(editor.first(), static_cast<float>(i));
  }
  EXPECT_EQ(editor.history.redoName(), u"3");
  editor.edit(u"other");
  EXPECT_FALSE(editor.history.canRedo());
  EXPECT_EQ(editor.history.stepCount(), 3u);
  EXPECT_EQ(editor.history.stepName(2), u"other");
}

TEST(History, OldestStepsGoFirst) {
  Limit limit(1);  // four buffers, and no room for the records beside them
  Editor editor;
  for (const char16_t* name : {u"1", u"2", u"3", u"4", u"5"}) editor.edit(name);
  EXPECT_EQ(editor.history.stepCount(), 3u);
  EXPECT_EQ(editor.history.stepName(0), u"3");
  EXPECT_LE(editor.history.memoryUse(), std::size_t{1} << 20);
  while (editor.history.undo(editor.collection)) {
  }
  EXPECT_EQ(editor.first(), 2);
  EXPECT_EQ(editor.wave().name(), u"2");
  // Taken back, the steps keep the later samples instead.
  EXPECT_EQ(editor.history.stepCount(), 3u);
  while (editor.history.redo(editor.collection)) {
  }
  EXPECT_EQ(editor.first(), 5);
}

TEST(History, LatestStepStaysWhateverItTakes) {
  Limit limit(0);
  Editor editor;
  for (const char16_t* name : {u"1", u"2"}) editor.edit(name);
  ASSERT_EQ(editor.history.stepCount(), 1u);
  ASSERT_TRUE(editor.history.undo(editor.collection));
  EXPECT_EQ(editor.first(), 1);
  ASSERT_TRUE(editor.history.redo(editor.collection));
  EXPECT_EQ(editor.first(), 2);
}

// Samples that two steps share are in memory because of both.
TEST(History, CountsSamplesThatStepsShareOnce) {
  Editor editor;
  editor.edit(u"name", false);
  EXPECT_LT(editor.history.memoryUse(), kQuarterMiB);
  editor.edit(u"samples");
  const std::size_t use = editor.history.memoryUse();
  EXPECT_GE(use, std::size_t{4} * kQuarterMiB);
  EXPECT_LT(use, std::size_t{8} * kQuarterMiB);
}

}  // namespace
}  // namespace vemko
