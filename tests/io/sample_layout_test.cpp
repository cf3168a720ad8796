#include "io/sample_layout.h"

#include <gtest/gtest.h>

#include "collections.h"

namespace vemko::io {
namespace {

using E = SampleEncoding;

constexpr CapabilityMask row(std::initializer_list<E> encodings) {
  CapabilityMask mask = kMono | kStereo;
  for (E encoding : encodings) mask |= encodingBit(encoding);
  return mask;
}

TEST(SampleLayout, ChoosesTheEncoding) {
  constexpr CapabilityMask kWave =
      row({E::Pcm8, E::Pcm16, E::Pcm24, E::Pcm32, E::Float32, E::Float64, E::MuLaw});
  struct Case {
    const char* name;
    E own;
    CapabilityMask requested, capabilities;
    E expected;
  };
  for (const Case& c : {
           Case{"asked for", E::Pcm16, encodingBit(E::Pcm24), kWave, E::Pcm24},
           Case{"asked for in vain", E::Pcm16, encodingBit(E::Pcm20), kWave, E::Pcm16},
           Case{"own", E::MuLaw, 0, kWave, E::MuLaw},
           Case{"12 bits into 16", E::Pcm12, 0, kWave, E::Pcm16},
           Case{"A-law into 16 bits", E::ALaw, 0, kWave, E::Pcm16},
           Case{"ADPCM into 16 bits", E::Adpcm4, 0, kWave, E::Pcm16},
           Case{"20 bits into 24", E::Pcm20, 0, kWave, E::Pcm24},
           Case{"codec into floats", E::Codec, 0, kWave, E::Float32},
           Case{"24 bits into floats", E::Pcm24, 0, row({E::Pcm16, E::Float32}), E::Float32},
           Case{"32 bits want doubles", E::Pcm32, 0, row({E::Pcm16, E::Float32, E::Float64}), E::Float64},
           Case{"doubles into floats at best", E::Float64, 0, row({E::Pcm32, E::Float32}), E::Float32},
           Case{"floats into the widest PCM", E::Float32, 0, row({E::Pcm16, E::Pcm24, E::MuLaw}), E::Pcm24},
           Case{"own, but lossy", E::Adpcm4, 0, kWave | encodingBit(E::Adpcm4), E::Pcm16},
           Case{"own, and nothing better", E::Codec, 0, row({E::Codec}), E::Codec},
           Case{"only lossy ones", E::Pcm16, 0, row({E::Adpcm4, E::MuLaw}), E::MuLaw},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    test::defer(waveform, {0, 0})->storedAs = c.own;
    EXPECT_EQ(chooseLayout(waveform, {.requested = c.requested}, c.capabilities).encoding, c.expected);
  }
}

TEST(SampleLayout, RewrittenSamplesKeepTheSourceFormat) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  test::fill(waveform, {0, 0});
  const CapabilityMask capabilities = row({E::Pcm16, E::Pcm24, E::Float32});
  EXPECT_EQ(chooseLayout(waveform, {}, capabilities).encoding, E::Float32);
  waveform.sourceFormat = static_cast<SourceFormat>(E::Pcm24);
  EXPECT_EQ(chooseLayout(waveform, {}, capabilities).encoding, E::Pcm24);
}

TEST(SampleLayout, ChoosesTheChannels) {
  struct Case {
    std::uint8_t channels;
    CapabilityMask requested, capabilities;
    std::uint8_t expected;
  };
  for (const Case& c : {
           Case{1, 0, kMono | kStereo, 1},
           Case{2, 0, kMono | kStereo, 2},
           Case{6, 0, kMono | kStereo, 6},
           Case{2, 0, kMono, 1},
           Case{6, 0, kMono, 1},
           Case{1, 0, kStereo, 2},
           Case{2, 0, kMono | kLinkedStereo, 2},
           Case{2, kMono, kMono | kLinkedStereo, 1},
           Case{1, kStereo, kMono | kLinkedStereo, 1},
           Case{6, kStereo, kMono | kLinkedStereo, 2},
           Case{2, kMono, kMono | kStereo, 1},
           Case{1, kStereo, kMono | kStereo, 2},
           Case{6, kStereo, kMono | kStereo, 2},
           Case{2, kMono, kStereo, 2},
           Case{2, kMono | kStereo, kMono | kStereo, 2},
           Case{1, kStereo, kMono, 1},
           Case{2, kStereo | encodingBit(E::Gsm610), row({E::Gsm610}), 1},
       }) {
    SCOPED_TRACE(testing::Message() << +c.channels << " " << (c.requested >> 20) << " "
                                    << (c.capabilities >> 20));
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    waveform.channels = c.channels;
    EXPECT_EQ(chooseLayout(waveform, {.requested = c.requested}, c.capabilities).channels, c.expected);
  }
}

}  // namespace
}  // namespace vemko::io
