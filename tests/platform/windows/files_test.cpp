#include "platform/files.h"

#include <windows.h>

#include "platform/folders.h"
#include "platform/process.h"
#include "support.h"

namespace vemko {
namespace {

using test::contentOf;
using test::putFile;
using test::TempFolder;

TEST(Files, HaveNamesAsLongAsTheSystemTakes) {
  TempFolder folder;
  Path deep = folder.path();
  for (int i = 0; i < 12; ++i) deep /= std::string(40, static_cast<char>('a' + i));
  ASSERT_GT(deep.native().size(), 500u);
  ASSERT_TRUE(createFolders(deep)) << toUtf8(lastError());
  EXPECT_TRUE(createFolders(deep)) << "it is there already";
  const Path a = deep / "a.wav", b = deep / "b.wav";
  putFile(a, "content");
  EXPECT_TRUE(fileExists(a) && folderExists(deep) &&
              isSameFile(a, deep / "." / ".." / deep.filename() / "a.wav"));
  EXPECT_EQ(fileSize(a), 7u);
  EXPECT_TRUE(replaceFile(a, b)) << toUtf8(lastError());
  EXPECT_EQ(contentOf(b), "content");
  EXPECT_FALSE(fileExists(a));
  EXPECT_TRUE(removeFile(b) && !fileExists(b));
  std::filesystem::current_path(folder.path());
  EXPECT_TRUE(folderExists(deep.lexically_relative(folder.path()))) << "relative to the current folder";
  std::filesystem::current_path(folder.path().parent_path());
  for (; deep != folder.path(); deep = deep.parent_path())
    ::RemoveDirectoryW((L"\\\\?\\" + Path(deep).make_preferred().native()).c_str());
}

// What reads from a file does not keep it from being renamed, replaced or deleted; it goes on reading it.
TEST(Files, GoWhileTheyAreRead) {
  TempFolder folder;
  putFile(folder / "a", "old");
  putFile(folder / "b", "new");
  InputFile file, other;
  ASSERT_TRUE(file.open(folder / "a"));
  EXPECT_TRUE(replaceFile(folder / "a", folder / "a.bak")) << toUtf8(lastError());
  EXPECT_TRUE(replaceFile(folder / "b", folder / "a")) << toUtf8(lastError());
  EXPECT_TRUE(removeFile(folder / "a.bak")) << toUtf8(lastError());
  EXPECT_TRUE(other.open(folder / "a") && removeFile(folder / "a")) << toUtf8(lastError());
  EXPECT_FALSE(fileExists(folder / "a") || fileExists(folder / "a.bak")) << "the names are free";
  putFile(folder / "a", "newest");
  std::string content(3, '?');
  EXPECT_TRUE(file.readAt(0, std::as_writable_bytes(std::span(content))));
  EXPECT_EQ(content, "old");
  EXPECT_EQ(contentOf(folder / "a"), "newest");
}

TEST(Files, ThatAreReadOnlyGoLikeOthers) {
  TempFolder folder;
  putFile(folder / "new", "new");
  for (const char* name : {"a", "b"}) {
    putFile(folder / name, "old");
    ::SetFileAttributesW((folder / name).c_str(), FILE_ATTRIBUTE_READONLY);
  }
  EXPECT_TRUE(removeFile(folder / "a")) << toUtf8(lastError());
  EXPECT_TRUE(replaceFile(folder / "new", folder / "b")) << toUtf8(lastError());
  EXPECT_EQ(contentOf(folder / "b"), "new");
}

TEST(Files, KeepTheirAttributesWhenTheyAreEmptied) {
  TempFolder folder;
  putFile(folder / "a", "a longer content");
  ::SetFileAttributesW((folder / "a").c_str(), FILE_ATTRIBUTE_HIDDEN);
  putFile(folder / "a", "short");
  EXPECT_EQ(contentOf(folder / "a"), "short");
  EXPECT_TRUE(::GetFileAttributesW((folder / "a").c_str()) & FILE_ATTRIBUTE_HIDDEN);
}

TEST(Files, MayBeDevices) {
  OutputFile out;
  EXPECT_TRUE(out.create("NUL") && out.write(asBytes("x")) && out.flushToDisk() && out.close())
      << toUtf8(lastError());
  EXPECT_FALSE(out.create("NUL") && out.write(asBytes("ab")) && out.writeAt(0, asBytes("c")));
  InputFile in;
  EXPECT_TRUE(in.open("NUL")) << toUtf8(lastError());
  EXPECT_EQ(in.size(), 0u);
}

TEST(FindProgram, LooksThroughThePath) {
  const auto found = findProgram("cmd");
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->is_absolute() && fileExists(*found)) << *found;
  EXPECT_FALSE(findProgram("vemko-no-such-program"));
}

}  // namespace
}  // namespace vemko
