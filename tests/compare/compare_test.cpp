#include "compare/compare.h"

#include "core/parameters.h"
#include "support.h"
#include "tools/waves.h"

namespace vemko {
namespace {

using compare::Difference;

/// Two instruments, three regions, two waveforms.
struct Bank {
  Collection collection;
  Waveform& low = test::addWave(collection, test::noise(20000, 0.5f), 1, 44100, u"low");
  Waveform& high = test::addWave(collection, test::sine(20000, 0.5, 0.013), 2, 48000, u"high");
  Instrument& piano = createInstrument(collection, u"Piano", Patch::of(0, 0, 0));
  Layer& layer = createLayer(piano, u"");
  Region& left = createRegion(layer, u"", {.waveform = serialOf(low.id()), .keys = {0, 59}});
  Region& right = createRegion(layer, u"", {.waveform = serialOf(high.id()), .keys = {60, 127}});
  Instrument& organ = createInstrument(collection, u"Organ", Patch::of(0, 0, 16));
  Region& whole = createRegion(createLayer(organ, u""), u"", {.waveform = serialOf(low.id())});

  Bank() { low.addLoop({.startFrames = 100, .endFrames = 900}, u"", true, false); }
};

std::string textOf(const Difference& d) {
  return toUtf8(d.where + u": " + d.what + u": " + d.first + u" | " + d.second);
}

TEST(Compare, TellsEachDifference) {
  const struct {
    const char* name;
    void (*change)(Bank&);
    std::vector<std::string> differences;
    double tolerance = 0;
  } cases[] = {
      {"nothing", [](Bank&) {}, {}},
      {"another order",
       [](Bank& b) {
         Item* order[] = {&b.organ, &b.piano};
         b.collection.reorder(ItemKind::Instrument, order);
         b.layer.moveChild(0, 1);
       },
       {}},
      {"another level of articulation",
       [](Bank& b) {
         for (Region* region : {&b.left, &b.right}) region->articulation.set(slots::Pan, 0);
         b.piano.articulation.set(slots::Pan, 1);
       },
       {}},
      {"what leads nowhere", [](Bank& b) { b.left.articulation.set(69, 9); }, {}},
      {"the same pitch in other words",
       [](Bank& b) {
         b.left.rootKey = 61;
         b.left.articulation.set(slots::MasterTuning, 1);
       },
       {}},
      {"cutoff",
       [](Bank& b) {
         b.left.articulation.set(slots::FilterType, 2);
         b.left.articulation.set(slots::FilterCutoff, 500);
       },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: Filter type: 0 | 2",
        "Instrument \"Piano\", keys 0-59, velocities 0-127: Filter Cutoff frequency: 8000 Hz | 500 Hz"}},
      {"keys",
       [](Bank& b) { b.right.keys.low = 61; },
       {"Instrument \"Piano\", keys 60-127, velocities 0-127: keys: 60-127 | 61-127"}},
      {"tuning",
       [](Bank& b) { b.low.fineTuneCents = 4; },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: tuning: root key 60, 0 cents | root key 60, 4 "
        "cents",
        "Instrument \"Organ\", keys 0-127, velocities 0-127: tuning: root key 60, 0 cents | root key 60, 4 "
        "cents"}},
      {"tuning within the tolerance", [](Bank& b) { b.low.fineTuneCents = 4; }, {}, 4},
      {"patch and name",
       [](Bank& b) {
         b.organ.patch = Patch::of(1, 0, 17, true);
         b.organ.setName(u"Drums");
       },
       {"Instrument \"Organ\": name: \"Organ\" | \"Drums\"", "Instrument \"Organ\": program: 16 | 17",
        "Instrument \"Organ\": bank MSB: 0 | 1", "Instrument \"Organ\": drum kit: 0 | 1"}},
      {"a missing region",
       [](Bank& b) { b.collection.remove(b.right); },
       {"Instrument \"Piano\", keys 60-127, velocities 0-127: missing region: yes | no"}},
      {"loop",
       [](Bank& b) {
         b.low.mainLoop()->start = 101;
         b.low.mainLoop()->play = LoopPlay::Alternating;
       },
       {"Waveform \"low\": loop start: 100 frames | 101 frames",
        "Waveform \"low\": loop mode: Forward | Alternating"}},
      {"a loop that is off",
       [](Bank& b) { b.low.mainLoop()->play = LoopPlay::Off; },
       {"Waveform \"low\": loop: yes | no"}},
      {"marker",
       [](Bank& b) { LoopAdder(b.high).addMarker({.start = 5, .name = u"hit"}); },
       {"Waveform \"high\": markers: 0 | 1"}},
      {"text",
       [](Bank& b) { b.high.setText(TextProperty::Artist, u"Ada"); },
       {"Waveform \"high\": Artist: \"\" | \"Ada\""}},
      {"another waveform",
       [](Bank& b) { b.whole.setWaveform(b.high.id()); },
       {"Instrument \"Organ\", keys 0-127, velocities 0-127: waveform: \"low\" | \"high\"",
        "Instrument \"Organ\", keys 0-127, velocities 0-127: play end: 20000 | 10000"}},
      {"one sample",
       [](Bank& b) { b.high.editableSamples()[7] += 0.25f; },
       {"Waveform \"high\": samples:  | SNR 46.0 dB"}},
      {"rounding to 16 bits",
       [](Bank& b) {
         for (float& x : b.high.editableSamples()) x = std::round(x * 32768) / 32768;
       },
       {},
       1},
      {"a shift",
       [](Bank& b) {
         const auto samples = b.low.editableSamples();
         std::rotate(samples.begin(), samples.end() - 300, samples.end());
       },
       {"Waveform \"low\": samples:  | equal, shifted by 300 frames"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Bank first, second;
    c.change(second);
    const compare::Report report =
        compare::compareCollections(first.collection, second.collection, {.tolerance = c.tolerance});
    std::vector<std::string> found;
    for (const Difference& each : report.differences) found.push_back(textOf(each));
    EXPECT_EQ(found, c.differences);
    EXPECT_EQ(report.instruments, 2u);
    EXPECT_EQ(report.waveforms, 2u);
  }
}

}  // namespace
}  // namespace vemko
