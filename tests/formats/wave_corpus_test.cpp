// Real files, compared with what an independent program reads from them.
#include <algorithm>
#include <cstdlib>
#include <optional>

#include "formats/wave_support.h"

namespace vemko::test {
namespace {

std::string quoted(const Path& path) { return "'" + path.string() + "'"; }

bool hasProgram(const char* name) {
  return std::system(("command -v " + std::string(name) + " >/dev/null 2>&1").c_str()) == 0;
}

bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

// What a program says on its error channel, and that it fails where it does.
std::string outputOf(const std::string& command, const Path& scratch) {
  const bool ok = std::system((command + " >/dev/null 2>" + quoted(scratch)).c_str()) == 0;
  return contentOf(scratch) + (ok ? "" : "failed");
}

std::vector<Path> corpusFiles() {
  std::vector<Path> files;
  const char* folder = std::getenv("VEMKO_CORPUS");
  if (!folder) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.is_regular_file() && entry.path().extension() == ".wav") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

ReadResult readCorpusFile(const Path& path) {
  const bool isBigEndian = contentOf(path).starts_with("RIFX");
  return readWaveFile(path, isBigEndian ? wave::readBigEndianWave : wave::readWave);
}

struct Reference {
  std::uint32_t rate = 0, channels = 0;
  std::vector<float> samples;
};

// The file as another program converts it to a plain file of 32-bit integers.
std::optional<Reference> referenceOf(const Path& file, const Path& scratch) {
  removeFile(scratch);
  if (!run("sndfile-convert -pcm32 " + quoted(file) + " " + quoted(scratch))) return {};
  const std::string content = contentOf(scratch);
  ByteReader reader(asBytes(content));
  Reference reference;
  reader.u32();
  const std::uint32_t offset = reader.big<std::uint32_t>();
  reader.skip(8);
  reference.rate = reader.big<std::uint32_t>();
  reference.channels = reader.big<std::uint32_t>();
  reader.pos = offset;
  while (reader.remaining() >= 4)
    reference.samples.push_back(static_cast<float>(reader.big<std::int32_t>()) * (1.0f / 2147483648.0f));
  return reference;
}

// Samples of a file of floats, which integers could not hold.
std::vector<float> floatsOf(const Path& file, const Path& scratch) {
  removeFile(scratch);
  if (!run("ffmpeg -v error -i " + quoted(file) + " -f f32le " + quoted(scratch))) return {};
  const std::string content = contentOf(scratch);
  std::vector<float> samples(content.size() / 4);
  std::memcpy(samples.data(), content.data(), samples.size() * 4);
  return samples;
}

float largestDifference(std::span<const float> a, std::span<const float> b) {
  float largest = 0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    const bool bothOdd = !(a[i] == a[i]) && !(b[i] == b[i]);
    if (!bothOdd && a[i] != b[i]) largest = std::max(largest, std::abs(a[i] - b[i]));
  }
  return largest;
}

// Of ADPCM the other program rounds predictions of the Microsoft kind downwards instead of towards zero.
bool isAdpcm(const Waveform& waveform) { return waveform.source->encoding() == SampleEncoding::Adpcm4; }

// It takes whole blocks for the length.
bool hasBlocks(const Waveform& waveform) {
  return isAdpcm(waveform) || waveform.source->encoding() == SampleEncoding::Gsm610;
}

// It keeps the delay of MPEG audio, and its decoder of G.721 is not that of the recommendation.
bool isComparedElsewhere(const Path& path, const Waveform& waveform) {
  return waveform.source->encoding() == SampleEncoding::Codec || path.filename() == "lsf_g721.wav";
}

void expectSame(Waveform& ours, const Reference& reference) {
  EXPECT_EQ(ours.rate, reference.rate);
  EXPECT_EQ(ours.channels, reference.channels);
  const std::uint64_t samples = std::uint64_t{ours.frames} * ours.channels;
  if (hasBlocks(ours))
    EXPECT_LE(samples, reference.samples.size());
  else
    EXPECT_EQ(samples, reference.samples.size());
  ASSERT_TRUE(io::loadSamples(ours, true)) << toUtf8(lastError());
  EXPECT_LE(largestDifference(ours.buffer->samples(), reference.samples), isAdpcm(ours) ? 0.02f : 0.0f);
}

TEST(WaveCorpus, EveryFileThatAnotherProgramReadsHasTheSameSamples) {
  const std::vector<Path> files = corpusFiles();
  if (files.empty()) GTEST_SKIP() << "no corpus";
  if (!hasProgram("sndfile-convert") || !hasProgram("ffmpeg")) GTEST_SKIP() << "nothing to compare with";
  TempFolder folder;
  int compared = 0;
  for (const Path& path : files) {
    SCOPED_TRACE(path.string());
    auto reference = referenceOf(path, folder / "reference.au");
    ReadResult ours = readCorpusFile(path);
    const bool needsCodec = lastError().find(u"codec") != std::u16string::npos;
    // Samples in the lower three of four bytes, which the other program takes for packed ones.
    const bool isMisread = path.filename() == "pcmwaveformat-24bit-4byte-48kHz-stereo.wav";
    if (!reference || needsCodec || isMisread) continue;
    EXPECT_TRUE(ours.ok) << toUtf8(lastError());
    if (!ours.waveform || isComparedElsewhere(path, *ours.waveform)) continue;
    const SampleEncoding encoding = ours.waveform->source->encoding();
    if (encoding == SampleEncoding::Float32 || encoding == SampleEncoding::Float64)
      reference->samples = floatsOf(path, folder / "reference.f32");
    expectSame(*ours.waveform, *reference);
    ++compared;
  }
  EXPECT_GT(compared, 100);
}

std::string textsOf(const Waveform& waveform) {
  std::string texts;
  for (TextProperty property : kTextProperties) texts += toUtf8(waveform.text(property)) + "|";
  return texts + std::to_string(waveform.image().size());
}

TEST(WaveCorpus, WrittenFilesReadBackTheSameAndPleaseOtherPrograms) {
  const std::vector<Path> files = corpusFiles();
  if (files.empty()) GTEST_SKIP() << "no corpus";
  TempFolder folder;
  const Path copy = folder / "copy.wav";
  for (const Path& path : files) {
    SCOPED_TRACE(path.string());
    ReadResult original = readCorpusFile(path);
    if (!original.ok || original.waveform->frames == 0) continue;
    Waveform& waveform = *original.waveform;
    waveform.setName(u"a name");
    removeFile(copy);
    OutputFile file;
    ASSERT_TRUE(file.create(copy) && wave::writeWave(waveform, file, {}) && file.close())
        << toUtf8(lastError());

    ReadResult again = readWaveFile(copy);
    ASSERT_TRUE(again.ok) << toUtf8(lastError());
    EXPECT_EQ(describe(*again.waveform), describe(waveform));
    EXPECT_EQ(textsOf(*again.waveform), textsOf(waveform));
    ASSERT_TRUE(io::loadSamples(*again.waveform, true) && io::loadSamples(waveform, true))
        << toUtf8(lastError());
    EXPECT_EQ(largestDifference(again.waveform->buffer->samples(), waveform.buffer->samples()), 0);
    // soxi misses a size word behind the fields of float formats, which we write in the short form, as most
    // do.
    const bool isFloat = again.waveform->source->encoding() == SampleEncoding::Float32;
    for (const char* check : {"sndfile-info", isFloat ? "true" : "soxi", "ffprobe -v error"})
      if (hasProgram(std::string(check).substr(0, std::string_view(check).find(' ')).c_str())) {
        EXPECT_EQ(outputOf(std::string(check) + " " + quoted(copy), folder / "complaints"), "");
      }
  }
}

}  // namespace
}  // namespace vemko::test
