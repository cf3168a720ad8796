// Every row that writes waveforms: what goes in comes out, the samples and what stands beside them.
#include <gtest/gtest.h>

#include "formats/audio/audio.h"
#include "formats/audio_support.h"
#include "io/loss_report.h"
#include "io/sample_layout.h"

namespace vemko::test {
namespace {

constexpr std::size_t kFrames = 30011;

struct LossyCase {
  std::u16string_view description;
  SampleEncoding encoding;
  double decibels;  // at least; of two channels together
};
using enum SampleEncoding;
// clang-format off
constexpr LossyCase kLossyCases[] = {
  {u"Raw GSM 06.10",        Gsm610, 15},
  {u"MPEG layer III - CBR", Codec,  48},
  {u"MPEG layer III - ABR", Codec,  45},
  {u"MPEG layer III - VBR", Codec,  35},
  {u"Ogg Vorbis",           Codec,  37},
  {u"Opus",                 Codec,  25},
  {u"Microsoft wave",       Gsm610, 15},
  {u"Microsoft wave",       Adpcm2,  3},
  {u"Microsoft wave",       Adpcm3, 20},
  {u"Microsoft wave",       Adpcm4, 25},
  {u"Microsoft wave",       Adpcm5, 25},
  {u"Microsoft wave",       Codec,  48},
};
// clang-format on

double decibelsExpected(int row, SampleEncoding encoding) {
  for (const LossyCase& each : kLossyCases)
    if (each.description == io::descriptionOf(row) && each.encoding == encoding) return each.decibels;
  ADD_FAILURE() << "No case for this row and encoding";
  return 0;
}

Path pathFor(const TempFolder& folder, int row) { return folder / ("test." + toUtf8(io::extensionOf(row))); }

void expectSamples(const std::vector<float>& expected, const std::vector<float>& found, unsigned channels,
                   int row, SampleEncoding encoding) {
  if (!isLossy(encoding)) {
    // The packed blocks of this one hold ten frames.
    const bool hasBlocks = io::descriptionOf(row) == u"Ensoniq PARIS" && encoding == Pcm24;
    ASSERT_EQ(found.size(),
              hasBlocks ? (expected.size() / channels + 9) / 10 * 10 * channels : expected.size());
    EXPECT_EQ(std::ranges::mismatch(expected, found).in1 - expected.begin(), std::ssize(expected));
    return;
  }
  // The speech codes fill up their last block.
  EXPECT_GE(found.size(), expected.size());
  EXPECT_LT(found.size(), expected.size() + (encoding == Gsm610 ? 320 : 1));
  const bool isTooCoarse = encoding == Adpcm2;  // to tell a shift by one frame
  EXPECT_TRUE(isTooCoarse || bestShift(expected, found, channels) == 0);
  EXPECT_GE(signalToNoise(expected, found), decibelsExpected(row, encoding));
}

TEST(AudioRows, EveryEncodingOfEveryRowComesBack) {
  const TempFolder folder;
  for (int row : waveformWritingRows()) {
    if (isMissing(row)) continue;
    const io::CapabilityMask capabilities = io::capabilitiesOf(row).capabilities;
    for (int number = 0; number < 20; ++number)
      for (std::uint8_t channels : {std::uint8_t{1}, std::uint8_t{2}}) {
        const auto encoding = static_cast<SampleEncoding>(number);
        if (!(capabilities & io::encodingBit(encoding)) || (channels == 2 && !(capabilities & io::kStereo)))
          continue;
        SCOPED_TRACE(toUtf8(io::descriptionOf(row)) + ", encoding " + std::to_string(number) + ", " +
                     std::to_string(channels) + " channels");
        const bool isOpus = io::descriptionOf(row) == u"Opus";
        Collection collection;
        Waveform& waveform = createWaveform(collection, u"test");
        waveform.rate = isOpus ? 48000 : 44100;
        const std::vector<float> samples = heldBy(encoding, music(kFrames, channels));
        fill(waveform, samples, channels);
        io::SaveOptions options = io::saveOptionsFor(row, io::encodingBit(encoding));
        const std::uint8_t stored = io::chooseLayout(waveform, options, capabilities).channels;
        const bool saved = io::saveItem(&waveform, row, pathFor(folder, row), options);
        if (!saved && failedWithoutLibrary()) continue;
        ASSERT_TRUE(saved) << toUtf8(lastError());
        const Opened opened = openWaveform(pathFor(folder, row));
        if (!opened.waveform) continue;
        EXPECT_EQ(opened.waveform->channels, stored);
        EXPECT_EQ(opened.waveform->rate, io::extensionOf(row) == u"gsm" ? 8000 : waveform.rate);
        EXPECT_EQ(opened.waveform->source->encoding(), encoding);
        if (stored == channels) expectSamples(samples, samplesOf(*opened.waveform), channels, row, encoding);
      }
  }
}

// --- What stands beside the samples

constexpr std::string_view kPng = "\x89PNG\r\n\x1A\n image";

void describe(Waveform& waveform) {
  waveform.rootKey = 57;
  waveform.fineTuneCents = -12;
  waveform.volumeAdjustmentDb = -3;
  for (TextProperty property : kTextProperties)
    if (property != TextProperty::Image)
      waveform.setText(property, u"K\u00f6ln \u65e5 " + std::u16string(textPropertyLabel(property)));
  waveform.setImage(asBytes(kPng));
}

/// A letter for each thing that is the same in both: Name, Artist, Comments, copyright (O), Engineer,
/// Product, source File, Image; root Key, fine Tune, Volume; and one for the Software that wrote the file.
std::string keptOf(const Waveform& before, const Waveform& after, const Path& file) {
  constexpr std::string_view kLetters = "NACOEPFI";
  std::string kept;
  for (std::size_t i = 0; i < kLetters.size(); ++i) {
    const TextProperty property = kTextProperties[i];
    const bool isSame = property == TextProperty::Image ? std::ranges::equal(before.image(), after.image())
                                                        : before.text(property) == after.text(property);
    kept += isSame ? kLetters[i] : '-';
  }
  kept += before.rootKey == after.rootKey ? 'K' : '-';
  kept += before.fineTuneCents == after.fineTuneCents ? 'T' : '-';
  kept += before.volumeAdjustmentDb == after.volumeAdjustmentDb ? 'V' : '-';
  kept += contentOf(file).find("Vemko Studio v12.13") != std::string::npos ? 'S' : '-';
  return kept;
}

struct KeptCase {
  std::u16string_view description;
  std::string_view kept;
};
// clang-format off
constexpr KeptCase kKeptCases[] = {
  {u"Audio interchange",                    "NACOEPFIKTVS"},
  {u"Audio interchange (aiff)",             "NACOEPFIKTVS"},
  {u"Audio interchange, compressed",        "NACOEPFIKTVS"},
  {u"Sun/NeXT/DEC audio",                   "------------"},
  {u"Audio Visual Research",                "--------K---"},
  {u"Apple CoreAudio",                      "NACOEPF-KTVS"},
  {u"Apple CoreAudio (caff)",               "NACOEPF-KTVS"},
  {u"Free lossless audio codec (default)",  "NACOEPFIKTVS"},
  {u"Free lossless audio codec (max comp)", "NACOEPFIKTVS"},
  {u"Raw GSM 06.10",                        "------------"},
  {u"Amiga IFF",                            "NACO--------"},
  {u"MPEG layer III - CBR",                 "NACOEPFI---S"},
  {u"MPEG layer III - ABR",                 "NACOEPFI---S"},
  {u"MPEG layer III - VBR",                 "NACOEPFI---S"},
  {u"NIST Sphere",                          "------------"},
  {u"Ogg Vorbis",                           "NACOEPFI---S"},
  {u"Opus",                                 "NACOEPFI---S"},
  {u"Ensoniq PARIS",                        "------------"},
  {u"IRCAM sound",                          "------------"},
  {u"Sun/NeXT/DEC audio (snd)",             "------------"},
  {u"Amiga 8SVX",                           "NACO--------"},
  {u"Creative voice",                       "------------"},
  {u"Wave-64",                              "------------"},
  {u"Microsoft wave",                       "NACOEPFIKTVS"},
  {u"WavPack",                              "NACOEPFIKTVS"},
};
// clang-format on

std::string_view keptExpected(int row) {
  for (const KeptCase& each : kKeptCases)
    if (each.description == io::descriptionOf(row)) return each.kept;
  return "a case for this row";
}

TEST(AudioRows, TextsImageAndTuningComeBackWhereTheFormatHoldsThem) {
  const TempFolder folder;
  for (int row : waveformWritingRows()) {
    if (isMissing(row)) continue;
    SCOPED_TRACE(toUtf8(io::descriptionOf(row)));
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    fill(waveform, music(4000));
    waveform.rate = io::extensionOf(row) == u"gsm" ? 8000 : 48000;
    describe(waveform);
    ASSERT_TRUE(io::saveItem(&waveform, row, pathFor(folder, row), io::saveOptionsFor(row, 0)))
        << toUtf8(lastError());
    const Opened opened = openWaveform(pathFor(folder, row));
    if (!opened.waveform) continue;
    EXPECT_EQ(keptOf(waveform, *opened.waveform, pathFor(folder, row)), keptExpected(row));
  }
}

// One feature of loops and markers, and whether it is still there.
struct FeatureCase {
  std::u16string_view feature;  // as the loss report names it
  LoopRecord record;
  bool isMain;
  bool (*isThere)(const LoopRecord& before, const Waveform& after);
};

const LoopRecord* found(const LoopRecord& before, const Waveform& after, RecordType type) {
  for (const LoopRecord& each : after.records)
    if (each.type == type && std::abs(each.startFrames() - before.startFrames()) <= 0.5 &&
        (type == RecordType::PositionMarker || std::abs(each.endFrames() - before.endFrames()) <= 0.5))
      return &each;
  return nullptr;
}
const LoopRecord* foundLoop(const LoopRecord& before, const Waveform& after) {
  return found(before, after, RecordType::Loop);
}

LoopRecord loop(double start, double end, LoopPlay play = LoopPlay::Forward) {
  LoopRecord result =
      record(RecordType::Loop, u"", static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end), play);
  result.startHundredths = static_cast<std::uint8_t>(std::lround(start * 100) % 100);
  result.endHundredths = static_cast<std::uint8_t>(std::lround(end * 100) % 100);
  return result;
}

std::vector<FeatureCase> featureCases() {
  LoopRecord untilRelease = loop(960, 1920), tuned = loop(960, 1920);
  untilRelease.count = LoopCount::UntilRelease;
  tuned.tuneCents = 7;
  return {
      {u"Waves: Loops", loop(960, 1920), true,
       [](const LoopRecord& before, const Waveform& after) {
         return after.mainLoop() && after.mainLoop() == foundLoop(before, after);
       }},
      {u"Waves: Loops besides the main loop", loop(960, 1920), false,
       [](const LoopRecord& before, const Waveform& after) { return foundLoop(before, after) != nullptr; }},
      {u"Waves: Fractional loop-points", loop(960, 1920.25), true,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = foundLoop(before, after);
         return now && now->endFrames() == before.endFrames();
       }},
      {u"Waves: Reverse and bi-directional loops", loop(960, 1920, LoopPlay::Reverse), true,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = foundLoop(before, after);
         return now && now->play == before.play;
       }},
      {u"Waves: Sampled release (key-up breaks loop)", untilRelease, true,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = foundLoop(before, after);
         return now && now->count == before.count;
       }},
      {u"Waves: Tuning of loop pitch", tuned, true,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = foundLoop(before, after);
         return now && now->tuneCents == before.tuneCents;
       }},
      {u"Waves: Markers", record(RecordType::PositionMarker, u"hit", 960, 960), false,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = found(before, after, RecordType::PositionMarker);
         return now && now->name == before.name;
       }},
      {u"Waves: Ends of sections", record(RecordType::SectionMarker, u"part", 960, 1920), false,
       [](const LoopRecord& before, const Waveform& after) {
         const LoopRecord* now = found(before, after, RecordType::SectionMarker);
         return now && now->name == before.name;
       }},
  };
}

