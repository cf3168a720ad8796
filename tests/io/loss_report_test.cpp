#include "io/loss_report.h"

#include "collections.h"
#include "io/registry.h"

namespace vemko::io {
namespace {

using test::defer;

TEST(LossReport, TellsWhatBanksDropByTheMatrix) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  defer(wave, std::vector<float>(100, 0.5f))->storedAs = SampleEncoding::Pcm16;
  Instrument& instrument = createInstrument(collection, u"lead");
  RegionRequest request;
  request.waveform = serialOf(wave.id());
  Region& region = createRegion(createLayer(instrument, u""), u"region", request);
  region.articulation.set(24, 2.0f);   // a low-pass filter
  region.articulation.set(28, 12.0f);  // that the mod wheel opens
  region.articulation.set(60, 0.5f);   // reverb
  region.articulation.set(62, 0.2f);   // and a send that is neither reverb nor chorus
  region.articulation.set(3, 12.0f);   // an octave of pitch bend
  instrument.patch = Patch::of(1, 0, 5);
  collection.setText(TextProperty::Artist, u"Somebody");
  LoopAdder(wave).addMarker({.start = 10, .end = 10, .name = std::u16string(kStartName)});
  const struct {
    const char16_t* row;
    std::vector<std::u16string> features;
    std::u16string_view better;  // the row that keeps more
  } cases[] = {
      {u"DownLoadable Sounds level 1",
       {u"Trigger: Waveform play section section (start/end offsets)", u"Filter: Low Pass Filter",
        u"Filter: Mod wheel/Aftertouch to Cutoff", u"Effects: Effect send levels",
        u"Pitch: Pitch bend to Pitch"},
       u"DownLoadable Sounds level 2++"},
      {u"DownLoadable Sounds level 2",
       {u"Trigger: Waveform play section section (start/end offsets)",
        u"Filter: Mod wheel/Aftertouch to Cutoff", u"Pitch: Pitch bend to Pitch",
        u"Effects: More than two sends"},
       u"DownLoadable Sounds level 2++"},
      {u"DownLoadable Sounds level 2++",
       {u"Trigger: Waveform play section section (start/end offsets)", u"Pitch: Pitch bend to Pitch",
        u"Effects: More than two sends"},
       u"<none>"},
      {u"Cakewalk SFZ v2 (waves in sub-folder)",
       {u"Architecture: Bank and program numbers", u"Architecture: Texts",
        u"Architecture: Artist apart from the engineer"},
       u"<none>"},
      {u"SoundFont v2 bank",
       {u"Effects: More than two sends", u"Architecture: Artist apart from the engineer"},
       u"<none>"},
  };
  for (const auto& each : cases) {
    std::vector<std::u16string> features;
    const int row = findWritingRowByDescription(each.row);
    const std::vector<Loss> losses = lossesOfSaving(collection, row, {});
    for (const Loss& loss : losses) features.push_back(loss.feature);
    EXPECT_EQ(features, each.features) << toUtf8(each.row);
    EXPECT_EQ(descriptionOf(rowThatKeepsMore(collection, row, {}, losses)), each.better) << toUtf8(each.row);
  }
  instrument.sendEffects = {SendEffect::Chorus, SendEffect::Reverb};
  const auto losses = lossesOfSaving(instrument, findWritingRowByDescription(u"SoundFont v2 bank"), {});
  ASSERT_EQ(losses.size(), 1u) << "the channels are the reverb's and the chorus'";
  EXPECT_EQ(losses[0].example, u"New collection") << "whose artist stands in the instrument's file too";
}

TEST(LossReport, TellsHighPeaksWhereTheyAreCut) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  defer(wave, std::vector<float>(100, 0.5f))->storedAs = SampleEncoding::Pcm16;
  Region& region = createRegion(createLayer(createInstrument(collection, u"lead"), u""), u"region",
                                {.waveform = serialOf(wave.id())});
  region.articulation.set(24, 2.0f);
  region.articulation.set(37, 30.0f);
  const struct {
    const char16_t* row;
    std::vector<std::u16string> features;
  } cases[] = {
      {u"DownLoadable Sounds level 2", {u"Filter: Resonance above 22.5 dB"}},
      {u"DownLoadable Sounds level 2+", {u"Filter: Resonance above 22.5 dB"}},
      {u"DownLoadable Sounds level 2++", {}},
      {u"SoundFont v2 bank", {}},
      {u"Cakewalk SFZ v2 (waves in sub-folder)", {}},
  };
  for (const auto& each : cases) {
    std::vector<std::u16string> features;
    for (const Loss& loss : lossesOfSaving(collection, findWritingRowByDescription(each.row), {}))
      features.push_back(loss.feature);
    EXPECT_EQ(features, each.features) << toUtf8(each.row);
  }
}

