#include "formats/sfz/sfz_lexer.h"

#include <algorithm>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_text.h"
#include "io/missing_file.h"

namespace vemko::sfz {
namespace {

constexpr int kMaxDepth = 32;
constexpr std::size_t kMaxIncludes = 10'000;
constexpr std::size_t kMaxIncludedBytes = std::size_t{256} << 20;
constexpr std::size_t kMaxExpandedBytes = std::size_t{256} << 20;
constexpr std::size_t kMaxDefinition = 4096;
constexpr std::size_t kMaxName = 255;
constexpr std::size_t kMaxHeader = 32;
constexpr std::size_t kHead = 32768;  // that tells what a file is

constexpr bool isBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }
constexpr bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && isBlank(text[at])) ++at;
  return text.substr(at);
}

std::string_view withoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// Removes the word, which other words may follow without a blank, from the front.
bool takeWord(std::string_view& text, std::string_view word) {
  if (!text.starts_with(word)) return false;
  text.remove_prefix(word.size());
  return true;
}

// The length of the header that the text begins with, brackets included; 0 when it begins with none.
std::size_t headerLength(std::string_view text) {
  if (!text.starts_with('<')) return 0;
  std::size_t at = 1;
  while (at < text.size() && at < kMaxHeader && isNameCharacter(text[at])) ++at;
  return at > 1 && at < text.size() && text[at] == '>' ? at + 1 : 0;
}

// Where the value at the front of the text ends: at a header, at the next opcode, at the end of the line.
std::size_t valueLength(std::string_view text) {
  std::size_t word = 0;    // start of the present word
  bool mayBeName = false;  // it follows a blank and looks like an opcode so far
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (isBlank(c)) {
      word = at + 1;
      mayBeName = true;
    } else if (c == '=' && mayBeName && at > word) {
      return word;
    } else if (c == '<' && headerLength(text.substr(at, kMaxHeader + 1)) > 0) {
      return at;
    } else if (!isNameCharacter(c)) {
      mayBeName = false;
    }
  }
  return text.size();
}

bool isBelow(const Path& path, const Path& folder) {
  std::error_code error;
  const Path base = std::filesystem::weakly_canonical(folder.empty() ? Path(".") : folder, error);
  const Path whole = std::filesystem::weakly_canonical(path, error);
  return !error && std::mismatch(base.begin(), base.end(), whole.begin(), whole.end()).first == base.end();
}

// Packs have common parts beside the folder of their definitions ("../Data/keys.txt"). What else lies outside
// is none of a definition's business.
bool isPartOfDefinition(InputFile& file) {
  const Bytes bytes = file.bytes();
  return probeSfz(bytes.first(std::min<std::size_t>(bytes.size(), kHead)), 0, file.size()) > 0;
}

Path canonicalOf(const Path& path) {
  std::error_code error;
  Path whole = std::filesystem::weakly_canonical(path, error);
  return error ? path : whole;
}

}  // namespace

struct Lexer::IncludedFile {
  InputFile file;
  std::string converted;
};

Lexer::Lexer(Path folder, LexerEvents events) : folder_(std::move(folder)), events_(std::move(events)) {}
Lexer::~Lexer() = default;

bool Lexer::read(std::string_view text, const Path& file) {
  files_.push_back(file);
  open_.push_back(canonicalOf(file));
  return readText(text);
}

std::u16string Lexer::fileName(std::uint32_t index) const {
  return index < files_.size() ? textOf(files_[index].filename()) : std::u16string();
}

std::string_view Lexer::kept(std::string text) { return expansions_.emplace_back(std::move(text)); }

bool Lexer::readText(std::string_view text) {
  inBlockComment_ = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view lines = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (lines.ends_with('\r')) lines.remove_suffix(1);
    // Files of old Macintoshes end their lines with a carriage return alone.
    for (;;) {
      const std::size_t part = std::min(lines.find('\r'), lines.size());
      ++place_.line;
      if (!readLine(lines.substr(0, part))) return false;
      if (part == lines.size()) break;
      lines.remove_prefix(part + 1);
    }
  }
  return true;
}

