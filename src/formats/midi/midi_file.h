#pragma once
// Between the bytes of a Standard MIDI File and the items of a song.
#include <string_view>
#include <vector>

#include "core/collection.h"

namespace vemko::midi {

/// Adds the song that the bytes hold; a song without a name of its own gets `name`. Null, with "Not a
/// Standard MIDI file" set, when there is no header.
Song* parseSong(Bytes bytes, std::u16string_view name, Collection& collection);

/// The bytes of a file for the song; `variant` as of writeFile().
std::vector<std::byte> buildSong(const Song& song, std::uint32_t variant);

/// The tracks' events in one, by their time. All event bytes are plain; running status is spelt out.
std::vector<std::byte> mergeTracks(const std::vector<Bytes>& tracks);
/// What belongs to no channel, then the events of each channel that has some.
std::vector<std::vector<std::byte>> splitByChannel(Bytes track);

/// Whether the last event is the end of the track. A track whose last event is cut off counts as ended:
/// nothing can follow it.
bool isEnded(Bytes track);

inline constexpr std::uint8_t kMetaStatus = 0xFF;
inline constexpr std::uint8_t kCopyrightMeta = 2, kNameMeta = 3, kEndOfTrackMeta = 0x2F;

}  // namespace vemko::midi
