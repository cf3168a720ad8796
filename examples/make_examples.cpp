// Makes the files in this folder: make-examples FOLDER. They are committed; this program shows where they
// come from and makes them again after a change.
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "base/last_error.h"
#include "base/text.h"
#include "core/collection.h"
#include "io/registry.h"
#include "io/save.h"

using namespace vemko;

namespace {

constexpr std::uint32_t kRate = 44100;
constexpr double kPitchHz = 220;  // the A below middle C, key 57

// An organ pipe: eight drawbars with a soft start, then steady, so that any whole number of periods loops.
Waveform* makeOrgan(Collection& collection) {
  constexpr std::array<float, 8> kDrawbars = {0.5f, 1.0f, 0.4f, 0.6f, 0.1f, 0.3f, 0.05f, 0.15f};
  auto buffer = SampleBuffer::allocate(kRate * 6 / 10, 1, kRate);
  if (!buffer) return nullptr;
  auto samples = buffer->samples();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    double seconds = static_cast<double>(i) / kRate, sum = 0;
    for (std::size_t k = 0; k < kDrawbars.size(); ++k)
      sum += kDrawbars[k] * std::sin(2 * std::numbers::pi * kPitchHz * seconds * static_cast<double>(k + 1));
    samples[i] = static_cast<float>(sum * 0.25 * (1 - std::exp(-seconds * 60)));
  }
  Waveform& organ = createWaveform(collection, u"Organ A3");
  organ.setSamples(buffer);
  organ.rate = kRate;
  organ.rootKey = 57;
  organ.setText(TextProperty::Comments,
                u"Eight drawbars; the loop is 50 periods and ends between two frames");
  organ.setText(TextProperty::Copyright, u"Public domain");
  constexpr double kPeriod = kRate / kPitchHz;
  organ.addLoop({.startFrames = 60 * kPeriod, .endFrames = 110 * kPeriod}, {}, true, false);
  return &organ;
}

}  // namespace

int main(int argc, char** argv) {
  Collection collection;
  Waveform* organ = makeOrgan(collection);
  io::SaveOptions options{.requested = io::encodingBit(SampleEncoding::Pcm16)};
  int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  if (argc != 2 || !io::saveItem(organ, row, Path(argv[1]) / "organ.wav", options)) {
    std::fprintf(stderr, "make-examples: %s\n", argc == 2 ? toUtf8(lastError()).c_str() : "name a folder");
    return 1;
  }
  return 0;
}
