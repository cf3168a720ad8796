#pragma once
// General audio files, most of them through codec libraries: one waveform a file. Each needs its library at
// run time only; a row whose library is missing answers with an error that names it.
#include "io/format_entry.h"

namespace vemko::audio {

struct Options {
  bool mp3ApeTag = false;
  bool mp3Id3Tag = true;
  bool mp3JointStereo = true;
};
Options& options();

constexpr io::CapabilityMask encodings(std::initializer_list<SampleEncoding> list) {
  io::CapabilityMask mask = io::kMono | io::kStereo;
  for (SampleEncoding each : list) mask |= io::encodingBit(each);
  return mask;
}
inline constexpr io::CapabilityMask kCodecCapabilities = encodings({SampleEncoding::Codec});

// --- FLAC. Writer variant 0: default compression, 1: the most.

int probeFlac(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readFlac(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeFlac(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForFlac(bool writing);
inline constexpr FeatureMask kFlacFeatures = kAllFeatures;  // by the chunks of WAVE files
inline constexpr io::CapabilityMask kFlacCapabilities =
    encodings({SampleEncoding::Pcm8, SampleEncoding::Pcm12, SampleEncoding::Pcm16, SampleEncoding::Pcm20,
               SampleEncoding::Pcm24});

// --- Ogg Vorbis and Opus. The settings run from the best quality down.

inline constexpr FeatureMask kOggFeatures =
    waveFileFeatures({features::Loops, features::Markers, features::WaveTexts, features::Images});
int probeVorbis(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readVorbis(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeVorbis(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForVorbis(bool writing);
double describeVorbisSetting(int index, std::uint32_t variant, std::u16string* label);

int probeOpus(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readOpus(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeOpus(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForOpus(bool writing);
double describeOpusSetting(int index, std::uint32_t variant, std::u16string* label);
/// Sample rates as these formats store them.
std::uint32_t opusRate(std::uint32_t rate);

// --- MPEG audio. Reading variant: the layer, 0 for any. Writing variant: constant, average, variable bit
// rate.

inline constexpr std::uint32_t kMp3Constant = 0, kMp3Average = 1, kMp3Variable = 2;
inline constexpr FeatureMask kMp3Features = waveFileFeatures({features::WaveTexts, features::Images});
int probeMpeg(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readMpeg(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeMp3(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForMpeg(bool writing);
/// Bit rates in kbit/s, from the highest down.
double describeMp3Setting(int index, std::uint32_t variant, std::u16string* label);
std::uint32_t mp3Rate(std::uint32_t rate);

// --- WavPack.

int probeWavpack(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readWavpack(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeWavpack(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForWavpack(bool writing);
inline constexpr FeatureMask kWavpackFeatures = kAllFeatures;  // by the chunks of WAVE files
inline constexpr io::CapabilityMask kWavpackCapabilities =
    encodings({SampleEncoding::Pcm8, SampleEncoding::Pcm12, SampleEncoding::Pcm16, SampleEncoding::Pcm20,
               SampleEncoding::Pcm24, SampleEncoding::Float32});

// --- GSM 06.10 without a header: mono, taken to be 8000 Hz.

int probeRawGsm(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readRawGsm(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeRawGsm(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForGsm(bool writing);
std::uint32_t gsmRate(std::uint32_t rate);
inline constexpr FeatureMask kGsmFeatures = waveFileFeatures({});
inline constexpr io::CapabilityMask kGsmCapabilities = io::encodingBit(SampleEncoding::Gsm610) | io::kMono;

// --- Amiga IFF, one channel: 8SVX and 16SV. Needs no library.

int probeIff(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readIff(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeIff(Item& item, OutputFile& file, const io::SaveOptions& options);
inline constexpr FeatureMask kIffFeatures = waveFileFeatures({features::Loops});
inline constexpr io::CapabilityMask kIffCapabilities =
    io::encodingBit(SampleEncoding::Pcm8) | io::encodingBit(SampleEncoding::Pcm16) | io::kMono;

// --- Files that libsndfile knows. The variant is one of these.

enum SndfileType : std::uint32_t {
  kAiff,  ///< Integers.
  kAifc,  ///< The same with floats and companded samples.
  kAu,
  kAvr,
  kCoreAudio,
  kNist,
  kParis,
  kIrcam,
  kVoc,
  kWave64,
};
int probeSndfile(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readSndfile(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeSndfile(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForSndfile(bool writing);

// This needs the library for reading only.
bool writeAiff(Item& item, OutputFile& file, const io::SaveOptions& options);  ///< kAiff, kAifc
std::u16string missingForReading(bool writing);

// These need no library: the one at hand takes what lies behind the first sound for samples, too.
bool readVoc(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeVoc(Item& item, OutputFile& file, const io::SaveOptions& options);

constexpr io::CapabilityMask sndfileCapabilities(SndfileType type) {
  using enum SampleEncoding;
  switch (type) {
    case kAiff:
      return encodings({Pcm8, Pcm16, Pcm24, Pcm32});
    case kAifc:
    case kAu:
    case kCoreAudio:
    case kWave64:
      return encodings({Pcm8, Pcm16, Pcm24, Pcm32, Float32, Float64, MuLaw, ALaw});
    case kAvr:
      return encodings({Pcm8, Pcm16});
    case kNist:
      return encodings({Pcm8, Pcm16, Pcm24, Pcm32, MuLaw, ALaw});
    case kParis:
      return encodings({Pcm8, Pcm16, Pcm24});
    case kIrcam:
      return encodings({Pcm16, Pcm32, Float32, MuLaw, ALaw});
    case kVoc:
      return encodings({Pcm8, Pcm16, MuLaw, ALaw});
  }
  return 0;
}

constexpr FeatureMask sndfileFeatures(SndfileType type) {
  using namespace features;
  switch (type) {
    case kAiff:
    case kAifc:
      return waveFileFeatures({features::Loops, features::Markers, SectionEnds, WaveTexts, Images, RootKeys});
    case kAvr:
      return waveFileFeatures({features::Loops});
    case kCoreAudio:
      return waveFileFeatures({features::Loops, features::MoreLoops, FractionalLoops, ReverseLoops,
                               features::Markers, SectionEnds, WaveTexts, RootKeys});
    default:
      return waveFileFeatures({});
  }
}

}  // namespace vemko::audio
