// Descriptions from the shared MIME database: an index from file name patterns to types, and one small XML
// file for each type, in every data folder of the user and the system.
#include "platform/file_types.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/text.h"
#include "platform/files.h"

namespace vemko {
namespace {

constexpr std::uint64_t kMaxIndexBytes = 8 << 20, kMaxTypeBytes = 1 << 20;

// The user's folder first, whose entries go before the system's.
std::vector<Path> dataFolders() {
  auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return std::string(value == nullptr ? "" : value);
  };
  std::string user = variable("XDG_DATA_HOME"), system = variable("XDG_DATA_DIRS");
  if (user.empty()) user = variable("HOME") + "/.local/share";
  if (system.empty()) system = "/usr/local/share:/usr/share";
  std::vector<Path> folders;
  const std::string all = user + ":" + system;
  for (std::string_view rest = all; !rest.empty();) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    if (folder.starts_with('/')) folders.emplace_back(folder);
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
  }
  return folders;
}

// Empty when the file is not there or larger than any real one.
std::string smallFile(const Path& path, std::uint64_t maxBytes) {
  InputFile file;
  if (!fileSize(path) || !file.open(path) || file.size() > maxBytes) return {};
  std::string content(static_cast<std::size_t>(file.size()), '\0');
  return file.readAt(0, std::as_writable_bytes(std::span(content))) ? content : std::string();
}

std::string_view takeUntil(std::string_view& text, char end) {
  const std::string_view part = text.substr(0, text.find(end));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

struct TypeMatch {
  int weight = -1;
  std::string type;
};

// Lines of the index: weight, type, pattern and flags, separated by colons.
void matchIndex(std::string_view index, std::u16string_view extension, TypeMatch& best) {
  while (!index.empty()) {
    std::string_view line = takeUntil(index, '\n');
    const std::string_view weightText = takeUntil(line, ':'), type = takeUntil(line, ':');
    const std::string_view pattern = takeUntil(line, ':');
    if (!pattern.starts_with("*.") || !equalsIgnoringCase(toUtf16(pattern.substr(2)), extension)) continue;
    int weight = 0;
    auto [end, error] = std::from_chars(weightText.data(), weightText.data() + weightText.size(), weight);
    if (error == std::errc() && weight > best.weight) best = {weight, std::string(type)};
  }
}

// The type becomes a part of a path.
bool isSafeType(std::string_view type) {
  return std::count(type.begin(), type.end(), '/') == 1 && type.front() != '/' && type.back() != '/' &&
         type.find("..") == std::string_view::npos;
}

std::u16string withoutEntities(std::string_view text) {
  struct Entity {
    std::string_view name;
    char character;
  };
  constexpr Entity kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
  std::string plain;
  while (!text.empty()) {
    const auto* entity = std::find_if(std::begin(kEntities), std::end(kEntities),
                                      [text](const Entity& e) { return text.starts_with(e.name); });
    const bool found = entity != std::end(kEntities);
    plain += found ? entity->character : text.front();
    text.remove_prefix(found ? entity->name.size() : 1);
  }
  return std::u16string(trimmed(toUtf16(plain)));
}

// The comment without a language attribute is the English one.
std::u16string commentIn(std::string_view xml) {
  constexpr std::string_view kStart = "<comment>", kEnd = "</comment>";
  const std::size_t start = xml.find(kStart);
  if (start == std::string_view::npos) return {};
  xml.remove_prefix(start + kStart.size());
  const std::size_t end = xml.find(kEnd);
  return end == std::string_view::npos ? std::u16string() : withoutEntities(xml.substr(0, end));
}

}  // namespace

std::u16string systemFileTypeDescription(std::u16string_view extension) {
  if (extension.empty()) return {};
  const std::vector<Path> folders = dataFolders();
  TypeMatch match;
  for (const Path& folder : folders)
    matchIndex(smallFile(folder / "mime" / "globs2", kMaxIndexBytes), extension, match);
  if (!isSafeType(match.type)) return {};
  for (const Path& folder : folders) {
    std::u16string comment = commentIn(smallFile(folder / "mime" / (match.type + ".xml"), kMaxTypeBytes));
    if (!comment.empty()) return comment;
  }
  return {};
}

}  // namespace vemko
