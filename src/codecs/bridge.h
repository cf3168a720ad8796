#pragma once
// Bridges to codec libraries. A library is opened at run time by file name when a compressed format is first
// read or written; without it that format answers with an error that names the library, and everything else
// goes on working. All bridges read from a part of a file and write to a sink, so that the same code serves a
// file of its own, a chunk of a WAVE file and a sample within a bank.
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "core/sample_source.h"
#include "platform/files.h"

namespace vemko {

/// Bytes within a file, or all bytes of a block of memory.
struct FilePart {
  std::shared_ptr<SourceFile> file;  ///< Null for memory.
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  std::shared_ptr<const std::vector<std::byte>> memory;

  static FilePart whole(const InputFile& file) { return {SourceFile::of(file), 0, file.size(), {}}; }
  static FilePart inMemory(std::vector<std::byte> bytes);
};

/// An open part, as the libraries want to read it: sequentially, with jumps. Small reads are cheap.
class PartInput {
 public:
  /// Null, with "Could not open file" set, when the file cannot be opened.
  static std::unique_ptr<PartInput> open(const FilePart& part);

  std::uint64_t size() const { return size_; }
  std::uint64_t position() const { return position_; }
  /// Positions behind the end read nothing.
  void seek(std::uint64_t position) { position_ = position; }
  /// Moves as fseek does; false, and no move, for a place before the start.
  bool seek(std::int64_t offset, int whence);
  /// Reads up to out.size() bytes at the position; fewer only at the end or when the system cannot read on.
  std::size_t read(std::span<std::byte> out);

 private:
  PartInput() = default;
  bool fill();

  std::shared_ptr<InputFile> file_;
  std::shared_ptr<const std::vector<std::byte>> memory_;
  std::uint64_t offset_ = 0, size_ = 0, position_ = 0;
  std::vector<std::byte> buffer_;
  std::uint64_t bufferStart_ = 0;
};

/// Where encoders put their bytes: a file, or memory.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  /// Appends; false with the last error message set.
  virtual bool write(Bytes data) = 0;
  /// Overwrites bytes that were written before, for codecs that complete their header at the end.
  virtual bool writeAt(std::uint64_t offset, Bytes data) = 0;
  virtual std::uint64_t size() const = 0;
};

/// Appends to a file; offsets count from what the file held before. Call flush() at the end.
class FileSink final : public ByteSink {
 public:
  explicit FileSink(OutputFile& file) : file_(file), start_(file.size()) {}
  bool write(Bytes data) override;
  bool writeAt(std::uint64_t offset, Bytes data) override;
  std::uint64_t size() const override { return file_.size() - start_ + pending_.size(); }
  bool flush();

 private:
  OutputFile& file_;
  std::uint64_t start_;
  std::vector<std::byte> pending_;
};

class MemorySink final : public ByteSink {
 public:
  std::vector<std::byte> bytes;
  bool write(Bytes data) override;
  bool writeAt(std::uint64_t offset, Bytes data) override;
  std::uint64_t size() const override { return bytes.size(); }
};

/// What a compressed stream says of itself, found without decoding it where the format allows.
struct StreamFacts {
  std::uint64_t frames = 0;  ///< Without encoder delay and padding, where the file tells them.
  std::uint32_t rate = 0;    ///< Hz
  std::uint8_t channels = 0;
  std::uint8_t bits = 0;  ///< Width of lossless integers, 0 for lossy samples and floats.
};

/// A compressed stream that was opened: its facts, and its samples to be decoded when they are needed.
struct CompressedSamples {
  StreamFacts facts;
  std::shared_ptr<const SampleSource> source;
};

/// What an encoder is given: `frames` frames, interleaved. A stream that ends earlier is an error.
struct EncoderInput {
  SampleStream& stream;
  std::uint64_t frames = 0;
  std::uint32_t rate = 0;
  std::uint8_t channels = 0;
};

/// Hands an encoder's input out in blocks and shows the progress.
class EncoderBlocks {
 public:
  /// Samples beyond `limit`, full scale being 1, are clipped to it, and what is no number becomes 0, for
  /// encoders that stumble over them; 0: samples stay as they are.
  EncoderBlocks(const EncoderInput& input, std::size_t framesPerBlock, float limit = 0);
  /// The next frames, a full block but for the last one; empty at the end; nothing, with the last error
  /// message set, when they cannot be read.
  std::optional<std::span<const float>> next();

 private:
  const EncoderInput& input_;
  std::uint64_t done_ = 0;
  std::vector<float> block_;
  float limit_;
};

/// Reorders the channels of each frame in place; order[i] is the present place of the channel that becomes
/// channel i. An empty order changes nothing.
void reorderChannels(std::span<float> samples, std::span<const std::uint8_t> order);

}  // namespace vemko
