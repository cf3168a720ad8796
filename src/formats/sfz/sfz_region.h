#pragma once
// From the opcodes that hold for each region to the instrument's tree.
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

class RegionBuilder {
 public:
  /// Makes the instrument, named after the file.
  RegionBuilder(Collection& collection, const Path& file);

  std::uint32_t sampleNumber(std::string_view stored) { return samples_.number(stored); }
  std::uint32_t labelNumber(std::string_view label);

  /// The next region starts a layer of that name; without one, its "group_label" names it.
  void endLayer(std::string_view nextName);
  /// Adds the region; `settings` are in the order of their keys, each key once.
  void add(std::span<const Setting> settings);

 private:
  void collect(std::span<const Setting> settings);
  void collectNumber(const OpcodeRow& row, const Setting& setting);
  std::u16string label(Field field) const;
  Waveform* findWaveform();
  Region& createRegionFor(const Waveform* waveform);
  void setSection(Region& region, Waveform* waveform);
  void setFades(Region& region) const;
  void setRules(Region& region);
  void claimSends();
  void tellUnevenBend();

  Instrument& instrument_;
  SampleFiles samples_;
  std::vector<std::string> labels_;
  Layer* layer_ = nullptr;
  std::string layerName_;
  std::shared_ptr<const PlayRules> lastRules_;
  Complaints complaints_;
  // Of the region that is being added.
  RegionOpcodes opcodes_;
  PlayRules rules_;
  std::uint32_t sample_ = kNoSample;
};

}  // namespace vemko::sfz
