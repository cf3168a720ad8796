// RIFX files, each made of the same description as a RIFF file.
#include <gtest/gtest.h>
#include <random>

#include "formats/wave_support.h"

namespace vemko::test {
namespace {

// A piece of a file that can be written in either byte order: a chunk, plain bytes, or numbers of one width.
struct Part {
  std::string id, bytes;
  std::size_t width = 0;
  std::vector<std::uint64_t> values;
  std::vector<Part> body;
};
using Parts = std::vector<Part>;

Part chunk(const char* id, Parts body) { return {id, {}, 0, {}, std::move(body)}; }
Part plain(std::string_view bytes) { return {{}, std::string(bytes), 0, {}, {}}; }
Part numbers(std::size_t width, std::vector<std::uint64_t> values) {
  return {{}, {}, width, std::move(values), {}};
}

void append(ByteWriter& out, const Parts& parts, bool bigEndian) {
  auto number = [&](std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i)
      out.u8(static_cast<std::uint8_t>(value >> 8 * (bigEndian ? width - 1 - i : i)));
  };
  for (const Part& part : parts) {
    out.text(part.bytes);
    for (std::uint64_t value : part.values) number(value, part.width);
    if (part.id.empty()) continue;
    ByteWriter body;
    append(body, part.body, bigEndian);
    out.text(part.id);
    number(body.size(), 4);
    out.append(body.bytes);
    out.zeros(body.size() % 2);
  }
}

Block fileOf(Parts chunks, bool bigEndian) {
  chunks.insert(chunks.begin(), plain("WAVE"));
  ByteWriter out;
  append(out, {chunk(bigEndian ? "RIFX" : "RIFF", std::move(chunks))}, bigEndian);
  return out.bytes;
}

Part format(const FormatFields& fields, Parts extra = {}) {
  Parts body = {numbers(2, {fields.tag, fields.channels}), numbers(4, {fields.rate, 1234}),
                numbers(2, {fields.blockAlign, fields.bits})};
  body.insert(body.end(), extra.begin(), extra.end());
  return chunk("fmt ", body);
}

Part data(std::size_t width, std::vector<std::uint64_t> values) {
  return chunk("data", {numbers(width, std::move(values))});
}

// Something of everything that the reader knows.
Parts richChunks() {
  return {
      format({1, 1, 0x1F40, 2, 16}),
      chunk("fact", {numbers(4, {29})}),
      chunk("inst", {plain(std::string_view("\x3C\x02\xFA\x00\x7F\x01\x7F", 7))}),
      data(2, {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
               16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 0x8001}),
      chunk("smpl", {numbers(4, {0, 0, 22675,      64, 0x40000000, 0, 0,  2,  4, 1, 0,
                                 2, 9, 0x80000000, 0,  2,          1, 10, 19, 0, 0}),
                     plain("data")}),
      chunk("wsmp", {numbers(4, {20}), numbers(2, {62, 5}), numbers(4, {655360, 0, 1, 16, 0, 3, 4})}),
      chunk("cue ", {numbers(4, {3, 2, 10}), plain("data"), numbers(4, {0, 0, 10, 3, 5}), plain("data"),
                     numbers(4, {0, 0, 5, 4, 0}), plain("data"), numbers(4, {0, 0, 25})}),
      chunk("LIST",
            {plain("adtl"), chunk("labl", {numbers(4, {3}), plain("odd")}),
             chunk("note", {numbers(4, {3}), plain("why")}), chunk("labl", {numbers(4, {1}), plain("loop")}),
             chunk("ltxt", {numbers(4, {3, 4}), plain("rgn "), numbers(2, {0, 0, 0, 0})})}),
      chunk("LIST", {plain("INFO"), chunk("INAM", {plain("title")}), chunk("IART", {plain("artist")})}),
      chunk("bext", {plain(std::string(602, 'b'))}),
  };
}

std::string textsOf(const Waveform& waveform) {
  std::string texts;
  for (TextProperty property : kTextProperties) texts += toUtf8(waveform.text(property)) + "|";
  return texts;
}

std::vector<float> samplesOf(Waveform& waveform) {
  EXPECT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
  auto samples = waveform.buffer->samples();
  return {samples.begin(), samples.end()};
}

TEST(BigEndianWaveReader, ReadsTheSameAsFromALittleEndianFile) {
  const Part guid = plain(std::string_view("\x80\0\0\xAA\0\x38\x9B\x71", 8));
  auto extensible = [&](std::uint64_t valid, std::uint64_t tag) {
    return Parts{numbers(2, {22, valid}), numbers(4, {3, tag}), numbers(2, {0, 0x10}), guid};
  };
  struct Case {
    const char* name;
    Parts chunks;
    std::uint32_t frames;
    const char* description = "60 +0 0dB";
  };
  const Case cases[] = {
      {"8", {format({1, 1, 8000, 1, 8}), chunk("data", {plain("\xC0\x41\x7F")})}, 3},
      {"12 in 2", {format({1, 1, 8000, 2, 12}), data(2, {0x1230, 0xC450})}, 2},
      {"16", {format({1, 2, 8000, 4, 16}), data(2, {0x1234, 0xC456})}, 1},
      {"24", {format({1, 1, 8000, 3, 24}), data(3, {0x123456, 0xC45678, 0x8000FF})}, 3},
      {"24 in 4, upper", {format({1, 1, 8000, 4, 24}), data(4, {0x12345600, 0xC4567800})}, 2},
      {"24 in 4, lower", {format({1, 1, 8000, 4, 24}), data(4, {0x123456, 0xFFC45678})}, 2},
      {"32", {format({1, 1, 8000, 4, 32}), data(4, {0x12345678, 0xC4567890})}, 2},
      {"40", {format({1, 1, 8000, 5, 40}), data(5, {0x123456789A, 0xC456789ABC})}, 2},
      {"64", {format({1, 1, 8000, 8, 64}), data(8, {0x123456789ABCDEF0, 0xC000000000000001})}, 2},
      {"float", {format({3, 1, 8000, 4, 32}, {numbers(2, {0})}), data(4, {0x3E123456, 0xBF000001})}, 2},
      {"double", {format({3, 1, 8000, 8, 64}), data(8, {0x3FE0123456789ABC})}, 1},
      {"A-law", {format({6, 1, 8000, 1, 8}), chunk("data", {plain("\xD5\xAA")})}, 2},
      {"mu-law", {format({7, 1, 8000, 1, 8}), chunk("data", {plain("\xFE\x80")})}, 2},
      {"extensible", {format({0xFFFE, 2, 8000, 4, 16}, extensible(16, 1)), data(2, {0x1234, 0xC456})}, 1},
      {"extensible float", {format({0xFFFE, 1, 8000, 4, 32}, extensible(32, 3)), data(4, {0x3E123456})}, 1},
      {"IMA ADPCM",
       {format({0x11, 1, 8000, 8, 4}, {numbers(2, {2, 7})}), chunk("data", {plain("\x10\x02\x04 1234qrs")})},
       7},
      {"Microsoft ADPCM",
       {format({2, 1, 8000, 11, 4}, {numbers(2, {32, 8, 1, 200, 0xFFF0})}),
        chunk("data", {plain(std::string_view("\0\x20\0\x11\x01\x22\x02wxyz", 11))})},
       8},
      {"wsmp",
       {format({}), data(2, {1, 2, 3, 4, 5}),
        chunk("wsmp",
              {numbers(4, {24}), numbers(2, {62, 0xFFFB}), numbers(4, {655360, 0, 1, 0, 16, 1, 1, 3})})},
       5,
       "62 -5 1dB | *Main Loop 1-4 Forward until release"},
      {"loops, labels and texts", richChunks(), 29,
       "64 -25 -6dB | *loop 2-10.5 Forward | Release Loop 10-20 Alternating | odd 5-9 |  @25"},
  };
  TempFolder folder, bigFolder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult little = readWaveBytes(folder, fileOf(each.chunks, false), "test.wav");
    ReadResult big = readWaveBytes(bigFolder, fileOf(each.chunks, true), "test.wav", wave::readBigEndianWave);
    ASSERT_TRUE(little.ok && big.ok) << toUtf8(lastError());
    EXPECT_EQ(big.waveform->frames, each.frames);
    EXPECT_EQ(describe(*big.waveform), each.description);
    EXPECT_EQ(describe(*big.waveform), describe(*little.waveform));
    EXPECT_EQ(textsOf(*big.waveform), textsOf(*little.waveform));
    EXPECT_EQ(big.waveform->rate, little.waveform->rate);
    EXPECT_EQ(samplesOf(*big.waveform), samplesOf(*little.waveform));
  }
}

