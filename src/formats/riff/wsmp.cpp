#include "formats/riff/wsmp.h"

#include <algorithm>

namespace vemko::riff {
namespace {

constexpr std::uint32_t kFixedBytes = 20, kLoopBytes = 16;
// The headers of Windows 2000 have the second number.
constexpr std::uint32_t kReleaseLoop = 1, kOldReleaseLoop = 2;

// Steps over what a later version of a record may have appended to the part that is known.
void skipExtension(ByteReader& reader, std::uint32_t claimed, std::uint32_t known) {
  if (claimed > known) reader.skip(claimed - known);
}

}  // namespace

bool parseWaveSample(Bytes body, WaveSample& sample) {
  ByteReader reader(body);
  std::uint32_t size = reader.u32();
  sample.unityNote = reader.u16();
  sample.fineTuneCents = reader.i16();
  sample.gainDb = reader.i32() / 655360.0;
  sample.options = reader.u32();
  std::uint32_t count = reader.u32();
  if (!reader.ok) return false;
  skipExtension(reader, size, kFixedBytes);
  sample.loops.clear();
  while (count-- > 0 && reader.ok && reader.remaining() >= kLoopBytes) {
    std::uint32_t loopSize = reader.u32(), type = reader.u32();
    WaveSampleLoop loop;
    loop.start = reader.u32();
    loop.length = reader.u32();
    loop.untilRelease = type == kReleaseLoop || type == kOldReleaseLoop;
    sample.loops.push_back(loop);
    skipExtension(reader, loopSize, kLoopBytes);
  }
  return true;
}

}  // namespace vemko::riff
