#include "app/gui/clipboard.h"

#include <functional>
#include <memory>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/filename.h>

#include "app/gui/text.h"
#include "base/last_error.h"
#include "io/open.h"
#include "io/samples.h"
#include "io/save.h"

namespace vemko::gui {
namespace {

using app::ClipboardFormat;
using ByteVector = std::vector<std::byte>;

constexpr std::u16string_view kCannotOpen = u"Couldn't open the clipboard";
constexpr std::u16string_view kCannotGet = u"Couldn't get data from the clipboard";

wxDataFormat formatOf(ClipboardFormat format) { return wxDataFormat(app::clipboardFormatName(format)); }

wxDataFormat waveFormat() {
#ifdef __WXMSW__
  return wxDataFormat(wxDF_WAVE);
#else
  return wxDataFormat("audio/x-wav");
#endif
}

/// Data that are made when somebody asks for them.
class DeferredData : public wxDataObjectSimple {
 public:
  DeferredData(const wxDataFormat& format, std::function<ByteVector()> make)
      : wxDataObjectSimple(format), make_(std::move(make)) {}
  std::size_t GetDataSize() const override {
    if (!bytes_) bytes_ = make_();
    return bytes_->size();
  }
  bool GetDataHere(void* out) const override {
    if (!bytes_) bytes_ = make_();
    std::memcpy(out, bytes_->data(), bytes_->size());
    return !bytes_->empty();
  }

 private:
  std::function<ByteVector()> make_;
  mutable std::optional<ByteVector> bytes_;
};

class TemporaryFile {
 public:
  TemporaryFile() : path_(pathFrom(wxFileName::CreateTempFileName("vemko"))) {}
  ~TemporaryFile() { removeFile(path_); }
  const Path& path() const { return path_; }

 private:
  Path path_;
};

int waveRow() { return io::findWritingRow(u"wav", kindBit(ItemKind::Waveform)); }

ByteVector waveBytes(Waveform& waveform) {
  const TemporaryFile target;
  InputFile file;
  if (!io::saveItem(&waveform, waveRow(), target.path(), io::saveOptionsFor(waveRow(), 0)) ||
      !file.open(target.path()))
    return {};
  const Bytes bytes = file.bytes();
  return {bytes.begin(), bytes.end()};
}

bool put(wxDataObject* data) {
  wxClipboardLocker lock;
  if (!lock || !wxTheClipboard->SetData(data)) return fail(kCannotOpen);
  return true;
}

bool putBytes(ClipboardFormat format, const ByteVector& bytes) {
  auto* data = new wxCustomDataObject(formatOf(format));
  data->SetData(bytes.size(), bytes.data());
  return put(data);
}

/// Nothing, without a message, when there are none of that format.
std::optional<ByteVector> get(const wxDataFormat& format) {
  setLastError({});
  wxClipboardLocker lock;
  if (!lock) {
    setLastError(kCannotOpen);
    return std::nullopt;
  }
  if (!wxTheClipboard->IsSupported(format)) return std::nullopt;
  wxCustomDataObject data(format);
  if (!wxTheClipboard->GetData(data) || data.GetSize() == 0) {
    setLastError(kCannotGet);
    return std::nullopt;
  }
  const auto* first = static_cast<const std::byte*>(data.GetData());
  return ByteVector(first, first + data.GetSize());
}

std::optional<ByteVector> getOwn(ClipboardFormat format) {
  auto bytes = get(formatOf(format));
  if (!bytes && lastError().empty()) setLastError(app::kNothingOnClipboard);
  return bytes;
}

std::optional<app::CopiedItems> itemsFromWave(Bytes bytes) {
  const TemporaryFile source;
  OutputFile file;
  if (!file.create(source.path()) || !file.write(bytes) || !file.close()) return std::nullopt;
  app::CopiedItems copied;
  copied.items = std::make_unique<Collection>();
  if (!io::openFile(*copied.items, source.path(), false)) return std::nullopt;
  for (Waveform* waveform : copied.items->all<Waveform>()) {
    // The file goes.
    if (!io::loadSamples(*waveform, true)) return std::nullopt;
    waveform->source.reset();
    waveform->setName(u"Pasted waveform");
    copied.tops.push_back(waveform->id());
  }
  return copied;
}

}  // namespace

bool putOnClipboard(app::CopiedItems items) {
  auto shared = std::make_shared<app::CopiedItems>(std::move(items));
  auto data = std::make_unique<wxDataObjectComposite>();
  data->Add(new DeferredData(formatOf(ClipboardFormat::Item),
                             [shared] {
                               ByteVector bytes;
                               app::appendItems(*shared, bytes);
                               return bytes;
                             }),
            true);
  auto* waveform = shared->tops.size() == 1 ? shared->items->find<Waveform>(shared->tops[0]) : nullptr;
  if (waveform)
    data->Add(new DeferredData(waveFormat(), [shared, waveform] { return waveBytes(*waveform); }));
  return put(data.release());
}

bool putOnClipboard(const app::CopiedSlots& slots) { return putBytes(slots.format, app::bytesOf(slots)); }

bool putOnClipboard(const std::vector<LoopRecord>& records, ClipboardFormat format) {
  return putBytes(format, app::bytesOf(records));
}

std::optional<app::CopiedItems> itemsFromClipboard() {
  if (const auto bytes = get(formatOf(ClipboardFormat::Item))) return app::itemsFrom(*bytes);
  if (!lastError().empty()) return std::nullopt;
  if (const auto bytes = get(waveFormat())) return itemsFromWave(*bytes);
  if (lastError().empty()) setLastError(app::kNothingOnClipboard);
  return std::nullopt;
}

std::optional<app::CopiedSlots> slotsFromClipboard(ClipboardFormat format) {
  const auto bytes = getOwn(format);
  return bytes ? app::slotsFrom(*bytes, format) : std::nullopt;
}

std::optional<std::vector<LoopRecord>> recordsFromClipboard(ClipboardFormat format) {
  const auto bytes = getOwn(format);
  return bytes ? app::recordsFrom(*bytes) : std::nullopt;
}

bool clipboardHasItems() {
  wxClipboardLocker lock;
  return !!lock && (wxTheClipboard->IsSupported(formatOf(ClipboardFormat::Item)) ||
                    wxTheClipboard->IsSupported(waveFormat()));
}

}  // namespace vemko::gui
