#include "formats/soundfont/sf_sample_data.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <tuple>

#include "base/last_error.h"
#include "base/parallel_for.h"
#include "base/progress.h"
#include "codecs/pcm.h"
#include "codecs/sample_writer.h"
#include "formats/soundfont/sf_compressed.h"
#include "formats/soundfont/sf_split_source.h"

namespace vemko::soundfont {
namespace {

constexpr std::size_t kBlockFrames = 4096;

// Chunk lengths have 32 bits, and the other chunks of a bank are far smaller than what this leaves.
constexpr std::uint64_t kMaxSampleBytes = 0xE0000000;
constexpr std::u16string_view kTooManySamples = u"Save failed - The samples are too much for one bank";

class PickedStream final : public SampleStream {
 public:
  PickedStream(std::unique_ptr<SampleStream> stream, std::size_t channels, std::size_t channel)
      : stream_(std::move(stream)), channels_(channels), channel_(channel), block_(kBlockFrames * channels) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      const std::size_t ask = std::min(out.size() - done, kBlockFrames);
      const auto got = stream_->read(std::span(block_).first(ask * channels_));
      if (!got) return std::nullopt;
      for (std::size_t i = 0; i < *got; ++i) out[done + i] = block_[i * channels_ + channel_];
      done += *got;
      if (*got < ask) break;
    }
    return done;
  }

 private:
  std::unique_ptr<SampleStream> stream_;
  std::size_t channels_, channel_;
  std::vector<float> block_;
};

// Where the 16 bits of every point, or the upper ones, stand in a file.
std::optional<std::uint64_t> storedOffset(const ChannelData& data) {
  if (!data.source) return std::nullopt;
  if (const SplitSamples* split = splitSamplesOf(data.source.get()))
    return split->points == data.frames ? std::optional(split->highOffset) : std::nullopt;
  const auto stored = data.source->stored();
  if (!stored || stored->encoding != SampleEncoding::Pcm16 || stored->bigEndian ||
      stored->byteCount != std::uint64_t{data.frames} * 2)
    return std::nullopt;
  return stored->offset;
}

bool appendZeros(std::size_t count, BlockWriter& out) {
  while (count > 0) {
    const std::span<std::byte> room = out.reserve(std::min(count, BlockWriter::kBlockBytes));
    if (room.empty()) return false;
    std::ranges::fill(room, std::byte{0});
    count -= room.size();
  }
  return true;
}

constexpr std::size_t kGapBytes = std::size_t{kGapPoints} * 2;

bool isGap(const InputFile& file, std::uint64_t offset) {
  std::array<std::byte, kGapBytes> gap;
  return file.size() >= gap.size() && offset <= file.size() - gap.size() && file.readAt(offset, gap) &&
         std::ranges::all_of(gap, [](std::byte b) { return b == std::byte{0}; });
}

// How many of the samples lie in one file behind each other as they are written, gaps and all.
std::size_t runLength(std::span<const ChannelData> data, const InputFile& file) {
  std::size_t count = 1;
  for (; count < data.size(); ++count) {
    const ChannelData &last = data[count - 1], &next = data[count];
    const auto offset = storedOffset(next);
    if (!offset || next.source->file() != last.source->file()) break;
    const std::uint64_t gap = *storedOffset(last) + std::uint64_t{last.frames} * 2;
    if (*offset != gap + kGapBytes || !isGap(file, gap)) break;
  }
  return count;
}

bool copyBytes(const ChannelData& data, std::uint64_t offset, std::uint64_t count, BlockWriter& out) {
  const auto file = data.source->file()->open();
  return file && out.copyFrom(*file, offset, count);
}

using BlockSink = std::function<bool(std::span<const float> block)>;

bool forEachBlock(const ChannelData& data, bool isFirstPass, const BlockSink& sink) {
  if (data.frames == 0) return true;
  auto stream = openChannel(data);
  if (isFirstPass) stream = watchClipping(std::move(stream), *data.waveform, 1);
  if (!stream) return false;
  std::vector<float> block(kBlockFrames);
  for (std::uint32_t done = 0; done < data.frames;) {
    const std::size_t ask = std::min<std::size_t>(kBlockFrames, data.frames - done);
    const auto got = stream->read(std::span(block).first(ask));
    if (!got) return false;
    if (*got < ask) return fail(u"Reading from file failed");
    if (!sink(std::span(block).first(ask))) return false;
    done += static_cast<std::uint32_t>(ask);
  }
  return true;
}

