#pragma once
// Loops, sections and markers of a waveform.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vemko {

struct Waveform;

enum class RecordType : std::uint8_t { PositionMarker, SectionMarker, Loop };
enum class LoopPlay : std::uint8_t { Off, Forward, Reverse, Alternating };
enum class LoopCount : std::uint8_t { Infinite, UntilRelease };

/// "Position marker", "Forward", "Until Release", ... as shown to the user.
std::u16string_view displayWord(RecordType type);
std::u16string_view displayWord(LoopPlay play);
std::u16string_view displayWord(LoopCount count);

// Standard names of records that readers and editors create.
inline constexpr std::u16string_view kMainLoopName = u"Main Loop";
inline constexpr std::u16string_view kAltLoopName = u"Alt Loop";
inline constexpr std::u16string_view kReleaseLoopName = u"Release Loop";
inline constexpr std::u16string_view kSustainLoopName = u"Sustain Loop";
inline constexpr std::u16string_view kAltStartName = u"Alt Start";
inline constexpr std::u16string_view kStartName =
    u"Start";                                              ///< Where playing starts, to the end of the data.
inline constexpr std::u16string_view kPlayName = u"Play";  ///< The section that is played.

struct LoopRecord {
  RecordType type = RecordType::PositionMarker;
  std::uint8_t startHundredths = 0;  ///< 0..99, added to start.
  std::uint8_t endHundredths = 0;
  LoopPlay play = LoopPlay::Off;  ///< A loop with Off exists but does not loop.
  LoopCount count = LoopCount::Infinite;
  std::int16_t tuneCents = 0;  ///< -1200..+1200
  std::uint32_t start = 0;     ///< Frame.
  std::uint32_t end = 0;       ///< Frame behind the last; for a position marker the start or 0.
  std::uint32_t id = 0;        ///< Unique among all records of the run, never 0.
  std::u16string name;

  double startFrames() const { return start + startHundredths * 0.01; }
  double endFrames() const { return end + endHundredths * 0.01; }
};

/// The next record id of the run: 1, 2, ... 0x7FFFFF, then 1 again.
std::uint32_t nextRecordId();

struct LoopDescriptor {
  LoopPlay play = LoopPlay::Forward;
  LoopCount count = LoopCount::Infinite;
  double startFrames = 0;
  double endFrames = 0;
  double tuneSemitones = 0;
};

/// Adds loops to one waveform by the rules that all readers share: positions are kept in hundredths of a
/// frame, a new main loop replaces the present one in place, a section marker of the same span becomes the
/// loop, and of two records of one name the older gets " 1" appended and the newer " 2". A marker that
/// becomes a loop keeps its id and, unless the loop has a name of its own, its name; it becomes the main loop
/// where an appended loop would. Keeps an index of the records, so that adding hundreds of thousands stays
/// linear; nobody else may change the records meanwhile.
class LoopAdder {
 public:
  explicit LoopAdder(Waveform& waveform);

  /// `name` may be empty: "Main Loop" for a main loop, "Alt Loop" otherwise. With `mergeDuplicates` an equal
  /// loop is not added again. Returns the id of the record that now holds the loop. Positions outside the
  /// frame numbers of 32 bits are moved to their ends; what is no number counts as 0.
  std::uint32_t add(const LoopDescriptor& loop, std::u16string_view name, bool isMain, bool mergeDuplicates);
  /// Appends a section or position marker as it is, with a new id.
  std::uint32_t addMarker(LoopRecord record);

 private:
  // What loops of one kind share: for a loop its span and all its loop fields, for a section marker its span.
  struct Shape {
    std::uint64_t span;
    std::uint64_t fields;
    friend bool operator==(const Shape&, const Shape&) = default;
  };
  struct ShapeHash {
    std::size_t operator()(const Shape& shape) const;
  };
  // Positions in the list, the lowest on top; those whose record has changed since are dropped when met.
  using Positions = std::vector<std::size_t>;

  static Shape shapeOf(const LoopRecord& record);
  void indexShape(std::size_t at);
  void indexName(std::size_t at);
  std::optional<std::size_t> firstOfShape(const Shape& shape);
  std::optional<std::size_t> sectionOfSpan(const LoopDescriptor& loop);
  std::optional<std::size_t> firstNamed(const std::u16string& name);
  std::uint32_t append(LoopRecord record);
  void replace(std::size_t at, LoopRecord record);
  std::u16string withoutClash(std::u16string name);

  Waveform& waveform_;
  std::optional<std::size_t> mainLoop_;
  std::unordered_map<Shape, Positions, ShapeHash> byShape_;
  std::unordered_map<std::u16string, Positions> byName_;
};

}  // namespace vemko
