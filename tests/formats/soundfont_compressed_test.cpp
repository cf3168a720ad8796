// Banks whose samples are Ogg Vorbis or FLAC streams.
#include <cmath>

#include "formats/soundfont_support.h"

namespace vemko::test {
namespace {

// Two tones, the second one looped within it, on zones that loop differently.
Bank toneBank() {
  Bank bank = simpleBank({amount(gen::SampleModes, 1), amount(gen::FilterCutoff, 8001)});
  bank.instruments[0].zones.push_back(
      {{amount(gen::SampleModes, 3), amount(gen::LoopStartOffset, 7), amount(gen::Sample, 1)}, {}});
  bank.instruments[0].zones.push_back({{amount(gen::Sample, 1)}, {}});
  bank.samples = {{"Low"}, {"High"}};
  for (std::size_t i = 0; i < 2; ++i) {
    BankSample& sample = bank.samples[i];
    sample.points.resize(30001 + i);
    for (std::size_t j = 0; j < sample.points.size(); ++j) {
      const double phase = static_cast<double>(j) * (i == 0 ? 0.03 : 0.11);
      sample.points[j] = static_cast<std::int16_t>(9000 * std::sin(phase) + 3000 * std::sin(phase * 3.01));
    }
    sample.loopStart = 12345;
    sample.loopEnd = 29876;
  }
  return bank;
}

Block saved(Collection& collection, std::uint32_t setting) {
  return bytesOfSaved(collection, {.variant = soundfont::kCompressedVariant, .setting = setting});
}

std::vector<float> samplesOf(const Waveform& waveform) {
  std::vector<float> samples(waveform.frames);
  const auto stream = openSamples(waveform);
  EXPECT_TRUE(stream && stream->read(samples) == samples.size()) << toUtf8(lastError());
  return samples;
}

// Of the difference below the first one's level.
double decibelsBetween(const std::vector<float>& a, const std::vector<float>& b) {
  EXPECT_EQ(a.size(), b.size());
  double signal = 0, noise = 0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    signal += double{a[i]} * a[i];
    noise += double{a[i] - b[i]} * (a[i] - b[i]);
  }
  return noise == 0 ? 1000 : 10 * std::log10(signal / noise);
}

void expectSameLoops(const Waveform& a, const Waveform& b) {
  ASSERT_EQ(a.mainLoop() != nullptr, b.mainLoop() != nullptr);
  if (!a.mainLoop()) return;
  EXPECT_EQ(a.mainLoop()->start, b.mainLoop()->start);
  EXPECT_EQ(a.mainLoop()->end, b.mainLoop()->end);
  EXPECT_EQ(a.mainLoop()->play, b.mainLoop()->play);
  EXPECT_EQ(a.mainLoop()->count, b.mainLoop()->count);
}

std::vector<Block> streamsOf(const Block& bytes) {
  soundfont::BankFile bank;
  Complaints complaints;
  EXPECT_TRUE(soundfont::parseBank(bytes, bank, complaints)) << toUtf8(lastError());
  EXPECT_EQ(bank.smpl.size % 2, 0u);
  std::vector<Block> streams;
  for (const soundfont::SampleHeader& sample : bank.samples) {
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(bank.smpl.offset);
    streams.emplace_back(start + sample.start, start + sample.end);
  }
  return streams;
}

class CompressedBank : public testing::Test {
 protected:
  void SetUp() override {
    if (!soundfont::missingLibraries(true).empty()) GTEST_SKIP() << toUtf8(soundfont::missingLibraries(true));
  }
};

TEST_F(CompressedBank, KeepsStructureLoopsAndTheCodecsQuality) {
  struct Case {
    std::uint32_t setting;
    const char* label;
    double decibels;
  };
  const Case cases[] = {{0, "Ogg Vorbis Quality 10", 35},
                        {5, "Ogg Vorbis Quality 5", 25},
                        {10, "Ogg Vorbis Quality 0", 10},
                        {11, "FLAC (lossless)", 1000}};
  std::size_t sizeBefore = ~std::size_t{0};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    std::u16string label;
    EXPECT_GT(soundfont::describeSetting(static_cast<int>(c.setting), 1, &label), 0);
    EXPECT_EQ(toUtf8(label), c.label);
    ReadBank plain(toneBank());
    const Block bytes = saved(plain.collection, c.setting);
    if (c.setting < 11) {
      EXPECT_LT(bytes.size(), sizeBefore);
    }
    sizeBefore = bytes.size();
    ReadBank packed(bytes);
    ReadBank unpacked(bytesOfSaved(packed.collection));
    for (const ReadBank* read : {&packed, &unpacked}) {
      ASSERT_TRUE(read->ok) << toUtf8(lastError());
      expectSameRegions(plain.collection, read->collection);
      const auto before = plain.collection.all<Waveform>(), after = read->collection.all<Waveform>();
      ASSERT_EQ(before.size(), after.size());
      for (std::size_t i = 0; i < before.size(); ++i) {
        expectSameLoops(*before[i], *after[i]);
        EXPECT_GE(decibelsBetween(samplesOf(*before[i]), samplesOf(*after[i])), c.decibels);
      }
    }
  }
  EXPECT_EQ(soundfont::describeSetting(12, 1, nullptr), 0);
}

TEST_F(CompressedBank, GivesUntouchedStreamsBack) {
  ReadBank plain(toneBank());
  const Block once = saved(plain.collection, 6);
  ReadBank read(once);
  EXPECT_TRUE(saved(read.collection, 0) == once) << "whatever the setting";

  for (Waveform* waveform : read.collection.all<Waveform>()) {
    if (waveform->name() != u"High") continue;
    auto buffer = SampleBuffer::allocate(waveform->frames, 1, waveform->rate);
    std::ranges::copy(samplesOf(*waveform), buffer->samples().begin());
    for (float& sample : buffer->samples()) sample *= 0.5f;
    waveform->setSamples(buffer);
  }
  const auto before = streamsOf(once), after = streamsOf(saved(read.collection, 11));
  ASSERT_GE(after.size(), before.size());
  EXPECT_TRUE(after[0] == before[0]);
  EXPECT_FALSE(after[1] == before[1]);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(after[1].data()), 4), "fLaC");
}

TEST_F(CompressedBank, LoadsWithoutStreamsThatAreBroken) {
  ReadBank plain(toneBank());
  const Block good = saved(plain.collection, 6);
  soundfont::BankFile bank;
  Complaints complaints;
  ASSERT_TRUE(soundfont::parseBank(good, bank, complaints));
  const std::size_t start = bank.smpl.offset + bank.samples[1].start;
  for (std::size_t kept : {0u, 100u, 3000u}) {
    SCOPED_TRACE(kept);
    Block bytes = good;
    std::ranges::fill(
        std::span(bytes).subspan(start + kept, bank.samples[1].end - bank.samples[1].start - kept),
        std::byte{0});
    LogCatcher log;
    ReadBank read(bytes);
    ASSERT_TRUE(read.ok) << toUtf8(lastError());
    EXPECT_TRUE(log.contains("A compressed sample cannot be read and is empty"));
    ASSERT_EQ(read.regions().size(), 3u);
    EXPECT_EQ(samplesOf(*read.regions()[0]->waveform()).size(), 30001u);
    EXPECT_EQ(read.regions()[1]->waveform()->frames, 0u);
    EXPECT_EQ(streamsOf(saved(read.collection, 6)).at(0), streamsOf(good).at(0));
  }
}

}  // namespace
}  // namespace vemko::test
