#pragma once
// Loops, sections and markers of a waveform as flags above its picture, with handles to be dragged.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/view/wave_scale.h"
#include "core/sample_access.h"
#include "core/waveform.h"

namespace vemko::view {

/// What of a record a handle moves. A position marker has a start only.
enum class HandlePart : std::uint8_t { Start, End, Whole };

struct Handle {
  std::uint32_t recordId = 0;
  HandlePart part = HandlePart::Start;
  friend bool operator==(const Handle&, const Handle&) = default;
};

/// A record with its place among the flags, all of it in frames.
struct Flag {
  LoopRecord record;
  bool isMainLoop = false;
  int lane = 0;               ///< From the top.
  double first = 0, end = 0;  ///< Within the waveform, `first` not behind `end`; equal for a marker.
  /// Of a marker: where the next one stands, behind the end of the waveform when none does.
  double labelEnd = 0;

  bool isSpan() const { return record.type != RecordType::PositionMarker; }
};

/// Heights in pixels, from the top of the picture: the lanes, then the waves.
struct FlagMetrics {
  double top = 0;
  double laneHeight = 18;
  double handleWidth = 9;
  double lineReach = 4;  ///< How far beside a line it can still be taken hold of.
};

/// A waveform's flags in the order of their starts. Spans that overlap get lanes of their own, three at most;
/// markers stand in a lane above them. Takes n log n time.
class WaveFlags {
 public:
  static constexpr int kMaxSpanLanes = 3;

  WaveFlags() = default;
  explicit WaveFlags(const Waveform& waveform);

  std::span<const Flag> flags() const { return flags_; }
  bool isEmpty() const { return flags_.empty(); }
  int lanes() const { return lanes_; }
  const Flag* find(std::uint32_t recordId) const;
  /// Frame of a handle; of a whole record, its start. Nothing for a record that is not there.
  std::optional<double> frameOf(Handle handle) const;

  /// Puts a changed record in place of that of its id, in the same lane, while it is dragged.
  void replace(const LoopRecord& record);

  /// What is under the pointer: in the lanes handles and bands, below them the lines. Of several at one
  /// place the one of `preferred`, else the nearest.
  std::optional<Handle> hit(const WaveScale& scale, const FlagMetrics& metrics, double x, double y,
                            std::optional<Handle> preferred = {}) const;
  /// The handle behind (or before) that one in the order of frames; the first (last) without one, and nothing
  /// past the last (first).
  std::optional<Handle> next(std::optional<Handle> handle, bool forward) const;

 private:
  void assignLanes();
  void listHandles();

  std::vector<Flag> flags_;    // by start
  std::vector<Handle> order_;  // by frame
  std::uint32_t frames_ = 0;
  int lanes_ = 0;
};

/// The record with a handle at `frame`, kept inside the waveform and its start before its end. Ends that move
/// lie on whole frames; a whole record keeps its length to the hundredth.
LoopRecord movedRecord(const LoopRecord& record, HandlePart part, std::int64_t frame, std::uint32_t frames);

/// "Move loop", "Move section", "Move marker"
std::u16string_view moveStepName(RecordType type);

/// A name for one line: without control characters, cut to 60 characters.
std::u16string shortName(std::u16string_view name);

/// For tool tips: name, kind, play mode, position and length, on a few lines.
std::u16string recordDescription(const LoopRecord& record, bool isMainLoop, std::uint32_t rate);

/// The frame of the window nearest to `frame` before which the mix of all channels crosses zero; nothing
/// where it does not.
std::optional<std::uint32_t> nearestZeroCrossing(const SampleWindow& window, std::uint32_t frame);

}  // namespace vemko::view
