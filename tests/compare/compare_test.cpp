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

std::shared_ptr<const PlayRules> roundOf(std::uint16_t length) {
  PlayRules rules;
  rules.sequenceLength = length;
  return std::make_shared<const PlayRules>(rules);
}

std::string textOf(const Difference& d) {
  return toUtf8(d.where + u": " + d.what + u": " + d.first + u" | " + d.second);
}

const std::string kLeft = "Instrument \"Piano\", keys 0-59, velocities 0-127: ";

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
      {"a waveform that is stored twice",
       [](Bank& b) {
         auto& copy = static_cast<Waveform&>(copyItem(b.low, b.collection));
         b.whole.setWaveform(copy.id());
       },
       {}},
      {"files of a bank's instruments, another key range",
       [](Bank& b) {
         b.organ.setName(u"Bank - Organ");
         b.piano.setName(u"Bank - Piano");
         Item* order[] = {&b.organ, &b.piano};
         b.collection.reorder(ItemKind::Instrument, order);
         b.organ.patch = b.piano.patch;
         b.piano.patch = Patch::of(0, 0, 1);
         b.left.keys = {0, 58};
       },
       {"Instrument \"Piano\": program: 0 | 1", kLeft + "keys: 0-59 | 0-58",
        "Instrument \"Organ\": program: 16 | 0"}},
      {"the name of a file",
       [](Bank& b) {
         b.organ.setName(u"Bank - Organ");
         b.organ.patch = {};
         b.piano.setName(u"Bank - Piano");
       },
       {"Instrument \"Organ\": program: 16 | 0"}},
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
      {"texts of the bank",
       [](Bank& b) {
         b.collection.setName(u"Grand");
         b.collection.setText(TextProperty::Copyright, u"Ada");
         b.collection.setImage(std::as_bytes(std::span("\x89PNG")));
       },
       {"Collection \"New collection\": Copyright: \"\" | \"Ada\"",
        "Collection \"New collection\": Image: 0 bytes | 4 bytes"}},
      {"another waveform",
       [](Bank& b) { b.whole.setWaveform(b.high.id()); },
       {"Instrument \"Organ\", keys 0-127, velocities 0-127: waveform: \"low\" | \"high\"",
        "Instrument \"Organ\", keys 0-127, velocities 0-127: play end: 20000 | 10000"}},
      {"a lost waveform",
       [](Bank& b) { b.collection.remove(b.high); },
       {"Waveform \"high\": missing: yes | no",
        "Instrument \"Piano\", keys 60-127, velocities 0-127: waveform: \"high\" | none",
        "Instrument \"Piano\", keys 60-127, velocities 0-127: play end: 10000 | 0"}},
      {"one sample",
       [](Bank& b) { b.high.editableSamples()[7] += 0.25f; },
       {"Waveform \"high\": samples:  | SNR 46.0 dB, up to 0.25 apart"}},
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
    const compare::Report report = compare::compareCollections(
        first.collection, second.collection,
        {.tolerance = c.tolerance, .fileNames = {u"Bank - Organ", u"Bank - Piano"}});
    std::vector<std::string> found;
    for (const Difference& each : report.differences) found.push_back(textOf(each));
    EXPECT_EQ(found, c.differences);
    EXPECT_EQ(report.instruments, 2u);
    EXPECT_EQ(report.waveforms, second.collection.count(ItemKind::Waveform));
  }
}