TEST(LossReport, TellsWhatTheEncodingAndTheChannelsDrop) {
  using enum SampleEncoding;
  struct Case {
    SampleEncoding source, target;
    CapabilityMask channels;
    std::vector<std::u16string> losses;
  };
  for (const Case& c : {
           Case{Pcm16, Pcm16, 0, {}},
           Case{Pcm16, Pcm24, 0, {}},
           Case{Pcm24, Pcm16, 0, {u"Samples: 24-bit precision (\"one\" and 1 more)"}},
           Case{Pcm24, Float32, 0, {}},
           Case{Pcm32, Float32, 0, {u"Samples: 32-bit precision (\"one\" and 1 more)"}},
           Case{Float32, Pcm32, 0, {u"Samples: 32-bit float precision (\"one\" and 1 more)"}},
           Case{Pcm8, MuLaw, 0, {u"Samples: 8-bit precision (\"one\" and 1 more)"}},
           Case{MuLaw, MuLaw, 0, {}},
           Case{MuLaw, Pcm16, 0, {}},
           Case{Pcm24,
                Pcm8,
                kMono,
                {u"Samples: 24-bit precision (\"one\" and 1 more)", u"Samples: Separate channels (\"two\")"}},
       }) {
    Collection collection;
    defer(createWaveform(collection, u"one"), {0.5f, 0.25f})->storedAs = c.source;
    defer(createWaveform(collection, u"two"), {0.5f, 0.25f}, 2)->storedAs = c.source;
    std::vector<std::u16string> texts;
    for (const Loss& loss : lossesOfSaving(collection, findWritingRow(u"wav", 1),
                                           {.requested = encodingBit(c.target) | c.channels}))
      texts.push_back(lossText(loss));
    EXPECT_EQ(texts, c.losses) << static_cast<int>(c.source) << " to " << static_cast<int>(c.target);
  }
}

TEST(LossReport, TellsWhatLoopsAndMarkersLose) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  defer(wave, std::vector<float>(100, 0.5f));
  wave.addLoop({LoopPlay::Alternating, LoopCount::UntilRelease, 10.5, 20.25, 0.5}, u"", true, false);
  wave.addLoop({LoopPlay::Forward, LoopCount::Infinite, 30, 40, 0}, u"", false, false);
  wave.records.push_back(test::record(RecordType::SectionMarker, u"section", 1, 2));
  auto featuresLostBy = [&](const char16_t* extension) {
    std::vector<std::u16string> features;
    for (const Loss& loss : lossesOfSaving(wave, findWritingRow(extension, 1), {}))
      features.push_back(loss.feature);
    return features;
  };
  EXPECT_EQ(featuresLostBy(u"wav"), (std::vector<std::u16string>{}));
  EXPECT_EQ(featuresLostBy(u"au"),
            (std::vector<std::u16string>{u"Waves: Loops", u"Waves: Markers", u"Waves: Ends of sections"}));
}

