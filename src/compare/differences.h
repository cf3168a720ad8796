#pragma once
// The comparison of single values and of pairs of items. Each adds what differs to a list.
#include "compare/compare.h"
#include "compare/match.h"

namespace vemko::compare {

/// Collects the differences of one pair of items.
class Differences {
 public:
  Differences(const Options& options, std::u16string where) : options_(options), where_(std::move(where)) {}

  /// What the differences added from now on need of a format; see Difference::features.
  void need(FeatureMask features) { features_ = features; }
  void text(std::u16string_view what, std::u16string_view first, std::u16string_view second);
  void whole(std::u16string_view what, std::int64_t first, std::int64_t second);
  /// With a unit behind the numbers, equal when no more than `step` x tolerance apart.
  void number(std::u16string_view what, double first, double second, double step,
              std::u16string_view unit = {});
  void add(std::u16string_view what, std::u16string first, std::u16string second);

  const Options& options() const { return options_; }
  std::vector<Difference> take() { return std::move(list_); }

 private:
  const Options& options_;
  std::u16string where_;
  FeatureMask features_ = 0;
  std::vector<Difference> list_;
};

std::u16string decimalText(double value);
/// Names, control characters left in: the caller prints.
std::u16string placeOf(const Region& region);

void compareTexts(const Item& first, const Item& second, Differences& differences);
/// `isPlayed`: a note at rest plays the first one.
void compareWaveforms(const Waveform& first, const Waveform& second, bool isPlayed, Differences& differences);
/// What regions otherwise say: root key, fine tune and volume adjustment.
void compareRootKeys(const Waveform& first, const Waveform& second, Differences& differences);
/// The events of all tracks together: how they are spread over tracks is not heard.
void compareMusic(const Song& first, const Song& second, Differences& differences);
/// Everything that decides how the region sounds; whether the waveforms are each other's partners included.
void compareRegions(const Region& first, const Region& second, const WaveformClasses& classes,
                    Differences& differences);
/// Slots of what does nothing on either side are passed over, and so are those of tuning and volume, which
/// are compared together with the waveform's.
void compareArticulation(const Region& first, const Region& second, Differences& differences);

}  // namespace vemko::compare
