#pragma once
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/last_error.h"
#include "base/text.h"
#include "platform/files.h"

namespace vemko::test {

/// A fresh folder that is removed, with all that was put there, when the test ends.
class TempFolder {
 public:
  TempFolder() {
    static std::atomic<unsigned> next = 0;
    std::random_device random;
    do
      path_ = Path(testing::TempDir()) / ("vemko-" + std::to_string(random()) + "-" + std::to_string(next++));
    while (!std::filesystem::create_directories(path_));
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const Path& path() const { return path_; }
  Path operator/(const Path& name) const { return path_ / name; }

 private:
  Path path_;
};

inline void putFile(const Path& path, Bytes content) {
  OutputFile file;
  ASSERT_TRUE(file.create(path) && file.write(content) && file.close()) << path << toUtf8(lastError());
}
inline void putFile(const Path& path, std::string_view content) { putFile(path, asBytes(content)); }

/// The whole content; fails the test when the file cannot be read.
inline std::string contentOf(const Path& path) {
  InputFile file;
  EXPECT_TRUE(file.open(path)) << path << ": " << toUtf8(lastError());
  std::string content(static_cast<std::size_t>(file.size()), '\0');
  EXPECT_TRUE(file.readAt(0, std::as_writable_bytes(std::span(content)))) << path;
  return content;
}

/// The names in a folder, sorted; hidden ones are left out.
inline std::vector<std::string> filesIn(const Path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (std::string name = entry.path().filename().string(); !name.starts_with('.')) names.push_back(name);
  std::ranges::sort(names);
  return names;
}

}  // namespace vemko::test
