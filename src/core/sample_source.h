#pragma once
// Deferred samples: opening a file costs its headers only. A waveform keeps a source that tells where its
// samples lie; they are streamed through a small buffer when saved, and loaded when shown, played or edited.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "core/sample_encoding.h"
#include "platform/files.h"

namespace vemko {

/// Delivers the frames of a waveform in order, interleaved, full scale -1..+1.
class SampleStream {
 public:
  virtual ~SampleStream() = default;

  /// Fills `out`, whose size is a multiple of the channel count, with the next frames. Returns how many
  /// frames it wrote: fewer than asked for only at the end, and 0 from then on. A failure returns nothing,
  /// with the last error message set.
  virtual std::optional<std::size_t> read(std::span<float> out) = 0;
};

/// A file that sources read from, shared by all the sources of one path. It is opened for each use, or held
/// open from pin() on, so that it stays readable while a save renames or deletes the file of that name.
class SourceFile {
 public:
  /// The shared record of that path; it need not exist yet. Once a record is pinned, the path may come to
  /// mean another file and gets a new record.
  static std::shared_ptr<SourceFile> at(const Path& path);
  /// The record of an open file, or of the part that it is; offsets count as in that.
  static std::shared_ptr<SourceFile> of(const InputFile& file);

  /// Where a part lies in its file.
  struct Part {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    friend bool operator==(const Part&, const Part&) = default;
  };
  explicit SourceFile(Path path, std::optional<Part> part = {});
  ~SourceFile();

  const Path& path() const { return path_; }
  /// The open file; nothing, with "Could not open file" set, when it cannot be opened, or "Reading from file
  /// failed" when another one or a shorter one has taken its place. Thread-safe.
  std::shared_ptr<InputFile> open();
  /// Opens the file and keeps it open. Fails as open().
  bool pin();
  bool isPinned() const;
  /// Pins the record of that path if some source reads from it; false when it is needed but cannot be opened.
  static bool pinIfUsed(const Path& path);

 private:
  static std::shared_ptr<SourceFile> recordOf(const Path& path, std::optional<Part> part);

  struct Shared;
  Path path_;
  std::optional<Part> part_;
  std::unique_ptr<Shared> shared_;
};

/// The bytes of a waveform as they stand in its file. A writer of the same encoding copies them unread, which
/// keeps every bit also of encodings that are wider than a float (32-bit integers, 64-bit floats).
struct StoredSamples {
  SampleEncoding encoding = SampleEncoding::Pcm16;
  bool bigEndian = false;
  bool signed8 = false;  ///< 8-bit PCM as signed bytes instead of unsigned ones.
  std::uint64_t offset = 0;
  std::uint64_t byteCount = 0;
};

/// The load procedure of a deferred waveform together with what it needs.
class SampleSource {
 public:
  virtual ~SampleSource() = default;

  /// A stream from `firstFrame` on; null with the last error message set ("Could not open file", ...).
  virtual std::unique_ptr<SampleStream> open(std::uint64_t firstFrame = 0) const = 0;

  /// The file that is read, null for a source held in memory.
  virtual const std::shared_ptr<SourceFile>& file() const {
    static const std::shared_ptr<SourceFile> none;
    return none;
  }

  /// What a writer may copy instead of decoding; only encodings of a fixed number of bytes a frame.
  virtual std::optional<StoredSamples> stored() const { return std::nullopt; }

  /// The encoding in the file, as far as a user is told ("Codec" for compressed ones).
  virtual SampleEncoding encoding() const { return SampleEncoding::Float32; }

  /// Starting at a later frame costs no more than starting at the first.
  virtual bool canSeek() const { return false; }
};

}  // namespace vemko
