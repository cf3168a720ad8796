#include "codecs/adpcm.h"

#include <algorithm>
#include <utility>

#include "codecs/block_source.h"

namespace vemko {
namespace {

constexpr std::size_t kImaHeaderBytes = 4;        // per channel: first sample, step index, reserved
constexpr std::size_t kMicrosoftHeaderBytes = 7;  // per channel: predictor, delta, two samples

// clang-format off
constexpr std::int16_t kImaSteps[89] = {
    7, 8, 9, 10, 11, 12, 13, 14, 16, 17, 19, 21, 23, 25, 28, 31, 34, 37, 41, 45, 50, 55, 60, 66, 73, 80, 88, 97,
    107, 118, 130, 143, 157, 173, 190, 209, 230, 253, 279, 307, 337, 371, 408, 449, 494, 544, 598, 658, 724, 796,
    876, 963, 1060, 1166, 1282, 1411, 1552, 1707, 1878, 2066, 2272, 2499, 2749, 3024, 3327, 3660, 4026, 4428,
    4871, 5358, 5894, 6484, 7132, 7845, 8630, 9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350,
    22385, 24623, 27086, 29794, 32767};
constexpr std::int8_t kImaIndexChange[8] = {-1, -1, -1, -1, 2, 4, 6, 8};
constexpr std::int16_t kMicrosoftAdaption[16] = {
    230, 230, 230, 230, 307, 409, 512, 614, 768, 614, 512, 409, 307, 230, 230, 230};
// clang-format on

float toFloat(int sample) { return static_cast<float>(sample) * (1.0f / 32768); }
int clampTo16(int sample) { return std::clamp(sample, -32768, 32767); }
unsigned lowNibble(std::byte b) { return static_cast<unsigned>(b) & 15; }
unsigned highNibble(std::byte b) { return static_cast<unsigned>(b) >> 4; }

struct ImaState {
  int sample = 0;
  int index = 0;

  int next(unsigned nibble) {
    int step = kImaSteps[index];
    int difference = step >> 3;
    if (nibble & 1) difference += step >> 2;
    if (nibble & 2) difference += step >> 1;
    if (nibble & 4) difference += step;
    sample = clampTo16(nibble & 8 ? sample - difference : sample + difference);
    index = std::clamp(index + kImaIndexChange[nibble & 7], 0, 88);
    return sample;
  }
};

// One channel: its header, then groups of four bytes that stand in turn with those of the other channels.
void decodeImaChannel(Bytes block, std::size_t channels, std::size_t channel, std::size_t frames,
                      float* out) {
  ByteReader header(block.subspan(channel * kImaHeaderBytes, kImaHeaderBytes));
  ImaState state;
  state.sample = header.i16();
  state.index = std::min<int>(header.u8(), 88);
  out[channel] = toFloat(state.sample);
  const std::byte* data = block.data() + channels * kImaHeaderBytes;
  for (std::size_t frame = 1; frame < frames; ++frame) {
    std::size_t at = frame - 1;
    std::byte pair = data[(at / 8 * channels + channel) * 4 + at % 8 / 2];
    out[frame * channels + channel] = toFloat(state.next(at % 2 == 0 ? lowNibble(pair) : highNibble(pair)));
  }
}

struct MicrosoftState {
  std::int64_t coefficient1 = 0, coefficient2 = 0;
  int delta = 0;
  int newer = 0, older = 0;

  int next(unsigned nibble) {
    // In 64 bits: the coefficients are the file's.
    int predicted = static_cast<int>((newer * coefficient1 + older * coefficient2) / 256);
    int signedNibble = static_cast<int>(nibble & 7) - static_cast<int>(nibble & 8);
    older = newer;
    newer = clampTo16(predicted + signedNibble * delta);
    // The cap keeps hostile blocks from overflowing; real ones stay far below it.
    delta = std::clamp(kMicrosoftAdaption[nibble] * delta / 256, 16, INT32_MAX / 768);
    return newer;
  }
};

void readMicrosoftHeader(const AdpcmFormat& format, Bytes block, std::size_t channel, MicrosoftState& state) {
  const std::size_t channels = format.channels;
  auto word = [&](std::size_t index) {
    return ByteReader(block.subspan(channels + (index * channels + channel) * 2, 2)).i16();
  };
  std::size_t predictor = std::min<std::size_t>(static_cast<std::size_t>(block[channel]), 6);
  state.coefficient1 = format.coefficients[predictor * 2];
  state.coefficient2 = format.coefficients[predictor * 2 + 1];
  state.delta = word(0);
  state.newer = word(1);
  state.older = word(2);
}

void decodeMicrosoftChannel(const AdpcmFormat& format, Bytes block, std::size_t channel, std::size_t frames,
                            float* out) {
  const std::size_t channels = format.channels;
  MicrosoftState state;
  readMicrosoftHeader(format, block, channel, state);
  out[channel] = toFloat(state.older);
  if (frames > 1) out[channels + channel] = toFloat(state.newer);
  const std::byte* data = block.data() + channels * kMicrosoftHeaderBytes;
  for (std::size_t frame = 2; frame < frames; ++frame) {
    std::size_t at = (frame - 2) * channels + channel;
    out[frame * channels + channel] =
        toFloat(state.next(at % 2 == 0 ? highNibble(data[at / 2]) : lowNibble(data[at / 2])));
  }
}

}  // namespace

std::uint32_t framesOfBlock(AdpcmKind kind, std::uint32_t blockBytes, std::uint8_t channels) {
  const std::uint32_t header =
      static_cast<std::uint32_t>(kind == AdpcmKind::Ima ? kImaHeaderBytes : kMicrosoftHeaderBytes) * channels;
  if (channels == 0 || blockBytes < header) return 0;
  const std::uint64_t data = blockBytes - header;
  if (kind == AdpcmKind::Microsoft) return static_cast<std::uint32_t>(2 + data * 2 / channels);
  return static_cast<std::uint32_t>(1 +
                                    (channels == 1 ? data * 2 : data / (std::uint64_t{4} * channels) * 8));
}

std::size_t decodeAdpcmBlock(const AdpcmFormat& format, Bytes block, std::span<float> out) {
  const std::size_t channels = format.channels;
  std::uint32_t held = framesOfBlock(format.kind, static_cast<std::uint32_t>(block.size()), format.channels);
  std::size_t frames = held == 0 ? 0 : std::min<std::size_t>(held, out.size() / channels);
  if (frames == 0) return 0;
  for (std::size_t channel = 0; channel < channels; ++channel) {
    if (format.kind == AdpcmKind::Ima)
      decodeImaChannel(block, channels, channel, frames, out.data());
    else
      decodeMicrosoftChannel(format, block, channel, frames, out.data());
  }
  return frames;
}

std::shared_ptr<const SampleSource> makeAdpcmSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                    std::uint64_t byteCount, std::uint64_t frames,
                                                    const AdpcmFormat& format) {
  BlockLayout layout;
  layout.channels = format.channels;
  layout.blockBytes = format.blockBytes;
  layout.framesPerBlock = format.framesPerBlock;
  layout.encoding = SampleEncoding::Adpcm4;
  layout.decode = [format](Bytes block, std::span<float> out) {
    return decodeAdpcmBlock(format, block, out);
  };
  return makeBlockSource(std::move(file), offset, byteCount, frames, std::move(layout));
}

}  // namespace vemko
