#include "core/sample_source.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "platform/file_identity.h"

namespace vemko {
namespace {

// One record a path, or part of its file, for as long as some source uses it; also by the file that the path
// led to when it was made.
struct Records {
  std::mutex guard;
  std::unordered_map<std::string, std::weak_ptr<SourceFile>> byKey;
  std::multimap<FileIdentity, std::weak_ptr<SourceFile>> byIdentity;
};

Records& records() {
  static Records all;
  return all;
}

// Not normalised: behind a link to a folder, ".." leads elsewhere than the text says.
Path absolutePath(const Path& path) {
  std::error_code error;
  Path whole = std::filesystem::absolute(path, error);
  return error ? path : whole;
}

std::string keyOf(const Path& path, const std::optional<SourceFile::Part>& part) {
  std::string key = toUtf8(textOf(path));
  if (part) key += '\0' + std::to_string(part->offset) + '+' + std::to_string(part->size);
  return key;
}

}  // namespace

struct SourceFile::Shared {
  std::mutex guard;
  std::weak_ptr<InputFile> open;
  std::shared_ptr<InputFile> pinned;
  std::optional<FileState> state;
  std::string key;

  // A file that only became longer still has its samples. True where nothing stood there before.
  bool isStillAt(const Path& path) const {
    if (!state) return true;
    const std::optional<FileState> now = fileState(path);
    return now && now->identity == state->identity && now->size >= state->size;
  }
};

SourceFile::SourceFile(Path path, std::optional<Part> part)
    : path_(std::move(path)), part_(part), shared_(std::make_unique<Shared>()) {}

SourceFile::~SourceFile() {
  std::lock_guard lock(records().guard);
  auto entry = records().byKey.find(shared_->key);
  if (entry != records().byKey.end() && entry->second.expired()) records().byKey.erase(entry);
  if (!shared_->state) return;
  auto [at, end] = records().byIdentity.equal_range(shared_->state->identity);
  while (at != end) at = at->second.expired() ? records().byIdentity.erase(at) : std::next(at);
}

std::shared_ptr<SourceFile> SourceFile::recordOf(const Path& path, std::optional<Part> part) {
  Path whole = absolutePath(path);
  std::string key = keyOf(whole, part);
  std::shared_ptr<SourceFile> file;  // outlives the lock, which its destructor takes
  std::lock_guard lock(records().guard);
  std::weak_ptr<SourceFile>& known = records().byKey[key];
  file = known.lock();
  // Its bytes are those of a file that was replaced.
  if (file && (file->isPinned() || !file->shared_->isStillAt(file->path()))) file = nullptr;
  if (file) return file;
  known = file = std::make_shared<SourceFile>(std::move(whole), part);
  file->shared_->key = std::move(key);
  file->shared_->state = fileState(file->path());
  if (const auto& state = file->shared_->state) records().byIdentity.emplace(state->identity, file);
  return file;
}

std::shared_ptr<SourceFile> SourceFile::at(const Path& path) { return recordOf(path, std::nullopt); }

std::shared_ptr<SourceFile> SourceFile::of(const InputFile& file) {
  if (!file.isPart()) return at(file.path());
  return recordOf(file.path(), Part{file.partOffset(), file.size()});
}

std::shared_ptr<InputFile> SourceFile::open() {
  std::lock_guard lock(shared_->guard);
  if (shared_->pinned) return shared_->pinned;
  if (auto file = shared_->open.lock()) return file;
  auto file = std::make_shared<InputFile>();
  if (!file->open(path_)) return nullptr;
  if (!shared_->isStillAt(path_)) {
    logWarning(textOf(path_) + u" is no longer the file that was opened");
    fail(u"Reading from file failed");
    return nullptr;
  }
  if (part_) {
    auto part = std::make_shared<InputFile>();
    if (!part->openPart(*file, part_->offset, part_->size)) return nullptr;
    file = std::move(part);
  }
  shared_->open = file;
  return file;
}

bool SourceFile::pin() {
  auto file = open();
  std::lock_guard lock(shared_->guard);
  shared_->pinned = file;
  return file != nullptr;
}

bool SourceFile::isPinned() const {
  std::lock_guard lock(shared_->guard);
  return shared_->pinned != nullptr;
}

bool SourceFile::pinIfUsed(const Path& path) {
  std::vector<std::shared_ptr<SourceFile>> used;
  {
    std::lock_guard lock(records().guard);
    auto use = [&](const std::weak_ptr<SourceFile>& record) {
      if (auto file = record.lock()) used.push_back(std::move(file));
    };
    const auto named = records().byKey.find(keyOf(absolutePath(path), std::nullopt));
    if (named != records().byKey.end()) use(named->second);
    if (const auto identity = fileIdentity(path)) {
      const auto [first, last] = records().byIdentity.equal_range(*identity);
      std::for_each(first, last, [&](const auto& entry) { use(entry.second); });
    }
  }
  for (const auto& file : used)
    if (!file->isPinned() && !file->pin()) return false;
  return true;
}

}  // namespace vemko
