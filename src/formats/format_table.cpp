#include "formats/audio/audio.h"
#include "formats/audio/raw.h"
#include "formats/soundfont/soundfont.h"
#include "formats/wave/wave.h"
#include "io/registry.h"

namespace vemko::io {
namespace {

constexpr KindMask kWaveform = kindBit(ItemKind::Waveform);
constexpr KindMask kBank = kindBit(ItemKind::Instrument) | kindBit(ItemKind::Collection);

// clang-format off
// In the order of extensions, the catch-all first; of several readers that fit equally well the first one wins.
constexpr FormatEntry kRows[] = {
  {u"*",   audio::readRaw, nullptr,         audio::probeAny,          u"Unrecognized",   kWaveform, 0,                   0, nullptr},
  {u"bwf", wave::readWave, nullptr,         wave::probeBroadcastWave, u"Broadcast wave", kWaveform, 0,                   0, nullptr},
  {u"flac", audio::readFlac, audio::writeFlac, audio::probeFlac, u"Free lossless audio codec (default)", kWaveform, audio::kFlacCapabilities, 0, nullptr, audio::missingForFlac},
  {u"flac", nullptr, audio::writeFlac, nullptr, u"Free lossless audio codec (max comp)", kWaveform, audio::kFlacCapabilities, 1, nullptr, audio::missingForFlac},
  {u"sds", wave::readWave, nullptr,         wave::probeSmartSound,    u"SmartSound SDS", kWaveform, 0,                   0, nullptr},
  {u"sf2", soundfont::readBank, soundfont::writeBank, soundfont::probeBank, u"SoundFont v2 bank", kBank, soundfont::kCapabilities, 0, nullptr},
  {u"sf2pack", soundfont::readBank, nullptr, soundfont::probePackedBank, u"sf2pack", kBank, 0, 0, nullptr},
  {u"sf3", soundfont::readBank, soundfont::writeBank, soundfont::probeCompressedBank, u"Compressed SoundFont", kBank, soundfont::kCompressedCapabilities, soundfont::kCompressedVariant, soundfont::describeSetting, soundfont::missingLibraries},
  {u"wav", wave::readWave, wave::writeWave, wave::probeWave,          u"Microsoft wave", kWaveform, wave::kCapabilities, 0, nullptr},
  {u"wav", wave::readBigEndianWave, nullptr, wave::probeBigEndianWave, u"Microsoft wave (big-endian)", kWaveform, 0, 0, nullptr},
  {u"wav", wave::readWave, nullptr,         wave::probeBroadcastWave, u"Broadcast wave", kWaveform, 0,                   0, nullptr},
};
// clang-format on
#ifndef __SANITIZE_ADDRESS__  // whose code compares no function with null before it runs
static_assert(rowsAreSound(kRows));
#endif

}  // namespace

std::span<const FormatEntry> formatTable() { return kRows; }

}  // namespace vemko::io
