#include "app/batch.h"
#include "support.h"

namespace vemko::app {
namespace {

using test::putFile;
using test::TempFolder;
using Names = std::vector<std::string>;

struct Case {
  const char* name;
  Names existing;  // files below the folder, to be there beforehand
  Names inputs;
  OnExists onExists;
  Names outputs;  // in the folder "out"
  Names bases;    // of several outputs; empty: as the outputs without extension
};

TEST(BatchPlan, GivesEveryTaskNamesOfItsOwn) {
  for (const Case& c : {
           Case{"plain", {}, {"a.wav", "b.aif"}, OnExists::Overwrite, {"a.wav", "b.wav"}, {}},
           Case{"equal names",
                {},
                {"x/a.wav", "y/a.wav", "z/A.aif"},
                OnExists::Overwrite,
                {"a.wav", "a (2).wav", "A (3).wav"},
                {}},
           Case{"number taken",
                {},
                {"a (2).wav", "a.wav", "x/a.wav"},
                OnExists::Overwrite,
                {"a (2).wav", "a.wav", "a (3).wav"},
                {}},
           Case{"existing is overwritten", {"out/a.wav"}, {"a.wav"}, OnExists::Overwrite, {"a.wav"}, {}},
           Case{"existing renames",
                {"out/A.WAV", "out/a (2).wav"},
                {"a.wav", "x/a.wav"},
                OnExists::Rename,
                {"a (3).wav", "a (4).wav"},
                {}},
           Case{"existing of another kind", {"out/a.aif"}, {"a.wav"}, OnExists::Rename, {"a.wav"}, {}},
           Case{"existing part renames the base",
                {"out/a - kick.wav"},
                {"a.sf2"},
                OnExists::Rename,
                {"a.wav"},
                {"a (2)"}},
           Case{"in place", {"out/a.wav"}, {"out/a.wav"}, OnExists::Overwrite, {"a.wav"}, {}},
           Case{"not over a later input",
                {"a.wav", "out/a.wav"},
                {"a.wav", "out/a.wav"},
                OnExists::Overwrite,
                {"a (2).wav", "a.wav"},
                {}},
           Case{"base meets a name",
                {},
                {"a.sf2", "a - kick.wav"},
                OnExists::Overwrite,
                {"a.wav", "a - kick.wav"},
                {"a (2)", "a - kick"}},
           Case{"base meets a numbered name",
                {},
                {"a.sf2", "a - kick.wav", "a (2).wav", "a (3) - x.wav"},
                OnExists::Overwrite,
                {"a.wav", "a - kick.wav", "a (2).wav", "a (3) - x.wav"},
                {"a (4)", "a - kick", "a (2)", "a (3) - x"}},
           Case{"unsafe name", {}, {"b?.sf2"}, OnExists::Overwrite, {"b?.wav"}, {"b_"}},
       }) {
    SCOPED_TRACE(c.name);
    const TempFolder folder;
    for (const char* below : {"out", "x", "y", "z"}) std::filesystem::create_directory(folder / below);
    for (const std::string& file : c.existing) putFile(folder / file, "x");
    BatchPlan plan;
    for (const std::string& input : c.inputs) plan.inputs.push_back(folder / input);
    plan.outputFolder = folder / "out";
    plan.row = io::findWritingRow(u"wav", 0xFF);
    plan.onExists = c.onExists;
    Names outputs, bases, expectedBases = c.bases;
    for (const BatchTask& task : planBatch(plan)) {
      EXPECT_EQ(task.output.parent_path(), plan.outputFolder);
      outputs.push_back(task.output.filename().string());
      bases.push_back(task.severalOutput.filename().string());
    }
    if (expectedBases.empty())
      for (const std::string& output : c.outputs)
        expectedBases.push_back(output.substr(0, output.size() - 4));
    EXPECT_EQ(outputs, c.outputs);
    EXPECT_EQ(bases, expectedBases);
  }
}

TEST(BatchPlan, MergesIntoOneTask) {
  const TempFolder folder;
  BatchPlan plan{.inputs = {"/x/a.wav", "/x/b.wav"},
                 .outputFile = {},
                 .outputFolder = folder.path(),
                 .merge = true,
                 .row = io::findWritingRow(u"wav", 0xFF),
                 .onExists = OnExists::Overwrite};
  EXPECT_EQ(planBatch(plan).size(), 1u);
  EXPECT_EQ(planBatch(plan)[0].output, folder / "a.wav");
  putFile(folder / "o.wav", "x");
  plan.outputFile = folder / "o.wav";
  EXPECT_EQ(planBatch(plan)[0].output, folder / "o.wav");
  EXPECT_TRUE(planBatch(plan)[0].severalOutput.empty());
  plan.onExists = OnExists::Rename;
  EXPECT_EQ(planBatch(plan)[0].output, folder / "o (2).wav");
}

TEST(BatchPlan, ManyEqualNamesCostNoSearch) {
  BatchPlan plan;
  for (int i = 0; i < 20000; ++i) plan.inputs.emplace_back("/nowhere/a.aif");
  plan.outputFolder = "/nowhere";
  plan.row = io::findWritingRow(u"wav", 0xFF);
  EXPECT_EQ(planBatch(plan).back().output, "/nowhere/a (20000).wav");
}

}  // namespace
}  // namespace vemko::app
