#pragma once
// When the tools are offered.
#include "tools/tool_entry.h"

namespace vemko::tools {

bool always(const ToolContext& context);
bool hasPlayingLoop(const ToolContext& context);  ///< A waveform whose main loop is not off.
bool hasSection(const ToolContext& context);      ///< A waveform with a section marker.
bool hasMarker(const ToolContext& context);       ///< A waveform with a record that is no loop.
bool isOne(const ToolContext& context);           ///< Exactly one item.
bool isSeveral(const ToolContext& context);       ///< At least two items.
bool hasMono(const ToolContext& context);
bool hasStereo(const ToolContext& context);
bool hasMidi(const ToolContext& context);  ///< A track, a song, or a collection that holds songs.
bool hasSeveralTracks(const ToolContext& context);
// The item itself, one above or one below it in the tree of instruments; or a collection that holds such.
bool hasInstrument(const ToolContext& context);
bool hasSeveralInstruments(const ToolContext& context);
bool hasLayer(const ToolContext& context);
bool hasRegion(const ToolContext& context);

}  // namespace vemko::tools
