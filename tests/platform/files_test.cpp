#include "platform/files.h"

#include <thread>

#include "platform/process.h"
#include "support.h"
#include "system/system.h"

namespace vemko {
namespace {

using test::contentOf;
using test::kPosix;
using test::putFile;
using test::TempFolder;

std::string digits(std::size_t count) {
  std::string text;
  while (text.size() < count) text += std::to_string(text.size()) + ",";
  text.resize(count);
  return text;
}

std::string textOfBytes(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// Feeds `content` to whoever opens the pipe next.
class Feeder {
 public:
  Feeder(const Path& pipe, std::string content)
      : thread_([pipe, content = std::move(content)] {
          OutputFile out;
          if (out.create(pipe)) out.write(asBytes(content));
        }) {}
  ~Feeder() { thread_.join(); }

 private:
  std::thread thread_;
};

TEST(InputFile, RefusesWhatIsNoReadableFile) {
  TempFolder folder;
  putFile(folder / "a.wav", "x");
  struct Case {
    const char* name;
    std::string file;
  };
  const Case cases[] = {{"missing", "no.wav"},
                        {"below a missing folder", "no/a.wav"},
                        {"below a file", "a.wav/a.wav"},
                        {"folder", "."},
                        {"empty name", ""},
                        {"too long", std::string(5000, 'a')}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    InputFile file;
    setLastError(u"");
    EXPECT_FALSE(file.open(folder / c.file));
    EXPECT_EQ(lastError(), u"Could not open file");
    EXPECT_EQ(file.size(), 0u);
    EXPECT_TRUE(file.bytes().empty());
  }
}

TEST(InputFile, ReadsEveryKindOfFileAlike) {
  TempFolder folder;
  const std::string content = digits(300000);
  putFile(folder / "regular", content);
  putFile(folder / "empty", "");
  std::vector<std::string> names = {"regular", "empty"};
  if (kPosix) {
    std::filesystem::create_symlink("regular", folder / "link");
    names.insert(names.end(), {"link", "pipe"});
    ASSERT_TRUE(test::makePipe(folder / "pipe"));
  }
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::string expected = name == "empty" ? "" : content;
    InputFile file;
    std::optional<Feeder> feeder;
    if (name == "pipe") feeder.emplace(folder / name, content);
    ASSERT_TRUE(file.open(folder / name)) << toUtf8(lastError());
    ASSERT_EQ(file.size(), expected.size());
    EXPECT_EQ(textOfBytes(file.bytes()), expected);

    std::string all(expected.size() + 10, '?');
    EXPECT_EQ(file.read(std::as_writable_bytes(std::span(all))), expected.size());
    EXPECT_EQ(all.substr(0, expected.size()), expected);
    EXPECT_EQ(file.read(std::as_writable_bytes(std::span(all))), 0u);
    EXPECT_EQ(file.position(), expected.size());
    file.seek(~std::uint64_t{0});
    EXPECT_EQ(file.read(std::as_writable_bytes(std::span(all))), 0u);
  }
  if (!kPosix) return;
  InputFile made;
  ASSERT_TRUE(made.open("/proc/self/status")) << toUtf8(lastError());
  EXPECT_NE(textOfBytes(made.bytes()).find("Pid:"), std::string::npos);
}

TEST(InputFile, PositionedReadsStayWithinTheFile) {
  TempFolder folder;
  putFile(folder / "a", digits(1000));
  std::vector<Path> names = {"a"};
  std::optional<Feeder> feeder;
  if (test::makePipe(folder / "pipe")) {
    feeder.emplace(folder / "pipe", digits(1000));
    names.push_back("pipe");
  }
  struct Case {
    std::uint64_t offset;
    std::size_t count;
    bool fits;
  };
  for (const Path& name : names) {
    InputFile file;
    ASSERT_TRUE(file.open(folder / name)) << toUtf8(lastError());
    for (const Case& c : {Case{0, 1000, true},
                          {990, 10, true},
                          {1000, 0, true},
                          {990, 11, false},
                          {1001, 0, false},
                          {~std::uint64_t{0}, 2, false},
                          {0, 1001, false}}) {
      SCOPED_TRACE(testing::Message() << name << " " << c.offset << "+" << c.count);
      std::string part(c.count, '?');
      setLastError(u"");
      EXPECT_EQ(file.readAt(c.offset, std::as_writable_bytes(std::span(part))), c.fits);
      EXPECT_EQ(lastError(), c.fits ? u"" : u"Reading from file failed");
      if (c.fits) {
        EXPECT_EQ(part, digits(1000).substr(c.offset, c.count));
      }
    }
  }
  InputFile shrinking;
  ASSERT_TRUE(shrinking.open(folder / "a"));
  std::filesystem::resize_file(folder / "a", 500);
  std::array<std::byte, 10> part;
  EXPECT_FALSE(shrinking.readAt(495, part));
  EXPECT_EQ(lastError(), u"Reading from file failed");
}

TEST(InputFile, PartsAreLikeFilesOfTheirOwn) {
  TempFolder folder;
  const std::string content = digits(1000);
  putFile(folder / "whole", content);
  InputFile part, inner, outside;
  {
    InputFile whole;
    ASSERT_TRUE(whole.open(folder / "whole"));
    ASSERT_TRUE(part.openPart(whole, 100, 500));
    ASSERT_TRUE(inner.openPart(part, 50, 20));
    EXPECT_FALSE(outside.openPart(part, 481, 20));
    EXPECT_FALSE(outside.openPart(whole, 1, ~std::uint64_t{0}));
    EXPECT_EQ(toUtf8(lastError()), "Reading from file failed");
  }
  EXPECT_EQ(textOfBytes(part.bytes()), content.substr(100, 500));
  EXPECT_EQ(textOfBytes(inner.bytes()), content.substr(150, 20));
  EXPECT_EQ(inner.partOffset(), 150u);
  std::string read(20, '\0');
  EXPECT_TRUE(inner.readAt(0, std::as_writable_bytes(std::span(read))));
  EXPECT_EQ(read, content.substr(150, 20));
  EXPECT_FALSE(inner.readAt(1, std::as_writable_bytes(std::span(read))));
  inner.seek(15);
  EXPECT_EQ(inner.read(std::as_writable_bytes(std::span(read))), 5u);
  EXPECT_EQ(read.substr(0, 5), content.substr(165, 5));
  OutputFile copy;
  ASSERT_TRUE(copy.create(folder / "copy"));
  EXPECT_TRUE(copy.copyFrom(inner, 2, 18));
  EXPECT_FALSE(copy.copyFrom(inner, 2, 19));
  EXPECT_TRUE(copy.close());
  EXPECT_EQ(contentOf(folder / "copy"), content.substr(152, 18));
}

TEST(OutputFile, WritesPatchesAndCopies) {
  TempFolder folder;
  const std::string content = digits(700000);
  putFile(folder / "source", content);
  // Where there are no pipes with names, another file.
  std::optional<Feeder> feeder;
  if (test::makePipe(folder / "pipe"))
    feeder.emplace(folder / "pipe", content);
  else
    putFile(folder / "pipe", content);
  InputFile source, pipe, shared;
  ASSERT_TRUE(source.open(folder / "source") && pipe.open(folder / "pipe"));
  // A second file system, where there is one: the kernel may refuse to copy across.
  Path elsewhere = folderExists("/dev/shm") ? "/dev/shm" / folder.path().filename() : folder / "other";
  putFile(elsewhere, content);
  ASSERT_TRUE(shared.open(elsewhere));
  removeFile(elsewhere);

  OutputFile file;
  putFile(folder / "a", "a longer file that was there before");
  ASSERT_TRUE(file.create(folder / "a")) << toUtf8(lastError());
  EXPECT_TRUE(file.write(asBytes("0123456789")) && file.writeAt(8, asBytes("AB"))) << toUtf8(lastError());
  EXPECT_FALSE(file.writeAt(9, asBytes("AB")));
  EXPECT_FALSE(file.writeAt(~std::uint64_t{0}, asBytes("AB")));
  EXPECT_TRUE(file.copyFrom(source, 1, 600001) && file.copyFrom(pipe, 5, 7) && file.copyFrom(source, 0, 0));
  EXPECT_TRUE(file.copyFrom(shared, 2, 600002)) << toUtf8(lastError());
  EXPECT_TRUE(file.write(asBytes("end")) && file.flushToDisk()) << toUtf8(lastError());
  EXPECT_EQ(file.size(), 10u + 600001 + 7 + 600002 + 3);
  EXPECT_TRUE(file.close() && file.close()) << toUtf8(lastError());
  EXPECT_EQ(contentOf(folder / "a"), "01234567AB" + content.substr(1, 600001) + content.substr(5, 7) +
                                         content.substr(2, 600002) + "end");

  OutputFile again;
  EXPECT_FALSE(again.createNew(folder / "a"));
  EXPECT_EQ(lastError(), u"Could not create file");
  EXPECT_TRUE(again.createNew(folder / "b")) << toUtf8(lastError());
  for (auto [offset, count] : {std::pair<std::uint64_t, std::uint64_t>{1, 700000}, {700001, 0}, {1, ~0ull}}) {
    EXPECT_FALSE(again.copyFrom(source, offset, count));
    EXPECT_EQ(lastError(), u"Reading from file failed");
  }
}

TEST(OutputFile, SaysWhenTheSystemRefuses) {
  TempFolder folder;
  prepareProcess();
  putFile(folder / "source", digits(100000));
  InputFile source;
  ASSERT_TRUE(source.open(folder / "source"));
  for (const Path& path : {folder.path(), folder / "no" / "a", Path(), folder / std::string(300, 'a')}) {
    OutputFile file;
    EXPECT_FALSE(file.create(path)) << path;
    EXPECT_EQ(lastError(), u"Could not create file");
    EXPECT_FALSE(file.write(asBytes("x")));
  }

  if (!kPosix) return;
  OutputFile full;
  ASSERT_TRUE(full.create("/dev/full")) << toUtf8(lastError());
  EXPECT_FALSE(full.write(asBytes("x")));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  setLastError(u"");
  EXPECT_FALSE(full.copyFrom(source, 0, 100));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  EXPECT_EQ(full.size(), 0u);

  const test::FileSizeLimit limit(50000);
  OutputFile limited;
  EXPECT_TRUE(limited.create(folder / "limited")) << toUtf8(lastError());
  setLastError(u"");
  EXPECT_FALSE(limited.copyFrom(source, 0, 100000));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  EXPECT_FALSE(limited.write(asBytes("x")));
  EXPECT_EQ(limited.size(), 50000u);
}

TEST(Paths, SurviveTheTripThroughText) {
  for (const char* name : {"plain.wav", "Größe/日本.wav", "\xf0\x9f\x8e\xb9"})
    EXPECT_EQ(pathOf(textOf(name)), Path(name));
  for (std::string name : {"\xff\xfe latin \xe9.wav", "\xed\xb3\xbf"})
    if (kPosix) {
      EXPECT_EQ(pathOf(textOf(name)).string(), name);
    }
  TempFolder folder;
  const Path odd = folder / (kPosix ? Path("caf\xe9.wav") : pathOf(u"café.wav"));
  putFile(pathOf(textOf(odd)), "x");
  EXPECT_EQ(contentOf(odd), "x");
  const Path cut = pathOf(textOf(odd) + std::u16string(u"\0.bak", 5));
  EXPECT_FALSE(fileExists(cut)) << "a zero must not end the name";
  EXPECT_TRUE(removeFile(cut) && fileExists(odd));
}

TEST(Paths, TellWhatIsThere) {
  TempFolder folder;
  putFile(folder / "a", "12345");
  if (kPosix) std::filesystem::create_symlink("a", folder / "link");
  if (kPosix) std::filesystem::create_symlink("nowhere", folder / "dangling");
  std::filesystem::create_hard_link(folder / "a", folder / "hard");
  putFile(folder / "same content", "12345");
  EXPECT_TRUE(fileExists(folder / "a") && fileExists(folder.path()));
  EXPECT_FALSE(fileExists(folder / "no") || fileExists(folder / "a/no"));
  EXPECT_TRUE(folderExists(folder.path()));
  EXPECT_FALSE(folderExists(folder / "a") || folderExists(folder / "no"));
  EXPECT_EQ(fileSize(folder / "hard"), 5u);
  EXPECT_EQ(fileSize(folder.path()), std::nullopt);
  EXPECT_EQ(fileSize(folder / "dangling"), std::nullopt);
  for (const char* name : {"a", "./a", "hard"}) EXPECT_TRUE(isSameFile(folder / "a", folder / name)) << name;
  if (kPosix) {
    EXPECT_TRUE(fileExists(folder / "dangling") && isSameFile(folder / "a", folder / "link"));
    EXPECT_EQ(fileSize(folder / "link"), 5u);
  }
  for (const char* name : {"same content", "dangling", "no"})
    EXPECT_FALSE(isSameFile(folder / "a", folder / name));
  EXPECT_FALSE(isSameFile(folder / "no", folder / "no"));
}

TEST(Paths, AreRemovedAndReplaced) {
  TempFolder folder;
  EXPECT_TRUE(removeFile(folder / "no") && removeFile(folder / "no/no"));
  EXPECT_FALSE(removeFile(folder.path()));

  putFile(folder / "old", "old");
  putFile(folder / "new", "new");
  EXPECT_TRUE(replaceFile(folder / "new", folder / "old")) << toUtf8(lastError());
  EXPECT_EQ(contentOf(folder / "old"), "new");
  EXPECT_FALSE(fileExists(folder / "new"));
  EXPECT_TRUE(replaceFile(folder / "old", folder / "./old"));
  EXPECT_EQ(contentOf(folder / "old"), "new");
  EXPECT_FALSE(replaceFile(folder / "no", folder / "old"));
  EXPECT_FALSE(replaceFile(folder / "old", folder.path()));
  EXPECT_EQ(contentOf(folder / "old"), "new");

  // A second name of the same file: the first name must go all the same.
  std::filesystem::create_hard_link(folder / "old", folder / "old.bak");
  EXPECT_TRUE(replaceFile(folder / "./old", folder / "old.bak")) << toUtf8(lastError());
  EXPECT_FALSE(fileExists(folder / "old"));
  EXPECT_EQ(contentOf(folder / "old.bak"), "new");
  std::filesystem::create_hard_link(folder / "old.bak", folder / "third");
  EXPECT_TRUE(replaceFile(folder / "third", folder / "./third")) << toUtf8(lastError());
  EXPECT_EQ(contentOf(folder / "third"), "new");
}

TEST(Paths, OfTheProgram) { EXPECT_TRUE(fileExists(programPath())) << programPath(); }

}  // namespace
}  // namespace vemko
