// Feeds one input to the whole pipeline as a file of its own: the readers of the extensions in FUZZ_READS
// score it, the best one reads it, the fix-up runs, every waveform is loaded, and all of it is saved as each
// extension in FUZZ_SAVES.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "base/text.h"
#include "core/collection.h"
#include "io/decisions.h"
#include "io/fixup.h"
#include "io/open.h"
#include "io/registry.h"
#include "io/samples.h"
#include "io/save.h"

using namespace vemko;

namespace {

/// What is longer is read but neither loaded nor saved: a few bytes of a compressed file may honestly stand
/// for much sound.
constexpr std::uint64_t kMaxSamples = 1 << 20;
/// So many items of a kind are saved one by one.
constexpr std::size_t kMaxItems = 3;

std::vector<std::u16string> words(const char* text) {
  std::istringstream stream(text);
  std::vector<std::u16string> result;
  for (std::string word; stream >> word;) result.push_back(toUtf16(word));
  return result;
}

bool isListed(const std::vector<std::u16string>& list, std::u16string_view extension) {
  return std::ranges::find(list, extension) != list.end();
}

void writeWhole(const Path& path, Bytes content) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

/// A folder in memory for the input and what is made of it, gone at the end of the process. SFZ texts find a
/// sample and a text to include there.
struct Workplace {
  const Path folder = "/dev/shm/vemko-fuzz-" + std::to_string(getpid());
  const Path outputs = folder / "out";

  Workplace() {
    removeAbandoned();
    std::filesystem::create_directories(folder);
    Collection collection;
    Waveform& sample = createWaveform(collection, u"a");
    sample.setSamples(SampleBuffer::allocate(64, 1, 8000));
    io::saveItem(&sample, io::findWritingRow(u"wav", kindBit(ItemKind::Waveform)), folder / "a.wav", {});
    std::ofstream(folder / "a.inc") << "<region> key=60 sample=a.wav\n";
    io::setDecisions(
        {.ask = [](auto, auto buttons) { return buttons.size() - 1; },
         .locateFile = [](auto, auto) { return std::nullopt; },
         .confirmRaw = [](auto, auto&) { return io::RawFormat{.encoding = SampleEncoding::Float32}; }});
  }
  ~Workplace() { std::filesystem::remove_all(folder); }

  // Of processes that a finding or a signal ended.
  static void removeAbandoned() {
    constexpr std::string_view kName = "vemko-fuzz-";
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
      const std::string name = entry.path().filename().string();
      if (!name.starts_with(kName)) continue;
      const pid_t process = std::atoi(name.c_str() + kName.size());
      if (process > 0 && kill(process, 0) != 0) std::filesystem::remove_all(entry.path());
    }
  }
};

/// The reading row that scores the input best; without any, the input's size decides.
std::size_t rowFor(Bytes input, const std::vector<std::size_t>& rows) {
  const Bytes head = input.first(std::min<std::size_t>(input.size(), 32768));
  std::size_t best = rows[input.size() % rows.size()];
  int bestScore = 1;
  for (std::size_t row : rows) {
    const io::FormatEntry& entry = io::formatTable()[row];
    const int score = entry.probe(head, entry.variant, input.size());
    if (score <= bestScore) continue;
    best = row;
    bestScore = score;
  }
  return best;
}

/// Small enough to be loaded; then all samples are there, or given up.
bool loadAll(Collection& collection) {
  std::uint64_t samples = 0;
  for (Waveform* waveform : collection.all<Waveform>())
    samples += std::uint64_t{waveform->frames} * waveform->channels;
  if (samples > kMaxSamples) return false;
  for (Waveform* waveform : collection.all<Waveform>()) io::loadSamples(*waveform, true);
  return true;
}

template <class T>
void saveEach(Collection& collection, int row, const Path& path, const io::SaveOptions& options) {
  std::vector<T*> items = collection.all<T>();
  items.resize(std::min(items.size(), kMaxItems));
  for (T* item : items) io::saveWithBackup(item, path, row, options, false);
}

/// With the `choice`-th row of that extension; the whole collection where it can be held, else its first
/// items.
void saveAs(Collection& collection, std::u16string_view extension, std::size_t choice, const Path& folder) {
  std::vector<int> rows;
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1))
    if (io::extensionOf(row) == extension) rows.push_back(row);
  const int row = rows[choice % rows.size()];
  const Path path = folder / ("out." + toUtf8(extension));
  // A song is asked for as events; anything else keeps its encoding.
  const auto events = io::capabilitiesOf(row).capabilities & io::kMidiEvents;
  const io::SaveOptions options = io::saveOptionsFor(row, events);
  if (io::canHold(row, ItemKind::Collection)) {
    io::saveWithBackup(&collection, path, row, options, false);
  } else {
    if (io::canHold(row, ItemKind::Instrument)) saveEach<Instrument>(collection, row, path, options);
    if (io::canHold(row, ItemKind::Song)) saveEach<Song>(collection, row, path, options);
    if (io::canHold(row, ItemKind::Waveform)) saveEach<Waveform>(collection, row, path, options);
  }
}

/// Every step that the size's bits switch on, the default ones mostly.
void chooseFixup(std::size_t size) {
  io::FixupOptions& options = io::fixupOptions();
  options.splitStereo = size % 8 == 1;
  options.mergeStereo = size % 8 != 1;
  options.moveArticulation = options.append32 = options.bidirectionalToForward = size % 8 >= 6;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const Workplace place;
  static const std::vector<std::u16string> saves = words(FUZZ_SAVES);
  static const std::vector<std::size_t> readingRows = [] {
    const std::vector<std::u16string> reads = words(FUZZ_READS);
    std::vector<std::size_t> rows;
    for (std::size_t row = 0; row < io::formatTable().size(); ++row)
      if (io::formatTable()[row].reader && isListed(reads, io::formatTable()[row].extension))
        rows.push_back(row);
    return rows;
  }();

  const Bytes input = std::as_bytes(std::span(data, size));
  const io::FormatEntry& row = io::formatTable()[rowFor(input, readingRows)];
  const Path path = place.folder / ("in." + (row.extension == u"*" ? "raw" : toUtf8(row.extension)));
  writeWhole(path, input);
  std::filesystem::create_directories(place.outputs);
  chooseFixup(size);
  // The catch-all comes first in every table; the extension makes the other one win.
  const io::FormatEntry table[] = {io::formatTable()[0], row};
  Collection collection;
  io::openFile(collection, path, true, table);
  if (loadAll(collection))
    for (const std::u16string& extension : saves) saveAs(collection, extension, size, place.outputs);
  std::filesystem::remove_all(place.outputs);
  return 0;
}
