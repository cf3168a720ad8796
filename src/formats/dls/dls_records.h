#pragma once
// The lists of a collection as they stand in its file.
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/bytes.h"
#include "base/log.h"
#include "core/collection.h"
#include "formats/dls/dls_connections.h"
#include "formats/riff/info.h"
#include "formats/riff/wsmp.h"

namespace vemko::dls {

using DlsId = std::array<std::byte, 16>;
inline constexpr std::uint32_t kNoCue = 0xFFFFFFFF;

/// Bits of Region::options and WaveLink::options.
inline constexpr std::uint16_t kSelfNonExclusive = 1, kPhaseMaster = 1;
inline constexpr std::uint32_t kLeftChannel = 1, kRightChannel = 2;

/// In the bank number of an instrument.
inline constexpr std::uint32_t kDrums = 0x80000000;

struct WaveLink {
  std::uint16_t options = 0, phaseGroup = 0;
  std::uint32_t channel = kLeftChannel;
  std::uint32_t cue = kNoCue;  ///< Index of the pool table.
};

struct RegionRecord {
  MidiRange keys, velocities;
  std::uint16_t options = 0, keyGroup = 0, layer = 0;
  std::optional<riff::WaveSample> sample;
  WaveLink link;
  std::optional<Articulation> articulation;
};

/// What collections, instruments and waves have in common.
struct Description {
  std::vector<riff::InfoText> info;
  std::optional<DlsId> id;
};

struct InstrumentRecord {
  Description description;
  std::uint32_t bank = 0, program = 0;
  std::vector<RegionRecord> regions;
  std::optional<Articulation> articulation;
};

struct WaveRecord {
  Description description;
  Bytes format;
  std::uint64_t dataOffset = 0, dataSize = 0;  ///< In the file, as far as it holds them.
  std::uint32_t factFrames = 0;                ///< 0: not told.
  std::optional<riff::WaveSample> sample;
};

struct CollectionRecord {
  Description description;
  std::optional<std::array<std::uint32_t, 2>> version;
  std::vector<InstrumentRecord> instruments;
  std::vector<WaveRecord> waves;
  std::vector<std::uint32_t> waveOfCue;  ///< kNoCue where a cue leads to no wave.
};

/// Lists whose conditions are not met are left out. Fails with "Not a RIFF DLS file". `file` is the whole
/// file.
bool parseCollection(Bytes file, CollectionRecord& collection, Complaints& complaints);

}  // namespace vemko::dls