// Gives room for so many more bytes; none when they cannot be taken.
using Room = std::function<std::span<std::byte>(std::size_t bytes)>;

bool encodePoints(const ChannelData& data, const Room& room) {
  return forEachBlock(data, true, [&](std::span<const float> block) {
    const std::span<std::byte> points = room(block.size() * 2);
    if (points.empty()) return false;
    encodePcm({SampleEncoding::Pcm16}, block, points);
    return true;
  });
}

// One part of 24-bit points, the other going to nowhere.
bool encodeSplit(const ChannelData& data, bool low, const Room& room) {
  std::vector<std::byte> joined(kBlockFrames * 3), rest(kBlockFrames * 2);
  return forEachBlock(data, !low, [&](std::span<const float> block) {
    const std::span<std::byte> part = room(block.size() * (low ? 1 : 2));
    if (part.empty()) return false;
    const std::span<std::byte> points = std::span(joined).first(block.size() * 3);
    encodePcm({SampleEncoding::Pcm24}, block, points);
    const std::span<std::byte> other = std::span(rest).first(block.size() * (low ? 2 : 1));
    splitPoints(points, low ? other : part, low ? part : other);
    return true;
  });
}

// Compressed samples are decoded so many at a time, on all processors, unless they are long.
constexpr std::size_t kBatch = 16;
constexpr std::uint32_t kMaxFramesAhead = 1 << 18;

bool isDecodedAhead(const ChannelData& data) {
  return data.source && data.source->encoding() == SampleEncoding::Codec && data.frames <= kMaxFramesAhead;
}

using Encode = std::function<bool(const ChannelData& data, const Room& room)>;

bool encodeAhead(std::span<const ChannelData> data, std::size_t frameBytes, const Encode& encode,
                 std::span<std::vector<std::byte>> encoded) {
  if (std::ranges::none_of(data, isDecodedAhead)) return true;
  return parallelFor(data.size(), [&](std::size_t i) {
    if (!isDecodedAhead(data[i])) return true;
    encoded[i].resize(data[i].frames * frameBytes);
    std::span<std::byte> rest(encoded[i]);
    return encode(data[i], [&](std::size_t bytes) {
      const auto room = rest.first(bytes);
      rest = rest.subspan(bytes);
      return room;
    });
  });
}

// Writes what need not be encoded: so many of the first samples, the gaps between them included. 0 for
// others; nothing when it failed.
using Copy = std::function<std::optional<std::size_t>(std::span<const ChannelData> data)>;

bool writeAll(const std::vector<ChannelData>& data, std::size_t frameBytes, BlockWriter& out,
              const Copy& copy, const Encode& encode) {
  std::shared_ptr<InputFile> heldOpen;  // from one sample to the next
  for (std::size_t first = 0; first < data.size(); first += kBatch) {
    const auto batch = std::span(data).subspan(first, std::min(kBatch, data.size() - first));
    std::array<std::vector<std::byte>, kBatch> encoded;
    if (batch[0].source && batch[0].source->file()) heldOpen = batch[0].source->file()->open();
    if (!encodeAhead(batch, frameBytes, encode, encoded)) return false;
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (!encoded[i].empty()) {
        if (!out.append(encoded[i])) return false;
      } else {
        const auto copied = copy(batch.subspan(i));
        if (!copied) return false;
        if (*copied > 0)
          i += *copied - 1;
        else if (!encode(batch[i], [&](std::size_t bytes) { return out.reserve(bytes); }))
          return false;
      }
      if (!appendZeros(kGapPoints * frameBytes, out)) return false;
    }
    showProgress(static_cast<double>(first + batch.size()) / static_cast<double>(data.size()));
  }
  return true;
}

}  // namespace

std::unique_ptr<SampleStream> openChannel(const ChannelData& data) {
  if (data.source) return data.source->open();
  const std::uint8_t channels = data.waveform->channels;
  auto stream = openSamples(*data.waveform);
  if (!stream || channels == 1) return stream;
  if (data.channel == kAllChannels) return withChannels(std::move(stream), channels, 1);
  return std::make_unique<PickedStream>(std::move(stream), channels, static_cast<std::size_t>(data.channel));
}

bool haveNumbers(const SamplePool& pool) {
  constexpr std::size_t kMaxSamples = 65536;
  return pool.samples().size() <= kMaxSamples || fail(kTooManySamples);
}

