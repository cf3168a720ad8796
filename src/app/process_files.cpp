#include "app/process_files.h"

#include <algorithm>
#include <memory>
#include <new>
#include <set>

#include "base/last_error.h"
#include "base/text.h"
#include "io/detect.h"
#include "io/loss_report.h"
#include "io/open.h"
#include "io/save.h"

namespace vemko::app {
namespace {

namespace fs = std::filesystem;

/// The encoding that all waveforms have in the file, where the row has it too: samples that were rewritten
/// return to it.
io::CapabilityMask commonEncoding(const Collection& collection, int row) {
  io::CapabilityMask common = 0;
  bool isCommon = true;
  collection.forEach<Waveform>([&](const Waveform& waveform) {
    if (waveform.frames == 0) return;
    const io::CapabilityMask own = waveform.source ? io::encodingBit(waveform.source->encoding()) : 0;
    isCommon = isCommon && own != 0 && (common == 0 || common == own);
    common = own;
  });
  return isCommon ? common & io::capabilitiesOf(row).capabilities : 0;
}

/// The rows that write files of the collection's extension; rows that write no waveforms would drop those
/// that there are.
std::vector<int> writingRowsOf(const Collection& collection) {
  std::vector<int> rows;
  const io::FormatEntry* own = io::formatRow(collection.formatRow);
  for (int row = own ? io::nextWritingRow(0) : io::kNoRow; row != io::kNoRow;
       row = io::nextWritingRow(row + 1)) {
    const io::FormatEntry& entry = *io::formatRow(row);
    const bool keepsWaveforms = entry.features || collection.count(ItemKind::Waveform) == 0;
    if (entry.extension == own->extension && (entry.kinds & own->kinds) != 0 && keepsWaveforms)
      rows.push_back(row);
  }
  return rows;
}

/// The row that writes such files under another extension: it reads them alike and is certain of this one, as
/// of a broadcast wave, which is a WAVE file under a name of its own.
int kinRowOf(const Collection& collection, const Path& path) {
  constexpr int kCertain = 6;
  InputFile file;
  const io::FormatEntry* own = io::formatRow(collection.formatRow);
  if (!own || !file.open(path)) return io::kNoRow;
  std::vector<std::byte> head(static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), io::kHeadBytes)));
  if (!file.readAt(0, head)) return io::kNoRow;
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1)) {
    const io::FormatEntry& entry = *io::formatRow(row);
    if (entry.reader == own->reader && entry.probe(head, entry.variant, file.size()) == kCertain) return row;
  }
  return io::kNoRow;
}

std::size_t lossCount(const Collection& collection, int row) {
  const io::SaveOptions options = io::saveOptionsFor(row, commonEncoding(collection, row));
  return io::kindsLost(io::lossesOfSaving(collection, row, options));
}

/// Where several rows write what one has read, as the levels and dialects of a format, the first of those
/// that lose least.
int writingRowOf(const Collection& collection, const Path& path) {
  const std::vector<int> rows = writingRowsOf(collection);
  if (rows.size() < 2) return rows.empty() ? kinRowOf(collection, path) : rows.front();
  std::vector<std::size_t> losses;
  losses.reserve(rows.size());
  for (int row : rows) losses.push_back(lossCount(collection, row));
  return rows[static_cast<std::size_t>(std::ranges::min_element(losses) - losses.begin())];
}

/// One file while it is processed.
struct OpenFile {
  ProcessFile names;
  Collection collection;
  io::CapabilityMask encoding = 0;
  int row = io::kNoRow;

  bool open() {
    if (folderExists(names.input)) return fail(u"This is a folder");
    if (!io::openFile(collection, names.input, false)) return false;
    if (names.output.empty()) return true;
    row = writingRowOf(collection, names.input);
    if (row == io::kNoRow)
      return fail(u"Files of the format \"" + std::u16string(io::descriptionOf(collection.formatRow)) +
                  u"\" can not be written");
    encoding = commonEncoding(collection, row);
    return checkOutputName();
  }

  // Another extension would promise another format.
  bool checkOutputName() const {
    const std::u16string extension = textOf(names.output.extension());
    const std::u16string_view bare = std::u16string_view(extension).substr(extension.empty() ? 0 : 1);
    const std::u16string_view own = io::extensionOf(row);
    return bare.empty() || io::matchesExtension(own, bare) ||
           equalsIgnoringCase(extension, textOf(names.input.extension())) ||
           fail(u"The output keeps the format of the input, name it ." + std::u16string(own));
  }

