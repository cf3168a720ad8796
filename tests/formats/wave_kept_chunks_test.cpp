// What stands in WAVE files beyond the model: it goes into the next file, or the user is told.
#include "app/wave_files.h"
#include "base/log.h"
#include "codecs/flac.h"
#include "codecs/id3.h"
#include "codecs/wavpack.h"
#include "formats/wave_support.h"
#include "io/loss_report.h"
#include "io/open.h"
#include "io/registry.h"
#include "io/save.h"
#include "warnings.h"

namespace vemko::test {
namespace {

constexpr std::uint16_t kFrames = 100;

/// Description, originator, a time reference, version 2 with a loudness of 5.
Block broadcast(std::string_view description, std::uint64_t timeReference = 48000) {
  ByteWriter out;
  const auto field = [&](std::string_view text, std::size_t size) {
    out.text(text);
    out.zeros(size - text.size());
  };
  field(description, 256);
  field("Recorder", 32);
  out.zeros(50);
  out.u64(timeReference);
  out.u16(2);
  out.zeros(64);
  for (int i = 0; i < 5; ++i) out.u16(5);
  out.zeros(180);
  out.text("A=PCM\r\n");
  return out.bytes;
}

/// A recording with `chunks` before its data and `more` behind them.
Block recording(const std::vector<NamedChunk>& before, const std::vector<NamedChunk>& behind) {
  std::vector<NamedChunk> chunks = {{"fmt ", formatBody({})}};
  chunks.insert(chunks.end(), before.begin(), before.end());
  chunks.push_back({"data", Block(kFrames * 2)});
  chunks.insert(chunks.end(), behind.begin(), behind.end());
  return riffFile(chunks);
}

/// The chunks behind the form type, by id; a second one of an id is appended.
std::map<std::string, std::string> chunksOf(const std::string& file) {
  std::map<std::string, std::string> chunks;
  riff::ChunkWalker walker(asBytes(file).subspan(12));
  for (riff::Chunk chunk; walker.next(chunk);)
    chunks[toUtf8(riff::idText(chunk.id))].append(reinterpret_cast<const char*>(chunk.body.data()),
                                                  chunk.body.size());
  return chunks;
}

using Lines = std::vector<std::string>;

std::string rewritten(Waveform& waveform, const TempFolder& folder, const io::SaveOptions& options = {}) {
  OutputFile file;
  EXPECT_TRUE(file.create(folder / "out.wav") && wave::writeWave(waveform, file, options) && file.close())
      << toUtf8(lastError());
  return contentOf(folder / "out.wav");
}

TEST(KeptChunks, ComeBackAtTheirSideOfTheSamples) {
  const TempFolder folder;
  const Block notes = text("<BWFXML/>"), scene = broadcast("Scene 1");
  const ReadResult result = readWaveBytes(
      folder, recording({{"bext", scene}, {"JUNK", Block(30)}, {"iXML", notes}},
                        {{"acid", Block(24, std::byte{1})},
                         {"LIST", list("INFO", {{"INAM", text("Take")}, {"IGNR", text("Rain")}})},
                         {"LIST", list("exif", {{"ever", text("0210")}})},
                         {"PEAK", Block(16, std::byte{1})},
                         {"clm ", text("<!>2048")}}));
  ASSERT_TRUE(result.ok) << toUtf8(lastError());
  Warnings warnings;
  const std::string file = rewritten(*result.waveform, folder);
  EXPECT_EQ(warnings.lines, Lines{});
  auto chunks = chunksOf(file);
  const auto same = [&](const char* id, const Block& body) {
    EXPECT_EQ(chunks[id], std::string(reinterpret_cast<const char*>(body.data()), body.size())) << id;
  };
  same("bext", scene);
  same("iXML", notes);
  same("acid", Block(24, std::byte{1}));
  EXPECT_EQ(chunks["clm "], "<!>2048");
  EXPECT_NE(chunks["LIST"].find("IGNR"), std::string::npos);
  EXPECT_NE(chunks["LIST"].find("exifever"), std::string::npos);
  EXPECT_FALSE(chunks.contains("JUNK") || chunks.contains("PEAK"));
  EXPECT_LT(file.find("iXML"), file.find("data"));
  EXPECT_GT(file.find("acid"), file.find("data"));
  EXPECT_EQ(ByteReader(asBytes(file).subspan(4)).u32() + 8, file.size());
  EXPECT_EQ(wave::probeBroadcastWave(asBytes(file), 0, file.size()), 6);
}

TEST(KeptChunks, SayWhatTheWaveformSays) {
  const TempFolder folder;
  ReadResult result = readWaveBytes(folder, recording({{"bext", broadcast("Scene 1")}}, {}));
  ASSERT_TRUE(result.ok && io::loadSamples(*result.waveform, true)) << toUtf8(lastError());
  EXPECT_EQ(result.waveform->text(TextProperty::Comments), u"Scene 1");
  result.waveform->setText(TextProperty::Comments, u"Scene \u00E9");
  result.waveform->editableSamples()[0] = 0.5f;
  const std::string chunk = chunksOf(rewritten(*result.waveform, folder))["bext"];
  EXPECT_EQ(std::string(chunk.c_str()), "Scene \xC3\xA9");
  EXPECT_EQ(chunk.substr(256, 8), "Recorder");
  EXPECT_EQ(ByteReader(asBytes(chunk).subspan(338)).u64(), 48000u);
  EXPECT_EQ(ByteReader(asBytes(chunk).subspan(412)).u16(), 0x7FFF);  // of the samples before
}

TEST(KeptChunks, TheTagGoesOnWhileItIsTrue) {
  const TempFolder folder;
  Collection collection;
  Waveform& tagged = createWaveform(collection, u"Title");
  std::vector<std::byte> tag = buildId3(tagged);
  ASSERT_FALSE(tag.empty());
  const std::string before = "TSSE", genre = "TCON";  // a frame that no property stands for
  const auto frame = std::ranges::search(tag, asBytes(before));
  ASSERT_FALSE(frame.empty());
  std::ranges::copy(asBytes(genre), frame.begin());
  for (bool isEdited : {false, true}) {
    ReadResult result = readWaveBytes(folder, recording({}, {{"id3 ", tag}}));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    EXPECT_EQ(result.waveform->name(), u"Title");
    if (isEdited) result.waveform->setName(u"Other");
    EXPECT_EQ(chunksOf(rewritten(*result.waveform, folder)).contains("id3 "), !isEdited);
  }
}

TEST(KeptChunks, AreLeftOutWhereTheyAreNotTrueAnyMore) {
  const TempFolder folder;
  struct Case {
    const char* name;
    std::uint32_t frames, rate;
    io::CapabilityMask channels;
    Lines kept, warnings;
  };
  const Case cases[] = {
      {"as it was", kFrames, 44100, 0, {"DISP", "bext", "iXML"}, {}},
      {"shorter", kFrames / 2, 44100, 0, {"DISP"}, {"Not kept: chunks 'bext', 'iXML'"}},
      {"another rate", kFrames, 48000, 0, {"DISP"}, {"Not kept: chunks 'bext', 'iXML'"}},
      {"more channels", kFrames, 44100, io::kStereo, {"DISP", "bext"}, {"Not kept: chunks 'iXML'"}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    ReadResult result = readWaveBytes(
        folder, recording({{"bext", broadcast("x")}, {"iXML", text("<x/>")}, {"DISP", text("title")}}, {}));
    ASSERT_TRUE(result.ok) << toUtf8(lastError());
    result.waveform->frames = each.frames;
    result.waveform->rate = each.rate;
    Warnings warnings;
    const auto chunks = chunksOf(rewritten(*result.waveform, folder, {.requested = each.channels}));
    EXPECT_EQ(warnings.lines, each.warnings);
    for (const char* id : {"DISP", "bext", "iXML"})
      EXPECT_EQ(chunks.contains(id), std::ranges::find(each.kept, id) != each.kept.end()) << id;
  }
}

TEST(KeptChunks, AreBounded) {
  const TempFolder folder;
  std::vector<NamedChunk> many(1000, {"many", text("x")});
  many.insert(many.begin(), {{"huge", Block((1 << 20) + 1, std::byte{1})}, {"\x01\x02 x", text("y")}});
  Warnings warnings;
  const ReadResult result = readWaveBytes(folder, recording({}, many));
  ASSERT_TRUE(result.ok) << toUtf8(lastError());
  EXPECT_EQ(warnings.lines, Lines{"Not kept: chunks 'huge', 'many'"});
  EXPECT_EQ(chunksOf(rewritten(*result.waveform, folder))["many"].size(), 256u);
}

TEST(KeptChunks, OtherRowsTellTheirLoss) {
  const TempFolder folder;
  putFile(folder / "x.wav", recording({{"bext", broadcast("x")}, {"iXML", text("<x/>")}},
                                      {{"LIST", list("INFO", {{"IGNR", text("Rain")}})}}));
  putFile(folder / "texts.wav", recording({{"bext", Block(256, std::byte{'x'})}}, {}));
  struct Case {
    const char* file;
    std::u16string_view row;
    std::string lost;
  };
  const std::string all = "Waves: chunk 'bext', chunk 'iXML', INFO field 'IGNR' (\"x\")";
  const Case cases[] = {
      {"x.wav", u"Audio interchange", all},
      {"x.wav", u"SoundFont v2 bank", all},
      {"x.wav", u"Microsoft wave", ""},
      {"x.wav", u"Free lossless audio codec (default)", ""},
      {"x.wav", u"WavPack", ""},
      {"x.wav", u"Cakewalk SFZ v2 (waves in same folder)", ""},
      {"texts.wav", u"Audio interchange", ""},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(toUtf8(each.row));
    Collection collection;
    ASSERT_TRUE(io::openFile(collection, folder / each.file, false)) << toUtf8(lastError());
    std::string told;
    const int row = io::findWritingRowByDescription(each.row);
    for (const io::Loss& loss : io::lossesOfSaving(collection, row, io::saveOptionsFor(row, 0)))
      if (loss.feature.starts_with(u"Waves: ") && loss.feature.find(u'\'') != loss.feature.npos)
        told += toUtf8(io::lossText(loss));
    EXPECT_EQ(told, each.lost);
  }
}

TEST(KeptChunks, GoThroughLosslessCodecs) {
  const TempFolder folder;
  const Block scene = broadcast("Scene 1");
  putFile(folder / "x.wav", recording({{"bext", scene}, {"iXML", text("<x/>")}},
                                      {{"LIST", list("INFO", {{"IGNR", text("Rain")}})}}));
  for (const char16_t* extension : {u"flac", u"wv"}) {
    const int row = io::findWritingRow(extension, kindBit(ItemKind::Waveform));
    if (!io::missingLibrary(*io::formatRow(row), true).empty()) continue;
    const Path packed = folder / Path(u"packed." + std::u16string(extension));
    for (const auto& [from, to] : {std::pair(folder / "x.wav", packed), {packed, folder / "again.wav"}}) {
      Collection collection;
      ASSERT_TRUE(io::openFile(collection, from, false)) << toUtf8(lastError());
      Item* item = collection.all<Waveform>().front();
      const int target = to == packed ? row : io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
      ASSERT_TRUE(io::saveItem(item, target, to, io::saveOptionsFor(target, 0))) << toUtf8(lastError());
    }
    auto chunks = chunksOf(contentOf(folder / "again.wav"));
    EXPECT_EQ(chunks["bext"], std::string(reinterpret_cast<const char*>(scene.data()), scene.size()));
    EXPECT_EQ(chunks["iXML"], "<x/>");
    EXPECT_NE(chunks["LIST"].find("IGNR"), std::string::npos);
  }
}

}  // namespace
}  // namespace vemko::test