std::vector<std::size_t> storedOrder(const std::vector<ChannelData>& data) {
  // Files in the order in which they are met; what is not stored so comes last.
  std::map<const SourceFile*, std::size_t> files;
  std::vector<std::tuple<std::size_t, std::uint64_t, std::size_t>> places;
  for (std::size_t i = 0; i < data.size(); ++i) {
    const auto offset = storedOffset(data[i]);
    const std::size_t file =
        offset ? files.try_emplace(data[i].source->file().get(), files.size()).first->second : data.size();
    places.emplace_back(file, offset.value_or(0), i);
  }
  std::ranges::sort(places);
  std::vector<std::size_t> order;
  order.reserve(places.size());
  for (const auto& place : places) order.push_back(std::get<2>(place));
  return order;
}

std::optional<std::vector<SamplePosition>> placePoints(const std::vector<ChannelData>& data, bool is24) {
  const std::uint64_t maxPoints = kMaxSampleBytes / (is24 ? 3 : 2);
  std::vector<SamplePosition> positions;
  std::uint64_t next = 0;
  for (const ChannelData& each : data) {
    const std::uint64_t end = next + each.frames;
    if (end + kGapPoints > maxPoints) {
      fail(kTooManySamples);
      return std::nullopt;
    }
    positions.push_back({static_cast<std::uint32_t>(next), static_cast<std::uint32_t>(end), false});
    next = end + kGapPoints;
  }
  return positions;
}

bool writePoints(const std::vector<ChannelData>& data, bool is24, BlockWriter& out) {
  auto copy = [&](std::span<const ChannelData> rest) -> std::optional<std::size_t> {
    const auto offset = storedOffset(rest[0]);
    if (!offset) return 0;
    const auto file = rest[0].source->file()->open();
    if (!file) return std::nullopt;
    const std::size_t count = runLength(rest, *file);
    const ChannelData& last = rest[count - 1];
    const std::uint64_t end = *storedOffset(last) + std::uint64_t{last.frames} * 2;
    return out.copyFrom(*file, *offset, end - *offset) ? std::optional(count) : std::nullopt;
  };
  return writeAll(data, 2, out, copy, [&](const ChannelData& each, const Room& room) {
    return is24 ? encodeSplit(each, false, room) : encodePoints(each, room);
  });
}

bool writeStreams(const std::vector<ChannelData>& data, std::uint32_t setting, BlockWriter& out,
                  std::vector<SamplePosition>& positions) {
  // So many are encoded at a time, which keeps all processors busy and little in memory.
  const std::uint64_t start = out.position();
  for (std::size_t first = 0; first < data.size(); first += kBatch) {
    const std::size_t count = std::min(kBatch, data.size() - first);
    showStatus(u"Compressing: " + data[first].waveform->displayName());
    std::vector<std::vector<std::byte>> streams(count);
    const bool ok = parallelFor(count, [&](std::size_t index) {
      auto stream = compress(data[first + index], setting);
      if (stream) streams[index] = std::move(*stream);
      return stream.has_value();
    });
    if (!ok) return false;
    for (const auto& stream : streams) {
      const std::uint64_t offset = out.position() - start;
      if (offset + stream.size() > kMaxSampleBytes) return fail(kTooManySamples);
      positions.push_back({static_cast<std::uint32_t>(offset),
                           static_cast<std::uint32_t>(offset + stream.size()), !stream.empty()});
      if (!out.append(stream)) return false;
    }
    showProgress(static_cast<double>(first + count) / static_cast<double>(data.size()));
  }
  return true;
}

bool writeLowBytes(const std::vector<ChannelData>& data, BlockWriter& out) {
  auto copy = [&](std::span<const ChannelData> rest) -> std::optional<std::size_t> {
    const ChannelData& each = rest[0];
    if (!storedOffset(each)) return 0;
    const SplitSamples* split = splitSamplesOf(each.source.get());
    const bool ok =
        split ? copyBytes(each, split->lowOffset, each.frames, out) : appendZeros(each.frames, out);
    return ok ? std::optional<std::size_t>(1) : std::nullopt;
  };
  return writeAll(data, 1, out, copy,
                  [&](const ChannelData& each, const Room& room) { return encodeSplit(each, true, room); });
}

}  // namespace vemko::soundfont
