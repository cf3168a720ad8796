#include "formats/soundfont/soundfont.h"

namespace vemko::soundfont {
namespace {

struct Head {
  bool isBank = false, isPacked = false;
  int version = 0;  // the major number, where it stands in its usual place
};

Head readHead(Bytes bytes) {
  ByteReader reader(bytes);
  const bool isRiff = reader.u32() == fourCc("RIFF");
  reader.u32();
  const std::uint32_t form = reader.u32();
  Head head{isRiff && form == fourCc("sfbk"), isRiff && form == fourCc("sfpk"), 0};
  reader.skip(20);  // "LIST", size, "INFO", "ifil", size
  head.version = reader.u16();
  return head;
}

}  // namespace

int probeBank(Bytes bytes, std::uint32_t, std::uint64_t) {
  const Head head = readHead(bytes);
  if (!head.isBank) return 0;
  return head.version == 2 ? 6 : 2;
}

int probeCompressedBank(Bytes bytes, std::uint32_t, std::uint64_t) {
  const Head head = readHead(bytes);
  return head.isBank && head.version == 3 ? 6 : 0;
}

int probePackedBank(Bytes bytes, std::uint32_t, std::uint64_t) { return readHead(bytes).isPacked ? 6 : 0; }

}  // namespace vemko::soundfont
