#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

#include "base/log.h"
#include "base/parallel_for.h"
#include "codecs/pcm_source.h"
#include "formats/riff/description.h"
#include "formats/wave_support.h"
#include "io/format_entry.h"
#include "system/system.h"

namespace vemko::test {
namespace {

Waveform& makeWaveform(Collection& collection, std::uint32_t frames, std::uint8_t channels) {
  Waveform& waveform = createWaveform(collection, u"made");
  waveform.rate = 48000;
  auto buffer = SampleBuffer::allocate(frames, channels, 48000);
  float phase = 0;
  for (float& sample : buffer->samples()) sample = 0.9f * std::sin(phase += 0.7f);
  waveform.setSamples(buffer);
  return waveform;
}

std::string writeWaveform(Waveform& waveform, const Path& path, io::SaveOptions options = {}) {
  OutputFile file;
  const bool ok = file.create(path) && wave::writeWave(waveform, file, options) && file.close();
  EXPECT_TRUE(ok) << toUtf8(lastError());
  return contentOf(path);
}

// The body of the first chunk of that id, of a RIFF file.
std::string chunkOf(const std::string& file, const char (&id)[5]) {
  riff::ChunkWalker walker(asBytes(file).subspan(12));
  for (riff::Chunk chunk; walker.next(chunk);)
    if (chunk.id == fourCc(id)) return {reinterpret_cast<const char*>(chunk.body.data()), chunk.body.size()};
  return {};
}

std::string chunkIds(const std::string& file) {
  std::string ids;
  riff::ChunkWalker walker(asBytes(file).subspan(12));
  for (riff::Chunk chunk; walker.next(chunk);)
    ids += toUtf8(riff::idText(chunk.id)) + (chunk.overruns ? "!" : "") + ",";
  return ids;
}

TEST(WaveWriter, StoresEveryEncodingAndChannelCount) {
  struct Case {
    SampleEncoding encoding;
    std::uint8_t channels;
    std::uint32_t variant;
    const char* chunks;
    std::size_t formatBytes;
    float tolerance;
  };
  using enum SampleEncoding;
  const Case cases[] = {
      {Pcm8, 1, 0, "fmt ,data,", 16, 1 / 128.0f},
      {Pcm8, 2, 0, "fmt ,data,", 16, 1 / 128.0f},
      {Pcm16, 1, 0, "fmt ,data,", 16, 1 / 32768.0f},
      {Pcm24, 2, 0, "fmt ,data,", 16, 1 / 8388608.0f},
      {Pcm24, 1, wave::kExtensible, "fmt ,fact,data,", 40, 1 / 8388608.0f},
      {Pcm32, 2, 0, "fmt ,data,", 16, 1e-7f},
      {Float32, 2, 0, "fmt ,fact,data,", 16, 0},
      {Float32, 6, 0, "fmt ,fact,data,", 40, 0},
      {Pcm16, 255, wave::kBare, "fmt ,fact,data,", 40, 1 / 32768.0f},
      {MuLaw, 1, 0, "fmt ,fact,data,", 18, 0.03f},
      {ALaw, 2, 0, "fmt ,fact,data,", 18, 0.03f},
  };
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << int(each.encoding) << " x " << int(each.channels));
    Collection collection;
    Waveform& waveform = makeWaveform(collection, 101, each.channels);
    const std::string file =
        writeWaveform(waveform, folder / "made.wav", {io::encodingBit(each.encoding), each.variant, 0, 0});
    EXPECT_EQ(chunkIds(file), each.chunks);
    EXPECT_EQ(chunkOf(file, "fmt ").size(), each.formatBytes);
    EXPECT_EQ(ByteReader(asBytes(file).subspan(4)).u32(), file.size() - 8);
    const bool isPadded = chunkOf(file, "data").size() % 2 != 0;
    EXPECT_TRUE(!isPadded || file.back() == (each.encoding == Pcm8 ? '\x80' : '\0'));
    ReadResult result = readWaveFile(folder / "made.wav");
    ASSERT_TRUE(result.ok && io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
    ASSERT_EQ(result.waveform->frames, waveform.frames);
    ASSERT_EQ(result.waveform->channels, each.channels);
    EXPECT_EQ(result.waveform->rate, waveform.rate);
    for (std::size_t i = 0; i < waveform.buffer->samples().size(); ++i)
      ASSERT_NEAR(result.waveform->buffer->samples()[i], waveform.buffer->samples()[i], each.tolerance);
  }
}

TEST(WaveWriter, RefusesOtherKinds) {
  Collection collection;
  TempFolder folder;
  OutputFile file;
  ASSERT_TRUE(file.create(folder / "x.wav"));
  EXPECT_FALSE(wave::writeWave(createInstrument(collection, u""), file, {}));
  EXPECT_EQ(lastError(), u"The file format can not save this item");
  EXPECT_EQ(file.size(), 0u);
}

TEST(WaveWriter, KeepsStoredBytesOfItsOwnWidth) {
  struct Case {
    const char* name;
    FormatFields format;
  };
  const Case cases[] = {{"8", {1, 1, 8000, 1, 8}},      {"16", {1, 2, 8000, 4, 16}},
                        {"24", {1, 1, 8000, 3, 24}},    {"32", {1, 1, 8000, 4, 32}},
                        {"float", {3, 1, 8000, 4, 32}}, {"mu-law", {7, 1, 8000, 1, 8}}};
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    std::string data(12 * 100, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 167 + i / 7);
    ReadResult result =
        readWaveBytes(folder, riffFile({{"fmt ", formatBody(each.format)}, {"data", text(data)}}));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(chunkOf(writeWaveform(*result.waveform, folder / "copy.wav"), "data"), data);
  }
}

