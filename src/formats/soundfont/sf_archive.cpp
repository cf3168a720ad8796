// sfArk archives. Their decompressor is a program of its own, run in a folder that is gone afterwards: it
// trusts its input, so it gets bounded sizes, a name of our own in place of the archive's, and what it breaks
// is only itself.
#include <algorithm>
#include <array>
#include <random>

#include "base/last_error.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"
#include "core/sample_source.h"
#include "formats/soundfont/sf_bank_reader.h"
#include "formats/soundfont/soundfont.h"
#include "platform/process.h"

namespace vemko::soundfont {
namespace {

constexpr std::string_view kProgram = "sfarkxtc";
constexpr std::u16string_view kPackage = u"sfarkxtc (Debian package sfarkxtc)";
constexpr const char *kPacked = "packed.sfArk", *kUnpacked = "unpacked.sf2";

constexpr std::size_t kCheckAt = 16, kSignatureAt = 26, kMethodAt = 31, kNameAt = 42, kHeaderBytes = 298;
constexpr std::string_view kSignature = "sfArk";

// Compression methods: 0 to 2 are those of the first version, 3 and 8 the second one never wrote for banks.
constexpr std::uint8_t kFirstOfVersion2 = 3, kFirstForBanks = 4, kLastForBanks = 7, kLast = 8;

// Banks shrink to a half or a quarter; what claims to become this many times larger is no bank.
constexpr std::uint64_t kMaxRatio = 100;

std::uint32_t adler32(Bytes bytes, std::uint32_t start) {
  std::uint32_t low = start & 0xFFFF, high = start >> 16;
  for (std::byte byte : bytes) {
    low = (low + static_cast<std::uint8_t>(byte)) % 65521;
    high = (high + low) % 65521;
  }
  return high << 16 | low;
}

struct ArchiveHeader {
  std::vector<std::byte> bytes;  // with the name and its zero
  std::uint64_t unpackedBytes = 0;

  std::uint32_t check() const {
    constexpr std::array<std::byte, 4> kCleared{};
    const Bytes all(bytes);
    const std::uint32_t before = adler32(kCleared, adler32(all.first(kCheckAt), 0));
    return adler32(all.subspan(kCheckAt + kCleared.size()), before);
  }
};

bool readHeader(const InputFile& file, ArchiveHeader& header) {
  header.bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kHeaderBytes)));
  if (!file.readAt(0, header.bytes)) return false;
  if (probeArchive(header.bytes, 0, file.size()) == 0) return fail(u"Not an sfArk file");
  const auto method = static_cast<std::uint8_t>(header.bytes[kMethodAt]);
  if (method < kFirstOfVersion2) return fail(u"sfArk v1 files are not supported");
  if (method > kLast) return fail(u"Unknown sfArk compression type");
  if (method < kFirstForBanks || method > kLastForBanks) return fail(u"Unsupported sfArk compression");
  const auto end = std::ranges::find(header.bytes.begin() + kNameAt, header.bytes.end(), std::byte{0});
  if (end == header.bytes.end()) return fail(u"sfArk decompression failed");
  header.bytes.erase(end + 1, header.bytes.end());
  header.unpackedBytes = ByteReader(Bytes(header.bytes).subspan(4)).u32();
  const std::uint32_t check = ByteReader(Bytes(header.bytes).subspan(kCheckAt)).u32();
  if (check != header.check() || header.unpackedBytes > file.size() * kMaxRatio) {
    logWarning(u"The archive's header is damaged");
    return fail(u"sfArk decompression failed");
  }
  return true;
}

// Notes and licences are unpacked under the archive's own name, which could lead anywhere.
void replaceName(ArchiveHeader& header) {
  std::fill(header.bytes.begin() + kNameAt, header.bytes.end() - 1, std::byte{'x'});
  const std::uint32_t check = header.check();
  for (std::size_t i = 0; i < 4; ++i) header.bytes[kCheckAt + i] = static_cast<std::byte>(check >> 8 * i);
}

