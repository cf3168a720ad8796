#pragma once
// Loops, sections and markers of a waveform.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

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
/// loop, and of two records of one name the older gets " 1" appended and the newer " 2". Keeps an index of
/// the records, so that adding hundreds of thousands stays linear; nobody else may change the records
/// meanwhile.
class LoopAdder {
 public:
  explicit LoopAdder(Waveform& waveform);

  /// `name` may be empty: "Main Loop" for a main loop, "Alt Loop" otherwise. With `mergeDuplicates` an equal
  /// loop is not added again. Returns the id of the record that now holds the loop.
  std::uint32_t add(const LoopDescriptor& loop, std::u16string_view name, bool isMain, bool mergeDuplicates);
  /// Appends a section or position marker as it is, with a new id.
  std::uint32_t addMarker(LoopRecord record);

 private:
  void index(std::size_t at);
  void resolveNameClash(std::size_t at);

  Waveform& waveform_;
  std::unordered_multimap<std::uint64_t, std::size_t> bySpan_;  // start and end frame -> position in the list
  std::unordered_multimap<std::u16string, std::size_t> byName_;
};

}  // namespace vemko
