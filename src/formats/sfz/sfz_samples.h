#pragma once
// The waveforms that a definition file's regions play.
//
// Loops belong to waveforms, while a definition file states them region by region. The first region that
// plays a sample gives the waveform its loop; regions that loop otherwise get a waveform of their own on the
// same data.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/collection.h"

namespace vemko::sfz {

/// The loop as a region states it; what is absent is as in the sample file.
struct LoopRequest {
  std::optional<bool> loops;
  std::optional<LoopCount> count;
  std::optional<LoopPlay> play;
  std::optional<double> startFrame, lastFrame, tuneCents;
};

class SampleFiles {
 public:
  SampleFiles(Collection& collection, Path folder) : collection_(collection), folder_(std::move(folder)) {}

  /// The number of that stored path, or of that generator ("*sine"); equal texts get equal numbers.
  std::uint32_t number(std::string_view stored);
  /// The waveform with that loop; null when the file is missing or no audio file. Each file is opened once,
  /// when it is first asked for.
  Waveform* find(std::uint32_t number, const LoopRequest& loop);
  /// A waveform with the file's own root key, tuning and level; null like find().
  const Waveform* look(std::uint32_t number);
  void addAltStart(Waveform& waveform, std::uint32_t frame);

 private:
  // A main loop; play Off where there is none, and then start and end may say where one would be.
  struct Loop {
    LoopPlay play = LoopPlay::Off;
    LoopCount count = LoopCount::Infinite;
    double start = 0, end = 0, tuneCents = 0;
    friend auto operator<=>(const Loop&, const Loop&) = default;
  };
  struct Sample {
    std::string stored;
    bool isOpened = false;
    Waveform* first = nullptr;
    Loop ofFile;
    std::map<Loop, Waveform*> byLoop;
  };

  void open(Sample& sample);
  void generate(Sample& sample);
  static Loop loopOf(const Waveform& waveform);
  static Loop wantedLoop(const Sample& sample, const LoopRequest& request);
  static void setLoop(Waveform& waveform, const Loop& loop);

  Collection& collection_;
  Path folder_;
  std::vector<Sample> samples_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
  std::unordered_map<const Waveform*, std::vector<std::uint32_t>> altStarts_;
};

}  // namespace vemko::sfz
