#pragma once
// Rows whose writers do what a test of saving needs.
#include <new>

#include "collections.h"
#include "io/save.h"
#include "support.h"

namespace vemko::test {

enum Behaviour : std::uint32_t { Writes, Fails, RunsOutOfMemory };

/// What the writers got since the last reset.
struct Written {
  std::vector<std::string> names;
  std::size_t waveforms = 0;
  std::string collection, copyright;  // the collection's texts
  std::shared_ptr<const ReaderNotes> notes;
  io::SaveOptions options;
};
inline Written written;

inline bool writeScripted(Item& item, OutputFile& file, const io::SaveOptions& options) {
  EXPECT_TRUE(io::isSaving());
  written.names.push_back(toUtf8(item.displayName()));
  written.waveforms = waveformsOf(item).size();
  const Collection& collection = item.collection();
  written.collection = toUtf8(collection.name());
  written.copyright = toUtf8(collection.text(TextProperty::Copyright));
  written.notes = collection.notes;
  written.options = options;
  EXPECT_TRUE(file.write(asBytes("new"))) << toUtf8(lastError());
  if (options.variant == Fails) return fail(u"Scripted failure");
  if (options.variant == RunsOutOfMemory) throw std::bad_alloc();
  return true;
}

inline constexpr KindMask kWave = kindBit(ItemKind::Waveform), kInstruments = kindBit(ItemKind::Instrument),
                          kSongs = kindBit(ItemKind::Song), kCollections = kindBit(ItemKind::Collection);
enum Row : int { WaveRow, FailingRow, ThrowingRow, InstrumentRow, SongRow, LinkedRow, ReadingRow };

inline int probeNothing(Bytes, std::uint32_t, std::uint64_t) { return 0; }
inline bool readNothing(Collection&, InputFile&, std::uint32_t) { return true; }

// clang-format off
inline constexpr io::FormatEntry kRows[] = {
    {u"w", nullptr, writeScripted, nullptr, u"Waves",       kWave,        io::kMono | io::kStereo, kAllFeatures, Writes,          nullptr},
    {u"w", nullptr, writeScripted, nullptr, u"Failing",     kWave,        io::kMono,               kAllFeatures, Fails,           nullptr},
    {u"w", nullptr, writeScripted, nullptr, u"Throwing",    kWave,        io::kMono,               kAllFeatures, RunsOutOfMemory, nullptr},
    {u"i", nullptr, writeScripted, nullptr, u"Instruments", kInstruments, io::kStereo,             kAllFeatures, Writes,          nullptr},
    {u"s", nullptr, writeScripted, nullptr, u"Songs",       kSongs,       io::kMidiEvents,         kAllFeatures, Writes,          nullptr},
    {u"c", nullptr, writeScripted, nullptr, u"Linked", kCollections | kInstruments, io::kMono | io::kLinkedStereo, kAllFeatures, Writes, nullptr},
    {u"r", readNothing, nullptr, probeNothing, u"Reading",  kWave,        0,                       kAllFeatures, 0,               nullptr},
};
// clang-format on

}  // namespace vemko::test
