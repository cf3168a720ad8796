#include "formats/audio/raw.h"

#include "formats/wave_support.h"
#include "io/decisions.h"

namespace vemko::test {
namespace {

TEST(RawReader, TakesBytesAsTold) {
  struct Case {
    const char* name;
    std::optional<io::RawFormat> answer;
    const char* outcome;
    std::vector<float> samples;
  };
  using enum SampleEncoding;
  const Case cases[] = {
      {"refused", {}, "Not detected as any supported file type", {}},
      {"16 bits", {{Pcm16, false, false, 1, 8000, 0}}, "", {0.5f, 0.25f}},
      {"16 bits big-endian behind a header", {{Pcm16, true, false, 1, 8000, 2}}, "", {32 / 32768.0f}},
      {"8 bits signed, stereo", {{Pcm8, false, true, 2, 8000, 0}}, "", {0, 0.5f, 0, 0.25f}},
      {"header past the end", {{Pcm16, false, false, 1, 8000, 100}}, "", {}},
      {"an encoding of blocks",
       {{Gsm610, false, false, 1, 8000, 0}},
       "Unsupported format of raw samples",
       {}},
      {"no channels", {{Pcm16, false, false, 0, 8000, 0}}, "Unsupported format of raw samples", {}},
  };
  TempFolder folder;
  putFile(folder / "a.raw", std::string_view("\0\x40\0\x20", 4));
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    io::Decisions decisions;
    decisions.confirmRaw = [&](std::u16string_view question, const Path&) {
      EXPECT_TRUE(question.starts_with(u"The selected file can not be detected as any"));
      return each.answer;
    };
    io::Decisions before = io::setDecisions(decisions);
    Collection collection;
    InputFile file;
    setLastError({});
    const bool ok = file.open(folder / "a.raw") && audio::readRaw(collection, file, 0);
    io::setDecisions(std::move(before));
    EXPECT_EQ(toUtf8(lastError()), each.outcome);
    ASSERT_EQ(collection.all<Waveform>().size(), ok ? 1u : 0u);
    if (!ok) continue;
    Waveform& waveform = *collection.all<Waveform>().front();
    EXPECT_EQ(waveform.name(), u"a");
    EXPECT_EQ(waveform.rate, each.answer->rate);
    ASSERT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
    auto samples = waveform.buffer->samples();
    EXPECT_EQ(std::vector<float>(samples.begin(), samples.end()), each.samples);
  }
}

}  // namespace
}  // namespace vemko::test
