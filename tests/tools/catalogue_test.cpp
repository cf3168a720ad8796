#include <algorithm>
#include <gtest/gtest.h>
#include <set>

#include "base/last_error.h"
#include "base/text.h"
#include "tools/tool_entry.h"
#include "tools/volume_tools.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;
constexpr ToolList kLists[] = {ToolList::Waveform, ToolList::Midi, ToolList::Instrument};

TEST(Catalogue, HoldsEveryToolInOrderAndOffersThoseThatWork) {
  constexpr std::size_t kSizes[] = {41, 9, 20};
  const std::set<std::u16string_view> working = {u"Adjust volume/gain", u"Find volume",
                                                 u"Maximize amplitude", u"Normalize volume",
                                                 u"Remove DC offset",   u"Statistics for the waveform"};
  Collection collection;
  const ToolContext context{.selection = {&addWave(collection, {1.0f})}};
  for (int list = 0; list < 3; ++list) {
    const auto tools = toolCatalogue(kLists[list]);
    EXPECT_EQ(tools.size(), kSizes[list]);
    EXPECT_NE(findTool(kLists[list], u"search AND replace text"), nullptr);
    for (const ToolEntry& tool : tools) {
      SCOPED_TRACE(toUtf8(tool.name));
      EXPECT_TRUE((std::set<int>{0, 1, 3, 4, 5, 7}.contains(tool.optionsByte)));
      EXPECT_EQ(isOffered(tool, context), working.contains(tool.name));
    }
  }
  EXPECT_EQ(findTool(ToolList::Midi, u"Find volume"), nullptr);
}