  bool save(bool modified) {
    if (names.output.empty() || (!modified && isSameFile(names.input, names.output))) return true;
    Item* item = &collection;
    for (ItemKind kind : {ItemKind::Instrument, ItemKind::Song, ItemKind::Waveform}) {
      if (io::canHold(row, ItemKind::Collection)) break;
      const std::vector<Item*> items = collection.allOf(kind);
      if (!io::canHold(row, kind) || items.empty()) continue;
      if (items.size() > 1) return fail(u"The file holds several items, of which its format can store one");
      item = items.front();
      break;
    }
    const io::CapabilityMask events = io::capabilitiesOf(row).capabilities & io::kMidiEvents;
    return io::saveWithBackup(item, names.output, row, io::saveOptionsFor(row, encoding | events), false);
  }
};

class Run {
 public:
  Run(const tools::ToolEntry& tool, const std::vector<ProcessFile>& files,
      std::optional<tools::FrameRange> range)
      : tool_(tool), files_(files) {
    context_.range = range;
  }

  ProcessResult run() {
    result_.ok = openAll() && apply() && saveAll();
    return std::move(result_);
  }

 private:
  bool openAll() {
    for (const ProcessFile& file : files_) {
      auto opened = std::make_unique<OpenFile>();
      opened->names = file;
      if (!opened->open()) return failed(opened_.size(), lastError());
      for (Waveform* waveform : opened->collection.all<Waveform>()) context_.selection.push_back(waveform);
      opened_.push_back(std::move(opened));
    }
    return true;
  }

  bool apply() {
    bool ok = true;
    context_.showError = [&](const Item* item, std::u16string_view message) {
      const std::u16string text = item && context_.selection.size() > 1 ? item->displayName() + u": " : u"";
      if (ok) failed(item ? fileOf(*item) : 0, text + std::u16string(message));
      ok = false;
    };
    if (!tools::isOffered(tool_, context_))
      return failed(0, u"The tool does not apply to what the file holds");
    ok = tools::applyTool(tool_, context_) && ok;
    result_.processedCount = context_.processedCount;
    result_.report = tools::applyReport(context_.processedCount, tool_.name);
    result_.statistics = context_.statistics;
    result_.volumes = std::move(context_.volumes);
    return ok;
  }

  bool saveAll() {
    for (std::size_t i = 0; i < opened_.size(); ++i) {
      if (opened_[i]->save(context_.processedCount > 0)) continue;
      if (files_[i].output != files_[i].input) result_.failedOutput = files_[i].output;
      return failed(i, lastError());
    }
    return true;
  }

  std::size_t fileOf(const Item& item) const {
    const auto at = std::ranges::find_if(
        opened_, [&](const auto& file) { return &file->collection == &item.collection(); });
    return static_cast<std::size_t>(at - opened_.begin());
  }

  bool failed(std::size_t file, std::u16string_view message) {
    result_.failedFile = file;
    result_.error = message;
    return false;
  }

  const tools::ToolEntry& tool_;
  const std::vector<ProcessFile>& files_;
  std::vector<std::unique_ptr<OpenFile>> opened_;
  tools::ToolContext context_;
  ProcessResult result_;
};

Path canonicalOf(const Path& path) {
  std::error_code error;
  Path canonical = fs::weakly_canonical(path, error);
  return error ? path : canonical;
}

}  // namespace

ProcessResult processFiles(const tools::ToolEntry& tool, const std::vector<ProcessFile>& files,
                           std::optional<tools::FrameRange> range) {
  try {
    return Run(tool, files, range).run();
  } catch (const std::bad_alloc&) {
    ProcessResult result;
    result.error = u"Out of memory";
    return result;
  }
}

const ProcessFile* findOutputTwice(const std::vector<ProcessFile>& files) {
  std::set<Path> outputs;
  for (const ProcessFile& file : files)
    if (!file.output.empty() && !outputs.insert(canonicalOf(file.output)).second) return &file;
  return nullptr;
}

std::vector<ProcessFile> planFolder(const std::vector<Path>& inputs, const Path& folder) {
  io::NameReserve names;
  const Path target = canonicalOf(folder);
  auto staysInPlace = [&](const Path& input) { return canonicalOf(input.parent_path()) == target; };
  for (const Path& input : inputs)
    if (staysInPlace(input)) names.add(target / input.filename());
  std::vector<ProcessFile> files;
  files.reserve(inputs.size());
  for (const Path& input : inputs)
    files.push_back({input, staysInPlace(input) ? input : names.claim(target / input.filename())});
  return files;
}

}  // namespace vemko::app