bool Lexer::readLine(std::string_view line) {
  if (!inBlockComment_) {
    std::string_view title = withoutLeadingBlanks(line);
    if (takeWord(title, "/// ") && events_.title) events_.title(withoutTrailingBlanks(title), place_);
  }
  line = withoutComments(line);
  for (std::size_t from = 0; from < line.size();) {
    const std::size_t hash = line.find('#', from);
    if (hash == line.npos) break;
    from = hash + 1;
    std::string_view rest = line.substr(hash);
    if ((hash > 0 && !isBlank(line[hash - 1])) ||
        !(rest.starts_with("#define") || rest.starts_with("#include")))
      continue;
    if (!readOpcodes(line.substr(0, hash)) || !readDirective(rest)) return false;
    line = rest;
    from = 0;
  }
  return readOpcodes(line);
}

// A comment begins with two slashes anywhere, with one where an opcode could begin, or runs from "/*" behind
// a blank to "*/", over several lines.
std::string_view Lexer::withoutComments(std::string_view line) {
  if (!inBlockComment_ && line.find('/') == line.npos) return line;
  if (!inBlockComment_ && withoutLeadingBlanks(line).starts_with('/') &&
      !withoutLeadingBlanks(line).starts_with("/*"))
    return {};
  std::string clean;
  std::size_t from = 0;
  for (std::size_t at = 0; at < line.size();) {
    if (inBlockComment_) {
      const std::size_t end = line.find("*/", at);
      if (end == line.npos) return clean.empty() ? std::string_view() : kept(std::move(clean));
      inBlockComment_ = false;
      from = at = end + 2;
      continue;
    }
    const std::string_view rest = line.substr(at);
    const bool isBlock = rest.starts_with("/*") && (at == 0 || isBlank(line[at - 1]));
    if (isBlock || rest.starts_with("//")) {
      if (!isBlock && clean.empty() && from == 0) return line.substr(0, at);
      clean.append(line.substr(from, at - from)).append(" ");
      from = line.size();
      if (!isBlock) break;
      inBlockComment_ = true;
      at += 2;
      continue;
    }
    ++at;
  }
  if (from == 0) return line;
  return kept(std::move(clean.append(line.substr(from))));
}

bool Lexer::readOpcodes(std::string_view text) {
  if (definitions_.empty() || text.find('$') == text.npos) {
    tokenize(text);
    return true;
  }
  std::string expanded;
  if (!expand(text, expanded, kMaxExpandedBytes)) return false;
  tokenize(kept(std::move(expanded)));
  return true;
}

void Lexer::tokenize(std::string_view text) {
  for (;;) {
    text = withoutLeadingBlanks(text);
    if (text.empty()) return;
    if (const std::size_t length = headerLength(text.substr(0, kMaxHeader + 1)); length > 0) {
      events_.header(text.substr(1, length - 2), place_);
      text.remove_prefix(length);
      continue;
    }
    std::size_t at = 0;
    while (at < text.size() && text[at] != '=' && !isBlank(text[at]) && !(at > 0 && text[at] == '<')) ++at;
    const std::string_view name = text.substr(0, at);
    if (at == text.size() || text[at] != '=') {
      text.remove_prefix(at);
      continue;
    }
    text.remove_prefix(at + 1);
    const std::size_t length = valueLength(text);
    events_.opcode(name, withoutTrailingBlanks(withoutLeadingBlanks(text.substr(0, length))), place_);
    text.remove_prefix(length);
  }
}

bool Lexer::readDirective(std::string_view& rest) {
  if (takeWord(rest, "#define")) return define(rest);
  rest.remove_prefix(std::string_view("#include").size());
  return include(rest);
}

// "#define $NAME value": a later definition of the name replaces an earlier one.
bool Lexer::define(std::string_view& rest) {
  rest = withoutLeadingBlanks(rest);
  std::size_t end = rest.starts_with('$') ? 1 : 0;
  while (end > 0 && end < rest.size() && isNameCharacter(rest[end])) ++end;
  const std::string name(rest.substr(0, end));
  rest = withoutLeadingBlanks(rest.substr(end));
  std::size_t length = 0;
  while (length < rest.size() && !isBlank(rest[length])) ++length;
  std::string value;
  const bool fits = expand(rest.substr(0, length), value, kMaxDefinition);
  rest.remove_prefix(length);
  if (name.size() < 2 || name.size() > kMaxName || !fits) {
    logWarning(fileName(place_.file) + u", line " + toUtf16(std::to_string(place_.line)) +
               u": a #define without a name, or too long, is left out");
    return true;
  }
  definitions_[name] = std::move(value);
  const auto size = static_cast<std::uint8_t>(name.size());
  auto at = std::ranges::lower_bound(nameLengths_, size, std::greater<>());
  if (at == nameLengths_.end() || *at != size) nameLengths_.insert(at, size);
  return true;
}