class ScratchFolder {
 public:
  ScratchFolder() {
    std::error_code error;
    const Path parent = std::filesystem::temp_directory_path(error);
    std::random_device random;
    for (int attempt = 0; attempt < 100 && !error; ++attempt) {
      const Path path = parent / formatted("vemko-%08x%08x", random(), random());
      if (!std::filesystem::create_directory(path, error) || error) continue;
      std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
      path_ = path;
      return;
    }
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (exists()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  bool exists() const { return !path_.empty(); }
  Path operator/(const char* name) const { return path_ / name; }
  const Path& path() const { return path_; }

 private:
  Path path_;
};

// Texts stand behind the header, each behind its length.
int textCount(const ArchiveHeader& header) {
  constexpr int kNotes = 1, kLicence = 2;
  const auto flags = static_cast<std::uint8_t>(header.bytes[0]);
  return ((flags & kNotes) != 0) + ((flags & kLicence) != 0);
}

// The program's builds for 64 bits expect such lengths, which no archive has.
enum class Lengths : std::uint8_t { FourBytes, EightBytes };

bool copyArchive(const InputFile& file, ArchiveHeader header, Lengths lengths, const Path& target) {
  std::uint64_t position = header.bytes.size();
  const int texts = textCount(header);
  replaceName(header);
  OutputFile copy;
  if (!copy.create(target) || !copy.write(header.bytes)) return false;
  for (int i = 0; i < texts; ++i) {
    std::array<std::byte, 8> length{};
    if (!file.readAt(position, std::span(length).first(4))) return false;
    const std::uint32_t bytes = ByteReader(length).u32();
    position += 4;
    if (bytes > file.size() - position) return fail(u"sfArk decompression failed");
    if (!copy.write(std::span(length).first(lengths == Lengths::EightBytes ? 8 : 4)) ||
        !copy.copyFrom(file, position, bytes))
      return false;
    position += bytes;
  }
  return copy.copyFrom(file, position, file.size() - position) && copy.close();
}

bool runProgram(const Path& program, const ScratchFolder& folder, std::uint64_t unpackedBytes) {
  ChildProcess child;
  if (!child.start(program, {kPacked, kUnpacked}, folder.path())) return false;
  std::string result;
  while (const auto line = child.readLine())
    if (line->starts_with("Result:")) result = *line;
  if (child.finish() == 0 && fileSize(folder / kUnpacked) == unpackedBytes) return true;
  logWarning(toUtf16(std::string(kProgram) + ": " + (result.empty() ? "stopped" : result)));
  const bool isMemoryShort = result.find("Memory allocation error") != std::string::npos;
  return fail(isMemoryShort ? u"Out of memory" : u"sfArk decompression failed");
}

bool unpack(const InputFile& file, const ScratchFolder& folder) {
  ArchiveHeader header;
  if (!readHeader(file, header)) return false;
  const auto program = findProgram(kProgram);
  if (!program) return fail(u"The program " + std::u16string(kPackage) + u" is not available");
  if (!folder.exists()) return fail(u"Could not create file");
  showStatus(u"Decompressing sfArk");
  for (const Lengths lengths : {Lengths::FourBytes, Lengths::EightBytes}) {
    if (!copyArchive(file, header, lengths, folder / kPacked)) return false;
    if (runProgram(*program, folder, header.unpackedBytes)) return true;
    if (textCount(header) == 0) break;
  }
  return false;
}

}  // namespace

int probeArchive(Bytes head, std::uint32_t, std::uint64_t) {
  const bool isLong = head.size() > kNameAt;
  return isLong && std::ranges::equal(head.subspan(kSignatureAt, kSignature.size()), asBytes(kSignature)) ? 6
                                                                                                          : 0;
}

bool readArchive(Collection& collection, InputFile& file, std::uint32_t) {
  const ScratchFolder folder;
  if (!unpack(file, folder)) return false;
  showStatus(u"Reading SF2");
  InputFile bank;
  if (!bank.open(folder / kUnpacked) || !readBank(collection, bank, file.path())) return false;
  // The samples stay in the file, which loses its name but not its bytes.
  return SourceFile::pinIfUsed(folder / kUnpacked);
}

std::u16string missingForArchive(bool) {
  return findProgram(kProgram) ? std::u16string() : std::u16string(kPackage);
}

}  // namespace vemko::soundfont