TEST(Compare, TakesTheSameSoundInOtherWordsForEqual) {
  const struct {
    const char* name;
    void (*changeFirst)(Bank&);
    void (*changeSecond)(Bank&);
    std::vector<std::string> differences;
  } cases[] = {
      {"a fixed key",
       [](Bank& b) { b.left.fixedKey = 72; },
       [](Bank& b) {
         b.left.articulation.set(slots::KeyToPitch, 0);
         b.left.articulation.set(slots::MasterTuning, 12);
       },
       {}},
      {"a fixed key that moves the cutoff too",
       [](Bank& b) {
         b.left.fixedKey = 72;
         b.left.articulation.set(slots::FilterType, 2);
         b.left.articulation.set(slots::KeyToCutoff, 0.5f);
       },
       [](Bank& b) {
         b.left.articulation.set(slots::FilterType, 2);
         b.left.articulation.set(slots::KeyToCutoff, 0.5f);
         b.left.articulation.set(slots::KeyToPitch, 0);
         b.left.articulation.set(slots::MasterTuning, 12);
       },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: fixed key: 72 | 255"}},
      {"a fixed velocity",
       [](Bank& b) { b.left.fixedVelocity = 127; },
       [](Bank& b) { b.left.articulation.set(slots::VelocityResponse, 0); },
       {}},
      {"the scale of a single key",
       [](Bank& b) {
         b.left.keys = {40, 40};
         b.left.articulation.set(slots::KeyToPitch, 0.5f);
       },
       [](Bank& b) {
         b.left.keys = {40, 40};
         b.left.articulation.set(slots::MasterTuning, 10);
       },
       {}},
      {"another scale",
       [](Bank&) {},
       [](Bank& b) { b.left.articulation.set(slots::KeyToPitch, 0.5f); },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: Key to Pitch: 1 semitones | 0.5 semitones"}},
      {"an idle loop as a section",
       [](Bank& b) { b.low.mainLoop()->play = LoopPlay::Off; },
       [](Bank& b) {
         b.low.records.front().type = RecordType::SectionMarker;
         b.low.mainLoopId = 0;
       },
       {}},
      {"an LFO without its depth",
       [](Bank& b) {
         b.left.articulation.set(slots::PLfoToPitch, 1);
         b.left.articulation.set(69, 9);
       },
       [](Bank&) {},
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: P-LFO to Pitch: 1 semitones | 0 semitones"}},
      {"rules",
       [](Bank& b) { b.left.rules = roundOf(3); },
       [](Bank& b) { b.left.rules = roundOf(2); },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: round robin length: 3 | 2"}},
      {"key switches and places of controllers",
       [](Bank& b) {
         PlayRules rules;
         rules.switches = {{24, 35}, {24, 25}, 25, 1, 2, 3};
         rules.controllers = {{4, 1, 127, 99}};
         rules.fadeOuts = {{1, 64, 127}};
         b.left.rules = std::make_shared<const PlayRules>(rules);
       },
       [](Bank& b) {
         PlayRules rules;
         rules.switches = {{24, 36}, {24, 25}, 24, 1, 2, 4};
         rules.controllers = {{4, 1, 127}};
         b.left.rules = std::make_shared<const PlayRules>(rules);
       },
       {kLeft + "controllers: \"4: 1-127 from 99\" | \"4: 1-127\"", kLeft + "key switches: 24-35 | 24-36",
        kLeft + "key switch at start: 25 | 24", kLeft + "key before: 3 | 4",
        kLeft + "faded out by controllers: \"1: 64-127\" | \"none\""}},
      {"sends by other channels",
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Reverb, SendEffect::None, SendEffect::Chorus, SendEffect::None};
         b.left.articulation.set(sendLevelSlot(0), 0.5f);
         b.left.articulation.set(sendLevelSlot(2), 0.25f);
       },
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Chorus, SendEffect::Reverb, SendEffect::None, SendEffect::None};
         b.left.articulation.set(sendLevelSlot(1), 0.5f);
         b.left.articulation.set(sendLevelSlot(0), 0.25f);
       },
       {}},
      {"a channel that leads to another effect",
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Reverb};
         b.left.articulation.set(sendLevelSlot(0), 0.5f);
       },
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Chorus};
         b.left.articulation.set(sendLevelSlot(0), 0.5f);
       },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: Reverb send level: 0.5 | 0",
        "Instrument \"Piano\", keys 0-59, velocities 0-127: Chorus send level: 0 | 0.5"}},
      {"a second channel for an effect",
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Reverb, SendEffect::Chorus, SendEffect::Chorus};
         b.left.articulation.set(sendLevelSlot(2), 0.5f);
       },
       [](Bank& b) {
         b.piano.sendEffects = {SendEffect::Reverb, SendEffect::Chorus};
         b.left.articulation.set(sendLevelSlot(2), 0.5f);
       },
       {"Instrument \"Piano\", keys 0-59, velocities 0-127: send effect: \"chorus\" | \"none\""}},
      {"the name that a file without one gets",
       [](Bank& b) { b.collection.setName(u"Grand"); },
       [](Bank&) {},
       {}},
      {"the names of two banks",
       [](Bank& b) { b.collection.setName(u"Grand"); },
       [](Bank& b) { b.collection.setName(u"Upright"); },
       {"Collection \"Grand\": name: \"Grand\" | \"Upright\""}},
      {"clipping",
       [](Bank& b) { b.low.editableSamples()[7] = 1.5f; },
       [](Bank& b) { b.low.editableSamples()[7] = 1; },
       {"Waveform \"low\": samples:  | SNR 38.2 dB, up to 0.5 apart, clipped at full scale"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Bank first, second;
    c.changeFirst(first);
    c.changeSecond(second);
    std::vector<std::string> found;
    for (const Difference& each :
         compare::compareCollections(first.collection, second.collection).differences)
      found.push_back(textOf(each));
    EXPECT_EQ(found, c.differences);
  }
}

TEST(Compare, HearsSongsAndNotTheirTracks) {
  const auto addTrack = [](Song& song, const std::vector<std::uint8_t>& bytes) {
    createTrack(song, u"").setEvents(std::as_bytes(std::span(bytes)));
  };
  // note 60 on channel 0 and note 62 on channel 1, one tick later
  const std::vector<std::uint8_t> low = {0, 0x90, 60, 100, 96, 0x80, 60, 0},
                                  high = {1, 0x91, 62, 100, 96, 0x81, 62, 0};
  const std::vector<std::uint8_t> both = {0,  0x90, 60, 100, 1, 0x91, 62, 100,
                                          95, 0x80, 60, 0,   1, 0x81, 62, 0};
  const std::vector<std::uint8_t> other = {0,  0x90, 60, 100, 1, 0x91, 62, 101,
                                           95, 0x80, 60, 0,   1, 0x81, 62, 0};
  Collection first, same, changed;
  Song& two = createSong(first, u"song");
  addTrack(two, low);
  addTrack(two, high);
  addTrack(createSong(same, u"song"), both);
  addTrack(createSong(changed, u"song"), other);
  EXPECT_TRUE(compare::compareCollections(first, same).differences.empty());
  const auto differences = compare::compareCollections(first, changed).differences;
  ASSERT_EQ(differences.size(), 1u);
  EXPECT_EQ(textOf(differences[0]), "Song \"song\": events: 4 | 4, the first other one at tick 1");
}

}  // namespace
}  // namespace vemko
