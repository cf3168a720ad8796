#pragma once
// Cue points with their labels and lengths: the markers and sections of a waveform.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"

namespace vemko::riff {

/// What the "adtl" lists say about cue points, by their ids; the first of several counts.
struct CueNotes {
  std::unordered_map<std::uint32_t, Bytes> labels;
  std::unordered_map<std::uint32_t, std::uint32_t> lengths;  ///< Frames.
  Bytes exact;      ///< Our own block, empty where there is none, ...
  Bytes published;  ///< ... and what stands before it in its list.

  /// Trimmed; empty without a label.
  std::u16string label(std::uint32_t cueId) const;
};
void readCueNotes(Bytes list, CueNotes& notes);

/// Ids of the points that a "cue " chunk holds, in their order.
std::vector<std::uint32_t> cueIds(Bytes body);

struct CueContext {
  const CueNotes& notes;
  const std::unordered_set<std::uint32_t>& loopIds;  ///< Points that a "smpl" chunk's loops own.
  bool hasSampler = false;
};

/// Adds a record for every point, and the main loop that labelled points stand for.
void readCues(Bytes body, const CueContext& context, LoopAdder& adder, const Waveform& waveform);

/// One point for every record of the waveform, with ids from 1 in their order; empty without records.
std::vector<std::byte> buildCues(const Waveform& waveform);
/// The contents of the "adtl" list: labels and lengths of these points.
std::vector<std::byte> buildCueNotes(const Waveform& waveform);

/// Longest label written, in bytes before the terminating zero.
inline constexpr std::size_t kLongestLabel = 256;

/// Chunk of the "adtl" list that holds our own block.
inline constexpr std::uint32_t kExactChunk = fourCc("vmko");

/// Logs the first few of many warnings, and how many more there were.
class RepeatedWarning {
 public:
  explicit RepeatedWarning(std::u16string_view what) : what_(what) {}
  ~RepeatedWarning();
  RepeatedWarning(const RepeatedWarning&) = delete;
  RepeatedWarning& operator=(const RepeatedWarning&) = delete;
  void at(std::uint64_t position);

 private:
  std::u16string what_;
  std::size_t count_ = 0;
};

}  // namespace vemko::riff
