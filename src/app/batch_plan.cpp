#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "app/batch.h"
#include "base/text.h"
#include "platform/folders.h"

namespace vemko::app {
namespace {

namespace fs = std::filesystem;

constexpr std::u16string_view kJoint = u" - ";
// A base of this length leaves room for the item's name, so that it is never cut and stays this task's own.
constexpr std::size_t kMaxBaseBytes = io::kMaxStemBytes / 2;

std::u16string folded(std::u16string_view text) {
  std::u16string result(text);
  std::ranges::transform(result, result.begin(), foldCase);
  return result;
}

Path withExtension(const Path& stem, std::u16string_view extension) {
  Path name = stem;
  name += pathOf(u"." + std::u16string(extension));
  return name;
}

bool hasExtension(const Path& file, std::u16string_view extension) {
  return equalsIgnoringCase(textOf(file.extension()), u"." + std::u16string(extension));
}

Path canonicalOf(const Path& path) {
  std::error_code error;
  Path canonical = fs::weakly_canonical(path, error);
  return error ? path : canonical;
}

// The names, without extension, that the outputs of a run take. A task whose input holds several items writes
// "Base - Item" files, so no other name may begin with "Base - ".
class Stems {
 public:
  void reserve(const Path& stem, std::size_t owner) { insert(folded(textOf(stem)), owner); }

  /// The input's own name, numbered when it is another one's.
  Path claim(const Path& stem, std::size_t owner) {
    Path candidate = stem;
    std::size_t& number = lastNumber_.try_emplace(folded(textOf(stem)), 1).first->second;
    while (isForeign(candidate, owner)) candidate = numbered(stem, ++number);
    insert(folded(textOf(candidate)), owner);
    return candidate;
  }

  /// The base for several outputs; to be asked for when all names are claimed.
  Path claimBase(const Path& stem, std::size_t owner) {
    std::u16string text = io::safeStem(textOf(stem));
    if (toUtf8(text).size() > kMaxBaseBytes) text = io::safeStem(toUtf16(toUtf8(text, kMaxBaseBytes)));
    const Path safe = pathOf(text);
    Path candidate = safe;
    for (std::size_t number = 2; begins_.contains(folded(textOf(candidate))) || isForeign(candidate, owner);
         ++number)
      candidate = numbered(safe, number);
    owners_.emplace(folded(textOf(candidate)), owner);
    return candidate;
  }

 private:
  static Path numbered(const Path& stem, std::size_t number) {
    Path name = stem;
    name += formatted(" (%zu)", number);
    return name;
  }

  void insert(std::u16string stem, std::size_t owner) {
    for (std::size_t at = stem.find(kJoint); at != stem.npos; at = stem.find(kJoint, at + 1))
      begins_.insert(stem.substr(0, at));
    owners_.emplace(std::move(stem), owner);
  }
  bool isForeign(const Path& stem, std::size_t owner) const {
    auto found = owners_.find(folded(textOf(stem)));
    return found != owners_.end() && found->second != owner;
  }

  std::unordered_map<std::u16string, std::size_t> owners_;  // of names that are reserved or claimed
  std::unordered_set<std::u16string> begins_;               // what stands before a " - " of some name
  std::unordered_map<std::u16string, std::size_t> lastNumber_;
};

constexpr std::size_t kNobody = static_cast<std::size_t>(-1);

// An input that lies in the folder of the outputs keeps its name for its own output, whether it is named
// directly or through a link. Most inputs share their folder with the one before.
void reserveInputs(const BatchPlan& plan, const Path& folder, std::u16string_view extension, Stems& stems) {
  Path inputFolder;
  bool isOutputFolder = canonicalOf(inputFolder) == folder;
  for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
    const Path& input = plan.inputs[i];
    const std::size_t task = plan.merge ? 0 : i;
    if (!hasExtension(input, extension)) continue;
    if (const Path own = input.parent_path(); own != inputFolder) {
      inputFolder = own;
      isOutputFolder = canonicalOf(inputFolder) == folder;
    }
    if (isOutputFolder) stems.reserve(input.stem(), task);
    if (!isLink(input)) continue;
    const Path target = canonicalOf(input);
    if (target.parent_path() == folder && target.filename() != input.filename())
      stems.reserve(target.stem(), task);
  }
}

void reserveExisting(const Path& folder, std::u16string_view extension, Stems& stems) {
  for (const FolderEntry& entry : listFolder(folder))
    if (hasExtension(entry.path, extension)) stems.reserve(entry.path.stem(), kNobody);
}

std::vector<BatchTask> groupInputs(const BatchPlan& plan) {
  std::vector<BatchTask> tasks;
  if (plan.merge)
    tasks.push_back({.inputs = plan.inputs, .output = {}, .severalOutput = {}});
  else
    for (const Path& input : plan.inputs)
      tasks.push_back({.inputs = {input}, .output = {}, .severalOutput = {}});
  return tasks;
}

}  // namespace

std::vector<BatchTask> planBatch(const BatchPlan& plan) {
  std::vector<BatchTask> tasks = groupInputs(plan);
  if (!plan.outputFile.empty()) {
    for (BatchTask& task : tasks)
      task.output =
          plan.onExists == OnExists::Rename ? io::freeFileName(plan.outputFile, fileExists) : plan.outputFile;
    return tasks;
  }
  const std::u16string_view extension = io::extensionOf(plan.row);
  const Path folder = canonicalOf(plan.outputFolder);
  Stems stems;
  if (plan.onExists == OnExists::Rename) reserveExisting(folder, extension, stems);
  reserveInputs(plan, folder, extension, stems);
  std::vector<Path> names;
  for (std::size_t i = 0; i < tasks.size(); ++i)
    names.push_back(stems.claim(tasks[i].inputs.front().stem(), i));
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    tasks[i].output = plan.outputFolder / withExtension(names[i], extension);
    tasks[i].severalOutput = plan.outputFolder / stems.claimBase(names[i], i);
  }
  return tasks;
}

}  // namespace vemko::app
