// Real definition files: what another parser makes of them, and that a way through the program keeps them.
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

#include "core/slot_values.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_lexer.h"
#include "sfz_support.h"

namespace vemko::sfz {
namespace {

using Json = nlohmann::json;

Path corpus() {
  const char* folder = std::getenv("VEMKO_CORPUS");
  return folder ? Path(folder) / "sfz" : Path();
}

std::vector<Path> corpusFiles() {
  std::vector<Path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus()))
    if (entry.path().extension() == ".sfz") files.push_back(entry.path());
  std::ranges::sort(files);
  return files;
}

// Headers with their opcodes in the form of the corpus: numbers as numbers.
Json parsed(const Path& path) {
  Json tree = Json::array();
  auto opcode = [&](std::string_view name, std::string_view value, Place) {
    if (tree.empty()) return;
    Json number = Json::parse(value, nullptr, false);
    tree.back().begin().value().push_back(
        {{std::string(name), number.is_number() ? number : Json(std::string(value))}});
  };
  auto header = [&](std::string_view name, Place) { tree.push_back({{std::string(name), Json::array()}}); };
  Lexer lexer(path.parent_path(), {.header = header, .opcode = opcode, .title = {}});
  const std::string text = test::contentOf(path);
  EXPECT_TRUE(lexer.read(text, path)) << toUtf8(lastError());
  return tree;
}

TEST(SfzCorpus, ParsesAsAnotherParserDoes) {
  if (corpus().empty()) GTEST_SKIP() << "VEMKO_CORPUS is not set";
  std::size_t compared = 0;
  for (const Path& path : corpusFiles()) {
    Path expected = path;
    expected += ".json";
    // The files that this one includes are not part of the corpus.
    if (!fileExists(expected) || path.filename() == "default_path_include.sfz") continue;
    EXPECT_EQ(parsed(path), Json::parse(std::ifstream(expected))) << path;
    ++compared;
  }
  EXPECT_GE(compared, 11u);
}

std::size_t countOf(const std::string& text, std::string_view word) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(word, at)) != text.npos; ++at) ++count;
  return count;
}

std::string withoutComments(const std::string& text) {
  std::string clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string line = text.substr(at, end - at);
    clean += line.substr(0, line.find("//")) + "\n";
    at = end + 1;
  }
  return clean;
}

TEST(SfzCorpus, LoadsEveryFile) {
  if (corpus().empty()) GTEST_SKIP() << "VEMKO_CORPUS is not set";
  for (const Path& path : corpusFiles()) {
    Collection collection;
    test::openPlain(collection, path);
    const std::string text = withoutComments(test::contentOf(path));
    if (text.find("#include") != text.npos) continue;
    EXPECT_EQ(collection.count(ItemKind::Region), countOf(text, "<region>")) << path;
  }
}

// What is heard of a region, with loops.
struct Heard {
  SlotValues values;
  std::string played;
  bool operator==(const Heard&) const = default;
};

std::vector<Heard> heardOf(const Collection& collection) {
  std::vector<Heard> all;
  collection.forEach<Region>([&](const Region& region) {
    Heard& each = all.emplace_back(Heard{valuesOf(effective(region)), {}});
    constexpr std::pair<Carrier, SlotGroup> kGroups[] = {{Carrier::PLfo, SlotGroup::PLfo},
                                                         {Carrier::VLfo, SlotGroup::VLfo},
                                                         {Carrier::FLfo, SlotGroup::FLfo},
                                                         {Carrier::PEnv, SlotGroup::PEnvelope},
                                                         {Carrier::FEnv, SlotGroup::FEnvelope}};
    for (const auto& [carrier, group] : kGroups)
      if (!isInUse(each.values, carrier)) resetGroup(each.values, group);
    const Waveform* waveform = region.waveform();
    const LoopRecord* loop = waveform ? waveform->mainLoop() : nullptr;
    each.played = std::to_string(waveform ? waveform->frames : 0);
    if (loop && loop->play != LoopPlay::Off && !rulesOf(region).playsToEnd)
      each.played += formatted(" loop %g to %g %d %d", loop->startFrames(), loop->endFrames(),
                               int(loop->play), int(loop->count));
  });
  return all;
}

