#include "core/sample_source.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vemko {
namespace {

// One record a path, for as long as some source uses it.
struct Records {
  std::mutex guard;
  std::unordered_map<Path::string_type, std::weak_ptr<SourceFile>> byPath;
};

Records& records() {
  static Records all;
  return all;
}

// Not normalised: behind a link to a folder, ".." leads elsewhere than the text says.
Path keyOf(const Path& path) {
  std::error_code error;
  Path whole = std::filesystem::absolute(path, error);
  return error ? path : whole;
}

}  // namespace

struct SourceFile::Shared {
  std::mutex guard;
  std::weak_ptr<InputFile> open;
  std::shared_ptr<InputFile> pinned;
};

SourceFile::SourceFile(Path path) : path_(std::move(path)), shared_(std::make_unique<Shared>()) {}

SourceFile::~SourceFile() {
  std::lock_guard lock(records().guard);
  auto entry = records().byPath.find(path_.native());
  if (entry != records().byPath.end() && entry->second.expired()) records().byPath.erase(entry);
}

std::shared_ptr<SourceFile> SourceFile::at(const Path& path) {
  Path key = keyOf(path);
  std::shared_ptr<SourceFile> file;  // outlives the lock, which its destructor takes
  std::lock_guard lock(records().guard);
  std::weak_ptr<SourceFile>& known = records().byPath[key.native()];
  file = known.lock();
  if (file && file->isPinned()) file = nullptr;  // its bytes are those of a file that was replaced
  if (!file) known = file = std::make_shared<SourceFile>(key);
  return file;
}

std::shared_ptr<InputFile> SourceFile::open() {
  std::lock_guard lock(shared_->guard);
  if (shared_->pinned) return shared_->pinned;
  if (auto file = shared_->open.lock()) return file;
  auto file = std::make_shared<InputFile>();
  if (!file->open(path_)) return nullptr;
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
    for (auto& [key, record] : records().byPath)
      if (auto file = record.lock()) used.push_back(std::move(file));
  }
  for (const auto& file : used)
    if (!file->isPinned() && isSameFile(file->path(), path) && !file->pin()) return false;
  return true;
}

}  // namespace vemko
