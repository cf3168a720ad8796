// sfArk archives.
#include "formats/soundfont_support.h"
#include "platform/process.h"
#include "system/system.h"

namespace vemko::test {
namespace {

std::uint32_t adler32(Bytes bytes, std::uint32_t start) {
  std::uint32_t low = start & 0xFFFF, high = start >> 16;
  for (std::byte byte : bytes) {
    low = (low + static_cast<std::uint8_t>(byte)) % 65521;
    high = (high + low) % 65521;
  }
  return high << 16 | low;
}

struct Archive {
  std::uint8_t method = 4;
  std::string name = "Bank.sf2";
  std::string notes = "";
  std::uint32_t unpackedBytes = 0;                // 0: as the content
  std::uint32_t headerFlaw = 0, contentFlaw = 0;  // added to the checks
};

// Its length, and a zlib stream of stored blocks.
ByteWriter blockOf(Bytes content) {
  ByteWriter stream;
  stream.u8(0x78);
  stream.u8(0x01);
  for (std::size_t at = 0; at < content.size() || at == 0; at += 65535) {
    const Bytes part = content.subspan(at, std::min<std::size_t>(65535, content.size() - at));
    stream.u8(at + part.size() == content.size());
    stream.u16(static_cast<std::uint16_t>(part.size()));
    stream.u16(static_cast<std::uint16_t>(~part.size()));
    stream.append(part);
  }
  const std::uint32_t check = adler32(content, 1);
  for (int shift : {24, 16, 8, 0}) stream.u8(static_cast<std::uint8_t>(check >> shift));
  ByteWriter out;
  out.u32(static_cast<std::uint32_t>(stream.size()));
  out.append(stream.bytes);
  return out;
}

// Words have their high byte first.
void swapPairs(ByteWriter& out) {
  if (out.size() % 2 != 0) out.u8(0);
  for (std::size_t i = 0; i < out.size(); i += 2) std::swap(out.bytes[i], out.bytes[i + 1]);
}

Block bytesOf(const Archive& archive, const Block& bank) {
  ByteWriter body;
  std::uint32_t check = 0;
  if (!archive.notes.empty()) {
    body = blockOf(asBytes(archive.notes));
    check = adler32(asBytes(archive.notes), check);
  }
  ByteWriter content = blockOf(bank);
  swapPairs(content);
  body.append(content.bytes);
  check = adler32(bank, check) + archive.contentFlaw;
  ByteWriter header;
  const auto size = static_cast<std::uint32_t>(bank.size());
  header.u32(archive.notes.empty() ? 0 : 1);
  header.u32(archive.unpackedBytes ? archive.unpackedBytes : size);
  header.u32(0);
  header.u32(check);
  header.u32(0);
  header.u8(20);
  header.text(" 2.10sfArk");
  header.u8(archive.method);
  header.u16(0);
  header.u32(size);
  header.u32(size);
  header.text(archive.name);
  header.u8(0);
  const std::uint32_t headerCheck = adler32(header.bytes, 0) + archive.headerFlaw;
  std::memcpy(header.bytes.data() + 16, &headerCheck, 4);
  header.append(body.bytes);
  return std::move(header.bytes);
}

TEST(SoundFontArchive, IsUnpackedAndRead) {
  const bool canUnpack = soundfont::missingForArchive(false).empty();
  if (!canUnpack) GTEST_SKIP() << toUtf8(soundfont::missingForArchive(false));
  struct Case {
    const char* name;
    Archive archive;
    const char* expected;  // the message, empty for success
  };
  const Case cases[] = {
      {"plain", {}, ""},
      {"with notes", {.notes = "Notes"}, ""},
      {"notes whose name leads elsewhere", {.name = "../../evil.sf2", .notes = "Notes"}, ""},
      {"notes with a full path", {.name = "/tmp/vemko-evil/evil.sf2", .notes = "Notes"}, ""},
      {"version 1", {.method = 2}, "sfArk v1 files are not supported"},
      {"not for banks", {.method = 3}, "Unsupported sfArk compression"},
      {"custom", {.method = 8}, "Unsupported sfArk compression"},
      {"unknown", {.method = 9}, "Unknown sfArk compression type"},
      {"damaged header", {.headerFlaw = 1}, "sfArk decompression failed"},
      {"damaged content", {.contentFlaw = 1}, "sfArk decompression failed"},
      {"claims too much", {.unpackedBytes = 0xFFFFFFFF}, "sfArk decompression failed"},
      {"claims more than it has", {.unpackedBytes = 20000}, "sfArk decompression failed"},
  };
  Bank bank = simpleBank();
  bank.info.clear();
  // A place for temporary files that no other test uses.
  const TempFolder scratch;
  const std::string placeBefore = std::filesystem::temp_directory_path().string();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TempFolder folder;
    const Path path = folder / "My bank.sfArk";
    putFile(path, bytesOf(c.archive, bytesOf(bank)));
    Collection collection;
    setEnvironment("TMPDIR", scratch.path().string().c_str());
    const bool ok = io::openFile(collection, path, false);
    setEnvironment("TMPDIR", placeBefore.c_str());
    EXPECT_EQ(ok ? "" : toUtf8(lastError()), c.expected);
    EXPECT_EQ(filesIn(scratch.path()), std::vector<std::string>{});
    EXPECT_EQ(filesIn(folder.path()), std::vector<std::string>{"My bank.sfArk"});
    EXPECT_FALSE(fileExists(Path(placeBefore) / "evil.txt"));
    if (!ok) continue;
    EXPECT_EQ(toUtf8(collection.name()), "My bank");
    const auto stream = openSamples(*collection.all<Waveform>().at(0));
    float sample = 0;
    ASSERT_TRUE(stream && stream->read({&sample, 1}) == 1u) << toUtf8(lastError());
    EXPECT_EQ(sample, 1000 / 32768.0f);
  }
}

// In place of the program one that ends before it is done.
TEST(SoundFontArchive, FailsWithItsProgram) {
  if (!kPosix) GTEST_SKIP() << "the program is a script";
  const std::string path = std::getenv("PATH");
  const std::string placeBefore = std::filesystem::temp_directory_path().string();
  const TempFolder scratch, programs;
  for (const char* script : {"echo x > unpacked.sf2; kill -9 $$", "echo x > unpacked.sf2", "exit 0",
                             "echo Result: broken; exit 1", "exec >&-; kill -15 $$"}) {
    SCOPED_TRACE(script);
    putFile(programs / "sfarkxtc", "#!/bin/sh\n" + std::string(script) + "\n");
    std::filesystem::permissions(programs / "sfarkxtc", std::filesystem::perms::owner_all);
    putFile(programs / "a.sfArk", bytesOf(Archive{}, bytesOf(simpleBank())));
    setEnvironment("PATH", programs.path().string().c_str());
    setEnvironment("TMPDIR", scratch.path().string().c_str());
    Collection collection;
    const bool ok = io::openFile(collection, programs / "a.sfArk", false);
    setEnvironment("PATH", path.c_str());
    setEnvironment("TMPDIR", placeBefore.c_str());
    EXPECT_FALSE(ok);
    EXPECT_EQ(lastError(), u"sfArk decompression failed");
    EXPECT_EQ(filesIn(scratch.path()), std::vector<std::string>{});
    EXPECT_TRUE(collection.all<Waveform>().empty());
  }
}

TEST(SoundFontArchive, IsRecognisedByItsSignature) {
  const Block good = bytesOf(Archive{}, bytesOf(simpleBank()));
  for (std::size_t size = 0; size < 60; ++size)
    EXPECT_EQ(soundfont::probeArchive(Bytes(good).first(size), 0, size), size > 42 ? 6 : 0) << size;
  TempFolder folder;
  putFile(folder / "other.sfArk", std::string(100, 'x'));
  InputFile file;
  ASSERT_TRUE(file.open(folder / "other.sfArk"));
  Collection collection;
  EXPECT_FALSE(soundfont::readArchive(collection, file, 0));
  EXPECT_EQ(lastError(), u"Not an sfArk file");
}

TEST(SoundFontArchive, NamesTheProgramThatIsMissing) {
  struct Case {
    const char* name;
    Archive archive;
    std::u16string_view message;
  };
  const Case cases[] = {
      {"one that it would unpack", {}, u"The program sfarkxtc (Debian package sfarkxtc) is not available"},
      {"one that it would not", {.method = 2}, u"sfArk v1 files are not supported"},
  };
  const std::string path = std::getenv("PATH");
  TempFolder folder;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    setEnvironment("PATH", folder.path().string().c_str());
    putFile(folder / "a.sfArk", bytesOf(c.archive, bytesOf(simpleBank())));
    Collection collection;
    const bool ok = io::openFile(collection, folder / "a.sfArk", false);
    setEnvironment("PATH", path.c_str());
    EXPECT_FALSE(ok);
    EXPECT_EQ(lastError(), c.message);
  }
}

}  // namespace
}  // namespace vemko::test