// Puts each defined name's text in its place, the longest name that fits first. False when it gets longer
// than `limit`, or with the last error message set when all expansions of the file together go too far.
bool Lexer::expand(std::string_view text, std::string& result, std::size_t limit) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t dollar = std::min(text.find('$', at), text.size());
    result.append(text.substr(at, dollar - at));
    if (dollar == text.size()) break;
    at = dollar;
    const std::string* value = nullptr;
    for (std::uint8_t length : nameLengths_) {
      if (length > text.size() - dollar) continue;
      const auto found = definitions_.find(std::string(text.substr(dollar, length)));
      if (found == definitions_.end()) continue;
      value = &found->second;
      at += length;
      break;
    }
    if (value)
      result.append(*value);
    else
      result.push_back(text[at++]);
    if (result.size() > limit || expandedBytes_ + result.size() > kMaxExpandedBytes)
      return fail(u"The definitions of this file expand too far");
  }
  expandedBytes_ += result.size();
  return true;
}

bool Lexer::include(std::string_view& rest) {
  const std::size_t first = rest.find('"');
  const std::size_t last = first == rest.npos ? rest.npos : rest.find('"', first + 1);
  if (last == rest.npos) {
    logWarning(u"An #include without a file name in quotes is left out");
    rest = {};
    return true;
  }
  std::string stored;
  if (!expand(rest.substr(first + 1, last - first - 1), stored, kMaxDefinition)) return false;
  rest.remove_prefix(last + 1);
  return includeFile(stored);
}

bool Lexer::isOpen(const Path& path) const {
  return std::ranges::find(open_, canonicalOf(path)) != open_.end();
}

// From the including file's folder, as its author saw it, or from the main file's, as most players go. Only
// what is in neither place is searched for: packs have files of one name in many folders.
std::optional<Path> Lexer::findIncluded(std::u16string_view name) const {
  const Path folders[] = {files_[place_.file].parent_path(), folder_};
  for (const Path& folder : folders)
    if (auto found = io::findReferredFile(name, folder)) return found;
  for (const Path& folder : folders) {
    auto found = io::locateMissingFile(name, folder);
    if (!found || isOpen(*found)) continue;
    logWarning(u"Not where it is said to be: " + std::u16string(name) + u", taken is " + textOf(*found));
    return found;
  }
  return std::nullopt;
}

bool Lexer::includeFile(std::string_view stored) {
  const std::u16string name = toUtf16(stored);
  const auto path = findIncluded(name);
  if (!path) {
    logWarning(u"Could not include " + name);
    return true;
  }
  if (isOpen(*path)) return fail(u"The file includes itself");
  IncludedFile& entry = *included_.emplace_back(std::make_unique<IncludedFile>());
  if (!entry.file.open(*path)) {
    logWarning(u"Could not include " + name);
    return true;
  }
  if (!isBelow(*path, folder_) && !isPartOfDefinition(entry.file)) {
    logWarning(u"Not included, because it is outside the folder and no part of an instrument: " + name);
    return true;
  }
  includedBytes_ +=
      static_cast<std::size_t>(std::min<std::uint64_t>(entry.file.size(), kMaxIncludedBytes + 1));
  if (open_.size() > kMaxDepth || included_.size() > kMaxIncludes || includedBytes_ > kMaxIncludedBytes)
    return fail(u"The file includes too many others");

  const Place before = place_;
  place_ = {static_cast<std::uint32_t>(files_.size()), 0};
  files_.push_back(*path);
  open_.push_back(canonicalOf(*path));
  bool ok = readText(textOfFile(entry.file.bytes(), entry.converted));
  if (!entry.file.isIntact()) ok = fail(u"Reading from file failed");
  open_.pop_back();
  place_ = before;
  inBlockComment_ = false;
  return ok;
}

}  // namespace vemko::sfz