TEST(BigEndianWaveReader, AnswersBadFilesAsTheOtherReaderDoes) {
  struct Case {
    const char* name;
    Parts chunks;
    const char* message;
  };
  const Part samples = data(2, {1, 2});
  const Case cases[] = {
      {"no fmt", {samples}, "No 'fmt ' chunk in this WAVE file"},
      {"no data", {format({})}, "No 'data' chunk in this WAVE file"},
      {"short fmt",
       {chunk("fmt ", {numbers(2, {1, 1, 0})}), samples},
       "The 'fmt ' chunk of this WAVE file is too short"},
      {"256 channels",
       {format({1, 256, 8000, 512, 16}), samples},
       "Unsupported number of channels in this WAVE file"},
      {"float of 16 bits",
       {format({3, 1, 8000, 2, 16}), samples},
       "Unsupported bits/sample for IEEE floating point samples"},
      {"unknown tag",
       {format({0x1234, 1, 8000, 2, 16}), samples},
       "Unsupported format tag 0x1234 in this WAVE file"},
      {"no GUID", {format({0xFFFE, 1, 8000, 2, 16}), samples}, "Unsupported 'Extensible' subformat GUID"},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    EXPECT_FALSE(readWaveBytes(folder, fileOf(each.chunks, false)).ok);
    EXPECT_EQ(toUtf8(lastError()), each.message);
    EXPECT_FALSE(readWaveBytes(folder, fileOf(each.chunks, true), "test.wav", wave::readBigEndianWave).ok);
    EXPECT_EQ(toUtf8(lastError()), each.message);
  }
  EXPECT_FALSE(readWaveBytes(folder, fileOf(richChunks(), false), "test.wav", wave::readBigEndianWave).ok);
  EXPECT_EQ(toUtf8(lastError()), "Not a RIFX WAVE file");
}

void readAndLoad(const TempFolder& folder, const Block& bytes) {
  ReadResult result = readWaveBytes(folder, bytes, "test.wav", wave::readBigEndianWave);
  EXPECT_EQ(result.ok, lastError().empty());
  if (!result.ok) return;
  ASSERT_LE(result.waveform->frames, bytes.size());
  EXPECT_TRUE(io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
  for (const LoopRecord& record : result.waveform->records) {
    EXPECT_LE(record.start, result.waveform->frames);
    EXPECT_LE(record.end, result.waveform->frames);
  }
}

TEST(BigEndianWaveReader, SurvivesCutAndDamagedFiles) {
  TempFolder folder;
  const Block whole = fileOf(richChunks(), true);
  for (std::size_t size = 0; size <= whole.size(); ++size)
    readAndLoad(folder, Block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
  std::mt19937 random(12345);
  for (int i = 0; i < 2000; ++i) {
    Block damaged = whole;
    for (int flips = 1 + static_cast<int>(random() % 4); flips > 0; --flips)
      damaged[random() % damaged.size()] = static_cast<std::byte>(random() % 3 == 0 ? 0xFF : random());
    readAndLoad(folder, damaged);
  }
}

}  // namespace
}  // namespace vemko::test
