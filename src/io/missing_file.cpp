#include "io/missing_file.h"

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/text.h"
#include "io/decisions.h"
#include "platform/folders.h"

namespace vemko::io {
namespace {

constexpr int kSearchDepth = 4;
constexpr std::size_t kSearchEntries = 50000;

/// A folder's entries by their names in lower case.
struct Listing {
  std::unordered_map<std::u16string, Path> files;
  std::map<std::u16string, Path> folders;
};

/// What the references of one opening have brought to light.
struct Search {
  std::unordered_map<Path::string_type, Listing> listings;
  /// Of each referencing folder: the files below its sub-folders, the nearest one of each name.
  std::unordered_map<Path::string_type, std::unordered_map<std::u16string, Path>> subfolders;
  Path lastFolder;
  bool cancelled = false;
};
Search search;

std::u16string folded(std::u16string_view text) {
  std::u16string result(text);
  std::ranges::transform(result, result.begin(), foldCase);
  return result;
}

// A reference to a pipe or a terminal would make the reader wait for it.
bool isFile(const Path& path) { return fileKind(path) == FileKind::Regular; }

Listing makeListing(const Path& folder) {
  Listing listing;
  for (const FolderEntry& entry : listFolder(folder)) {
    const std::u16string name = folded(textOf(entry.path.filename()));
    if (entry.isFolder)
      listing.folders.emplace(name, entry.path);
    else
      listing.files.emplace(name, entry.path);
  }
  return listing;
}

const Listing& listingOf(const Path& folder) {
  auto [entry, isNew] = search.listings.try_emplace(folder.native());
  if (isNew) entry->second = makeListing(folder);
  return entry->second;
}

/// The parts of a path between slashes of either kind.
std::vector<std::u16string_view> partsOf(std::u16string_view stored) {
  std::vector<std::u16string_view> parts;
  while (!stored.empty()) {
    const std::size_t slash = std::min(stored.find_first_of(u"/\\"), stored.size());
    if (slash > 0) parts.push_back(stored.substr(0, slash));
    stored.remove_prefix(std::min(slash + 1, stored.size()));
  }
  return parts;
}

/// The file that the parts lead to from `base`, with case ignored.
std::optional<Path> findIgnoringCase(const Path& base, std::span<const std::u16string_view> parts) {
  Path at = base;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    if (parts[i] == u"." || parts[i] == u"..") {
      at /= pathOf(parts[i]);
      continue;
    }
    const Listing& listing = listingOf(at);
    const auto found = listing.folders.find(folded(parts[i]));
    if (found == listing.folders.end()) return std::nullopt;
    at = found->second;
  }
  const Listing& listing = listingOf(at);
  const auto found = listing.files.find(folded(parts.back()));
  if (found == listing.files.end() || !isFile(found->second)) return std::nullopt;
  return found->second;
}

/// The files in all sub-folders of `folder`; of several of one name that of the folder met first, level by
/// level and in the order of the folders' names. Links to folders are not followed.
std::unordered_map<std::u16string, Path> indexSubfolders(const Path& folder) {
  std::unordered_map<std::u16string, Path> files;
  std::vector<Path> level{folder};
  std::size_t entries = 0;
  for (int depth = 0; depth < kSearchDepth && !level.empty(); ++depth) {
    std::vector<Path> below;
    for (const Path& parent : level) {
      for (const auto& [name, path] : listingOf(parent).folders) {
        if (entries >= kSearchEntries) return files;
        if (isLink(path)) continue;
        const Listing& listing = listingOf(path);
        entries += listing.files.size() + listing.folders.size() + 1;
        files.insert(listing.files.begin(), listing.files.end());
        below.push_back(path);
      }
    }
    level = std::move(below);
  }
  return files;
}

std::optional<Path> findInSubfolders(const Path& folder, std::u16string_view fileName) {
  auto [entry, isNew] = search.subfolders.try_emplace(folder.native());
  if (isNew) entry->second = indexSubfolders(folder);
  const auto found = entry->second.find(folded(fileName));
  if (found == entry->second.end() || !isFile(found->second)) return std::nullopt;
  return found->second;
}

std::optional<Path> askUser(std::u16string_view stored) {
  if (search.cancelled) return std::nullopt;
  auto chosen = locateFile(u"Please locate the missing file:", stored);
  search.cancelled = !chosen;
  return chosen && isFile(*chosen) ? chosen : std::nullopt;
}

/// Where the parts of the stored path start from: the root of an absolute path, else the folder.
Path baseOf(std::u16string_view stored, const Path& folder) {
  std::u16string slashed(stored);
  std::ranges::replace(slashed, u'\\', u'/');
  const Path path = pathOf(slashed);
  return path.is_absolute() ? path.root_path() : folder;
}

/// The file name at the end of a stored path; empty when it ends in none.
std::u16string_view fileNameOf(std::u16string_view stored) {
  const auto parts = partsOf(stored);
  std::u16string_view name = parts.empty() ? std::u16string_view() : parts.back();
  if (name.size() > 2 && name[1] == u':') name.remove_prefix(2);  // "C:a.wav"
  return name == u"." || name == u".." ? std::u16string_view() : name;
}

/// The parts of a reference, and where they start from.
struct Reference {
  Path base;
  std::vector<std::u16string_view> parts;
};

Reference referenceOf(std::u16string_view stored, const Path& folder) {
  Reference reference{baseOf(stored, folder), partsOf(stored)};
  if (reference.base.has_root_name() && reference.base != folder)
    reference.parts.erase(reference.parts.begin());
  return reference;
}

/// As the reference says to the letter, with slashes of either kind.
std::optional<Path> findToTheLetter(std::u16string_view stored, const Reference& reference,
                                    const Path& folder) {
  const Path asStored = folder / pathOf(stored);
  if (isFile(asStored)) return asStored;
  Path joined = reference.base;
  for (std::u16string_view part : reference.parts) joined /= pathOf(part);
  if (joined != asStored && isFile(joined)) return joined;
  return std::nullopt;
}

/// As the reference says, or at least in the folder.
std::optional<Path> findInPlace(std::u16string_view stored, std::u16string_view name, const Path& folder) {
  const Reference reference = referenceOf(stored, folder);
  if (reference.parts.empty()) return std::nullopt;
  if (auto found = findToTheLetter(stored, reference, folder)) return found;
  if (const Path byName = folder / pathOf(name); isFile(byName)) return byName;
  if (auto found = findIgnoringCase(reference.base, reference.parts)) return found;
  return findIgnoringCase(folder, {&name, 1});
}

std::optional<Path> findElsewhere(std::u16string_view name, const Path& folder) {
  if (!search.lastFolder.empty())
    if (auto found = findIgnoringCase(search.lastFolder, {&name, 1})) return found;
  return findInSubfolders(folder, name);
}

}  // namespace

std::optional<Path> locateMissingFile(std::u16string_view stored, const Path& folder) {
  stored = trimmed(stored);
  const std::u16string_view name = fileNameOf(stored);
  if (name.empty() || stored.find(u'\0') != stored.npos) return std::nullopt;
  const Path from = folder.empty() ? Path(".") : folder;
  if (auto found = findInPlace(stored, name, from)) return found;
  auto found = findElsewhere(name, from);
  if (!found) found = askUser(stored);
  if (found) search.lastFolder = found->parent_path();
  return found;
}

std::optional<Path> findReferredFile(std::u16string_view stored, const Path& folder) {
  stored = trimmed(stored);
  if (fileNameOf(stored).empty() || stored.find(u'\0') != stored.npos) return std::nullopt;
  const Path from = folder.empty() ? Path(".") : folder;
  const Reference reference = referenceOf(stored, from);
  if (reference.parts.empty()) return std::nullopt;
  if (auto found = findToTheLetter(stored, reference, from)) return found;
  return findIgnoringCase(reference.base, reference.parts);
}

void resetMissingFileSearch() { search = {}; }

}  // namespace vemko::io