TEST(AudioRows, LoopsAndMarkersComeBackUnlessTheLossReportSaysOtherwise) {
  const TempFolder folder;
  for (int row : waveformWritingRows())
    for (const FeatureCase& each : featureCases()) {
      if (isMissing(row)) continue;
      SCOPED_TRACE(toUtf8(io::descriptionOf(row)) + ": " + toUtf8(each.feature));
      Collection collection;
      Waveform& waveform = createWaveform(collection, u"test");
      fill(waveform, music(4000));
      waveform.rate = io::extensionOf(row) == u"gsm" ? 8000 : 48000;
      if (!each.isMain && each.record.type == RecordType::Loop)
        waveform.addLoop({LoopPlay::Forward, LoopCount::Infinite, 480, 800, 0}, u"", true, false);
      waveform.records.push_back(each.record);
      if (each.isMain) waveform.mainLoopId = each.record.id;
      const io::SaveOptions options = io::saveOptionsFor(row, 0);
      bool isToldLost = false;
      for (const io::Loss& loss : io::lossesOfSaving(waveform, row, options))
        isToldLost = isToldLost || loss.feature == each.feature || loss.feature == u"Waves: Loops" ||
                     (loss.feature == u"Waves: Markers" && each.record.type != RecordType::Loop);
      ASSERT_TRUE(io::saveItem(&waveform, row, pathFor(folder, row), options)) << toUtf8(lastError());
      const Opened opened = openWaveform(pathFor(folder, row));
      if (!opened.waveform) continue;
      EXPECT_EQ(each.isThere(each.record, *opened.waveform), !isToldLost);
    }
}

// Files that were cut out of streams, or padded, begin with other bytes.
TEST(MpegProbe, FindsFramesThatBeginLater) {
  struct Case {
    const char* name;
    std::string before;
    int frames;
    std::uint32_t layer;
    int score;
  };
  for (const Case& c : {Case{"at once", "", 8, 3, 6}, Case{"of another layer", "", 8, 2, 0},
                        Case{"behind zeros", std::string(100, '\0'), 8, 3, 2},
                        Case{"behind ones", std::string(300, '\xFF'), 8, 3, 2},
                        Case{"of another layer behind zeros", std::string(100, '\0'), 8, 2, 0},
                        Case{"too far behind", std::string(5000, '\0'), 8, 3, 0},
                        Case{"too few behind zeros", std::string(100, '\0'), 3, 3, 0}}) {
    std::string file = c.before;
    for (int i = 0; i < c.frames; ++i) file += "\xFF\xFB\x90" + std::string(414, '\0');  // 128 kbit/s
    EXPECT_EQ(audio::probeMpeg(asBytes(file), c.layer, file.size()), c.score) << c.name;
  }
}

}  // namespace
}  // namespace vemko::test
