// Makes the files in this folder: make-examples FOLDER. They are committed; this program shows where they
// come from and makes them again after a change.
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>

#include "base/last_error.h"
#include "base/text.h"
#include "core/collection.h"
#include "core/parameters.h"
#include "io/open.h"
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

bool saveWave(const Path& file) {
  Collection collection;
  Waveform* organ = makeOrgan(collection);
  const io::SaveOptions options{.requested = io::encodingBit(SampleEncoding::Pcm16)};
  return io::saveItem(organ, io::findWritingRow(u"wav", kindBit(ItemKind::Waveform)), file, options);
}

// Two manuals that play the sample beside them: the upper one an octave higher, with a tremolo that the
// modulation wheel brings in.
bool saveInstrument(const Path& sample, const Path& file) {
  Collection collection;
  if (!io::openFile(collection, sample, false)) return false;
  const ItemSerial organ = serialOf(collection.all<Waveform>().front()->id());
  Instrument& instrument = createInstrument(collection, u"Organ");
  instrument.articulation.set(slots::VelocityResponse, 0);
  instrument.articulation.set(envelopeSlot(slots::VEnv, Stage::Release1Rate), 0.1f);
  createRegion(createLayer(instrument, u"Lower manual"), u"",
               {.waveform = organ, .keys = {36, 59}, .rootKey = 57});
  Region& upper = createRegion(createLayer(instrument, u"Upper manual"), u"",
                               {.waveform = organ, .keys = {60, 96}, .rootKey = 57});
  upper.articulation.set(slots::MasterTuning, 12);
  upper.articulation.set(slots::VLfoToVolume + 1, 6);
  upper.articulation.set(slots::VLfoShape + 1, 6.5f);
  const int row = io::findWritingRowByDescription(u"Cakewalk SFZ v2 (waves in same folder)");
  return io::saveItem(&instrument, row, file, io::saveOptionsFor(row, 0));
}

}  // namespace

int main(int argc, char** argv) {
  const Path folder = argc == 2 ? argv[1] : "";
  if (argc != 2 || !saveWave(folder / "organ.wav") ||
      !saveInstrument(folder / "organ.wav", folder / "organ.sfz")) {
    std::fprintf(stderr, "make-examples: %s\n", argc == 2 ? toUtf8(lastError()).c_str() : "name a folder");
    return 1;
  }
  return 0;
}
