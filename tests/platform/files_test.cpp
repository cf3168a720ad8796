#include "platform/files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "platform/process.h"
#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

using test::contentOf;
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
  putFile(folder / "locked.wav", "x");
  ::chmod((folder / "locked.wav").c_str(), 0);
  struct Case {
    const char* name;
    std::string file;
  };
  std::vector<Case> cases = {{"missing", "no.wav"},
                             {"below a missing folder", "no/a.wav"},
                             {"below a file", "a.wav/a.wav"},
                             {"folder", "."},
                             {"empty name", ""},
                             {"too long", std::string(5000, 'a')}};
  if (::geteuid() != 0) cases.push_back({"unreadable", "locked.wav"});
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
  ::symlink("regular", (folder / "link").c_str());
  ::mkfifo((folder / "pipe").c_str(), 0600);
  for (std::string name : {"regular", "link", "pipe", "empty"}) {
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
  InputFile made;
  ASSERT_TRUE(made.open("/proc/self/status")) << toUtf8(lastError());
  EXPECT_NE(textOfBytes(made.bytes()).find("Pid:"), std::string::npos);
}

TEST(InputFile, PositionedReadsStayWithinTheFile) {
  TempFolder folder;
  putFile(folder / "a", digits(1000));
  ::mkfifo((folder / "pipe").c_str(), 0600);
  Feeder feeder(folder / "pipe", digits(1000));
  struct Case {
    std::uint64_t offset;
    std::size_t count;
    bool fits;
  };
  for (const char* name : {"a", "pipe"}) {
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
  ASSERT_EQ(::truncate((folder / "a").c_str(), 500), 0);
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
  ::mkfifo((folder / "pipe").c_str(), 0600);
  Feeder feeder(folder / "pipe", content);
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

  OutputFile full;
  ASSERT_TRUE(full.create("/dev/full")) << toUtf8(lastError());
  EXPECT_FALSE(full.write(asBytes("x")));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  setLastError(u"");
  EXPECT_FALSE(full.copyFrom(source, 0, 100));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  EXPECT_EQ(full.size(), 0u);

  struct rlimit before, limit;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  limit = before;
  limit.rlim_cur = 50000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  OutputFile limited;
  EXPECT_TRUE(limited.create(folder / "limited")) << toUtf8(lastError());
  setLastError(u"");
  EXPECT_FALSE(limited.copyFrom(source, 0, 100000));
  EXPECT_EQ(lastError(), u"Writing to file failed");
  EXPECT_FALSE(limited.write(asBytes("x")));
  EXPECT_EQ(limited.size(), 50000u);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
}

TEST(Paths, SurviveTheTripThroughText) {
  for (const char* name :
       {"plain.wav", "Größe/日本.wav", "\xff\xfe latin \xe9.wav", "\xed\xb3\xbf", "\xf0\x9f\x8e\xb9"}) {
    EXPECT_EQ(pathOf(textOf(name)).native(), name);
  }
  TempFolder folder;
  Path odd = folder / "caf\xe9.wav";
  putFile(pathOf(textOf(odd)), "x");
  EXPECT_EQ(contentOf(odd), "x");
  const Path cut = pathOf(textOf(odd) + std::u16string(u"\0.bak", 5));
  EXPECT_FALSE(fileExists(cut)) << "a zero must not end the name";
  EXPECT_TRUE(removeFile(cut) && fileExists(odd));
}

TEST(Paths, TellWhatIsThere) {
  TempFolder folder;
  putFile(folder / "a", "12345");
  ::symlink("a", (folder / "link").c_str());
  ::symlink("nowhere", (folder / "dangling").c_str());
  ::link((folder / "a").c_str(), (folder / "hard").c_str());
  putFile(folder / "same content", "12345");
  EXPECT_TRUE(fileExists(folder / "a") && fileExists(folder / "dangling") && fileExists(folder.path()));
  EXPECT_FALSE(fileExists(folder / "no") || fileExists(folder / "a/no"));
  EXPECT_TRUE(folderExists(folder.path()));
  EXPECT_FALSE(folderExists(folder / "a") || folderExists(folder / "no"));
  EXPECT_EQ(fileSize(folder / "link"), 5u);
  EXPECT_EQ(fileSize(folder.path()), std::nullopt);
  EXPECT_EQ(fileSize(folder / "dangling"), std::nullopt);
  for (const char* name : {"a", "./a", "link", "hard"}) EXPECT_TRUE(isSameFile(folder / "a", folder / name));
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
  ::link((folder / "old").c_str(), (folder / "old.bak").c_str());
  EXPECT_TRUE(replaceFile(folder / "./old", folder / "old.bak")) << toUtf8(lastError());
  EXPECT_FALSE(fileExists(folder / "old"));
  EXPECT_EQ(contentOf(folder / "old.bak"), "new");
  ::link((folder / "old.bak").c_str(), (folder / "third").c_str());
  EXPECT_TRUE(replaceFile(folder / "third", folder / "./third")) << toUtf8(lastError());
  EXPECT_EQ(contentOf(folder / "third"), "new");
}

TEST(Paths, OfTheProgramAndItsSettings) {
  EXPECT_TRUE(fileExists(programPath())) << programPath();
  struct Case {
    const char *config, *home, *expected;
  };
  for (const Case& c : {Case{"/c", "/h", "/c/vemko-studio"},
                        {"", "/h", "/h/.config/vemko-studio"},
                        {nullptr, "/h", "/h/.config/vemko-studio"},
                        {"relative", "/h", "/h/.config/vemko-studio"},
                        {nullptr, nullptr, nullptr}}) {
    test::EnvironmentVariable config("XDG_CONFIG_HOME", c.config), home("HOME", c.home);
    if (c.expected != nullptr) {
      EXPECT_EQ(settingsFolder(), c.expected);
    } else {
      EXPECT_TRUE(settingsFolder().is_absolute());
    }
  }
}

}  // namespace
}  // namespace vemko
