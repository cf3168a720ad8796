// Files that are damaged, cut off or made to hurt.
#include <chrono>
#include <gtest/gtest.h>
#include <random>

#include "formats/wave_support.h"

namespace vemko::test {
namespace {

Block patched(Block bytes, std::size_t at, std::uint32_t value) {
  std::memcpy(bytes.data() + at, &value, sizeof value);
  return bytes;
}

// "3 x 1 @ 44100" for frames, channels and rate, else the message.
std::string outcomeOf(const ReadResult& result) {
  if (!result.ok) return toUtf8(lastError());
  return formatted("%u x %u @ %u", result.waveform->frames, unsigned{result.waveform->channels},
                   result.waveform->rate);
}

TEST(WaveReader, AnswersBadFilesWithAMessageOrWhatIsThere) {
  const Block data = words(1, 2, 3, 4);
  const NamedChunk format = {"fmt ", formatBody({})};
  const Block plain = riffFile({format, {"data", data}});
  constexpr std::size_t kDataSize = 12 + 8 + 16 + 4;
  auto withFormat = [&](const FormatFields& fields, Bytes extra = {}) {
    return riffFile({{"fmt ", formatBody(fields, extra)}, {"data", data}});
  };
  auto large = [&](std::uint64_t claimed) {
    Block file = riffFile(
        {{"ds64", words(0, 0, claimed, claimed >> 32, claimed / 2, 0, 0)}, format, {"data", data}}, "RF64");
    return patched(file, file.size() - data.size() - 4, 0xFFFFFFFF);
  };
  Block unknownGuid(22, std::byte{1});
  Block odd = joined({text("RIFF"), words(0), text("WAVEfmt "), words(16), formatBody({1, 1, 8000, 1, 8}),
                      text("data"), words(3), text("abcsmpl"), words(36, 0, 0, 0, 61, 0, 0, 0, 0, 0)});
  struct Case {
    const char* name;
    Block bytes;
    const char* expected;
  };
  const Case cases[] = {
      {"nothing", {}, "Not a RIFF WAVE file"},
      {"header", text("RIFF1234WAVE"), "No 'fmt ' chunk in this WAVE file"},
      {"other form", riffFile({format}, "RIFX"), "Not a RIFF WAVE file"},
      {"no fmt", riffFile({{"data", data}}), "No 'fmt ' chunk in this WAVE file"},
      {"no data", riffFile({format}), "No 'data' chunk in this WAVE file"},
      {"no samples", riffFile({format, {"data", {}}}), "0 x 1 @ 44100"},
      {"data before fmt", riffFile({{"data", data}, format}), "8 x 1 @ 44100"},
      {"two fmt", riffFile({format, {"fmt ", formatBody({1, 2, 8000, 4, 16})}, {"data", data}}),
       "8 x 1 @ 44100"},
      {"two data", riffFile({format, {"data", data}, {"data", {}}}), "8 x 1 @ 44100"},
      {"fmt of 0 bytes", riffFile({{"fmt ", {}}, {"data", data}}),
       "The 'fmt ' chunk of this WAVE file is too short"},
      {"0 channels", withFormat({1, 0, 44100, 2, 16}), "Unsupported number of channels in this WAVE file"},
      {"255 channels", withFormat({1, 255, 44100, 510, 16}), "0 x 255 @ 44100"},
      {"65535 channels", withFormat({1, 65535, 44100, 2, 16}),
       "Unsupported number of channels in this WAVE file"},
      {"rate 0", withFormat({1, 1, 0, 2, 16}), "8 x 1 @ 44100"},
      {"highest rate", withFormat({1, 1, 0xFFFFFFFF, 2, 16}), "8 x 1 @ 4294967295"},
      {"bits and block align 0", withFormat({1, 1, 44100, 0, 0}),
       "Unsupported bits/sample in this WAVE file"},
      {"128 bits", withFormat({1, 1, 44100, 16, 128}), "Unsupported bits/sample in this WAVE file"},
      {"float of 16 bits", withFormat({3, 1, 44100, 2, 16}),
       "Unsupported bits/sample for IEEE floating point samples"},
      {"float of 24 bits", withFormat({3, 1, 44100, 3, 24}),
       "Unsupported bits/sample for IEEE floating point samples"},
      {"unknown GUID", withFormat({0xFFFE, 1, 44100, 2, 16}, unknownGuid),
       "Unsupported 'Extensible' subformat GUID"},
      {"extensible without GUID", withFormat({0xFFFE, 1, 44100, 2, 16}),
       "Unsupported 'Extensible' subformat GUID"},
      {"codec", withFormat({0x22, 1, 8000, 32, 1}),
       "The encoding 'TrueSpeech' of this WAVE file needs a codec that is not available"},
      {"unknown tag", withFormat({0x7777, 1, 8000, 2, 16}),
       "Unsupported format tag 0x7777 in this WAVE file"},
      {"ADPCM block of 1 byte", withFormat({0x11, 1, 44100, 1, 4}),
       "Unsupported block size of the ADPCM samples in this WAVE file"},
      {"MS ADPCM block of 1 byte", withFormat({2, 1, 44100, 1, 4}),
       "Unsupported block size of the ADPCM samples in this WAVE file"},
      {"ADPCM of 3 bits", withFormat({0x11, 1, 44100, 256, 3}), "Unsupported bits/sample in this WAVE file"},
      {"ADPCM block without count", withFormat({0x11, 1, 44100, 8, 4}, Block(2)), "18 x 1 @ 44100"},
      {"data size of a stream", patched(plain, kDataSize, 0xFFFFFFFF), "8 x 1 @ 44100"},
      {"data size 2 GB", patched(plain, kDataSize, 0x80000000), "8 x 1 @ 44100"},
      {"sizes 0", patched(patched(plain, kDataSize, 0), 4, 0), "8 x 1 @ 44100"},
      {"sizes of a recording that was cut off", patched(patched(plain, kDataSize, 0), 4, 36),
       "8 x 1 @ 44100"},
      {"no samples, but a chunk", riffFile({format, {"data", {}}, {"junk", {}}}), "0 x 1 @ 44100"},
      {"file size that ends earlier", patched(patched(plain, kDataSize, 0), 4, 8), "8 x 1 @ 44100"},
      {"an empty file with a list behind it",
       patched(riffFile({format, {"data", {}}, {"LIST", text("INFO")}}), 4, kDataSize + 4 - 8),
       "0 x 1 @ 44100"},
      {"RIFF size 0", patched(plain, 4, 0), "8 x 1 @ 44100"},
      {"RIFF size huge", patched(plain, 4, 0xFFFFFFF0), "8 x 1 @ 44100"},
      {"chunk past the end",
       patched(riffFile({format, {"data", data}, {"junk", words(0)}}), plain.size() + 4, 0xFFFFFFF0),
       "8 x 1 @ 44100"},
      {"odd data without pad byte", odd, "3 x 1 @ 8000"},
      {"fact of less", riffFile({format, {"fact", words(5)}, {"data", data}}), "5 x 1 @ 44100"},
      {"fact of more", riffFile({format, {"fact", words(500)}, {"data", data}}), "8 x 1 @ 44100"},
      {"fact of none", riffFile({format, {"fact", words(0)}, {"data", data}}), "8 x 1 @ 44100"},
      {"short fact", riffFile({format, {"fact", text("ab")}, {"data", data}}), "8 x 1 @ 44100"},
      {"ds64", large(16), "8 x 1 @ 44100"},
      {"ds64 of less", large(6), "3 x 1 @ 44100"},
      {"ds64 that was never filled in", large(0), "8 x 1 @ 44100"},
      {"ds64 of more", large(0xFFFFFFFFFFFFFFFF), "8 x 1 @ 44100"},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult result = readWaveBytes(folder, each.bytes);
    EXPECT_EQ(outcomeOf(result), each.expected);
    EXPECT_EQ(result.waveform != nullptr, result.ok);
    EXPECT_TRUE(!result.ok || io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
  }
}

// Something of everything that the reader knows.
Block richFile() {
  const Block sampler = joined({words(0, 0, 22675, 64, 0x40000000, 0, 0, 2, 4), words(1, 0, 2, 9, 0, 0),
                                words(2, 1, 10, 19, 0, 0), text("data")});
  const Block points =
      words(3, 1, 2, fourCc("data"), 0, 0, 2, 2, 10, fourCc("data"), 0, 0, 10, 3, 5, fourCc("data"), 0, 0, 5);
  const Block notes =
      list("adtl", {{"labl", joined({words(3), text("name"), Block(1)})}, {"ltxt", words(3, 4, 0, 0, 0)}});
  const Block tag = text(std::string_view("ID3\4\0\0\0\0\0\x14TIT2\0\0\0\5\0\0\3name", 25));
  return monoFile(24, {{"fact", words(24)},
                       {"smpl", sampler},
                       {"inst", joined({words(0x00FAF640), text("abc")})},
                       {"wsmp", words(20, 62, 0, 0, 1, 16, 0, 10, 20)},
                       {"cue ", points},
                       {"LIST", notes},
                       {"LIST", list("INFO", {{"INAM", text("title")}, {"ICRD", text("2001")}})},
                       {"bext", Block(602)},
                       {"id3 ", tag}});
}

// A waveform that holds more than its file must not come of it.
void readAndLoad(const TempFolder& folder, const Block& bytes) {
  wave::probeWave(bytes, 0, bytes.size());
  wave::probeBroadcastWave(bytes, 0, bytes.size());
  ReadResult result = readWaveBytes(folder, bytes);
  if (!result.ok) {
    EXPECT_FALSE(lastError().empty());
    return;
  }
  ASSERT_LE(result.waveform->frames, bytes.size() * 2);
  EXPECT_TRUE(io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
  for (const LoopRecord& record : result.waveform->records) {
    EXPECT_LE(record.start, result.waveform->frames);
    EXPECT_LE(record.end, result.waveform->frames);
  }
  removeFile(folder / "copy.wav");  // writing into a file that is there waits for the disk
  OutputFile file;
  EXPECT_TRUE(file.create(folder / "copy.wav") && wave::writeWave(*result.waveform, file, {}))
      << toUtf8(lastError());
}

TEST(WaveReader, SurvivesCutAndDamagedFiles) {
  TempFolder folder;
  const Block whole = richFile();
  for (std::size_t size = 0; size <= whole.size(); ++size)
    readAndLoad(folder, Block(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));

  const Block adpcm = riffFile({{"fmt ", formatBody({2, 2, 8000, 32, 4}, words(7u << 16 | 16, 256))},
                                {"data", Block(100, std::byte{7})}});
  std::mt19937 random(12345);
  for (const Block* original : {&whole, &adpcm})
    for (int i = 0; i < 1500; ++i) {
      Block damaged = *original;
      for (int flips = 1 + static_cast<int>(random() % 4); flips > 0; --flips)
        damaged[random() % damaged.size()] = static_cast<std::byte>(random() % 3 == 0 ? 0xFF : random());
      readAndLoad(folder, damaged);
    }
}

TEST(WaveReader, TakesHugeCountsInLinearTime) {
  constexpr std::uint32_t kMany = 200'000;
  ByteWriter points, loops;
  points.u32(kMany);
  for (std::uint32_t word : {0u, 0u, 0u, 60u, 0u, 0u, 0u, kMany, 0u}) loops.u32(word);
  riff::ChunkBuilder notes;
  notes.out.text("adtl");
  for (std::uint32_t i = 0; i < kMany; ++i) {
    for (std::uint32_t word : {i, i % 60000, fourCc("data"), 0u, 0u, 0u}) points.u32(word);
    for (std::uint32_t word : {i + kMany, 0u, i % 30000, 30000 + i % 7, i, 0u}) loops.u32(word);
    notes.add(fourCc("labl"), joined({words(i), text("same name"), Block(1)}));
  }
  std::vector<NamedChunk> emptyChunks(400'000, {"junk", {}});
  riff::ChunkBuilder nested;
  for (int i = 0; i < 20'000; ++i) nested.openList(fourCc("adtl"));
  for (int i = 0; i < 20'000; ++i) nested.close();
  struct Case {
    const char* name;
    Block bytes;
    std::size_t records;
  };
  const Case cases[] = {
      {"cue points of one name", monoFile(65535, {{"cue ", points.bytes}, {"LIST", notes.out.bytes}}), kMany},
      {"loops", monoFile(65535, {{"smpl", loops.bytes}}), 200'000},
      {"empty chunks", monoFile(8, emptyChunks), 0},
      {"nested lists", joined({monoFile(8), nested.out.bytes}), 0},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    const auto start = std::chrono::steady_clock::now();
    ReadResult result = readWaveBytes(folder, each.bytes);
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(result.waveform->records.size(), each.records);
    OutputFile file;
    EXPECT_TRUE(file.create(folder / "copy.wav") && wave::writeWave(*result.waveform, file, {}));
    EXPECT_EQ(describe(*readWaveFile(folder / "copy.wav").waveform), describe(*result.waveform));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  }
}

}  // namespace
}  // namespace vemko::test
