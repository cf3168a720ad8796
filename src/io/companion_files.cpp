#include "io/companion_files.h"

#include <algorithm>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"
#include "base/log_mute.h"
#include "base/memory.h"
#include "base/parallel_for.h"
#include "io/open.h"
#include "io/registry.h"
#include "io/save_steps.h"
#include "platform/folders.h"

namespace vemko::io {
namespace {

constexpr std::size_t kCompareBytes = 1 << 16;

bool haveEqualBytes(const Path& a, const Path& b) {
  InputFile first, second;
  if (!first.open(a) || !second.open(b) || first.size() != second.size()) return false;
  std::vector<std::byte> left(kCompareBytes), right(kCompareBytes);
  for (std::size_t count; (count = first.read(left)) > 0;)
    if (second.read(right) != count ||
        !std::equal(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(count), right.begin()))
      return false;
  return true;
}

bool isDescribedAlike(const Waveform& a, const Waveform& b) {
  const auto differ = [&](TextProperty property) {
    return property != TextProperty::Name && a.text(property) != b.text(property);
  };
  return a.rate == b.rate && std::ranges::none_of(kTextProperties, differ) &&
         std::ranges::equal(a.image(), b.image());
}

// Whether the file still says of the waveform what no definition that refers to it can say.
bool describes(const Path& file, const Waveform& waveform) {
  const LastErrorKeeper message;
  const LogMute mute;  // what there is to tell was told when the sample was read
  Collection read;
  return withinMemory([&] { return openAudioFile(read, file); }) &&
         isDescribedAlike(*read.all<Waveform>().front(), waveform);
}

// The name of the file in `folder` that the waveform was read from, if it holds just these samples as they
// would be written; empty otherwise.
Path ownFile(const Waveform& waveform, const Path& folder, const Path& extension,
             const SaveOptions& options) {
  if (!waveform.sourceIsIntact() || !waveform.source->file()) return {};
  const Path& path = waveform.source->file()->path();
  const auto stored = waveform.source->stored();
  if (!stored || path.extension() != extension || !isSameFile(path, folder / path.filename())) return {};
  const CapabilityMask encoding = options.requested & kEncodingBits;
  if ((encoding != 0 && encoding != encodingBit(stored->encoding)) || (options.requested & (kMono | kStereo)))
    return {};
  const std::uint64_t samples = std::uint64_t{waveform.frames} * waveform.channels;
  const std::uint64_t width = samples > 0 ? stored->byteCount / samples : 0;
  const bool isSame = width > 0 && stored->byteCount == samples * width && describes(path, waveform);
  return isSame ? path.filename() : Path();
}

std::shared_ptr<const void> identityOf(const Waveform& waveform) {
  if (waveform.sourceIsIntact()) return waveform.source;
  if (waveform.buffer) return waveform.buffer;
  return waveform.source;
}

}  // namespace

std::u16string_view extensionOf(SampleFiles format) {
  constexpr std::u16string_view kExtensions[] = {u"wav", u"flac", u"ogg"};
  return kExtensions[std::min<std::size_t>(static_cast<std::size_t>(format), 2)];
}

// A folder of that name that is a link could lead anywhere.
bool CompanionFiles::makeFolder(const Path& folder) {
  if (folderExists(folder) && !isLink(folder)) return true;
  if (fileExists(folder)) {
    logWarning(textOf(folder) + u" is no folder, or a link");
    return fail(u"Could not create file");
  }
  Path made = folder;  // memory may be too short for that afterwards
  if (!createFolders(made)) return fail(u"Could not create file");
  lastFolder_ = std::move(made);
  return true;
}

void CompanionFiles::claim(Job& job) {
  std::lock_guard lock(guard_);
  job.path = names_.claim(job.wanted, fileExists);
}

bool CompanionFiles::write(Job& job, const FormatEntry& row, const SaveOptions& options) {
  OutputFile file;
  while (!file.createNew(job.path)) {
    // Another program may have made a file of that name since.
    if (!fileExists(job.path)) return false;
    claim(job);
  }
  if (callWriter(*job.waveform, file, row.writer, options) && file.close()) return job.isWritten = true;
  LastErrorKeeper message;
  file.close();
  removeFile(job.path);
  return false;
}

// Runs of numbers are short: each file there differs from the ones that got numbers because of it.
void CompanionFiles::reuseEqualFile(Job& job) const {
  for (std::size_t number = 1;; ++number) {
    const Path other = number == 1 ? job.wanted : numberedFileName(job.wanted, number);
    if (other == job.path || !fileExists(other)) return;
    if (names_.contains(other) || !haveEqualBytes(other, job.path)) continue;
    removeFile(job.path);
    job.path = other;
    job.isWritten = false;
    return;
  }
}

bool CompanionFiles::save(std::span<Sample> samples, const Path& target, const Path& below,
                          const SaveOptions& options, const std::function<bool()>& meanwhile) {
  keepLast();
  const std::u16string_view extension = extensionOf(static_cast<SampleFiles>(options.extra));
  const FormatEntry* row = formatRow(findWritingRow(extension, kindBit(ItemKind::Waveform)));
  if (!row) return fail(u"Invalid export format selected");
  const CapabilityMask encoding = options.requested & kEncodingBits;
  if ((encoding & row->capabilities) != encoding) return fail(u"The sample files can not have this encoding");
  const Path folder = below.empty() ? target : target / below;
  if (!samples.empty() && !below.empty() && !makeFolder(folder)) return false;
  const SaveOptions ofSamples{.requested = options.requested & row->capabilities,
                              .variant = row->variant,
                              .setting = options.setting};

  std::vector<Written::iterator> entries;
  for (const Sample& sample : samples) {
    const Waveform& waveform = *sample.waveform;
    const auto [entry, isNew] =
        written_.try_emplace({identityOf(waveform), waveform.frames, waveform.rate, folder});
    entries.push_back(entry);
    if (!isNew) continue;
    const Path wanted = folder / autoFileName({}, sample.stem, extension);
    if (const Path own = ownFile(waveform, folder, wanted.extension(), ofSamples); !own.empty()) {
      names_.add(folder / own);
      entry->second = own;
      continue;
    }
    last_.push_back({.waveform = sample.waveform, .entry = entry, .wanted = wanted, .path = {}});
    claim(last_.back());
  }
  // False where a name was another one before.
  auto tellNames = [&] {
    bool same = true;
    for (const Job& job : last_) job.entry->second = job.path.filename();
    for (std::size_t i = 0; i < samples.size(); ++i)
      same = std::exchange(samples[i].name, entries[i]->second) == entries[i]->second && same;
    return same;
  };
  tellNames();
  bool ok = parallelFor(last_.size() + 1, [&](std::size_t i) {
    return i == 0 ? meanwhile() : write(last_[i - 1], *row, ofSamples);
  });
  ok = ok && withinMemory([&] {
         for (Job& job : last_)
           if (job.path != job.wanted) reuseEqualFile(job);
         return tellNames() || meanwhile();
       });
  if (!ok) removeLast();
  return ok;
}

void CompanionFiles::keepLast() {
  last_.clear();
  lastFolder_.clear();
}

void CompanionFiles::removeLast() {
  LastErrorKeeper message;
  for (const Job& job : last_) {
    if (job.isWritten) removeFile(job.path);
    written_.erase(job.entry);
  }
  if (!lastFolder_.empty()) removeEmptyFolder(lastFolder_);
  keepLast();
}

}  // namespace vemko::io