LoopRecord record(RecordType type, std::u16string name, double start, double end,
                  LoopPlay play = LoopPlay::Off) {
  LoopRecord made;
  made.type = type;
  made.name = std::move(name);
  made.start = static_cast<std::uint32_t>(start);
  made.end = static_cast<std::uint32_t>(end);
  made.startHundredths = static_cast<std::uint8_t>(std::lround((start - made.start) * 100));
  made.endHundredths = static_cast<std::uint8_t>(std::lround((end - made.end) * 100));
  made.play = play;
  made.id = nextRecordId();
  return made;
}
LoopRecord tuned(LoopRecord made, std::int16_t cents, LoopCount count) {
  made.tuneCents = cents;
  made.count = count;
  return made;
}

constexpr auto kMarker = RecordType::PositionMarker;
constexpr auto kSection = RecordType::SectionMarker;
constexpr auto kLoop = RecordType::Loop;

struct RecordCase {
  const char* name;
  std::vector<LoopRecord> records;
  int mainLoop;  // index, -1 for none
  int rootKey;
  int fineTune;
  float volumeDb;
  const char* chunks;  // written behind the data
  bool isPlain;        // the published chunks say it all
};

std::vector<RecordCase> recordCases() {
  const std::u16string longName(300, u'\u00E9');
  return {
      {"nothing", {}, -1, 60, 0, 0, "", true},
      {"root", {}, -1, 72, 0, 0, "smpl,", true},
      {"tuned down", {}, -1, 60, -100, 0, "smpl,", true},
      {"tuned up", {}, -1, 60, 1, 0, "LIST,smpl,", false},
      {"tuned far up from the lowest key", {}, -1, 0, 127, 0, "LIST,smpl,", false},
      {"tuned far down", {}, -1, 127, -128, 0, "LIST,smpl,", false},
      {"gain", {}, -1, 60, 0, -6, "inst,", true},
      {"gain between", {}, -1, 60, 0, -6.25f, "LIST,inst,", false},
      {"gain and tuning", {}, -1, 61, 50, 200, "LIST,smpl,inst,", false},
      {"main loop",
       {record(kLoop, u"Main Loop", 10, 20, LoopPlay::Forward)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       true},
      {"fractions",
       {record(kLoop, u"L", 10.25, 20.5, LoopPlay::Alternating)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"end fraction",
       {record(kLoop, u"L", 10, 20.99, LoopPlay::Reverse)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       true},
      {"shorter than a frame",
       {record(kLoop, u"L", 10.9, 11, LoopPlay::Forward)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"to the very end",
       {record(kLoop, u"L", 0, 1000, LoopPlay::Forward)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       true},
      {"off", {record(kLoop, u"L", 10, 20, LoopPlay::Off)}, 0, 60, 0, 0, "cue ,LIST,", false},
      {"two loops, the second one main",
       {record(kLoop, u"a", 10, 20, LoopPlay::Forward), record(kLoop, u"b", 30, 40, LoopPlay::Forward)},
       1,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"main and release loop",
       {record(kLoop, u"Main Loop", 10, 20, LoopPlay::Forward),
        record(kLoop, u"Release Loop", 30, 40, LoopPlay::Forward)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       true},
      {"loops of one name and span",
       {record(kLoop, u"a", 10, 20, LoopPlay::Forward), record(kLoop, u"a", 10, 20, LoopPlay::Forward)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"until release, tuned",
       {tuned(record(kLoop, u"L", 10, 20, LoopPlay::Forward), -1200, LoopCount::UntilRelease)},
       0,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"marker and section",
       {record(kMarker, u"m", 5, 5), record(kSection, u"s", 10, 1000), record(kMarker, u"", 1000, 1000)},
       -1,
       60,
       0,
       0,
       "cue ,LIST,",
       true},
      {"marker between frames", {record(kMarker, u"m", 5.5, 5)}, -1, 60, 0, 0, "cue ,LIST,", false},
      {"marker before the loop",
       {record(kMarker, u"m", 5, 5), record(kLoop, u"L", 10, 20, LoopPlay::Forward)},
       1,
       60,
       0,
       0,
       "cue ,LIST,smpl,",
       false},
      {"markers named like loops",
       {record(kMarker, u"Loop Start", 5, 5), record(kMarker, u"Loop End", 9, 9)},
       -1,
       60,
       0,
       0,
       "cue ,LIST,",
       false},
      {"name of 600 bytes", {record(kMarker, longName, 5, 5)}, -1, 60, 0, 0, "cue ,LIST,", false},
      {"name in two scripts", {record(kMarker, u"\u0416\u97F3", 5, 5)}, -1, 60, 0, 0, "cue ,LIST,", true},
  };
}

Waveform& makeRecordWaveform(Collection& collection, const RecordCase& each) {
  Waveform& waveform = makeWaveform(collection, 1000, 1);
  waveform.records = each.records;
  waveform.mainLoopId = each.mainLoop < 0 ? 0 : each.records[static_cast<std::size_t>(each.mainLoop)].id;
  waveform.rootKey = static_cast<std::uint8_t>(each.rootKey);
  waveform.fineTuneCents = static_cast<std::int8_t>(each.fineTune);
  waveform.volumeAdjustmentDb = each.volumeDb;
  return waveform;
}

TEST(WaveWriter, KeepsTuningGainAndRecordsExactly) {
  TempFolder folder;
  for (const RecordCase& each : recordCases()) {
    SCOPED_TRACE(each.name);
    Collection collection;
    Waveform& waveform = makeRecordWaveform(collection, each);
    const std::string file = writeWaveform(waveform, folder / "made.wav");
    EXPECT_EQ(chunkIds(file), std::string("fmt ,fact,data,") + each.chunks);
    EXPECT_EQ(file.find("vmko") == std::string::npos, each.isPlain);
    ReadResult result = readWaveFile(folder / "made.wav");
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(describe(*result.waveform), describe(waveform));
  }
}

// Sample files of one instrument are written several at once.
TEST(WaveWriter, LosesNoLogLineOfItsNeighbours) {
  constexpr std::size_t kFiles = 400;
  Collection collection;
  Waveform& waveform = makeWaveform(collection, 1000, 1);
  for (std::uint32_t frame = 0; frame < 50; ++frame)
    waveform.records.push_back(record(RecordType::PositionMarker, u"mark", frame, frame));
  const std::vector<std::byte> alone = riff::buildDescription(waveform);
  std::size_t lines = 0;
  const LogSink before = setLogSink([&](LogLevel, std::u16string_view) { ++lines; });
  std::vector<char> isSame(kFiles);
  parallelFor(kFiles, [&](std::size_t i) {
    isSame[i] = riff::buildDescription(waveform) == alone;
    logWarning(u"written");
    return true;
  });
  setLogSink(before);
  EXPECT_EQ(lines, kFiles);
  EXPECT_EQ(std::ranges::count(isSame, 1), std::ssize(isSame));
}

TEST(WaveWriter, LetsTheChangesOfOtherProgramsWin) {
  TempFolder folder;
  Collection collection;
  Waveform& waveform = makeRecordWaveform(
      collection, {"", {record(kLoop, u"L", 10.25, 20.5, LoopPlay::Forward)}, 0, 60, 0, 0, "", false});
  const std::string file = writeWaveform(waveform, folder / "made.wav");
  struct Case {
    const char* name;
    const char* chunk;
    std::size_t offset;  // of a byte of the chunk's body that becomes 44
    const char* expected;
  };
  const char* const plain = "60 +0 0dB | *L 10-20.25 Forward";
  const Case cases[] = {
      {"sample period", "smpl", 8, plain},
      {"unity note", "smpl", 12, "44 +0 0dB | *L 10-20.25 Forward"},
      {"loop start", "smpl", 36 + 8, "60 +0 0dB"},
      {"label", "labl", 4, "60 +0 0dB | *, 10-20.25 Forward"},
      {"version of the block", "vmko", 0, plain},
      {"checksum", "vmko", 4, plain},
      {"record count", "vmko", 8, plain},
      {"end of the loop", "vmko", 20 + 5, plain},
      {"type", "vmko", 20 + 10, plain},
      {"name length", "vmko", 20 + 16, plain},
      {"hundredths, which are sound", "vmko", 20 + 8, "60 +0 0dB | *L 10.44-20.5 Forward"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    std::string changed = file;
    changed[changed.find(each.chunk) + 8 + each.offset] = 44;
    ReadResult result = readWaveBytes(folder, asBytes(changed));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(describe(*result.waveform), each.expected);
  }
}

TEST(WaveWriter, TellsOtherProgramsPitchAndLoopLength) {
  struct Case {
    int rootKey, fineTune;
    std::uint32_t note, fraction;
  };
  // The sample's own pitch is that much above the note.
  const Case cases[] = {{60, -50, 60, 0x80000000},
                        {60, 25, 59, 0xC0000000},
                        {60, 100, 59, 0},
                        {60, -125, 61, 0x40000000},
                        {0, 100, 0, 0}};
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.rootKey << " " << each.fineTune);
    Collection collection;
    Waveform& waveform =
        makeRecordWaveform(collection, {"",
                                        {record(kLoop, u"", 100.5, 200.25, LoopPlay::Forward)},
                                        0,
                                        each.rootKey,
                                        each.fineTune,
                                        0,
                                        "",
                                        false});
    const std::string file = writeWaveform(waveform, folder / "made.wav");
    const std::string body = chunkOf(file, "smpl");
    ByteReader smpl(asBytes(body).subspan(12));
    EXPECT_EQ(smpl.u32(), each.note);
    EXPECT_EQ(smpl.u32(), each.fraction);
    smpl.skip(16 + 8);
    EXPECT_EQ(smpl.u32(), 100u);
    EXPECT_EQ(smpl.u32(), 198u);  // 99.75 frames from frame 100 on, the last one told
    EXPECT_EQ(smpl.u32(), 0xC0000000);
    const std::string cue = chunkOf(file, "cue ");
    EXPECT_EQ(ByteReader(asBytes(cue).subspan(8)).u32(), 101u);  // half a frame and more counts up
  }
}

TEST(WaveWriter, WritesLoopsThatAreOffWhenAsked) {
  TempFolder folder;
  for (bool noLoopOff : {true, false}) {
    riff::options().noLoopOff = noLoopOff;
    Collection collection;
    Waveform& waveform =
        makeRecordWaveform(collection, {"", {record(kLoop, u"L", 10, 20)}, 0, 60, 0, 0, "", false});
    const std::string smpl = chunkOf(writeWaveform(waveform, folder / "made.wav"), "smpl");
    EXPECT_EQ(smpl.size(), noLoopOff ? 0u : 60u);
    if (noLoopOff) continue;
    ByteReader reader(asBytes(smpl).subspan(40));
    EXPECT_EQ(reader.u32(), 255u);
  }
  riff::options() = {};
}

TEST(WaveWriter, KeepsTextsAndTheImage) {
  const std::u16string texts[] = {
      u"The name", u"\u0416\u97F3 artist", u"line 1\nline 2", u"\u00A9 2024", u"eng", u"prod", u"C:\\x.wav"};
  const std::string image = "\x89PNG\r\n\x1A\nnot really" + std::string(1000, 'x');
  TempFolder folder;
  for (bool withImage : {false, true}) {
    Collection collection;
    Waveform& waveform = makeWaveform(collection, 3, 1);
    for (std::size_t i = 0; i < std::size(texts); ++i) waveform.setText(kTextProperties[i], texts[i]);
    if (withImage) waveform.setImage(asBytes(image));
    const std::string file =
        writeWaveform(waveform, folder / "made.wav", {io::encodingBit(SampleEncoding::Pcm16), 0, 0, 0});
    EXPECT_EQ(chunkIds(file), withImage ? "fmt ,data,LIST,id3 ," : "fmt ,data,LIST,");
    EXPECT_NE(file.find("Vemko Studio v12.13"), std::string::npos);
    ReadResult result = readWaveFile(folder / "made.wav");
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    for (std::size_t i = 0; i < std::size(texts); ++i)
      EXPECT_EQ(toUtf8(result.waveform->text(kTextProperties[i])), toUtf8(texts[i]));
    const Bytes kept = result.waveform->image();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(kept.data()), kept.size()), withImage ? image : "");
  }
}

TEST(WaveWriter, WritesNoNameThatTheFileTells) {
  TempFolder folder;
  ReadResult result = readWaveBytes(folder, monoFile(4), "stem.wav");
  ASSERT_TRUE(result.ok) << toUtf8(lastError());
  EXPECT_EQ(chunkIds(writeWaveform(*result.waveform, folder / "other.wav")), "fmt ,data,");
  result.waveform->setName(u"renamed");
  EXPECT_EQ(chunkIds(writeWaveform(*result.waveform, folder / "renamed.wav")), "fmt ,data,");
  EXPECT_EQ(chunkIds(writeWaveform(*result.waveform, folder / "other.wav")), "fmt ,data,LIST,");
}

// A waveform of that many 16-bit frames in a file that takes no room.
Waveform& makeSparseWaveform(Collection& collection, const Path& path, std::uint64_t frames) {
  putFile(path, "");
  std::filesystem::resize_file(path, frames * 2);
  Waveform& waveform = createWaveform(collection, path.stem().u16string());
  waveform.frames = static_cast<std::uint32_t>(frames);
  waveform.setSource(makePcmSource(SourceFile::at(path), 0, frames, 1, {SampleEncoding::Pcm16}));
  return waveform;
}

TEST(WaveWriter, GoesOverToLargeSizes) {
  struct Case {
    std::uint64_t frames;
    bool isLarge;
  };
  const Case cases[] = {{0x7FFFFFE7, false}, {0x7FFFFFE8, true}, {0xFFFFFFFF, true}};
  if (!test::kPosix) GTEST_SKIP() << test::kPosixOnly;
  TempFolder folder;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.frames);
    Collection collection;
    Waveform& waveform = makeSparseWaveform(collection, folder / "large.wav", each.frames);
    {
      // The header is all that is of interest, and all that finds room.
      const test::FileSizeLimit limit(100'000);
      OutputFile file;
      EXPECT_TRUE(file.create(folder / "copy.wav"));
      EXPECT_FALSE(wave::writeWave(waveform, file, {}));
      EXPECT_EQ(lastError(), u"Writing to file failed");
    }

    const std::string content = contentOf(folder / "copy.wav");
    const std::uint64_t dataBytes = each.frames * 2;
    const Block expected = each.isLarge
                               ? joined({text("RF64"), words(-1), text("WAVEds64"),
                                         words(28, dataBytes + 72, (dataBytes + 72) >> 32, dataBytes,
                                               dataBytes >> 32, each.frames, 0, 0),
                                         text("fmt "), words(16)})
                               : joined({text("RIFF"), words(dataBytes + 36), text("WAVEfmt "), words(16)});
    ASSERT_GE(content.size(), expected.size());
    EXPECT_EQ(content.substr(0, expected.size()),
              std::string(reinterpret_cast<const char*>(expected.data()), expected.size()));
  }
}

TEST(WaveReader, FindsItsWayThroughLargeFiles) {
  constexpr std::uint64_t kFrames = 0x80000010;
  const Block head = joined({text("RF64"), words(-1), text("WAVEds64"),
                             words(28, 0, 0, kFrames * 2, kFrames * 2 >> 32, kFrames, 0, 0), text("fmt "),
                             words(16), formatBody({}), text("data"), words(-1)});
  const Block points = words(1, 1, 0x80000000, fourCc("data"), 0, 0, 0x80000000);
  TempFolder folder;
  const Path path = folder / "large.wav";
  putFile(path, head);
  std::filesystem::resize_file(path, head.size() + kFrames * 2);
  const Block tail = joined({text("cue "), words(points.size()), points});
  std::ofstream(path, std::ios::app | std::ios::binary)
      .write(reinterpret_cast<const char*>(tail.data()), static_cast<std::streamsize>(tail.size()));

  ReadResult result = readWaveFile(path);
  ASSERT_TRUE(result.ok) << toUtf8(lastError());
  EXPECT_EQ(result.waveform->frames, kFrames);
  ASSERT_EQ(result.waveform->records.size(), 1u);
  EXPECT_EQ(result.waveform->records[0].start, 0x80000000);
  const auto stored = result.waveform->source->stored();
  EXPECT_TRUE(stored && stored->offset == head.size() && stored->byteCount == kFrames * 2);
}

}  // namespace
}  // namespace vemko::test
