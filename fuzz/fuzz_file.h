#pragma once
// Feeds one input to the whole pipeline as a file in memory.
#include <algorithm>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include "core/collection.h"
#include "io/open.h"
#include "io/registry.h"
#include "io/samples.h"
#include "io/save.h"

namespace vemko::fuzz {

/// Longer waveforms are not loaded: a few bytes of a compressed file may honestly stand for much sound.
constexpr std::uint64_t kMaxSamples = 1 << 22;

/// A file that has no name in any folder; the path lives as long as this object.
class MemoryFile {
 public:
  explicit MemoryFile(Bytes content) : descriptor_(memfd_create("fuzz", 0)) {
    if (!content.empty() && write(descriptor_, content.data(), content.size()) < 0) _exit(1);
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  Path path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

/// Saves the collection and its songs with every row of that extension that can hold them.
inline void saveWhole(Collection& collection, std::u16string_view extension, const Path& path) {
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1)) {
    if (io::extensionOf(row) != extension) continue;
    const io::SaveOptions options = io::saveOptionsFor(row, io::kMidiEvents);
    if (io::canHold(row, ItemKind::Collection)) io::saveItem(&collection, row, path, options);
    for (Song* song : collection.all<Song>())
      if (io::canHold(row, ItemKind::Song)) io::saveItem(song, row, path, options);
  }
}

/// Reads the input, whatever its name, with the reader of the given row; loads and saves every waveform, and
/// saves the whole in the file's own format.
inline void readAndSave(Bytes input, std::u16string_view description) {
  const MemoryFile in(input), out({});
  InputFile file;
  if (!file.open(in.path())) return;
  for (const io::FormatEntry& row : io::formatTable()) {
    if (row.reader == nullptr || row.description != description) continue;
    Collection collection;
    row.probe(input.first(std::min<std::size_t>(input.size(), 32768)), row.variant, input.size());
    row.reader(collection, file, row.variant);
    const int target = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
    for (Waveform* waveform : collection.all<Waveform>()) {
      if (std::uint64_t{waveform->frames} * waveform->channels > kMaxSamples) continue;
      io::saveItem(waveform, target, out.path(), {});
      io::loadSamples(*waveform, true);
    }
    saveWhole(collection, row.extension, out.path());
    return;
  }
}

}  // namespace vemko::fuzz
