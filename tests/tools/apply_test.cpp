#include <gtest/gtest.h>

#include "base/last_error.h"
#include "base/progress.h"
#include "base/text.h"
#include "io/collections.h"
#include "tools/tool_entry.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;
using test::samplesOf;

Waveform& addDeferred(Collection& collection, bool works) {
  Waveform& wave = createWaveform(collection, u"deferred");
  test::defer(wave, std::vector<float>(1000, 0.5f))->broken = !works;
  return wave;
}

struct Applied {
  std::vector<std::u16string> statuses, errors;
  ToolContext context;
  bool applied = false;

  Applied(std::u16string_view tool, std::vector<Item*> selection, History* history = nullptr) {
    ProgressSink sink;
    sink.status = [this](std::u16string_view text) { statuses.emplace_back(text); };
    const ProgressSink before = setProgressSink(sink);
    context.selection = std::move(selection);
    context.history = history;
    context.processedCount = 77;  // the framework zeroes it
    context.showError = [this](const Item* item, std::u16string_view message) {
      errors.push_back((item ? item->name() + u": " : u"") + std::u16string(message));
    };
    applied = applyTool(*findTool(ToolList::Waveform, tool), context);
    setProgressSink(before);
  }
};

TEST(ApplyTool, TellsTheCountAndLeavesOneStep) {
  Collection collection;
  Waveform& quiet = addWave(collection, {0.5f, 0.25f});
  Waveform& louder = addWave(collection, {0.125f});
  Waveform& full = addWave(collection, {1.0f});
  Song& song = createSong(collection, u"song");
  using Texts = std::vector<std::u16string>;
  History history;

  const Applied none(u"Maximize amplitude", {&full, nullptr, &song}, &history);
  EXPECT_TRUE(none.applied);
  EXPECT_EQ(none.statuses, (Texts{u"Processing", u"No items were modified by Maximize amplitude"}));
  EXPECT_EQ(history.stepCount(), 0u);

  const Applied one(u"Maximize amplitude", {&full, &quiet}, &history);
  EXPECT_EQ(one.statuses, (Texts{u"Processing", u"Processed 1 item using Maximize amplitude"}));
  const Applied two(u"Remove DC offset", {&louder, nullptr, &quiet}, &history);
  EXPECT_EQ(two.statuses.back(), u"Processed 2 items using Remove DC offset");
  EXPECT_EQ(history.stepCount(), 2u);
  EXPECT_EQ(history.undoName(), u"Remove DC offset");
  EXPECT_EQ(samplesOf(louder), (std::vector{0.0f}));

  const ItemId quietId = quiet.id();
  ASSERT_TRUE(history.undo(collection));
  ASSERT_TRUE(history.undo(collection));
  EXPECT_EQ(samplesOf(*collection.find<Waveform>(quietId)), (std::vector{0.5f, 0.25f}));
  ASSERT_TRUE(history.redo(collection));
  EXPECT_EQ(samplesOf(*collection.find<Waveform>(quietId)), (std::vector{1.0f, 0.5f}));
}

TEST(ApplyTool, StopsBeforeAnythingWhenSamplesAreMissing) {
  Collection collection;
  Waveform& present = addWave(collection, {0.5f});
  Waveform& lost = addDeferred(collection, false);
  History history;
  const Applied run(u"Maximize amplitude", {&present, &lost}, &history);
  EXPECT_FALSE(run.applied);
  EXPECT_EQ(run.errors, (std::vector<std::u16string>{u"Broken source"}));
  EXPECT_TRUE(run.statuses.empty());
  EXPECT_EQ(samplesOf(present), (std::vector{0.5f}));
  EXPECT_EQ(history.stepCount(), 0u);
}

TEST(ApplyTool, GoesOnAfterAFailureOnOneItem) {
  Collection collection;
  Waveform& empty = createWaveform(collection, u"empty");
  Waveform& wave = addWave(collection, {0.25f});
  const Applied run(u"Normalize volume", {&empty, &wave});
  EXPECT_TRUE(run.applied);
  EXPECT_EQ(run.errors, (std::vector<std::u16string>{u"empty: No wave data import procedure"}));
  EXPECT_EQ(run.context.processedCount, 1u);
  EXPECT_NEAR(samplesOf(wave)[0], 0.25 * std::pow(10, 6 / 20.0), 1e-6);
}

TEST(ApplyTool, WhatWasChangedBeforeMemoryRanOutCanBeTakenBack) {
  Collection collection;
  const ItemId id = addWave(collection, {0.5f}).id();
  const ToolEntry tool = {u"Greedy", nullptr, 0, [](ToolContext& context) {
                            context.selection[0]->setName(u"changed");
                            ++context.processedCount;
                            throw std::bad_alloc();
                          }};
  History history;
  std::vector<std::u16string> errors;
  ToolContext context{.selection = {collection.find(id)}, .history = &history};
  context.showError = [&](const Item*, std::u16string_view message) { errors.emplace_back(message); };
  EXPECT_FALSE(applyTool(tool, context));
  EXPECT_EQ(errors, std::vector<std::u16string>{u"Out of memory"});
  ASSERT_TRUE(history.undo(collection));
  EXPECT_EQ(collection.find(id)->name(), u"wave");
}

// Undo defers the samples again, so that the step keeps none.
TEST(ApplyTool, ChangesDeferredSamplesInPlace) {
  Collection collection;
  const ItemId id = addDeferred(collection, true).id();
  History history;
  const Applied run(u"Maximize amplitude", {collection.find(id)}, &history);
  EXPECT_EQ(run.context.processedCount, 1u) << toUtf8(lastError());
  const Waveform& changed = *collection.find<Waveform>(id);
  EXPECT_EQ(samplesOf(changed), std::vector(1000, 1.0f));
  EXPECT_EQ(changed.source, nullptr);
  EXPECT_LT(history.memoryUse(), 1000 * sizeof(float));
  ASSERT_TRUE(history.undo(collection));
  const Waveform& restored = *collection.find<Waveform>(id);
  EXPECT_EQ(restored.buffer, nullptr);
  EXPECT_TRUE(restored.sourceIsIntact());
}

}  // namespace
}  // namespace vemko::tools
