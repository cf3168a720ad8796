#include "codecs/sample_writer.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/pcm_source.h"
#include "core/collection.h"
#include "support.h"
#include "system/system.h"

namespace vemko {
namespace {

using test::contentOf;
using test::putFile;
using test::TempFolder;

std::string randomBytes(std::size_t count) {
  std::mt19937 random(1);
  std::string bytes(count, 0);
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

/// A waveform whose samples lie in the file from `offset` on.
Waveform& deferred(Collection& collection, const Path& path, std::uint64_t offset, std::uint32_t frames,
                   std::uint8_t channels, PcmFormat format) {
  Waveform& waveform = createWaveform(collection, u"deferred");
  waveform.frames = frames;
  waveform.channels = channels;
  waveform.setSource(makePcmSource(SourceFile::at(path), offset, frames, channels, format));
  return waveform;
}

std::string written(const Waveform& waveform, PcmFormat format, std::uint8_t channels, const Path& to) {
  OutputFile file;
  BlockWriter out(file);
  EXPECT_TRUE(file.create(to) && writeSamples(waveform, format, channels, out) && out.flush() && file.close())
      << toUtf8(lastError());
  return contentOf(to);
}

// The same encoding gives the same bytes, also where floats could not carry them, for files that fit the
// writer's block and for larger ones.
TEST(SampleWriter, KeepsStoredBytes) {
  TempFolder folder;
  for (SampleEncoding encoding : {SampleEncoding::Pcm8, SampleEncoding::Pcm24, SampleEncoding::Pcm32,
                                  SampleEncoding::Float64, SampleEncoding::MuLaw})
    for (std::uint32_t frames : {1u, 1000u, 300'000u}) {
      SCOPED_TRACE(static_cast<int>(encoding));
      const PcmFormat format{encoding};
      const auto bytes = randomBytes(5 + frames * 2 * bytesPerSample(format));
      putFile(folder / "in", bytes);
      Collection collection;
      Waveform& waveform = deferred(collection, folder / "in", 5, frames, 2, format);
      EXPECT_TRUE(written(waveform, format, 2, folder / "out") == bytes.substr(5));
    }
}

TEST(SampleWriter, ConvertsEncodingAndByteOrderThroughFloats) {
  TempFolder folder;
  const std::uint32_t frames = 700'001;
  const auto bytes = randomBytes(frames * 2);
  putFile(folder / "in", bytes);
  Collection collection;
  Waveform& waveform = deferred(collection, folder / "in", 0, frames, 1, {SampleEncoding::Pcm16});
  const auto wide = written(waveform, {SampleEncoding::Pcm24, true}, 1, folder / "out");
  ASSERT_EQ(wide.size(), frames * 3);
  for (std::size_t i = 0; i < frames; ++i) {
    ASSERT_EQ(wide[i * 3], bytes[i * 2 + 1]) << i;
    ASSERT_EQ(wide[i * 3 + 1], bytes[i * 2]) << i;
    ASSERT_EQ(wide[i * 3 + 2], 0) << i;
  }
}

TEST(SampleWriter, TakesEditedSamplesFromMemory) {
  TempFolder folder;
  putFile(folder / "in", randomBytes(8));
  Collection collection;
  Waveform& waveform = deferred(collection, folder / "in", 0, 4, 1, {SampleEncoding::Pcm16});
  auto buffer = SampleBuffer::allocate(4, 1, 8000);
  ASSERT_TRUE(buffer);
  const float samples[] = {0.5f, -0.5f, 1.0f, 0.0f};
  std::copy(std::begin(samples), std::end(samples), buffer->samples().begin());
  waveform.setSamples(buffer);
  const std::int16_t expected[] = {16384, -16384, 32767, 0};
  const auto bytes = written(waveform, {SampleEncoding::Pcm16}, 1, folder / "out");
  ASSERT_EQ(bytes.size(), sizeof expected);
  EXPECT_EQ(std::memcmp(bytes.data(), expected, sizeof expected), 0);
}

TEST(SampleWriter, MapsChannels) {
  struct Case {
    const char* name;
    std::vector<float> in;
    std::uint8_t from, to;
    std::vector<float> out;
  };
  const Case cases[] = {
      {"stereo to mono is the mean", {1.0f, 0.5f, -1.0f, 0.0f}, 2, 1, {0.75f, -0.5f}},
      {"mono to stereo", {0.25f, -0.25f}, 1, 2, {0.25f, 0.25f, -0.25f, -0.25f}},
      {"three to two cuts off", {1, 2, 3, 4, 5, 6}, 3, 2, {1, 2, 4, 5}},
      {"two to three adds silence", {1, 2, 4, 5}, 2, 3, {1, 2, 0, 4, 5, 0}},
      {"unchanged", {1, 2}, 2, 2, {1, 2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    auto buffer = SampleBuffer::allocate(static_cast<std::uint32_t>(c.in.size() / c.from), c.from, 44100);
    ASSERT_TRUE(buffer);
    std::copy(c.in.begin(), c.in.end(), buffer->samples().begin());
    waveform.setSamples(buffer);
    auto stream = withChannels(openSamples(waveform), c.from, c.to);
    std::vector<float> out(c.out.size() + c.to);
    EXPECT_EQ(stream->read(out), c.out.size() / c.to);
    out.resize(c.out.size());
    EXPECT_EQ(out, c.out);
    EXPECT_EQ(stream->read(out), std::size_t{0});
  }
}

TEST(SampleWriter, FailsWhenTheSourceIsShorterThanItsHeaderSaid) {
  TempFolder folder;
  putFile(folder / "in", randomBytes(1000));
  for (SampleEncoding target : {SampleEncoding::Pcm16, SampleEncoding::Float32}) {
    Collection collection;
    Waveform& waveform = deferred(collection, folder / "in", 0, 501, 1, {SampleEncoding::Pcm16});
    OutputFile file;
    BlockWriter out(file);
    ASSERT_TRUE(file.create(folder / "out"));
    EXPECT_FALSE(writeSamples(waveform, {target}, 1, out));
    EXPECT_EQ(toUtf8(lastError()), "Reading from file failed");
  }
}

// A file that is replaced while a waveform still reads from it keeps its old bytes for that waveform.
TEST(SourceFile, PinnedFilesSurviveTheirReplacement) {
  TempFolder folder;
  const auto bytes = randomBytes(4000);
  putFile(folder / "a", bytes);
  Collection collection;
  Waveform& waveform = deferred(collection, folder / "a", 0, 2000, 1, {SampleEncoding::Pcm16});
  const Path link = folder / (test::kPosix ? "link" : "a");
  if (test::kPosix) std::filesystem::create_symlink(folder / "a", link);
  ASSERT_TRUE(SourceFile::pinIfUsed(link)) << toUtf8(lastError());
  ASSERT_TRUE(removeFile(folder / "a"));
  putFile(folder / "a", randomBytes(10));
  EXPECT_TRUE(written(waveform, {SampleEncoding::Pcm16}, 1, folder / "out") == bytes);
  EXPECT_NE(SourceFile::at(folder / "a"), waveform.source->file());
}

// Without being pinned: another file's bytes would be noise, a shorter one's too few. A longer one still has
// them.
TEST(SourceFile, OtherFilesAreNotTakenForTheOneThatWasOpened) {
  struct Case {
    const char* name;
    std::size_t newSize;
    bool isReplaced, isRead;
  };
  for (const Case& c : {Case{"the same", 4000, false, true},
                        {"longer", 5000, false, true},
                        {"shorter", 3999, false, false},
                        {"another", 4000, true, false}}) {
    SCOPED_TRACE(c.name);
    TempFolder folder;
    putFile(folder / "a", randomBytes(4000));
    Collection collection;
    Waveform& waveform = deferred(collection, folder / "a", 0, 2000, 1, {SampleEncoding::Pcm16});
    if (c.isReplaced) {
      putFile(folder / "b", randomBytes(c.newSize));
      ASSERT_TRUE(replaceFile(folder / "b", folder / "a"));
    } else {
      std::filesystem::resize_file(folder / "a", c.newSize);
    }
    EXPECT_EQ(waveform.source->open() != nullptr, c.isRead);
    if (!c.isRead) {
      EXPECT_EQ(toUtf8(lastError()), "Reading from file failed");
    }
    EXPECT_EQ(SourceFile::at(folder / "a") == waveform.source->file(), c.isRead);
    EXPECT_NE(SourceFile::at(folder / "a")->open(), nullptr) << toUtf8(lastError());
  }
}

}  // namespace
}  // namespace vemko
