#include "codecs/sndfile.h"

#include <algorithm>
#include <sndfile.h>
#include <utility>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/pcm.h"

namespace vemko::sndfile {
namespace {

constexpr std::size_t kRunSamples = 8192;

constexpr LibraryNames kLibrary = {u"libsndfile",
                                   u"Debian package libsndfile1, Windows libsndfile-1.dll",
                                   {"libsndfile.so.1", "libsndfile-1.dll", "sndfile.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&sf_open_virtual) open = library.find("sf_open_virtual");
  decltype(&sf_close) close = library.find("sf_close");
  decltype(&sf_command) command = library.find("sf_command");
  decltype(&sf_format_check) formatCheck = library.find("sf_format_check");
  decltype(&sf_seek) seek = library.find("sf_seek");
  decltype(&sf_readf_float) readFloats = library.find("sf_readf_float");
  decltype(&sf_writef_float) writeFloats = library.find("sf_writef_float");
  decltype(&sf_writef_int) writeIntegers = library.find("sf_writef_int");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

struct CloseFile {
  void operator()(SNDFILE* file) const { functions().close(file); }
};
using Handle = std::unique_ptr<SNDFILE, CloseFile>;

// --- Reading

// A part of a file behind a head in memory.
struct HeadedInput {
  std::shared_ptr<const std::vector<std::byte>> head;
  std::unique_ptr<PartInput> part;
  std::uint64_t position = 0;
};
HeadedInput& inputOf(void* client) { return *static_cast<HeadedInput*>(client); }
sf_count_t inputTell(void* client) { return static_cast<sf_count_t>(inputOf(client).position); }
sf_count_t inputLength(void* client) {
  return static_cast<sf_count_t>(inputOf(client).head->size() + inputOf(client).part->size());
}
sf_count_t inputSeek(sf_count_t offset, int whence, void* client) {
  const sf_count_t base = whence == SEEK_SET   ? 0
                          : whence == SEEK_CUR ? inputTell(client)
                                               : inputLength(client);
  if (offset < -base) return -1;
  inputOf(client).position = static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(offset);
  return inputTell(client);
}
sf_count_t inputRead(void* buffer, sf_count_t count, void* client) {
  HeadedInput& input = inputOf(client);
  if (count <= 0) return 0;
  std::span<std::byte> out(static_cast<std::byte*>(buffer), static_cast<std::size_t>(count));
  std::size_t done = 0;
  if (input.position < input.head->size()) {
    const Bytes head = Bytes(*input.head).subspan(static_cast<std::size_t>(input.position));
    done = std::min(head.size(), out.size());
    std::ranges::copy(head.first(done), out.begin());
    input.position += done;
  }
  if (done < out.size()) {
    input.part->seek(input.position - input.head->size());
    const std::size_t more = input.part->read(out.subspan(done));
    input.position += more;
    done += more;
  }
  return static_cast<sf_count_t>(done);
}
SF_VIRTUAL_IO inputCallbacks = {inputLength, inputSeek, inputRead, nullptr, inputTell};

Handle openHandle(HeadedInput& input, SF_INFO& info) {
  info = {};
  Handle handle(functions().open(&inputCallbacks, SFM_READ, &info, &input));
  if (!handle || info.channels < 1 || info.channels > 255 || info.samplerate < 1) {
    setLastError(u"The file is damaged or of a kind that can not be read");
    return nullptr;
  }
  return handle;
}

class SndfileDecoder final : public Decoder {
 public:
  SndfileDecoder(std::unique_ptr<HeadedInput> input, Handle handle, std::size_t channels)
      : input_(std::move(input)),
        handle_(std::move(handle)),
        channels_(channels),
        samples_(kRunSamples / channels * channels) {}

  DecodedRun next() override {
    const auto wanted = static_cast<sf_count_t>(samples_.size() / channels_);
    const sf_count_t frames = functions().readFloats(handle_.get(), samples_.data(), wanted);
    const auto count = static_cast<std::size_t>(std::max<sf_count_t>(frames, 0));
    const std::uint64_t first = position_;
    position_ += count;
    return {first, std::span(samples_).first(count * channels_)};
  }

  bool seek(std::uint64_t frame) override {
    position_ = frame;
    return functions().seek(handle_.get(), static_cast<sf_count_t>(frame), SEEK_SET) >= 0;
  }

 private:
  std::unique_ptr<HeadedInput> input_;
  Handle handle_;
  std::size_t channels_;
  std::uint64_t position_ = 0;
  std::vector<float> samples_;
};

struct SubtypeRow {
  SampleEncoding encoding;
  int subtype;
  std::uint8_t bits;  // of integers
};

// clang-format off
// Writing takes the first that the container can have. Samples of these stand at fixed places.
constexpr SubtypeRow kSubtypes[] = {
  {SampleEncoding::Pcm8,    SF_FORMAT_PCM_S8,  8},
  {SampleEncoding::Pcm8,    SF_FORMAT_PCM_U8,  8},
  {SampleEncoding::Pcm16,   SF_FORMAT_PCM_16, 16},
  {SampleEncoding::Pcm24,   SF_FORMAT_PCM_24, 24},
  {SampleEncoding::Pcm32,   SF_FORMAT_PCM_32, 32},
  {SampleEncoding::Float32, SF_FORMAT_FLOAT,   0},
  {SampleEncoding::Float64, SF_FORMAT_DOUBLE,  0},
  {SampleEncoding::MuLaw,   SF_FORMAT_ULAW,    0},
  {SampleEncoding::ALaw,    SF_FORMAT_ALAW,    0},
};
struct CodecRow {
  int subtype;
  SampleEncoding encoding;
};
// Codecs that are read only; any other is named Codec.
constexpr CodecRow kCodecs[] = {
  {SF_FORMAT_GSM610,    SampleEncoding::Gsm610},
  {SF_FORMAT_IMA_ADPCM, SampleEncoding::Adpcm4},
  {SF_FORMAT_MS_ADPCM,  SampleEncoding::Adpcm4},
  {SF_FORMAT_G721_32,   SampleEncoding::Adpcm4},
  {SF_FORMAT_G723_24,   SampleEncoding::Adpcm3},
  {SF_FORMAT_G723_40,   SampleEncoding::Adpcm5},
  {SF_FORMAT_DPCM_8,    SampleEncoding::Pcm8},
  {SF_FORMAT_DPCM_16,   SampleEncoding::Pcm16},
  {SF_FORMAT_DWVW_12,   SampleEncoding::Pcm12},
  {SF_FORMAT_DWVW_16,   SampleEncoding::Pcm16},
  {SF_FORMAT_DWVW_24,   SampleEncoding::Pcm24},
  {SF_FORMAT_ALAC_16,   SampleEncoding::Pcm16},
  {SF_FORMAT_ALAC_20,   SampleEncoding::Pcm20},
  {SF_FORMAT_ALAC_24,   SampleEncoding::Pcm24},
  {SF_FORMAT_ALAC_32,   SampleEncoding::Pcm32},
};
// clang-format on

void describe(int format, DecoderRecipe& recipe) {
  const int subtype = format & SF_FORMAT_SUBMASK;
  recipe.encoding = SampleEncoding::Codec;
  for (const CodecRow& row : kCodecs)
    if (row.subtype == subtype) recipe.encoding = row.encoding;
  for (const SubtypeRow& row : kSubtypes) {
    if (row.subtype != subtype) continue;
    recipe.encoding = row.encoding;
    recipe.facts.bits = row.bits;
    recipe.canSeek = true;
  }
}

// --- Writing

// The library jumps about while it completes headers.
struct Output {
  ByteSink& sink;
  std::uint64_t position = 0;
  bool ok = true;
};
Output& outputOf(void* client) { return *static_cast<Output*>(client); }
sf_count_t outputLength(void* client) { return static_cast<sf_count_t>(outputOf(client).sink.size()); }
sf_count_t outputTell(void* client) { return static_cast<sf_count_t>(outputOf(client).position); }
sf_count_t outputSeek(sf_count_t offset, int whence, void* client) {
  const sf_count_t base = whence == SEEK_SET   ? 0
                          : whence == SEEK_CUR ? outputTell(client)
                                               : outputLength(client);
  if (offset < -base) return -1;
  outputOf(client).position = static_cast<std::uint64_t>(base + offset);
  return base + offset;
}
sf_count_t outputRead(void*, sf_count_t, void*) { return 0; }

sf_count_t outputWrite(const void* data, sf_count_t count, void* client) {
  Output& output = outputOf(client);
  Bytes bytes(static_cast<const std::byte*>(data), static_cast<std::size_t>(count));
  constexpr std::byte kZeros[256] = {};
  while (output.ok && output.position > output.sink.size()) {
    const std::uint64_t gap = output.position - output.sink.size();
    output.ok =
        output.sink.write(Bytes(kZeros).first(static_cast<std::size_t>(std::min<std::uint64_t>(gap, 256))));
  }
  const auto behind =
      static_cast<std::size_t>(std::min<std::uint64_t>(output.sink.size() - output.position, bytes.size()));
  if (output.ok && behind > 0) output.ok = output.sink.writeAt(output.position, bytes.first(behind));
  if (output.ok && behind < bytes.size()) output.ok = output.sink.write(bytes.subspan(behind));
  output.position += bytes.size();
  return output.ok ? count : 0;
}
SF_VIRTUAL_IO outputCallbacks = {outputLength, outputSeek, outputRead, outputWrite, outputTell};

const SubtypeRow* findSubtype(Container container, SampleEncoding encoding, std::uint32_t rate,
                              std::uint8_t channels) {
  SF_INFO info{};
  info.samplerate = static_cast<int>(rate);
  info.channels = channels;
  for (const SubtypeRow& row : kSubtypes) {
    info.format = static_cast<int>(container) | row.subtype;
    if (row.encoding == encoding && functions().formatCheck(&info)) return &row;
  }
  return nullptr;
}

// Integers as the library takes them, in the upper bits of 32. Companded samples are rounded to what their
// codes stand for, because the library would cut them off.
void convert(std::span<const float> floats, const SubtypeRow& row, std::vector<std::int32_t>& integers) {
  integers.resize(floats.size());
  if (row.bits == 32) {
    encodePcm({SampleEncoding::Pcm32}, floats, std::as_writable_bytes(std::span(integers)));
    return;
  }
  if (row.bits > 0) {
    floatsToIntegers(floats, row.bits, integers);
  } else {
    std::vector<std::byte> codes(floats.size());
    std::vector<float> rounded(floats.size());
    encodePcm({row.encoding}, floats, codes);
    decodePcm({row.encoding}, codes, rounded);
    floatsToIntegers(rounded, 16, integers);
  }
  const unsigned shift = 32u - (row.bits > 0 ? row.bits : 16u);
  for (std::int32_t& value : integers)
    value = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << shift);
}

// The library does not read a file whose 24-bit samples fill one block alone: silence fills a second one.
bool fillSecondBlock(SNDFILE* file, const EncoderInput& input, int format) {
  constexpr std::uint64_t kBlockFrames = 10;
  if (format != (SF_FORMAT_PAF | SF_FORMAT_PCM_24) || input.frames > kBlockFrames) return true;
  const auto frames = static_cast<std::size_t>(kBlockFrames + 1 - input.frames);
  const std::vector<std::int32_t> silence(frames * input.channels);
  return functions().writeIntegers(file, silence.data(), static_cast<sf_count_t>(frames)) ==
         static_cast<sf_count_t>(frames);
}

bool writeBlocks(SNDFILE* file, const EncoderInput& input, const SubtypeRow& row) {
  const bool isFloat = row.encoding == SampleEncoding::Float32 || row.encoding == SampleEncoding::Float64;
  EncoderBlocks blocks(input, std::max<std::size_t>(1, kRunSamples / input.channels));
  std::vector<std::int32_t> integers;
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return true;
    const auto frames = static_cast<sf_count_t>(samples->size() / input.channels);
    if (!isFloat) convert(*samples, row, integers);
    const sf_count_t written = isFloat ? functions().writeFloats(file, samples->data(), frames)
                                       : functions().writeIntegers(file, integers.data(), frames);
    if (written != frames) return false;
  }
}

}  // namespace

std::u16string missingLibrary() { return functions().library.missingText(); }

bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::byte> head) {
  if (!functions().library.require()) return false;
  const auto sharedHead = std::make_shared<const std::vector<std::byte>>(std::move(head));
  HeadedInput input{sharedHead, PartInput::open(part)};
  if (!input.part) return false;
  SF_INFO info;
  const Handle handle = openHandle(input, info);
  if (!handle) return false;

  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts.frames = static_cast<std::uint64_t>(std::max<sf_count_t>(info.frames, 0));
  recipe.facts.rate = static_cast<std::uint32_t>(info.samplerate);
  recipe.facts.channels = static_cast<std::uint8_t>(info.channels);
  describe(info.format, recipe);
  recipe.open = [sharedHead](std::unique_ptr<PartInput> opened) -> std::unique_ptr<Decoder> {
    auto again = std::make_unique<HeadedInput>(HeadedInput{sharedHead, std::move(opened)});
    SF_INFO facts;
    Handle fresh = openHandle(*again, facts);
    if (!fresh) return nullptr;
    return std::make_unique<SndfileDecoder>(std::move(again), std::move(fresh),
                                            static_cast<std::size_t>(facts.channels));
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

bool canHold(Container container, SampleEncoding encoding) {
  constexpr std::uint32_t kAnyRate = 8000;
  return functions().library.isAvailable() && findSubtype(container, encoding, kAnyRate, 1);
}

bool encode(const EncoderInput& input, Container container, SampleEncoding encoding, ByteSink& sink) {
  if (!functions().library.require()) return false;
  const SubtypeRow* row = findSubtype(container, encoding, input.rate, input.channels);
  SF_INFO info{};
  info.samplerate = static_cast<int>(input.rate);
  info.channels = input.channels;
  info.format = static_cast<int>(container) | (row ? row->subtype : 0);
  Output output{sink};
  Handle handle(row ? functions().open(&outputCallbacks, SFM_WRITE, &info, &output) : nullptr);
  if (!handle) return fail(u"The file format can not hold this encoding, sample rate or number of channels");
  // It would hold the time of day.
  functions().command(handle.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  setLastError(u"Writing to file failed");  // unless the source or the sink says more
  const bool ok = writeBlocks(handle.get(), input, *row) && fillSecondBlock(handle.get(), input, info.format);
  return functions().close(handle.release()) == 0 && ok && output.ok;
}

}  // namespace vemko::sndfile
