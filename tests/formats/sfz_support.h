#pragma once
// Definition files and their sample files in a folder of the test's own.
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "base/log.h"
#include "core/collection.h"
#include "core/parameters.h"
#include "io/fixup.h"
#include "io/open.h"
#include "io/save.h"
#include "support.h"

namespace vemko::test {

/// Collects the log while it lives.
class LogLines {
 public:
  LogLines()
      : before_(setLogSink([this](LogLevel, std::u16string_view line) { lines_.push_back(toUtf8(line)); })) {}
  ~LogLines() { setLogSink(before_); }
  /// How many lines hold the text.
  std::size_t count(std::string_view text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(lines_, [&](const std::string& line) { return line.find(text) != line.npos; }));
  }
  const std::vector<std::string>& all() const { return lines_; }

 private:
  std::vector<std::string> lines_;
  LogSink before_;
};

inline void addSamples(Waveform& waveform, std::uint32_t frames, float level = 0.5f) {
  auto buffer = SampleBuffer::allocate(frames, 1, 44100);
  for (std::uint32_t i = 0; i < frames; ++i)
    buffer->samples()[i] = level * static_cast<float>(std::round(30000 * std::sin(i * 0.05)) / 32768);
  waveform.rate = 44100;
  waveform.setSamples(std::move(buffer));
}

/// A 16-bit WAVE file; `shape` gives it loops, keys and markers.
inline void putWave(const Path& path, std::uint32_t frames = 1000,
                    const std::function<void(Waveform&)>& shape = {}) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, path.stem().u16string());
  addSamples(waveform, frames);
  if (shape) shape(waveform);
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  ASSERT_TRUE(
      io::saveItem(&waveform, row, path, io::saveOptionsFor(row, io::encodingBit(SampleEncoding::Pcm16))))
      << toUtf8(lastError());
}

inline void openPlain(Collection& collection, const Path& path) {
  const io::FixupOptions before = io::fixupOptions();
  io::fixupOptions() = {.mergeStereo = false,
                        .compactLayers = false,
                        .removeDuplicateWaves = false,
                        .moveTriggerParameters = false,
                        .sortCollection = false,
                        .sortWaves = false,
                        .ensureUniqueNames = false};
  EXPECT_TRUE(io::openFile(collection, path, false)) << path << ": " << toUtf8(lastError());
  io::fixupOptions() = before;
}

/// A folder with "a.wav" (1000 frames) in which definition files are opened.
class SfzFolder {
 public:
  SfzFolder() { putWave(folder_ / "a.wav"); }
  const Path& path() const { return folder_.path(); }
  Path operator/(const Path& name) const { return folder_ / name; }
  /// Opens the text as a definition file.
  void open(Collection& collection, std::string_view text, const Path& name = "x.sfz") {
    putFile(folder_ / name, text);
    openPlain(collection, folder_ / name);
  }

 private:
  TempFolder folder_;
};

inline const Region& onlyRegion(const Collection& collection) {
  const auto regions = collection.all<Region>();
  EXPECT_EQ(regions.size(), 1u);
  return *regions.at(0);
}

}  // namespace vemko::test
