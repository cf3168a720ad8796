// Files as other programs write them, made byte by byte.
#include "base/log.h"
#include "formats/audio/big_endian.h"
#include "formats/audio_support.h"
#include "io/samples.h"
#include "warnings.h"

namespace vemko::test {
namespace {

using audio::putBig;

using Lines = std::vector<std::string>;

bool lacksLibrary(const char16_t* extension) {
  const int row = io::findWritingRow(extension, kindBit(ItemKind::Waveform));
  return !io::missingLibrary(*io::formatRow(row), false).empty();
}

// --- AIFF

void putComment(ByteWriter& out, std::string_view text, std::uint16_t marker) {
  putBig(out, std::uint32_t{1});
  putBig(out, marker);
  putBig(out, static_cast<std::uint16_t>(text.size()));
  out.text(text);
  if (text.size() % 2 != 0) out.u8(0);
}

ByteWriter comments(std::initializer_list<std::string_view> texts) {
  ByteWriter body;
  putBig(body, static_cast<std::uint16_t>(texts.size()));
  std::uint16_t marker = 0;
  for (std::string_view text : texts) putComment(body, text, marker++);
  return body;
}

ByteWriter aiffFile(const std::vector<std::pair<std::string, std::string>>& more) {
  ByteWriter common, chunks, file;
  putBig(common, std::uint16_t{1});
  putBig(common, std::uint32_t{4});
  putBig(common, std::uint16_t{16});
  audio::putExtended(common, 44100);
  chunks.text("AIFF");
  audio::putIffChunk(chunks, "COMM", common.bytes);
  for (const auto& [id, body] : more) audio::putIffChunk(chunks, id, asBytes(body));
  audio::putIffChunk(chunks, "SSND", std::vector<std::byte>(16));
  audio::putIffChunk(file, "FORM", chunks.bytes);
  return file;
}

TEST(AiffReader, TakesAnnotationsAndComments) {
  if (lacksLibrary(u"aif")) GTEST_SKIP();
  const auto textOfComments = [](std::initializer_list<std::string_view> texts) {
    const ByteWriter body = comments(texts);
    return std::string(reinterpret_cast<const char*>(body.bytes.data()), body.size());
  };
  const struct {
    const char* name;
    std::vector<std::pair<std::string, std::string>> chunks;
    const char* comments;
    Lines warnings;
  } cases[] = {
      {"none", {}, "", {}},
      {"annotations", {{"ANNO", "One"}, {"ANNO", " "}, {"NAME", "x"}, {"ANNO", "Two"}}, "One\nTwo", {}},
      {"comments", {{"COMT", textOfComments({"odd", "even"})}}, "odd\neven", {}},
      {"both", {{"COMT", textOfComments({"other"})}, {"ANNO", "One"}}, "One", {"Not kept: chunks 'COMT'"}},
      {"a count too many", {{"COMT", std::string("\0\3", 2) + textOfComments({"x"}).substr(2)}}, "x", {}},
      {"others",
       {{"APPL", "stoc"}, {"FLLR", "xxxx"}, {"MIDI", "\xF0"}, {"APPL", "pdos"}},
       "",
       {"Not kept: chunks 'APPL', 'MIDI'"}},
  };
  const TempFolder folder;
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    putFile(folder / "x.aif", aiffFile(each.chunks).bytes);
    Warnings warnings;
    Collection collection;
    ASSERT_TRUE(io::openFile(collection, folder / "x.aif", false)) << toUtf8(lastError());
    EXPECT_EQ(toUtf8(collection.all<Waveform>().front()->text(TextProperty::Comments)), each.comments);
    EXPECT_EQ(warnings.lines, each.warnings);
  }
}

// --- CoreAudio

void putCafChunk(ByteWriter& out, std::string_view id, Bytes body, std::uint64_t size) {
  out.text(id);
  putBig(out, size);
  out.append(body);
}

ByteWriter cafFile(std::string_view codec, std::uint32_t flags, std::uint32_t bytesPerPacket,
                   std::uint32_t framesPerPacket, std::uint32_t channels, std::uint32_t bits, Bytes data,
                   bool isOpenEnded) {
  ByteWriter file, description, body;
  putBig(description, 44100.0);
  description.text(codec);
  for (std::uint32_t field : {flags, bytesPerPacket, framesPerPacket, channels, bits})
    putBig(description, field);
  body.u32(0);  // edits
  body.append(data);
  file.text("caff");
  putBig(file, std::uint32_t{0x10000});
  putCafChunk(file, "desc", description.bytes, description.size());
  putCafChunk(file, "midi", asBytes("MThd"), 4);
  putCafChunk(file, "data", body.bytes, isOpenEnded ? UINT64_MAX : body.size());
  return file;
}

TEST(CoreAudioReader, TakesWhatTheLibraryRefuses) {
  if (lacksLibrary(u"caf")) GTEST_SKIP();
  ByteWriter samples, blocks;
  for (int i = 0; i < 100; ++i) putBig(samples, static_cast<std::int16_t>(i * 100));
  for (int i = 0; i < 4; ++i) {  // two packets of a block for each channel: a level, no steps
    putBig(blocks, static_cast<std::uint16_t>(i % 2 == 0 ? 0x4000 : 0xC000));
    blocks.zeros(32);
  }
  const struct {
    const char* name;
    ByteWriter file;
    std::uint32_t frames;
    float last;
    const char* error;
  } cases[] = {
      {"size told", cafFile("lpcm", 0, 2, 1, 1, 16, samples.bytes, false), 100, 9900 / 32768.0f, ""},
      {"open size", cafFile("lpcm", 0, 2, 1, 1, 16, samples.bytes, true), 100, 9900 / 32768.0f, ""},
      {"ADPCM", cafFile("ima4", 0, 68, 64, 2, 4, blocks.bytes, false), 128, -0.5f, ""},
      {"ADPCM, open size", cafFile("ima4", 0, 68, 64, 2, 4, blocks.bytes, true), 128, -0.5f, ""},
      {"ADPCM of other packets", cafFile("ima4", 0, 36, 64, 2, 4, blocks.bytes, false), 0, 0,
       "The file is damaged or of a kind that can not be read"},
      {"ALAC without its cookie", cafFile("alac", 0, 0, 4096, 2, 0, blocks.bytes, false), 0, 0,
       "The file is damaged or of a kind that can not be read"},
      {"AAC", cafFile("aac ", 0, 0, 1024, 2, 0, blocks.bytes, false), 0, 0,
       "The encoding 'aac' of this CoreAudio file needs a codec that is not available"},
  };
  const TempFolder folder;
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    putFile(folder / "x.caf", each.file.bytes);
    Warnings warnings;
    Collection collection;
    const bool ok = io::openFile(collection, folder / "x.caf", false);
    EXPECT_EQ(ok, each.frames > 0);
    if (!ok) {
      EXPECT_EQ(toUtf8(lastError()), each.error);
      continue;
    }
    EXPECT_EQ(warnings.lines, Lines{"Not kept: chunks 'midi'"});
    Waveform& waveform = *collection.all<Waveform>().front();
    EXPECT_EQ(waveform.frames, each.frames);
    ASSERT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
    EXPECT_NEAR(waveform.buffer->samples().back(), each.last, 0.001f);
  }
}

}  // namespace
}  // namespace vemko::test
