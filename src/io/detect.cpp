#include "io/detect.h"

#include <algorithm>
#include <vector>

#include "base/last_error.h"
#include "base/text.h"
#include "platform/file_types.h"

namespace vemko::io {
namespace {

constexpr int kExtensionScore = 3;
constexpr int kCatchAllExtensionScore = 2;
constexpr int kHighestScore = 9;  // a fitting extension and a certain probe
constexpr int kWeakScore = 2;     // of which nothing can be concluded

std::u16string extensionOfFile(const Path& path) {
  const std::u16string name = textOf(path.filename());
  const std::size_t dot = name.rfind(u'.');
  return dot == name.npos ? std::u16string() : name.substr(dot + 1);
}

int score(const FormatEntry& entry, bool isCatchAll, std::u16string_view extension, Bytes head,
          std::uint64_t fileSize) {
  int total = 0;
  if (matchesExtension(entry.extension, extension))
    total = isCatchAll ? kCatchAllExtensionScore : kExtensionScore;
  return total + entry.probe(head, entry.variant, fileSize);
}

constexpr std::u16string_view kUnsupported = u"Not a supported import file type";

Detection nothing(std::u16string_view message) {
  fail(message);
  return {};
}

}  // namespace

Detection detect(const Path& path, const InputFile& file, FormatRows rows) {
  if (file.size() == 0) return nothing(kUnsupported);
  std::vector<std::byte> head(static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kHeadBytes)));
  if (!file.readAt(0, head)) return {};  // with the reason set
  const std::u16string extension = extensionOfFile(path);

  Detection best;
  int bestScore = 0;
  for (int row = nextReadingRow(0, rows); row != kNoRow; row = nextReadingRow(row + 1, rows)) {
    const int total = score(*formatRow(row, rows), row == 0, extension, head, file.size());
    if (total <= bestScore) continue;
    bestScore = total;
    best.row = row;
  }
  if (best.row != 0 && bestScore <= kWeakScore) return nothing(kUnsupported);
  if (best.row != 0) best.confidence = bestScore * 100 / kHighestScore;
  return best;
}

FileDescription describeFile(const Path& path, FormatRows rows) {
  InputFile file;
  if (!file.open(path)) return {};
  const Detection found = detect(path, file, rows);
  if (found.confidence > 0) return {std::u16string(descriptionOf(found.row, rows)), found.confidence};
  const std::u16string extension = extensionOfFile(path);
  std::u16string text = extension.empty() ? std::u16string() : systemFileTypeDescription(extension);
  return {text.empty() ? u"Unknown file type" : text, 0};
}

}  // namespace vemko::io
