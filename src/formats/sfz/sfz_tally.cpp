#include "formats/sfz/sfz_tally.h"

#include "base/log.h"
#include "base/text.h"

namespace vemko::sfz {
namespace {

constexpr std::size_t kMaxEntries = 500, kMaxNameBytes = 60;

}  // namespace

void Tally::add(std::u16string_view complaint, std::string_view opcode, Place place) {
  const std::pair key(complaint, std::string(opcode.substr(0, kMaxNameBytes)));
  auto at = entries_.find(key);
  if (at == entries_.end() && entries_.size() >= kMaxEntries) {
    ++others_;
    return;
  }
  if (at == entries_.end()) at = entries_.emplace(key, Entry{0, place}).first;
  ++at->second.count;
}

void Tally::report(const Lexer& lexer) const {
  for (const auto& [key, entry] : entries_) {
    std::u16string line = lexer.fileName(entry.first.file) + u", line " +
                          toUtf16(std::to_string(entry.first.line)) + u": " + toUtf16(key.second) + u" " +
                          std::u16string(key.first);
    if (entry.count > 1) line += u" (" + toUtf16(std::to_string(entry.count)) + u" times)";
    logWarning(line);
  }
  if (others_ > 0) logWarning(toUtf16(formatted("%zu opcodes of other names were not used", others_)));
}

}  // namespace vemko::sfz
