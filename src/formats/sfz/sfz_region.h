#pragma once
// From the opcodes that hold for each region to the instrument's tree.
#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "core/collection.h"
#include "formats/sfz/sfz_articulation.h"
#include "formats/sfz/sfz_samples.h"

namespace vemko::sfz {

/// One opcode with its value: a number, or the number of a text.
struct Setting {
  OpcodeKey key;
  double number = 0;
};
inline constexpr double kKeyCenterOfSample = -1;
inline constexpr std::uint32_t kNoSample = 0xFFFFFFFF;

/// The place 0..1 of a controller on one of the curves that players have built in; nothing for others.
std::optional<double> curveAt(double curve, double place);

class RegionBuilder {
 public:
  /// Makes the instrument, named after the file.
  RegionBuilder(Collection& collection, const Path& file);

  std::uint32_t sampleNumber(std::string_view stored) { return samples_.number(stored); }
  std::uint32_t labelNumber(std::string_view label);
  /// For the regions to come.
  void setAtRest(std::uint8_t controller, double value);

  /// The next region starts a layer of that name; without one, its "group_label" names it.
  void endLayer(std::string_view nextName);
  /// Adds the region; `settings` are in the order of their keys, each key once.
  void add(std::span<const Setting> settings);

 private:
  void collect(std::span<const Setting> settings);
  void fold(const Setting& setting, double curve);
  void collectNumber(const OpcodeRow& row, const Setting& setting);
  std::u16string label(Field field) const;
  Waveform* findWaveform();
  Region& createRegionFor(const Waveform* waveform);
  void setSection(Region& region, Waveform* waveform);
  void setFades(Region& region) const;
  void setRules(Region& region);
  void setSwitches();
  void claimSends();
  void tellUnevenBend();

  Instrument& instrument_;
  SampleFiles samples_;
  std::vector<std::string> labels_;
  Layer* layer_ = nullptr;
  std::string layerName_;
  std::shared_ptr<const PlayRules> lastRules_;
  std::array<std::uint8_t, 256> atRest_;  // by controller
  Complaints complaints_;
  // Of the region that is being added.
  RegionOpcodes opcodes_;
  PlayRules rules_;
  std::uint32_t sample_ = kNoSample;
};

}  // namespace vemko::sfz