TEST(LossReport, TellsWhenRegionsPlayByRulesThatABankLacks) {
  Collection collection;
  Region& region = createRegion(createLayer(createInstrument(collection, u""), u""), u"region");
  PlayRules rules;
  rules.sequenceLength = 2;
  region.rules = std::make_shared<const PlayRules>(rules);
  auto losses = [&](std::u16string_view row) {
    std::vector<std::u16string> texts;
    for (const Loss& loss : lossesOfSaving(collection, findWritingRowByDescription(row), {}))
      texts.push_back(lossText(loss));
    return texts;
  };
  EXPECT_EQ(
      losses(u"SoundFont v2 bank"),
      (std::vector<std::u16string>{u"Trigger: Rounds, random choice, controllers, one-shots (\"region\")",
                                   u"Architecture: Regions without a waveform (\"region\")"}));
  EXPECT_EQ(losses(u"Cakewalk SFZ v2 (waves in same folder)"), std::vector<std::u16string>{});
}

TEST(LossReport, TellsSampleRatesAndItemsThatTheRowLacks) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  defer(wave, std::vector<float>(100, 0.5f))->storedAs = SampleEncoding::Pcm16;
  wave.rate = 44100;
  wave.setText(TextProperty::Artist, u"Ada");
  Instrument& instrument = createInstrument(collection, u"lead");
  createRegion(createLayer(instrument, u""), u"silent");
  Song& song = createSong(collection, u"song");
  constexpr std::uint8_t kEvents[] = {0, 0xFF, 2, 3, 'A', 'd', 'a'};
  createTrack(song, u"").setEvents(std::as_bytes(std::span(kEvents)));
  song.setText(TextProperty::Copyright, u"Ada");
  auto lost = [&](const Item& item, std::u16string_view row) {
    std::vector<std::string> texts;
    for (const Loss& loss : lossesOfSaving(item, findWritingRowByDescription(row), {}))
      texts.push_back(toUtf8(lossText(loss)));
    return texts;
  };
  using Texts = std::vector<std::string>;
  EXPECT_EQ(lost(wave, u"Opus"),
            (Texts{"Samples: 16-bit precision (\"wave\")", "Samples: Sample rate (\"wave\")"}));
  EXPECT_EQ(lost(wave, u"Ogg Vorbis"), (Texts{"Samples: 16-bit precision (\"wave\")"}));
  EXPECT_EQ(lost(wave, u"Wave-64"), (Texts{"Waves: Texts (\"wave\")"}));
  EXPECT_EQ(lost(collection, u"SoundFont v2 bank"),
            (Texts{"Items: Songs (\"song\")", "Architecture: Regions without a waveform (\"silent\")",
                   "Waves: Texts (\"wave\")"}));
  EXPECT_EQ(lost(collection, u"RIFF-MIDI"),
            (Texts{"Items: Instruments (\"lead\")", "Items: Waveforms (\"wave\")"}));
  collection.setText(TextProperty::Comments, u"of the bank");
  EXPECT_EQ(lost(song, u"RIFF-MIDI"), Texts{});
  EXPECT_EQ(lost(song, u"RIFF-MIDI w DLS level 1 instruments"),
            (Texts{"Architecture: Regions without a waveform (\"silent\")"}))
      << "the bank goes along";
  collection.remove(instrument);
  EXPECT_EQ(lost(song, u"RIFF-MIDI w DLS level 1 instruments"), Texts{});
  EXPECT_EQ(lost(collection, u"RIFF-MIDI w DLS level 1 instruments"),
            (Texts{"Items: Waveforms (\"wave\")", "Architecture: Texts (\"New collection\")"}))
      << "no bank is written without instruments";
  EXPECT_EQ(lost(song, u"Standard MIDI file (SMF)"), Texts{});  // the copyright is an event
  song.setText(TextProperty::Copyright, u"Grace");
  EXPECT_EQ(lost(song, u"Standard MIDI file (SMF)"), (Texts{"Songs: Texts (\"song\")"}));
}

}  // namespace
}  // namespace vemko::io
