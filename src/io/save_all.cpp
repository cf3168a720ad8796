#include "base/last_error.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"
#include "io/companion_files.h"
#include "io/save_steps.h"

namespace vemko::io {
namespace {

std::u16string pluralOf(ItemKind kind) { return std::u16string(displayWord(kind)) + u"s"; }

bool checkRequest(const SaveAllRequest& request) {
  if (!request.collection) return fail(u"No item selected");
  const FormatEntry* row = formatRow(request.row, request.rows);
  if (!row || !row->writer) return fail(u"Invalid export format selected");
  if (request.kind != ItemKind::Collection && request.collection->count(request.kind) == 0)
    return fail(u"No " + pluralOf(request.kind) + u" to save!");
  // A song can also be saved as its sound.
  const bool asSound =
      request.kind == ItemKind::Song && canHold(request.row, ItemKind::Waveform, request.rows);
  if (!asSound && !canHold(request.row, request.kind, request.rows))
    return fail(u"Can't 'Save all " + pluralOf(request.kind) + u"' with this file format!");
  return true;
}

// One run over the items of a kind.
class Run {
 public:
  explicit Run(const SaveAllRequest& request) : request_(request), options_(request.options) {
    options_.companions = &companions_;
  }

  SaveAllResult saveEach() {
    Collection& collection = *request_.collection;
    // Once for all: what lies below the items is tidy for each of them then.
    if (!tidyBelow(collection, request_.kind)) return result_;
    const std::vector<Item*> items = request_.kind == ItemKind::Collection ? std::vector<Item*>{&collection}
                                                                           : collection.allOf(request_.kind);
    result_.ok = true;
    for (std::size_t i = 0; i < items.size() && !result_.cancelled; ++i) {
      saveOne(*items[i]);
      showProgress(static_cast<double>(i + 1) / static_cast<double>(items.size()));
    }
    logOutcome();
    return result_;
  }

 private:
  void saveOne(Item& item) {
    const bool isWhole = item.kind() == ItemKind::Collection && !request_.baseName.empty();
    // Items of one name get numbers, so that a file that exists is never one of this run.
    Path path =
        names_.claim(request_.folder / autoFileName(request_.baseName, isWhole ? u"" : item.displayName(),
                                                    extensionOf(request_.row, request_.rows)));
    if (fileExists(path)) {
      const CollisionAnswer answer = answerFor(path);
      if (answer == CollisionAnswer::CancelAll) cancel();
      if (answer == CollisionAnswer::Skip || answer == CollisionAnswer::CancelAll)
        return tell(item, path, false);
      if (answer == CollisionAnswer::Rename) path = names_.claim(path, fileExists);
    }
    const bool saved = saveReported(&item, path, request_.row, options_, false, false, request_.rows);
    result_.saved += saved;
    result_.ok = result_.ok && saved;
    tell(item, path, saved);
  }

  void cancel() {
    result_.cancelled = true;
    result_.ok = false;
  }

  CollisionAnswer answerFor(const Path& path) {
    if (forAll_) return answer_;
    answer_ = request_.onCollision ? request_.onCollision(path, forAll_) : CollisionAnswer::Rename;
    return answer_;
  }

  void tell(const Item& item, const Path& path, bool saved) const {
    if (request_.onFile) request_.onFile(item, path, saved);
  }

  void logOutcome() const {
    if (result_.cancelled)
      logInfo(u"Failed: Cancelled after " + toUtf16(std::to_string(result_.saved)) + u" files.");
    else if (request_.kind == ItemKind::Collection && result_.saved == 1)
      logInfo(u"Saved 1 collection!");
    else
      logInfo(u"Done: Saved " + toUtf16(std::to_string(result_.saved)));
  }

  const SaveAllRequest& request_;
  CompanionFiles companions_;
  SaveOptions options_;
  SaveAllResult result_;
  NameReserve names_;
  bool forAll_ = false;
  CollisionAnswer answer_ = CollisionAnswer::Rename;
};

}  // namespace

std::u16string collisionQuestion(const Path& file) {
  return u"The auto-named file \"" + textOf(file.filename()) +
         u"\" already exists!\nWhat do you want to do with it?";
}

SaveAllResult saveAll(const SaveAllRequest& request) {
  if (!checkRequest(request)) return {};
  return Run(request).saveEach();
}

}  // namespace vemko::io