TEST(SfzCorpus, KeepsWhatIsHeardAndThenEveryByte) {
  if (corpus().empty()) GTEST_SKIP() << "VEMKO_CORPUS is not set";
  const int row = io::findWritingRowByDescription(u"Cakewalk SFZ v2 (waves in sub-folder)");
  auto save = [row](const Collection& collection, const Path& folder) {
    std::filesystem::create_directories(folder);
    Item* instrument = collection.allOf(ItemKind::Instrument).at(0);
    return io::saveItem(instrument, row, folder / "x.sfz", io::saveOptionsFor(row, 0));
  };
  for (const Path& path : corpusFiles()) {
    SCOPED_TRACE(path);
    test::TempFolder folder;
    Collection original, once;
    test::openPlain(original, path);
    if (original.count(ItemKind::Region) == 0) continue;
    ASSERT_TRUE(save(original, folder / "1")) << toUtf8(lastError());
    test::openPlain(once, folder / "1/x.sfz");
    ASSERT_TRUE(save(once, folder / "2")) << toUtf8(lastError());
    EXPECT_EQ(test::contentOf(folder / "1/x.sfz"), test::contentOf(folder / "2/x.sfz"));
    const auto before = original.all<Region>(), after = once.all<Region>();
    ASSERT_EQ(before.size(), after.size());
    EXPECT_EQ(heardOf(original), heardOf(once));
    for (std::size_t i = 0; i < before.size(); ++i) {
      EXPECT_EQ(before[i]->keys, after[i]->keys);
      EXPECT_EQ(before[i]->velocities, after[i]->velocities);
      EXPECT_EQ(effectiveRootKey(*before[i]), effectiveRootKey(*after[i]));
      EXPECT_EQ(before[i]->trigger, after[i]->trigger);
      EXPECT_EQ(rulesOf(*before[i]), rulesOf(*after[i]));
    }
  }
}

// What the regression suite says in words.
TEST(SfzCorpus, DoesWhatTheSuiteSays) {
  if (corpus().empty()) GTEST_SKIP() << "VEMKO_CORPUS is not set";
  struct Case {
    const char* file;
    std::size_t region;
    Slot slot;
    float value;
  };
  const Path suite = corpus() / "sfz-tests/sfz2 basic tests";
  for (const Case& c : {
           Case{"00 - syntax/05 - syntax comments.sfz", 0, slots::BendToPitch,
                12},  // the commented one does not count
           Case{"05 - pitch, pitch bend/01 - pitch keytrack.sfz", 0, slots::KeyToPitch, 0.25f},
           Case{"05 - pitch, pitch bend/02 - pitch keytrack - inverted keyboard.sfz", 0, slots::KeyToPitch,
                -1},
           Case{"05 - pitch, pitch bend/11 - pitch on random center.sfz", 1, slots::RandomToPitch, 12},
           Case{"12 - amplifier/04 - amp velo tracking negative.sfz", 1, slots::VelocityResponse, -1},
           Case{"08 - filters/05 - filter cutoff velocity tracking.sfz", 0, slots::VelocityToCutoff, 12},
           Case{"08 - filters/07 - cutoff as note names.sfz", 5, slots::FilterCutoff, 440},
           Case{"17 - LFO/20 - lfo01_pitch.sfz", 0, slots::PLfoToPitch, 12},
       }) {
    SCOPED_TRACE(c.file);
    Collection collection;
    test::openPlain(collection, suite / c.file);
    const auto regions = collection.all<Region>();
    ASSERT_GT(regions.size(), c.region);
    EXPECT_NEAR(effective(*regions[c.region]).get(c.slot), c.value, std::abs(c.value) * 1e-5);
  }
  Collection collection;
  test::openPlain(collection, suite / "00 - syntax/01b - control header.sfz");
  const auto regions = collection.all<Region>();
  EXPECT_EQ(regions.at(0)->keys, (MidiRange{60, 60}));
  EXPECT_EQ(regions.at(1)->keys, (MidiRange{48, 48}));
}

}  // namespace
}  // namespace vemko::sfz
