#pragma once
// MIDI songs: Standard MIDI Files, and RIFF files that hold one, with or without instruments.
#include "io/format_entry.h"

namespace vemko::midi {

// --- Standard MIDI Files: one file is one song, each track chunk a track whose event bytes stay as they are.

int probeFile(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
/// Fails with "Not a Standard MIDI file". What is damaged is read as far as it makes sense.
bool readFile(Collection& collection, InputFile& file, std::uint32_t variant);
/// Writes a song. Fails with "The file format can not save this item".
bool writeFile(Item& item, OutputFile& file, const io::SaveOptions& options);

// Variants of the writer.
inline constexpr std::uint32_t kOwnFormat = 0;       ///< The song's tracks as they are.
inline constexpr std::uint32_t kSingleTrack = 1;     ///< Format 0: all tracks in one.
inline constexpr std::uint32_t kParallelTracks = 2;  ///< Format 1: a single track is parted by channels.

// --- RIFF files of form "RMID": a MIDI file and, in some, a bank.

int probeRiffMidi(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
/// Reads the song, and the bank's items with it. Fails with "Not a RIFF-MIDI file" and as readFile does.
bool readRiffMidi(Collection& collection, InputFile& file, std::uint32_t variant);
/// Writes a song, or a collection's only one, with the instruments of its collection. Fails with "The file
/// format can not save this item" and as the bank's writer does.
bool writeRiffMidi(Item& item, OutputFile& file, const io::SaveOptions& options);

// Variants of that writer; the reading row writes without instruments.
inline constexpr std::uint32_t kWithoutBank = 0, kWithLevel1 = 1, kWithLevel2 = 2;

}  // namespace vemko::midi