TEST(Catalogue, AvailabilityFollowsTheSelection) {
  Collection collection;
  Waveform& mono = addWave(collection, {0, 0, 0, 0});
  Waveform& stereo = addWave(collection, {0, 0, 0, 0}, 2);
  Waveform& looped = addWave(collection, std::vector<float>(9 * 3), 3);
  looped.addLoop({.play = LoopPlay::Forward, .startFrames = 1, .endFrames = 2}, u"", true, false);
  Waveform& loopOff = addWave(collection, std::vector<float>(9 * 3), 3);
  loopOff.addLoop({.play = LoopPlay::Off, .startFrames = 1, .endFrames = 2}, u"", true, false);
  Waveform& section = addWave(collection, std::vector<float>(9 * 3), 3);
  section.records.emplace_back().type = RecordType::SectionMarker;
  Waveform& position = addWave(collection, std::vector<float>(9 * 3), 3);
  position.records.emplace_back().type = RecordType::PositionMarker;
  Song& song = createSong(collection, u"song");
  Track &track = createTrack(song, u"track 1"), &other = createTrack(song, u"track 2");
  Instrument& instrument = createInstrument(collection, u"instrument");
  Layer& layer = createLayer(instrument, u"layer");
  Region& region = createRegion(layer, u"region");
  Collection empty;

  const struct {
    ToolList list;
    std::u16string_view tool;
    std::vector<Item*> offered;            // alone
    std::vector<std::vector<Item*>> more;  // together
    std::vector<Item*> refused;
  } cases[] = {
      {ToolList::Waveform, u"Auto tune", {&mono, &song}, {{}}, {}},
      {ToolList::Waveform,
       u"Cross-fade loop",
       {&looped},
       {{&mono, nullptr, &looped}},
       {&mono, &loopOff, &section, &song}},
      {ToolList::Waveform,
       u"Split sections/slices into separate waves",
       {&section},
       {},
       {&position, &looped, &mono}},
      {ToolList::Waveform,
       u"Convert section markers to loops",
       {&section, &position},
       {},
       {&looped, &loopOff, &mono}},
      {ToolList::Waveform,
       u"Mix out = a * wave1 + b * wave2 + c",
       {&mono, &song},
       {{nullptr, &mono}},
       {nullptr}},
      {ToolList::Waveform, u"Combine waveforms into a sliced wave", {}, {{&mono, &stereo}}, {&mono, nullptr}},
      {ToolList::Waveform,
       u"Convert from mono to stereo",
       {&mono},
       {{&stereo, &mono}},
       {&stereo, &looped, &song}},
      {ToolList::Waveform, u"Swap left and right channels", {&stereo}, {}, {&mono, &looped}},
      {ToolList::Midi, u"Transpose notes", {&song, &track, &collection}, {}, {&mono, &instrument, &empty}},
      {ToolList::Midi, u"Merge selected tracks", {&collection}, {{&track, &other}}, {&track, &song, &empty}},
      {ToolList::Instrument,
       u"Renumber instruments",
       {&instrument, &collection},
       {},
       {&layer, &mono, &empty}},
      {ToolList::Instrument,
       u"Merge layers into a single layer",
       {&instrument, &layer, &collection},
       {},
       {&region, &song, &empty}},
      {ToolList::Instrument,
       u"Auto-extend region key ranges",
       {&instrument, &layer, &region, &collection},
       {},
       {&song, &track, &mono, &empty}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(toUtf8(c.tool));
    const ToolEntry* tool = findTool(c.list, c.tool);
    ASSERT_NE(tool, nullptr);
    auto available = [&](std::vector<Item*> selection) {
      return tool->available(ToolContext{.selection = std::move(selection), .list = c.list});
    };
    for (Item* item : c.offered) EXPECT_TRUE(available({item})) << toUtf8(item->displayName());
    for (const auto& items : c.more) EXPECT_TRUE(available(items));
    for (Item* item : c.refused) EXPECT_FALSE(available({item})) << (item ? toUtf8(item->displayName()) : "");
  }
}

TEST(Catalogue, OptionsStartAtTheirInitialValuesWithinTheirRanges) {
  std::set<std::string_view> names;
  for (ToolList list : kLists)
    for (const ToolEntry& tool : toolCatalogue(list)) {
      names.clear();
      for (const ToolOption& option : tool.options) {
        SCOPED_TRACE(option.name);
        EXPECT_TRUE(names.insert(option.name).second);
        EXPECT_EQ(optionValue(option), option.initial);
        for (double value : {option.minimum, option.maximum}) {
          setOptionValue(option, value);
          EXPECT_EQ(optionValue(option), value);
          const std::u16string text = optionText(option);
          EXPECT_TRUE(setOptionText(option, text)) << toUtf8(text) << ": " << toUtf8(lastError());
          EXPECT_EQ(optionValue(option), value);
        }
        if (!option.label.empty()) {
          EXPECT_EQ(findOption(tool.options, option.label), &option);
        }
      }
      resetOptions(tool.options);
      for (const ToolOption& option : tool.options) EXPECT_EQ(optionValue(option), option.initial);
    }
}

TEST(ToolOption, IsSetFromText) {
  const struct {
    const char16_t *tool, *option, *text, *shown, *error;
  } cases[] = {
      {u"Find volume", u"volume measure", u"ReplayGain", u"ReplayGain algorithm", u""},
      {u"Find volume", u"measure", u" rms OF the entire waveform ", u"RMS of the entire waveform", u""},
      {u"Find volume", u"measure", u"3", u"RMS around the peak value", u""},
      {u"Find volume", u"measure", u"4", nullptr, u"Expected one of: peak, replaygain, rms, rms-around-peak"},
      {u"Find volume", u"APPEND", u"Off", u"0", u""},
      {u"Find volume", u"append", u"maybe", nullptr, u"Expected 0 or 1"},
      {u"Normalize volume", u"Desired peak volume:", u"89", u"89.00", u""},
      {u"Normalize volume", u"level", u"-4", u"0.00", u""},
      {u"Normalize volume", u"level", u"80.125", u"80.13", u""},  // printf alone would say 80.12
      {u"Normalize volume", u"level", u"+1e2", u"100.00", u""},
      {u"Normalize volume", u"level", u"1e3", u"200.00", u""},
      {u"Normalize volume", u"level", u"nan", nullptr, u"Expected a number"},
      {u"Normalize volume", u"level", u"89 dB", nullptr, u"Expected a number"},
      {u"Normalize volume", u"level", u"", nullptr, u"Expected a number"},
      {u"Normalize volume", u"Normalize l/r stereo channels separately", u"yes", u"1", u""},
      {u"Adjust volume/gain", u"gain", u"-6.5", u"-6.50", u""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(toUtf8(c.option) + "=" + toUtf8(c.text));
    const ToolEntry* tool = findTool(ToolList::Waveform, c.tool);
    const ToolOption* option = findOption(tool->options, c.option);
    ASSERT_NE(option, nullptr);
    const std::u16string before = optionText(*option);
    EXPECT_EQ(setOptionText(*option, c.text), c.shown != nullptr);
    EXPECT_EQ(optionText(*option), c.shown ? c.shown : before);
    if (!c.shown) {
      EXPECT_EQ(lastError(), c.error);
    }
    resetOptions(tool->options);
  }
  EXPECT_EQ(findOption(findTool(ToolList::Waveform, u"Find volume")->options, u"volume"), nullptr);
}

TEST(ToolOption, ChannelsAreTreatedSeparatelyOnlyWhereThatHasAMeaning) {
  const auto options = findTool(ToolList::Waveform, u"Normalize volume")->options;
  const ToolOption& separate = *findOption(options, u"separate");
  EXPECT_TRUE(separate.isOffered());
  normalizeOptions().singleRecording = true;
  EXPECT_FALSE(separate.isOffered());
  normalizeOptions() = {.target = kSetAdjustment};
  EXPECT_FALSE(separate.isOffered());
  resetOptions(options);
}

}  // namespace
}  // namespace vemko::tools
