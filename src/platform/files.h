#pragma once
// Files as the studio needs them: readers get a read-only view of the whole file and positioned reads that
// are safe from several threads, writers a plain sequential file with a way to patch a header afterwards.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace vemko {

using Path = std::filesystem::path;

/// A path as the model's text and back, exact also for POSIX names that are no UTF-8. Text with a zero inside
/// gives a path with another character there.
std::u16string textOf(const Path& path);
Path pathOf(std::u16string_view text);

/// An open file for reading. Pipes and devices are read to their end when opened and then behave like a file.
class InputFile {
 public:
  InputFile();
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// Fails with "Could not open file": it does not exist, is a folder, may not be read, or is a pipe or
  /// device of more than 1 GiB.
  bool open(const Path& path);
  /// A part of an open file, as if it were a file of its own; it stays usable when that one goes. Fails with
  /// "Reading from file failed" when the part does not lie within the file.
  bool openPart(const InputFile& whole, std::uint64_t offset, std::uint64_t size);

  const Path& path() const { return path_; }
  std::uint64_t size() const { return size_; }
  /// Where a part begins within the file of its path; 0 for a whole file.
  std::uint64_t partOffset() const { return partOffset_; }
  bool isPart() const { return isPart_; }

  std::uint64_t position() const { return position_; }
  void seek(std::uint64_t position) { position_ = position; }
  /// Reads up to out.size() bytes at the position and advances it; the number of bytes read, 0 at the end.
  std::size_t read(std::span<std::byte> out);

  /// Fills `out` from `offset`, whatever the position is; thread-safe. Fails with "Reading from file failed"
  /// when the file ends before or the system reports an error.
  bool readAt(std::uint64_t offset, std::span<std::byte> out) const;

  /// All of it, mapped on first use (by one thread) and valid while this object lives; empty for an
  /// empty file. Meant for headers and tables: pages that are touched count as the program's memory, so large
  /// sample data are read with readAt. Empty with "Reading from file failed" set when the system cannot map
  /// it.
  Bytes bytes();
  /// False once something of bytes() could not be read, because the file has become shorter or its device
  /// failed: zeros stand there, and what was made of them is to be given up.
  bool isIntact() const;

 private:
  friend class OutputFile;  // copies between the system's own handles
  struct System;
  std::shared_ptr<System> system_;  // shared by the parts of a file
  Path path_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t partOffset_ = 0;
  bool isPart_ = false;
};

/// An open file for writing. Closed without a word when destroyed; call close() to learn of late errors.
class OutputFile {
 public:
  OutputFile();
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Creates the file, or empties the one that is there. Fails with "Could not create file".
  bool create(const Path& path);
  /// As create, but fails also when something of that name exists already.
  bool createNew(const Path& path);

  const Path& path() const { return path_; }
  std::uint64_t size() const { return size_; }

  /// Appends. Fails with "Writing to file failed" (full disk, size limit, device error) or "Interrupted".
  bool write(Bytes data);
  /// Overwrites bytes that were written before; offset + data.size() must not exceed size().
  bool writeAt(std::uint64_t offset, Bytes data);

  /// Appends `count` bytes of `source` from `offset`, without holding more than a block. Fails as readAt or
  /// write.
  bool copyFrom(const InputFile& source, std::uint64_t offset, std::uint64_t count);

  /// Returns when the bytes are on the disk.
  bool flushToDisk();
  bool close();

 private:
  bool start(const Path& path, int how);

  struct System;
  std::unique_ptr<System> system_;
  Path path_;
  std::uint64_t size_ = 0;
};

bool fileExists(const Path& path);  ///< Anything of that name, a dangling link included.
bool folderExists(const Path& path);
std::optional<std::uint64_t> fileSize(const Path& path);
/// Both paths lead to the same existing file, links and mounts considered.
bool isSameFile(const Path& a, const Path& b);

/// Removes the file; true also when there was none. Fails with "Could not delete file".
bool removeFile(const Path& path);
/// Renames over an existing target in one step; a crash leaves the old or the new file under `to`. Fails with
/// "Could not rename file".
bool replaceFile(const Path& from, const Path& to);
/// Makes preceding creations and renames in the folder survive a power loss, where the system can.
void flushFolder(const Path& folder);

/// Full path of the running program, and the folder for the user's settings (not created).
Path programPath();
Path settingsFolder();

}  // namespace vemko
