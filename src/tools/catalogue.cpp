#include <algorithm>

#include "base/text.h"
#include "tools/availability.h"
#include "tools/tool_entry.h"
#include "tools/volume_options.h"

namespace vemko::tools {
namespace {

constexpr ToolEntry kSearchAndReplace = {u"Search and replace text", always, 0};

// In the order in which the lists show them. A row without an apply function is not offered yet.
// clang-format off
constexpr ToolEntry kWaveformTools[] = {
    {u"Adjust volume/gain",                          always,         1, applyAdjustVolume, {}, kAdjustVolumeOptionRows},
    {u"Auto loop finder",                            always,         0},
    {u"Auto tune",                                   always,         0},
    {u"Calculate tuning",                            always,         0},
    {u"Combine waveforms into a sliced wave",        isSeveral,      0},
    {u"Convert from mono to stereo",                 hasMono,        0},
    {u"Convert from stereo to mono",                 hasStereo,      0},
    {u"Convert loop markers to sections",            hasPlayingLoop, 0},
    {u"Convert section markers to loops",            hasMarker,      0},
    {u"Cross-fade loop",                             hasPlayingLoop, 0},
    {u"Cut away selection",                          always,         3},
    {u"Enable/disable loops",                        always,         0},
    {u"Fade in/out selection",                       always,         3},
    {u"Find volume",                                 always,         0, applyFindVolume, {}, kFindVolumeOptionRows, nullptr, true},
    {u"Filter waveform",                             always,         0},
    {u"Insert another waveform",                     always,         1},
    {u"Insert silence",                              always,         1},
    {u"Invert sign throughout selection",            always,         5},
    {u"Loop sanitizer/converter",                    hasPlayingLoop, 0},
    {u"Maximize amplitude",                          always,         4, applyMaximize,
     u"Maximizes the wavform amplitude (expanding the supremum or infimum value to the extreme of the wavesample range, while maintaining a fixed zero point)."},
    {u"Mix out = a * wave1 + b * wave2 + c",         isOne,          0},
    {u"Move loop points to zero-crossing",           hasPlayingLoop, 4},
    {u"Normalize volume",                            always,         0, applyNormalize,
     u"Normalize the volume - make waves \"equally loud\" - using a heurtistic algorithm.", kNormalizeOptionRows, normalizeRelatesItems},
    {u"Parse root key from waveform name",           always,         4},
    {u"Pitch scale",                                 always,         0},
    {u"Remove DC offset",                            always,         4, applyRemoveOffset,
     u"Remove DC offset by subtracting the mean value of all the wavesamples."},
    {u"Remove silent sections",                      always,         0},
    {u"Resample",                                    always,         0},
    {u"Reverse audio within selection",              always,         5},
    kSearchAndReplace,
    {u"Set waveform names from file names",          always,         4},
    {u"Set waveform names from root keys",           always,         0},
    {u"Smooth within the selection",                 always,         3},
    {u"Split sections/slices into separate waves",   hasSection,     0},
    {u"Split waveform at silent sections",           always,         0},
    {u"Statistics for the waveform",                 always,         0, applyStatistics, {}, {}, nullptr, true},
    {u"Swap left and right channels",                hasStereo,      4},
    {u"Time stretch",                                always,         0},
    {u"Trim waveform after loop",                    hasPlayingLoop, 0},
    {u"Trim waveform to selection",                  always,         7},
    {u"VST plug-in effects",                         always,         1},
};

constexpr ToolEntry kMidiTools[] = {
    {u"Change tick rate",                                hasMidi,          0},
    {u"Compact MIDI file size",                          hasMidi,          0},
    {u"Convert MIDI format",                             hasMidi,          0},
    {u"Filter MIDI messages",                            hasMidi,          0},
    {u"Fix compatibility issues and improve portability", hasMidi,         0},
    {u"Merge selected tracks",                           hasSeveralTracks, 4},
    kSearchAndReplace,
    {u"Transpose notes",                                 hasMidi,          0},
    {u"Trim start and/or length",                        hasMidi,          0},
};

constexpr ToolEntry kInstrumentTools[] = {
    {u"Add downsampled waves at every octave",            hasRegion,             4},
    {u"Adjust common parameters",                         always,                0},
    {u"Auto-extend region key ranges",                    hasRegion,             0},
    {u"Delete items not used by any song",                hasInstrument,         0},
    {u"Format text in names",                             always,                0},
    {u"Merge instruments into a single instrument",       hasSeveralInstruments, 0},
    {u"Merge layers into a single layer",                 hasLayer,              0},
    {u"Merge mono waveform pairs to stereo",              hasRegion,             0},
    {u"Merge regions using the same waveform",            hasRegion,             0},
    {u"Move articulation level",                          hasRegion,             0},
    {u"Move instruments between banks",                   hasInstrument,         0},
    {u"Move up articulation level if all equal below",    hasRegion,             0},
    {u"Renumber instruments",                             hasInstrument,         0},
    kSearchAndReplace,
    {u"Split drum kits into melodic instruments",         hasInstrument,         4},
    {u"Split layers with velocity splits",                hasLayer,              4},
    {u"Split multi-layered instruments",                  hasInstrument,         4},
    {u"Split stereo waveforms to dual mono layers",       hasRegion,             4},
    {u"Transpose regions",                                always,                0},
    {u"Trim waveforms to region play sections",           hasRegion,             4},
};
// clang-format on

constexpr bool rowsAreSound(std::span<const ToolEntry> tools) {
  return std::ranges::all_of(tools, [](const ToolEntry& tool) {
    return tool.options.empty() || (tool.optionsByte & kHasNoOptions) == 0;
  });
}
static_assert(rowsAreSound(kWaveformTools) && rowsAreSound(kMidiTools) && rowsAreSound(kInstrumentTools));

}  // namespace

std::span<const ToolEntry> toolCatalogue(ToolList list) {
  switch (list) {
    case ToolList::Waveform:
      return kWaveformTools;
    case ToolList::Midi:
      return kMidiTools;
    case ToolList::Instrument:
      return kInstrumentTools;
  }
  return {};
}

const ToolEntry* findTool(ToolList list, std::u16string_view name) {
  const auto tools = toolCatalogue(list);
  const auto found =
      std::ranges::find_if(tools, [name](const ToolEntry& t) { return equalsIgnoringCase(t.name, name); });
  return found == tools.end() ? nullptr : &*found;
}

bool isOffered(const ToolEntry& tool, const ToolContext& context) {
  return tool.apply != nullptr && tool.available(context);
}

}  // namespace vemko::tools
